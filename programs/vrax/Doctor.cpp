#include "Doctor.h"

#include <algorithm>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "CalibrationTable.h"
#include "HostChecks.h"
#include "Instrument.h"

namespace vrax {

namespace {

const char* NameOf(Verdict verdict)
{
    switch (verdict) {
        case Verdict::Ok: return "ok";
        case Verdict::Warning: return "warning";
        case Verdict::Failure: break;
    }
    return "failure";
}

Style StyleOf(Verdict verdict)
{
    switch (verdict) {
        case Verdict::Ok: return Style::Good;
        case Verdict::Warning: return Style::Warning;
        case Verdict::Failure: break;
    }
    return Style::Bad;
}

// Shows each finding as soon as it is there: the search for the instrument takes its time.
class Report {
public:
    explicit Report(const Program& program) : program_(program) {}

    void Add(const Finding& finding)
    {
        findings_.push_back(finding);
        if (program_.IsJson()) return;
        constexpr int kVerdictWidth = 9;
        constexpr int kCheckWidth = 13;
        const std::string verdict = fmt::format("{:<{}}", NameOf(finding.verdict), kVerdictWidth);
        fmt::print("{}{:<{}}{}\n", program_.Paint(stdout, StyleOf(finding.verdict), verdict),
                   finding.check, kCheckWidth, finding.text);
        if (!finding.advice.empty()) {
            fmt::print("{:{}}{}\n", "", kVerdictWidth + kCheckWidth, finding.advice);
        }
        std::fflush(stdout);
    }

    Verdict Worst() const
    {
        Verdict worst = Verdict::Ok;
        for (const Finding& finding : findings_) worst = std::max(worst, finding.verdict);
        return worst;
    }

    Json ToJson() const
    {
        Json checks = Json::array();
        for (const Finding& finding : findings_) {
            checks.push_back({{"check", finding.check},
                              {"result", NameOf(finding.verdict)},
                              {"text", finding.text},
                              {"advice", finding.advice}});
        }
        return {{"result", NameOf(Worst())}, {"checks", checks}};
    }

private:
    const Program& program_;
    Findings findings_;
};

// The ports that a connection would try.
std::vector<int> UsedPorts(const HostPaths& paths, const Program& program)
{
    std::vector<int> ports = ListPorts(paths);
    if (program.Port() >= 0) {
        std::erase_if(ports, [&program](int port) { return port != program.Port(); });
    }
    return ports;
}

void CheckHost(const Program& program, Report& report)
{
    const HostPaths paths;
    const std::vector<int> ports = UsedPorts(paths, program);
    report.Add(CheckPorts(paths, program.Port()));
    for (const int port : ports) report.Add(CheckPermission(paths, port));
    report.Add(CheckLockDirectory(paths));
    for (const Finding& finding : CheckLocks(paths, program.Port())) report.Add(finding);
    if (program.IsSimulated()) {
        report.Add({"modem", Verdict::Ok, "ModemManager does not see a simulated instrument", ""});
    } else {
        report.Add(CheckModemManager(paths, ports));
    }
}

bool CheckConnection(Program& program, Report& report)
{
    // Without a port there is nothing to wait for.
    if (UsedPorts(HostPaths(), program).empty()) return false;
    try {
        program.ConnectInstrument();
    } catch (const Failure& failure) {
        if (failure.Status() != kNoInstrument) throw;
        report.Add({"connection", Verdict::Failure, failure.Sentence(),
                    "mend what is said above; else switch the instrument off and on"});
        return false;
    }
    return true;
}

void CheckIdentity(const InstrumentFacts& facts, Report& report)
{
    if (facts.serial.empty()) {
        report.Add(
            {"identity", Verdict::Warning,
             fmt::format("an instrument on {} whose record of the model is not whole", facts.port),
             "have its model record written by the manufacturer"});
        return;
    }
    report.Add({"identity", Verdict::Ok, fmt::format("{} on {}", facts.serial, facts.port), ""});
}

void CheckFirmware(const InstrumentFacts& facts, Report& report)
{
    VRAXHardwareInformation versions = {};
    VRAXGetHWInformation(&versions);
    // Earlier firmware tells nothing of a module.
    const bool isOld =
        versions.firmwareMajor < 1 || (versions.firmwareMajor == 1 && versions.firmwareMinor < 3);
    report.Add({"firmware", isOld ? Verdict::Warning : Verdict::Ok,
                fmt::format("firmware {}, hardware {}", facts.firmware, facts.hardware),
                isOld ? "modules need 1.3 or later: vrax firmware burn" : ""});
    const ModuleFacts& module = facts.module;
    if (module.kind == ModuleKind::None) {
        report.Add({"module", Verdict::Ok, "none is fitted", ""});
        return;
    }
    const bool isUnknown = module.kind == ModuleKind::Other || module.serial.empty();
    report.Add(
        {"module", isUnknown ? Verdict::Warning : Verdict::Ok,
         fmt::format("{}, {}, firmware {}", NameOf(module.kind),
                     module.serial.empty() ? module.model : module.serial, module.firmware),
         isUnknown ? "take it off and fit it again; its record does not tell what it is" : ""});
}

void CheckCalibration(const Program& program, Report& report)
{
    const CalibrationTable table = CurrentCalibration();
    const CalibrationSource source = FindCalibrationSource(program.HasCalibrationFile());
    const std::string fault = FindFault(table);
    const std::string fileFault = FindFileFault(table);
    if (source == CalibrationSource::StraightLine) {
        report.Add({"calibration", Verdict::Warning,
                    "the instrument is not calibrated: DC offsets follow a straight line",
                    "calibrate it, or write a saved table with vrax calibration write"});
    } else if (!fault.empty()) {
        report.Add({"calibration", Verdict::Failure, "the table " + fault,
                    "write a whole one with vrax calibration write"});
    } else if (!fileFault.empty()) {
        report.Add({"calibration", Verdict::Warning, "the table " + fileFault,
                    "let applications use the instrument's own table instead of a file"});
    } else {
        report.Add(
            {"calibration", Verdict::Ok, fmt::format("valid, from the {}", NameOf(source)), ""});
    }
}

void CheckInstrument(const Program& program, Report& report)
{
    const InstrumentFacts facts = ReadInstrumentFacts();
    CheckIdentity(facts, report);
    CheckFirmware(facts, report);
    CheckCalibration(program, report);
    const bool isTold = facts.busVoltage != 0;
    report.Add({"voltage", isTold ? Verdict::Ok : Verdict::Warning,
                isTold ? fmt::format("{} on the instrument's own scale", facts.busVoltage)
                       : "the instrument does not tell its USB voltage",
                isTold ? "" : "use a port of the computer itself instead of a hub"});
}

int RunDoctor(Program& program)
{
    Report report(program);
    report.Add({"library", Verdict::Ok, fmt::format("version {}", VRAXGetSDKVersion()), ""});
    CheckHost(program, report);
    const bool isConnected = CheckConnection(program, report);
    if (isConnected) CheckInstrument(program, report);
    VRAXFree();
    if (program.IsJson()) program.PrintJson(report.ToJson());
    if (!isConnected) return kNoInstrument;
    return report.Worst() == Verdict::Failure ? kFailed : kDone;
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Program& program)
{
    CLI::App* const command =
        app.add_subcommand("doctor",
                           "Looks for what keeps an instrument from working, and gives advice.");
    command->footer(
        "Exit status: 0 when no line is a failure, 1 when one is, 3 when no instrument is "
        "connected.");
    program.SetAction(*command, [&program] { return RunDoctor(program); });
}

}  // namespace vrax
