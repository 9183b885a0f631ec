// What every command of vrax shares: the global options, what is shown and where, and the way to
// the instrument.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "Failure.h"

namespace vrax {

using Json = nlohmann::ordered_json;  // members stay in the order in which they are added

enum class Style { Good, Warning, Bad, Strong, Faint };

class Program {
public:
    Program(int argc, char** argv);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // The global options; commands come after it, so that they take them too.
    void AddOptions(CLI::App& app);

    // What `command` does once all options have been read. Returns the exit status; throws Failure,
    // or CLI::ValidationError for a wrong use that shows only now.
    void SetAction(CLI::App& command, std::function<int()> action);

    // The same for a command that computes a signal without a user's instrument: it runs beside a
    // private simulated one that takes the stream as fast as it is computed. `prepare` comes before
    // that: it throws what `action` would for a wrong use, and returns whether all is done already.
    void SetOfflineAction(CLI::App& command, std::function<bool()> prepare,
                          std::function<int()> action);

    // Reads the command line and runs the action; the exit status of the process.
    int Run(CLI::App& app);

    bool IsJson() const { return isJson_; }
    bool IsSimulated() const { return isSimulated_; }
    int Port() const { return port_; }  // n of /dev/ttyACM<n>; -1 = all
    double TimeoutSeconds() const { return timeoutSeconds_; }

    // Whether standard output and standard error are terminals: only there are lines rewritten.
    static bool IsTerminal(std::FILE* stream);

    // `text` in colour where `stream` shows colours, else as it is.
    std::string Paint(std::FILE* stream, Style style, const std::string& text) const;

    // Tells the library where the file calibration.dat is; part of ConnectInstrument().
    void SetCalibrationDirectory();

    // The answer in JSON mode: once a run, on the real standard output. What the library prints
    // goes to standard error in this mode. Bytes that are no UTF-8 are replaced.
    void PrintJson(const Json& answer);

    // In JSON mode: an object on a line of its own, for commands that tell how they go on. A
    // failure that follows is one as well.
    void PrintJsonLine(const Json& answer);

    // Waits for the instrument and tells on a terminal that it does. Throws Failure with
    // kNoInstrument, or kInterrupted after Ctrl-C. Calibrated by the instrument's own table, unless
    // --calibration-dir names a directory: a file that another instrument left in the working
    // directory is not looked at, and none is left there.
    void ConnectInstrument();

    // Whether --calibration-dir is given, and whether the last connection found a file in it.
    bool HasCalibrationDirectory() const { return !calibrationDirectory_.empty(); }
    bool HasCalibrationFile() const { return hasCalibrationFile_; }

    // Asks before anything is written to an instrument, unless `isAnswered` (--yes). Throws Failure
    // when the answer is no, or when there is no terminal to ask on.
    void Confirm(const std::string& question, bool isAnswered) const;
    // The part of Confirm() that can be known before the instrument is looked for.
    void CheckCanAsk(bool isAnswered) const;

private:
    // The process becomes vrax-instrument, which runs this program again beside an instrument.
    [[noreturn]] void BecomeSimulated() const;
    void RedirectOutput();
    void PrintAnswer(const std::string& text);
    int Show(const Failure& failure);
    int ShowUsage(const CLI::App& app, const CLI::ParseError& error);
    int RunAction();

    std::vector<std::string> arguments_;
    std::function<bool()> prepare_ = [] { return false; };
    std::function<int()> action_;
    std::FILE* answers_ = nullptr;  // JSON mode: the real standard output
    bool isJson_ = false;
    bool isInLines_ = false;
    bool isSimulated_ = false;
    bool isInsideSimulation_ = false;
    bool isOffline_ = false;
    bool hasRespiration_ = false;
    std::string ppgModel_;
    int port_ = -1;
    double timeoutSeconds_ = 10.0;
    std::string color_ = "auto";
    std::string calibrationDirectory_;
    bool hasCalibrationFile_ = false;
};

}  // namespace vrax
