#include "Replay.h"

#include <chrono>
#include <fstream>
#include <memory>

#include <fmt/format.h>

#include "Interruption.h"
#include "LogLines.h"
#include "Quantities.h"
#include "SignalOptions.h"
#include "vrax.h"

namespace vrax {

namespace {

constexpr double kUsualPause = 1.0;  // s
constexpr char kStopped[] = "stopped";

struct ReplayOptions {
    std::string path;
    std::string record;  // for the calls that play a file
    int channel = 0;
    double pauseSeconds = kUsualPause;
    double holdSeconds = 0.0;
    bool isFast = false;
    bool isDry = false;
    bool isSkipping = false;
    bool isStrict = false;
};

struct Log {
    std::vector<LogCall> calls;
    int skipped = 0;
};

void TellLine(Program& program, int line, const std::string& text, const char* state, Style style)
{
    if (program.IsJson()) return;
    fmt::print("{:5}  {}  {}\n", line, text, program.Paint(stdout, style, state));
    std::fflush(stdout);
}

// Every line, before anything is played. Blank lines separate the parts of a log.
Log ReadLog(const ReplayOptions& options)
{
    std::ifstream file(options.path);
    if (!file) throw Failure(options.path + " cannot be read", "name a log of EnableSaveLog()");
    Log log;
    int number = 0;
    for (std::string text; std::getline(file, text);) {
        ++number;
        if (text.find_first_not_of(" \t\r") == text.npos) continue;
        try {
            log.calls.push_back(ReadLogLine(text));
            log.calls.back().line = number;
        } catch (const Failure& failure) {
            const std::string sentence =
                fmt::format("{}, line {}: {}", options.path, number, failure.Sentence());
            if (!options.isSkipping) throw Failure(sentence, failure.Advice());
            fmt::print(stderr, "{}; left out\n", sentence);
            ++log.skipped;
        }
    }
    if (file.bad())
        throw Failure(options.path + " cannot be read to its end", "copy it to another disk");
    return log;
}

int List(Program& program, const Log& log)
{
    if (program.IsJson()) {
        Json calls = Json::array();
        for (const LogCall& call : log.calls) {
            calls.push_back({{"line", call.line}, {"call", call.text}});
        }
        program.PrintJson({{"calls", calls}, {"left_out", log.skipped}});
        return kDone;
    }
    for (const LogCall& call : log.calls) fmt::print("{:5}  {}\n", call.line, call.text);
    fmt::print("{} calls, {} lines left out\n", log.calls.size(), log.skipped);
    return kDone;
}

bool IsInterruptedWithin(double seconds)
{
    const auto time = std::chrono::duration<double>(seconds);
    return Interruption::WaitFor(std::chrono::ceil<std::chrono::milliseconds>(time));
}

// One call; whether the library took it.
bool MakeCall(Program& program, const ReplayOptions& options, const LogCall& call)
{
    if (!VRAXIsConnected()) {
        throw Failure(fmt::format("{}, line {}: the instrument was lost", options.path, call.line),
                      "plug it in again and start anew", kNoInstrument);
    }
    const LogResult result = MakeLogCall(call);
    TellLine(program, call.line, call.text,
             result.isDone ? "done" : fmt::format("refused ({})", result.code).c_str(),
             result.isDone ? Style::Good : Style::Bad);
    if (program.IsJson()) {
        program.PrintJsonLine({{"line", call.line},
                               {"call", call.text},
                               {"code", result.code},
                               {"done", result.isDone}});
    }
    return result.isDone;
}

struct Outcome {
    const char* ended = "done";
    int calls = 0;  // that were made
    int refused = 0;
};

Outcome MakeCalls(Program& program, const ReplayOptions& options, const Log& log)
{
    Outcome outcome;
    const double pause = options.isFast ? 0.0 : options.pauseSeconds;
    for (const LogCall& call : log.calls) {
        const bool isFirst = &call == &log.calls.front();
        if (!isFirst && IsInterruptedWithin(pause)) {
            outcome.ended = kStopped;
            return outcome;
        }
        ++outcome.calls;
        if (MakeCall(program, options, call)) continue;
        ++outcome.refused;
        if (!options.isStrict) continue;
        outcome.ended = "refused";
        return outcome;
    }
    if (IsInterruptedWithin(options.holdSeconds)) outcome.ended = kStopped;
    return outcome;
}

int TellOutcome(Program& program, const Outcome& outcome, const Log& log)
{
    if (program.IsJson()) {
        program.PrintJsonLine({{"ended", outcome.ended},
                               {"calls", outcome.calls},
                               {"refused", outcome.refused},
                               {"left_out", log.skipped}});
    }
    if (outcome.ended == kStopped) {
        throw Failure(fmt::format("interrupted after {} of {} calls", outcome.calls,
                                  log.calls.size()),
                      "", kInterrupted);
    }
    if (outcome.refused == 0) return kDone;
    throw Failure(fmt::format("{} of {} calls were refused", outcome.refused, outcome.calls),
                  "compare the modules and the firmware with those of the logged run");
}

int Replay(Program& program, const ReplayOptions& options)
{
    const Log log = ReadLog(options);
    if (options.isDry) return List(program, log);
    Signal record;
    if (!options.record.empty()) record = FindSignal(options.record, "");
    if (record.builtIn != nullptr) {
        throw Failure(fmt::format("\"{}\" is a built-in signal", options.record),
                      "--record takes a file", kWrongUsage);
    }
    const Interruption interruption;
    program.ConnectInstrument();
    Outcome outcome;
    try {
        if (!options.record.empty()) LoadRecord(record, options.channel);
        outcome = MakeCalls(program, options, log);
    } catch (...) {
        VRAXFree();
        throw;
    }
    VRAXFree();
    return TellOutcome(program, outcome, log);
}

}  // namespace

void AddReplayCommand(CLI::App& app, Program& program)
{
    CLI::App* const command = app.add_subcommand("replay", "Make the calls of an API log again");
    const auto options = std::make_shared<ReplayOptions>();
    command->add_option("LOG", options->path, "written by EnableSaveLog()")->required();
    AddDuration(*command, "--pause", options->pauseSeconds, "from one call to the next [1s]",
                Least::Zero);
    command->add_flag("--fast", options->isFast, "no pause");
    AddDuration(*command, "--for", options->holdSeconds, "play on so long after the last call",
                Least::Zero);
    command->add_option("--record", options->record, "the file that a logged run had loaded");
    command->add_option("--channel", options->channel, "of that file")->check(CLI::Range(0, 255));
    command->add_flag("--dry-run", options->isDry, "list the calls; no instrument is needed");
    command->add_flag("--skip", options->isSkipping, "leave out lines that are no known call");
    command->add_flag("--stop", options->isStrict, "stop at the first call that is refused");
    command->footer(
        "A log has no times, so the calls follow each other at --pause. Values are those of the\n"
        "log, rounded as it writes them. The output goes off at the end.");
    program.SetAction(*command, [&program, options] { return Replay(program, *options); });
}

}  // namespace vrax
