#include "Info.h"

#include <string>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "CalibrationTable.h"
#include "Instrument.h"

namespace vrax {

namespace {

struct Answer {
    InstrumentFacts instrument;
    CalibrationSource source;
    std::string vraxVersion;
};

Json ToJson(const ModuleFacts& module)
{
    if (module.kind == ModuleKind::None) return nullptr;
    Json json = {{"kind", NameOf(module.kind)},
                 {"model", module.model},
                 {"serial", module.serial},
                 {"firmware", module.firmware},
                 {"hardware", module.hardware}};
    if (module.kind == ModuleKind::Ppg) {
        json["leds"] = module.leds;
        json["photodiode_channels"] = module.feature.photodiodeChannels;
        json["ac_mv"] = {module.feature.ppgAcMin, module.feature.ppgAcMax};
        json["dc_mv"] = {module.feature.ppgDcMin, module.feature.ppgDcMax};
    }
    return json;
}

Json ToJson(const Answer& answer, const Program& program)
{
    const InstrumentFacts& facts = answer.instrument;
    return {{"model", facts.model},
            {"serial", facts.serial},
            {"port", facts.port},
            {"simulated", program.IsSimulated()},
            {"firmware", facts.firmware},
            {"hardware", facts.hardware},
            {"module", ToJson(facts.module)},
            {"calibration", NameOf(answer.source)},
            {"usb_bus_voltage", facts.busVoltage},
            {"library", answer.vraxVersion}};
}

class Table {
public:
    explicit Table(const Program& program) : program_(program) {}
    void Add(const std::string& name, const std::string& value) const
    {
        constexpr int kNameWidth = 14;
        const std::string padded = fmt::format("{:<{}}", name, kNameWidth);
        fmt::print("{}{}\n", program_.Paint(stdout, Style::Faint, padded), value);
    }

private:
    const Program& program_;
};

void Show(const Table& table, const ModuleFacts& module)
{
    if (module.kind == ModuleKind::None) return table.Add("module", "none");
    table.Add("module", fmt::format("{}, {}, serial {}", NameOf(module.kind), module.model,
                                    module.serial.empty() ? "unknown" : module.serial));
    table.Add("", fmt::format("firmware {}, hardware {}", module.firmware, module.hardware));
    if (module.kind != ModuleKind::Ppg) return;
    const VRAXDeviceFeature& feature = module.feature;
    table.Add("", fmt::format("AC {:g} to {:g} mV, DC {:g} to {:g} mV", feature.ppgAcMin,
                              feature.ppgAcMax, feature.ppgDcMin, feature.ppgDcMax));
    table.Add("", fmt::format("LED channels {}, {} photodiode{}", fmt::join(module.leds, ", "),
                              feature.photodiodeChannels > 1 ? "two" : "one",
                              feature.photodiodeChannels > 1 ? "s" : ""));
}

std::string SourceText(CalibrationSource source)
{
    switch (source) {
        case CalibrationSource::File: return "from the file of --calibration-dir";
        case CalibrationSource::Instrument: return "from the instrument";
        case CalibrationSource::StraightLine: break;
    }
    return "none: a straight line is used";
}

void Show(const Answer& answer, const Program& program)
{
    const InstrumentFacts& facts = answer.instrument;
    const Table table(program);
    table.Add("model", program.Paint(stdout, Style::Strong, facts.model));
    table.Add("serial", facts.serial.empty() ? "unknown" : facts.serial);
    table.Add("port", facts.port + (program.IsSimulated() ? " (simulated)" : ""));
    table.Add("firmware", facts.firmware);
    table.Add("hardware", facts.hardware);
    Show(table, facts.module);
    table.Add("calibration", SourceText(answer.source));
    table.Add("USB voltage", facts.busVoltage == 0 ? "not told"
                                                   : fmt::format("{} on the instrument's own scale",
                                                                 facts.busVoltage));
    table.Add("library", answer.vraxVersion);
}

int RunInfo(Program& program)
{
    program.ConnectInstrument();
    const Answer answer = {ReadInstrumentFacts(),
                           FindCalibrationSource(program.HasCalibrationFile()),
                           VRAXGetSDKVersion()};
    VRAXFree();
    if (program.IsJson()) program.PrintJson(ToJson(answer, program));
    else Show(answer, program);
    return kDone;
}

}  // namespace

void AddInfoCommand(CLI::App& app, Program& program)
{
    CLI::App* const command = app.add_subcommand("info", "Shows what the instrument is.");
    program.SetAction(*command, [&program] { return RunInfo(program); });
}

}  // namespace vrax
