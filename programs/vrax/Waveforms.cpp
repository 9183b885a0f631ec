#include "Waveforms.h"

#include <fmt/format.h>

#include "BuiltInWaveforms.h"

namespace vrax {

namespace {

constexpr char kDescription[] =
    "Lists the built-in waveforms and the noise records, and tells which tables this build holds.";
constexpr char kFooter[] =
    "A likeness was made from a description of the project; a public record is the standard's "
    "own,\n"
    "sample by sample. The patterns of IEC 60601-2-47 are computed and exact in every build.";

std::string SourceOf(const WaveformFamily& family, const std::vector<TableSource>& sources)
{
    if (family.table.empty()) return "computed";
    for (const TableSource& source : sources) {
        if (source.table == family.table) return source.source;
    }
    return "unknown";
}

Json JsonOf(const WaveformFamily& family, const std::vector<TableSource>& sources)
{
    Json json = {{"standard", family.standard}};
    if (family.function >= 0) json["function"] = family.function;
    json["command"] = family.words;
    json["selector"] = family.selector;
    json["table"] = SourceOf(family, sources);
    json["waveforms"] = Json::array();
    for (const BuiltInWaveform& waveform : family.waveforms) {
        json["waveforms"].push_back({{"number", waveform.number},
                                     {"name", waveform.name},
                                     {"rate", waveform.rate},
                                     {"seconds", waveform.seconds},
                                     {"lowest_mv", waveform.lowest},
                                     {"highest_mv", waveform.highest}});
    }
    return json;
}

void PrintFamily(const Program& program, const WaveformFamily& family, const std::string& source)
{
    fmt::print("\n{}: {}\n", program.Paint(stdout, Style::Strong, family.standard), source);
    fmt::print("    {}{}; {}\n", family.words, family.function < 0 ? " (em, bw or ma)" : "",
               family.selector);
    const auto title = fmt::format("{:>6}  {:<20}{:>10}{:>11}{:>9}{:>9}", "number", "name",
                                   "samples/s", "length, s", "from, mV", "to, mV");
    fmt::print("{}\n", program.Paint(stdout, Style::Faint, title));
    for (const BuiltInWaveform& waveform : family.waveforms) {
        fmt::print("{:>6}  {:<20}{:>10}{:>11.3f}{:>9.3f}{:>9.3f}\n", waveform.number, waveform.name,
                   waveform.rate, waveform.seconds, waveform.lowest, waveform.highest);
    }
}

int ListWaveforms(Program& program)
{
    const auto families = MeasureWaveforms();
    const auto sources = FindTableSources();
    if (program.IsJson()) {
        Json json = {{"library", FindLibraryFile()}, {"families", Json::array()}};
        for (const auto& family : families) json["families"].push_back(JsonOf(family, sources));
        program.PrintJson(json);
        return kDone;
    }
    fmt::print("Tables of {}\n", FindLibraryFile());
    for (const auto& family : families) PrintFamily(program, family, SourceOf(family, sources));
    return kDone;
}

}  // namespace

void AddWaveformsCommand(CLI::App& app, Program& program)
{
    CLI::App* command = app.add_subcommand("waveforms", kDescription);
    command->footer(kFooter);
    program.SetAction(*command, [&program] { return ListWaveforms(program); });
}

}  // namespace vrax
