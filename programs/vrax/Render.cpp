#include "Render.h"

#include <algorithm>
#include <filesystem>
#include <memory>

#include <fmt/format.h>

#include "Interruption.h"
#include "Quantities.h"
#include "SampleFiles.h"
#include "SignalOptions.h"
#include "SignalRun.h"

namespace vrax {

namespace {

// Full scales of 16-bit formats, mV. Round steps: 0.625 uV for the ECG.
constexpr double kWideMostMv = 1638.0;  // DC offset and pacing, 0.05 mV a step
constexpr double kPpgMostMv = 327.6;    // 0.01 mV a step

struct RenderOptions {
    SignalOptions signal;
    double seconds = 10.0;
    std::string path;
    bool isReplacing = false;
};

using Writer = void (*)(const SampleTable&, const NewFiles&);
struct Format {
    const char* extension;
    Writer write;
    bool hasAll;  // takes DC, pacing and PPG as well, not the ECG alone
};
constexpr Format kFormats[] = {{".csv", WriteCsv, true},
                               {".txt", WriteText, false},
                               {".edf", WriteEdf, true},
                               {".dat", WriteWfdb, true}};

const Format& FormatOf(const std::string& path)
{
    const std::string extension = std::filesystem::path(path).extension().string();
    for (const Format& format : kFormats) {
        if (extension == format.extension) return format;
    }
    throw Failure(fmt::format("\"{}\" names no format", path),
                  "end it with .csv, .txt, .edf or .dat", kWrongUsage);
}

void AddColumn(SampleTable& table, const std::string& name, const std::vector<double>& mv,
               double mostMv)
{
    if (!mv.empty()) table.columns.push_back({name, mv, mostMv});
}

bool IsFlat(const std::vector<double>& mv)
{
    return std::all_of(mv.begin(), mv.end(), [](double value) { return value == 0.0; });
}

SampleTable MakeTable(const SignalRequest& request, const std::vector<SignalRun>& runs, bool hasAll)
{
    SampleTable table;
    table.rate = runs.front().rate;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const std::string name =
            runs.size() == 1 ? "ecg" : fmt::format("ecg{}", request.channels[i]);
        table.columns.push_back({name, runs[i].ecgMv});
    }
    const std::size_t count =
        std::min_element(runs.begin(), runs.end(), [](const SignalRun& a, const SignalRun& b) {
            return a.ecgMv.size() < b.ecgMv.size();
        })->ecgMv.size();
    if (hasAll) {
        const SignalRun& first = runs.front();
        if (!IsFlat(first.dcMv)) AddColumn(table, "dc", first.dcMv, kWideMostMv);
        AddColumn(table, "pacing", first.pacingMv, kWideMostMv);
        for (std::size_t led = 0; led < first.ppgMv.size(); ++led) {
            AddColumn(table, fmt::format("ppg{}", led), first.ppgMv[led], kPpgMostMv);
        }
    }
    for (SampleColumn& column : table.columns) column.mv.resize(count);
    return table;
}

// The files that are written for this name.
std::vector<std::string> TargetsOf(const std::string& path)
{
    if (FormatOf(path).write != WriteWfdb) return {path};
    return {path, std::filesystem::path(path).replace_extension(".hea").string()};
}

// Whether nothing is left to do.
bool Prepare(Program& program, const RenderOptions& options)
{
    if (options.signal.isListWanted) {
        ListSignals(program);
        return true;
    }
    const SignalRequest request = ReadRequest(options.signal);
    if (options.path.empty()) throw NoTarget(".csv, .txt, .edf or .dat");
    for (const std::string& target : TargetsOf(options.path)) {
        CheckTarget(target, options.isReplacing, SourcesOf(request.signal));
    }
    CheckRunSeconds(options.seconds);
    return false;
}

int Render(Program& program, const RenderOptions& options)
{
    const Interruption interruption;
    const SignalRequest request = ReadRequest(options.signal);
    TellRemarks(request);
    const Format& format = FormatOf(options.path);
    NewFiles files;
    for (const std::string& target : TargetsOf(options.path)) files.emplace_back(target);
    program.SetCalibrationDirectory();
    const auto runs = RunChannels(request, options.seconds);
    const SampleTable table = MakeTable(request, runs, format.hasAll);
    if (table.Count() == 0) throw Failure("the signal has no sample", "try a longer --for");
    format.write(table, files);
    if (Interruption::IsAsked()) throw Failure("interrupted", "", kInterrupted);
    for (NewFile& file : files) file.Finish();
    std::vector<std::string> names;
    for (const SampleColumn& column : table.columns) names.push_back(column.name);
    if (program.IsJson()) {
        program.PrintJson({{"file", options.path},
                           {"samples", table.Count()},
                           {"sample_rate", table.rate},
                           {"columns", names}});
        return kDone;
    }
    fmt::print("{}: {} samples of {}, {:g} a second\n", options.path, table.Count(),
               request.Title(), table.rate);
    return kDone;
}

}  // namespace

void AddRenderCommand(CLI::App& app, Program& program)
{
    CLI::App* const command = app.add_subcommand("render", "Write the samples of a signal");
    const auto options = std::make_shared<RenderOptions>();
    AddSignalOptions(*command, options->signal);
    AddDuration(*command, "--for", options->seconds, "so long from the start on [10s]",
                Least::AboveZero);
    command->add_option("-o,--output", options->path, "the file: .csv .txt .edf .dat");
    command->add_flag("--force", options->isReplacing, "replace a file that is there");
    command->footer(
        "The samples are those that would be sent to an instrument. They are computed faster than\n"
        "they would play, with a simulated instrument of the run's own; a real one is not used.\n"
        ".csv has a time and all columns. vrax play takes .txt, .edf and .dat again, in which the\n"
        "loaders hold values within 20 mV (.dat: 20.475 mV); .txt has the ECG alone. .edf has\n"
        "whole seconds, the last one filled up with the last sample. A column ppg0 is the pulse\n"
        "without its DC level, before breathing modulates it. With .dat a header .hea is written.");
    program.SetOfflineAction(
        *command, [&program, options] { return Prepare(program, *options); },
        [&program, options] { return Render(program, *options); });
}

}  // namespace vrax
