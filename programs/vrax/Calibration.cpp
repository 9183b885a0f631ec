#include "Calibration.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "CalibrationTable.h"
#include "Interruption.h"
#include "NewFile.h"
#include "vrax.h"

namespace vrax {

namespace {

constexpr int kShownStepMv = 250;
constexpr double kWriteSeconds = 12.0;  // of WriteDCCalibrationData()
constexpr double kEraseSeconds = 1.0;
constexpr auto kLook = std::chrono::milliseconds(100);

struct Options {
    std::string file;
    bool isAnswered = false;
    bool isReplacing = false;
};

std::string InstrumentName()
{
    const std::string serial = VRAXGetSerialNumber();
    return serial.empty() ? "the instrument without a serial number" : serial;
}

void ShowCodes(const Program& program, const CalibrationTable& table)
{
    const std::string head = fmt::format("{:>7}  {:>6}  {:>12}", "mV", "code", "codes per mV");
    fmt::print("{}\n", program.Paint(stdout, Style::Strong, head));
    for (std::size_t i = 0; i < table.size(); i += kShownStepMv) {
        const int mv = static_cast<int>(i) + kCalibrationFirstMv;
        if (i == 0) {
            fmt::print("{:>7}  {:>6}\n", mv, table[i]);
            continue;
        }
        const double rise =
            (table[i] - table[i - kShownStepMv]) / static_cast<double>(kShownStepMv);
        fmt::print("{:>7}  {:>6}  {:>12.3f}\n", mv, table[i], rise);
    }
}

void ShowTable(Program& program, const std::string& source, const CalibrationTable& table,
               bool isFile)
{
    std::string fault = FindFault(table);
    if (fault.empty() && isFile) fault = FindFileFault(table);
    if (program.IsJson()) {
        program.PrintJson({{"source", source},
                           {"valid", fault.empty()},
                           {"fault", fault},
                           {"first_mv", kCalibrationFirstMv},
                           {"codes", table}});
        return;
    }
    fmt::print("source  {}\nstate   {}\n\n", source,
               fault.empty() ? program.Paint(stdout, Style::Good, "valid")
                             : program.Paint(stdout, Style::Bad, fault));
    ShowCodes(program, table);
}

int RunShow(Program& program, const Options& options)
{
    if (!options.file.empty()) {
        ShowTable(program, options.file, ReadCalibrationFile(options.file), true);
        return kDone;
    }
    program.ConnectInstrument();
    const CalibrationTable table = CurrentCalibration();
    const CalibrationSource source = FindCalibrationSource(program.HasCalibrationFile());
    VRAXFree();
    ShowTable(program, NameOf(source), table, source == CalibrationSource::File);
    return kDone;
}

void WriteFile(const std::string& path, const CalibrationTable& table)
{
    std::vector<char> bytes;
    for (const std::uint16_t code : table) {
        bytes.push_back(static_cast<char>(code & 0xFF));
        bytes.push_back(static_cast<char>(code >> 8));
    }
    NewFile newFile(path);
    std::ofstream file(newFile.UnfinishedPath(), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) throw Failure(fmt::format("{} cannot be written", path), "is the disk full?");
    newFile.Finish();
}

int RunSave(Program& program, const Options& options)
{
    CheckTarget(options.file, options.isReplacing);
    program.ConnectInstrument();
    const CalibrationTable table = CurrentCalibration();
    const CalibrationSource source = FindCalibrationSource(program.HasCalibrationFile());
    const std::string instrument = InstrumentName();
    VRAXFree();
    if (source == CalibrationSource::StraightLine) {
        throw Failure(fmt::format("{} is not calibrated, so there is nothing to save", instrument),
                      "calibrate it, or write a saved table with `vrax calibration write`");
    }
    WriteFile(options.file, table);
    if (program.IsJson()) {
        program.PrintJson(
            {{"file", options.file}, {"instrument", instrument}, {"source", NameOf(source)}});
    } else {
        const bool isOwn = source == CalibrationSource::Instrument;
        fmt::print("saved the calibration of {} in {}{}\n", instrument, options.file,
                   isOwn ? "" : ", from the file in --calibration-dir");
    }
    return kDone;
}

// Runs `work` beside a text on a terminal. Ctrl-C waits for its end: half a table is none.
bool Await(const Program& program, const std::string& what, double aboutSeconds,
           const std::function<bool()>& work)
{
    const Interruption interruption;
    const bool isShown = Program::IsTerminal(stderr) && !program.IsJson();
    const auto start = std::chrono::steady_clock::now();
    std::future<bool> result = std::async(std::launch::async, work);
    while (result.wait_for(kLook) != std::future_status::ready) {
        if (!isShown) continue;
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        fmt::print(stderr, "\r\x1b[K{}, {:.0f} of about {:.0f} s{}", what, seconds, aboutSeconds,
                   Interruption::IsAsked() ? "; it must be finished before it can end" : "");
        std::fflush(stderr);
    }
    if (isShown) fmt::print(stderr, "\r\x1b[K");
    return result.get();
}

// The library removes the file of that directory together with the instrument's own table.
void RefuseCalibrationDirectory(const Program& program)
{
    if (!program.HasCalibrationDirectory()) return;
    throw Failure("nothing was written: calibration.dat in that directory would be removed too",
                  "leave out --calibration-dir", kWrongUsage);
}

Failure NotErased(const std::string& instrument)
{
    return {fmt::format("the calibration of {} could not be erased and may still be there",
                        instrument),
            "check the cable, look with vrax calibration show, and try again"};
}

void WriteToInstrument(const Program& program, const std::string& instrument,
                       const CalibrationTable& table)
{
    if (!Await(program, "erasing", kEraseSeconds, ClearDCCalibrationData)) {
        throw NotErased(instrument);
    }
    const std::vector<unsigned> values(table.begin(), table.end());
    const bool isWritten = Await(program, "writing", kWriteSeconds, [&values] {
        return WriteDCCalibrationData(values.data(), static_cast<long>(values.size()));
    });
    if (!isWritten || !ReadDCCalibrationData() || CurrentCalibration() != table) {
        throw Failure("the table could not be written: the instrument has no whole calibration now",
                      "check the cable and write it again");
    }
}

int RunWrite(Program& program, const Options& options)
{
    RefuseCalibrationDirectory(program);
    const CalibrationTable table = ReadCalibrationFile(options.file);
    const std::string fault = FindFault(table);
    if (!fault.empty()) {
        throw Failure(fmt::format("nothing was written: {} {}", options.file, fault),
                      "take the file of a whole calibration");
    }
    const std::string remark = FindFileFault(table);
    if (!remark.empty()) fmt::print(stderr, "vrax: {} {}\n", options.file, remark);
    program.CheckCanAsk(options.isAnswered);
    program.ConnectInstrument();
    const std::string instrument = InstrumentName();
    program.Confirm(fmt::format("Replace the calibration of {} by {}?", instrument, options.file),
                    options.isAnswered);
    WriteToInstrument(program, instrument, table);
    VRAXFree();
    if (program.IsJson()) {
        program.PrintJson({{"file", options.file}, {"instrument", instrument}, {"written", true}});
    } else {
        fmt::print("wrote {} to {} and read it back\n", options.file, instrument);
    }
    return kDone;
}

int RunClear(Program& program, const Options& options)
{
    RefuseCalibrationDirectory(program);
    program.CheckCanAsk(options.isAnswered);
    program.ConnectInstrument();
    const std::string instrument = InstrumentName();
    program.Confirm(fmt::format("Erase the calibration of {}?", instrument), options.isAnswered);
    const bool isErased = Await(program, "erasing", kEraseSeconds, ClearDCCalibrationData);
    VRAXFree();
    if (!isErased) throw NotErased(instrument);
    if (program.IsJson()) program.PrintJson({{"instrument", instrument}, {"erased", true}});
    else fmt::print("erased the calibration of {}: it plays by a straight line now\n", instrument);
    return kDone;
}

using Action = int (*)(Program& program, const Options& options);

CLI::App& AddAction(CLI::App& parent, Program& program, const std::string& name,
                    const std::string& help, const std::shared_ptr<Options>& options, Action action)
{
    CLI::App* const command = parent.add_subcommand(name, help);
    program.SetAction(*command, [&program, options, action] { return action(program, *options); });
    return *command;
}

}  // namespace

void AddCalibrationCommand(CLI::App& app, Program& program)
{
    CLI::App* const command =
        app.add_subcommand("calibration", "The table that turns a DC offset into codes.");
    command->require_subcommand(1);
    const auto options = std::make_shared<Options>();
    AddAction(*command, program, "show", "Shows the table in use, or that of a file.", options,
              RunShow)
        .add_option("FILE", options->file, "a file instead of the instrument");
    CLI::App& save =
        AddAction(*command, program, "save", "Saves the table in a file.", options, RunSave);
    save.add_option("FILE", options->file, "8002 bytes: 4001 codes for -2000 to 2000 mV")
        ->required();
    save.add_flag("--force", options->isReplacing, "replace a file that is there");
    CLI::App& write = AddAction(*command, program, "write",
                                "Writes the table of a file to the instrument.", options, RunWrite);
    write.add_option("FILE", options->file, "as written by save")->required();
    write.add_flag("--yes", options->isAnswered, "without the question");
    AddAction(*command, program, "clear", "Erases the table of the instrument.", options, RunClear)
        .add_flag("--yes", options->isAnswered, "without the question");
}

}  // namespace vrax
