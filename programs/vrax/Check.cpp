#include "Check.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "RecordKind.h"
#include "RecordLoads.h"

namespace vrax {

namespace {

constexpr char kDescription[] =
    "Tells what the loaders make of a recording: each field of its header, the rules that it "
    "breaks, and what the library returned when it loaded each channel.";
constexpr char kFooter[] =
    "Text, binary, AHA, EDF and WFDB recordings, and images of the instrument's programs.\n"
    "Of a WFDB record either file may be named. Exit status 0 when every channel that was\n"
    "asked for is taken (annotations of EDF+ aside), 1 when one is not.";

struct CheckOptions {
    std::string path;
    std::string kind;
    int channel = -1;
};

struct Checked {
    Record record;
    RecordFields header;
    int firstChannel = 0;
    std::vector<RecordLoad> loads;  // from the first channel on; one for an image
    bool isTaken = false;

    bool IsImage() const
    {
        return record.kind == RecordKind::Fpga || record.kind == RecordKind::Mcu;
    }
    std::string ChannelName(std::size_t load) const
    {
        const std::size_t channel = static_cast<std::size_t>(firstChannel) + load;
        return channel < header.channels.size() ? header.channels[channel] : "";
    }
};

// Annotations are no signal: they alone do not make a recording that is refused.
bool IsTaken(const std::vector<RecordLoad>& loads)
{
    const auto isTaken = [](const RecordLoad& load) { return load.isTaken; };
    return std::any_of(loads.begin(), loads.end(), isTaken) &&
           std::all_of(loads.begin(), loads.end(),
                       [&](const RecordLoad& load) { return isTaken(load) || load.isAnnotations; });
}

Checked CheckRecord(const CheckOptions& options)
{
    Checked checked;
    checked.record = RecogniseRecord(options.path, options.kind);
    checked.header = ReadFields(checked.record);
    if (checked.IsImage()) {
        checked.loads.push_back(LoadImage(checked.record));
    } else {
        const int channels = std::max(1, static_cast<int>(checked.header.channels.size()));
        checked.firstChannel = std::max(options.channel, 0);
        const int last = options.channel < 0 ? channels - 1 : options.channel;
        for (int channel = checked.firstChannel; channel <= last; ++channel) {
            checked.loads.push_back(LoadChannel(checked.record, channel,
                                                checked.ChannelName(checked.loads.size()),
                                                checked.header.rate));
        }
    }
    checked.isTaken = IsTaken(checked.loads);
    return checked;
}

Json JsonOf(const RecordField& field)
{
    Json json = {{"field", field.name}, {"offset", field.offset}, {"value", field.value}};
    if (!field.rule.empty()) json["rule"] = field.rule;
    if (!field.note.empty()) json["note"] = field.note;
    return json;
}

Json JsonOf(const RecordLoad& load, bool isImage)
{
    Json json = {{"call", load.call},
                 {"code", load.code},
                 {"meaning", load.meaning},
                 {"taken", load.isTaken}};
    if (isImage || !load.isTaken) return json;
    json["samples"] = load.samples;
    json["rate"] = load.rate;
    json["seconds"] = load.seconds;
    json["lowest_mv"] = load.lowest;
    json["highest_mv"] = load.highest;
    json["limit_mv"] = load.isHeld ? kRecordLimitMv : kOutputLimitMv;
    json["samples_at_limit"] = load.atLimit;
    if (load.atLimit > 0) json["first_at_limit"] = load.firstAtLimit;
    return json;
}

Json JsonOf(const Checked& checked)
{
    Json json = {{"file", checked.record.path}};
    if (!checked.record.signalPath.empty()) json["signal_file"] = checked.record.signalPath;
    json["kind"] = WordOf(checked.record.kind);
    json["why"] = checked.record.why;
    json["taken"] = checked.isTaken;
    json["fields"] = Json::array();
    for (const RecordField& field : checked.header.fields) json["fields"].push_back(JsonOf(field));
    json["loads"] = Json::array();
    for (std::size_t i = 0; i < checked.loads.size(); ++i) {
        Json load = Json::object();
        if (!checked.IsImage()) {
            load["channel"] = checked.firstChannel + static_cast<int>(i);
            load["name"] = checked.ChannelName(i);
        }
        load.update(JsonOf(checked.loads[i], checked.IsImage()));
        json["loads"].push_back(load);
    }
    return json;
}

void PrintFields(const Program& program, const Checked& checked)
{
    std::size_t names = 5;
    std::size_t values = 5;
    for (const RecordField& field : checked.header.fields) {
        names = std::max(names, field.name.size());
        values = std::max(values, field.value.size());
    }
    const auto title = fmt::format("{:>8}  {:{}}  {}", "byte", "field", names, "value");
    fmt::print("{}\n", program.Paint(stdout, Style::Faint, title));
    for (const RecordField& field : checked.header.fields) {
        std::string line =
            fmt::format("{:>8}  {:{}}  {}", field.offset, field.name, names, field.value);
        const std::size_t width = 8 + 2 + names + 2 + values;
        line.resize(std::max(line.size(), width), ' ');
        if (!field.rule.empty()) {
            line += "  " + program.Paint(stdout, Style::Bad, "refused: " + field.rule);
        } else if (!field.note.empty()) {
            line += "  " + program.Paint(stdout, Style::Warning, field.note);
        } else {
            line.resize(line.find_last_not_of(' ') + 1);
        }
        fmt::print("{}\n", line);
    }
}

std::string LimitText(const RecordLoad& load)
{
    const double limit = load.isHeld ? kRecordLimitMv : kOutputLimitMv;
    if (load.atLimit == 0) return fmt::format("within {} mV", limit);
    const double seconds =
        load.rate > 0.0 ? static_cast<double>(load.firstAtLimit) / load.rate : 0.0;
    return fmt::format("{} {} {} {} mV, the first at {:.3f} s, {}", load.atLimit,
                       load.atLimit == 1 ? "sample" : "samples",
                       load.isHeld ? "at or beyond" : "beyond", limit, seconds,
                       load.isHeld ? "held there" : "played as that");
}

void PrintLoads(const Program& program, const Checked& checked)
{
    for (std::size_t i = 0; i < checked.loads.size(); ++i) {
        const RecordLoad& load = checked.loads[i];
        const std::string name = checked.ChannelName(i);
        if (!checked.IsImage()) {
            const int channel = checked.firstChannel + static_cast<int>(i);
            fmt::print("\nchannel {}{}\n", channel, name.empty() ? "" : ", " + name);
        } else {
            fmt::print("\n");
        }
        const Style style = load.isTaken         ? Style::Good
                            : load.isAnnotations ? Style::Warning
                                                 : Style::Bad;
        fmt::print("    {} returned {}: {}\n", load.call,
                   program.Paint(stdout, style, std::to_string(load.code)), load.meaning);
        if (!load.isTaken || checked.IsImage()) continue;
        fmt::print("    {} samples/s, {:.3f} s, {:.3f} mV to {:.3f} mV; {}\n", load.rate,
                   load.seconds, load.lowest, load.highest, LimitText(load));
    }
}

int Check(Program& program, const CheckOptions& options)
{
    const Checked checked = CheckRecord(options);
    if (program.IsJson()) {
        program.PrintJson(JsonOf(checked));
        return checked.isTaken ? kDone : kFailed;
    }
    const Record& record = checked.record;
    fmt::print("{}: {} ({})\n", program.Paint(stdout, Style::Strong, record.path),
               NameOf(record.kind), record.why);
    if (!record.signalPath.empty()) fmt::print("signal file: {}\n", record.signalPath);
    fmt::print("\n");
    PrintFields(program, checked);
    PrintLoads(program, checked);
    fmt::print("\n{}\n", checked.isTaken ? program.Paint(stdout, Style::Good, "It is taken.")
                                         : program.Paint(stdout, Style::Bad, "It is refused."));
    return checked.isTaken ? kDone : kFailed;
}

}  // namespace

void AddCheckCommand(CLI::App& app, Program& program)
{
    CLI::App* command = app.add_subcommand("check", kDescription);
    command->footer(kFooter);
    auto options = std::make_shared<CheckOptions>();
    command->add_option("FILE", options->path, "the recording or image")->required();
    command->add_option("--channel", options->channel, "this channel alone, from 0; all without it")
        ->check(CLI::Range(0, kMostChannels - 1));
    command->add_option("--as", options->kind, "take it for this, whatever it looks like")
        ->check(CLI::IsMember(FormatWords()));
    program.SetAction(*command, [&program, options] { return Check(program, *options); });
}

}  // namespace vrax
