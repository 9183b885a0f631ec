#include "Play.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <fstream>
#include <memory>
#include <optional>

#include <fmt/format.h>

#include "Interruption.h"
#include "LineStart.h"
#include "ParameterCalls.h"
#include "ParameterJson.h"
#include "Quantities.h"
#include "SignalOptions.h"
#include "vrax.h"

namespace vrax {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kLook = std::chrono::milliseconds(20);
constexpr auto kShow = std::chrono::milliseconds(200);
constexpr auto kTell = std::chrono::seconds(1);
constexpr int kDivider = 400;  // the callback sees one sample in a hundred
constexpr char kClearLine[] = "\r\x1b[K";

// Written by the thread that computes the packets.
std::atomic<double> s_signalSeconds{0.0};
extern "C" void OnPlayedSample(double time, double) { s_signalSeconds = time; }

struct PlayOptions {
    SignalOptions signal;
    double seconds = 0.0;  // 0: until it is stopped
    std::string logPath;   // empty for none
    bool isWaiting = false;
};

enum class End { Asked, Signal, Time };

class Player {
public:
    Player(Program& program, const SignalRequest& request, const PlayOptions& options)
        : program_(program), request_(request), options_(options), seconds_(options.seconds)
    {}

    int Play()
    {
        Start();
        const End end = Follow();
        const double played = s_signalSeconds;
        DisableSaveLog();
        const int result = VRAXSetOutputFunction(OUTPUT_OFF);
        VRAXFree();
        if (result != 0) throw Failure("the output was not switched off", "unplug the instrument");
        TellEnd(end, played);
        return end == End::Asked && seconds_ > 0.0 ? kInterrupted : kDone;
    }

private:
    void Start();
    void StartWithLine();
    End Follow();
    void WatchConnection();
    void Show();
    void ReadRld();
    std::string RldText() const;
    void TellLoss(const std::string& text);
    void TellEnd(End end, double played);
    Json Status() const;

    Program& program_;
    const SignalRequest& request_;
    const PlayOptions& options_;
    const double seconds_;
    const bool isLive_ = Program::IsTerminal(stdout) && !program_.IsJson();
    bool isConnected_ = true;
    int losses_ = 0;  // of the instrument, which came back
    double seen_ = 0.0;
    Clock::time_point lastProgress_ = Clock::now();
    Clock::time_point lastShown_ = {};
    std::optional<std::pair<double, double>> rldVolts_;  // as last read
    Clock::time_point lastRld_ = {};
};

void Player::Start()
{
    LoadRecord(request_.signal, request_.channels.front());
    VRAXRegisterOutputSignalCallback(OnPlayedSample, kDivider);
    if (!options_.logPath.empty()) EnableSaveLog(options_.logPath.c_str());
    SetParameters(request_.values);
    if (options_.isWaiting) {
        StartWithLine();
    } else {
        StartSignal(request_.signal, request_.values);
    }
    SetPlayingParameters(request_.values);
    lastProgress_ = Clock::now();
    if (program_.IsJson()) return;
    fmt::print("{} plays {}\n", VRAXGetSerialNumber(), request_.Title());
    std::fflush(stdout);
}

void Player::StartWithLine()
{
    LineStart start;
    StartSignal(request_.signal, request_.values);
    if (program_.IsJson()) {
        program_.PrintJsonLine({{"ready", true}});
    } else {
        fmt::print("ready; a line on standard input starts it\n");
        std::fflush(stdout);
    }
    start.Await();
}

void Player::TellLoss(const std::string& text)
{
    fmt::print(stderr, "{}{} after {:.1f} s of signal\n", isLive_ ? kClearLine : "", text, seen_);
}

// The library finds an instrument again that was unplugged; no longer than that is waited.
void Player::WatchConnection()
{
    const double seen = s_signalSeconds;
    const bool wasConnected = isConnected_;
    isConnected_ = VRAXIsConnected();
    if (isConnected_ && seen > seen_) lastProgress_ = Clock::now();
    seen_ = seen;
    if (wasConnected && !isConnected_) TellLoss("the instrument was lost");
    if (!wasConnected && isConnected_) {
        ++losses_;
        TellLoss("the instrument is back");
        SetParametersAgain(request_.values);
    }
    const std::chrono::duration<double> stands = Clock::now() - lastProgress_;
    if (stands.count() < program_.TimeoutSeconds()) return;
    VRAXFree();
    throw Failure(fmt::format("the instrument was lost after {:.1f} s of signal", seen_),
                  "plug it in again and start anew", kNoInstrument);
}

End Player::Follow()
{
    for (;;) {
        if (Interruption::WaitFor(kLook)) return End::Asked;
        WatchConnection();
        if (isConnected_ && seconds_ > 0.0 && seen_ >= seconds_) return End::Time;
        if (VRAXGetOutputFunction() == OUTPUT_OFF) return End::Signal;
        Show();
    }
}

Json Player::Status() const
{
    Json status = {{"elapsed_s", std::round(seen_ * 1000.0) / 1000.0},
                   {"signal", request_.signal.Name()},
                   {"function", VRAXGetOutputFunction()},
                   {"connected", isConnected_},
                   {"serial", VRAXGetSerialNumber()},
                   {"samples", std::llround(seen_ * VRAXGetSampleRate())},
                   {"sample_rate", VRAXGetSampleRate()},
                   {"amplitude_mv", VRAXGetAmplitude()},
                   {"frequency_hz", VRAXGetFrequency()}};
    if (rldVolts_.has_value()) status["rld_v"] = {rldVolts_->first, rldVolts_->second};
    status["parameters"] = ParametersJson(request_.values);
    return status;
}

// An exchange with the instrument, so not as often as the line is shown.
void Player::ReadRld()
{
    const auto now = Clock::now();
    if (!isConnected_ || !request_.values.IsOn("rld") || now - lastRld_ < kTell) return;
    lastRld_ = now;
    double first = 0.0;
    double second = 0.0;
    rldVolts_.reset();
    if (VRAXReadRLD(&first, &second) == 1) rldVolts_ = {first, second};
}

std::string Player::RldText() const
{
    if (!rldVolts_.has_value()) return "";
    return fmt::format("right-leg drive {:.2f} V, {:.2f} V  ", rldVolts_->first, rldVolts_->second);
}

void Player::Show()
{
    const auto now = Clock::now();
    const Clock::duration pause = program_.IsJson() ? Clock::duration(kTell) : kShow;
    if (now - lastShown_ < pause) return;
    lastShown_ = now;
    if (!program_.IsJson() && !isLive_) return;
    ReadRld();
    if (program_.IsJson()) program_.PrintJsonLine(Status());
    if (!isLive_) return;
    const std::string state = isConnected_ ? program_.Paint(stdout, Style::Good, "connected")
                                           : program_.Paint(stdout, Style::Bad, "lost, searching");
    fmt::print("{}{:8.1f} s  {}  {:g} Hz, {:g} mV  {} samples  {}{}", kClearLine, seen_,
               request_.signal.Name(), VRAXGetFrequency(), VRAXGetAmplitude(),
               std::llround(seen_ * VRAXGetSampleRate()), RldText(), state);
    std::fflush(stdout);
}

void Player::TellEnd(End end, double played)
{
    const char* const why = end == End::Asked    ? "stopped"
                            : end == End::Signal ? "the signal has ended"
                                                 : "done";
    if (program_.IsJson()) {
        program_.PrintJsonLine({{"ended", why},
                                {"elapsed_s", std::round(played * 1000.0) / 1000.0},
                                {"losses", losses_}});
        return;
    }
    const std::string losses = losses_ == 0 ? ""
                               : losses_ == 1
                                   ? ", the instrument was away once"
                                   : fmt::format(", the instrument was away {} times", losses_);
    fmt::print("{}{} after {:.1f} s{}, output off\n", isLive_ ? kClearLine : "", why, played,
               losses);
}

// The library leaves out what it cannot write.
void CheckLog(const std::string& path)
{
    constexpr std::size_t kLongest = 511;
    if (path.empty()) return;
    if (path.size() <= kLongest && std::ofstream(path, std::ios::app)) return;
    throw Failure(fmt::format("{} cannot be written", path), "is the folder there?");
}

int Play(Program& program, const PlayOptions& options)
{
    if (options.signal.isListWanted) {
        ListSignals(program);
        return kDone;
    }
    const SignalRequest request = ReadRequest(options.signal);
    if (request.channels.size() > 1) {
        throw Failure("one channel can be played at a time", "give --channel one number",
                      kWrongUsage);
    }
    CheckLog(options.logPath);
    TellRemarks(request);
    const Interruption interruption;
    program.ConnectInstrument();
    try {
        return Player(program, request, options).Play();
    } catch (...) {
        VRAXFree();
        throw;
    }
}

}  // namespace

void AddPlayCommand(CLI::App& app, Program& program)
{
    CLI::App* const command = app.add_subcommand("play", "Play a signal until it is stopped");
    const auto options = std::make_shared<PlayOptions>();
    AddSignalOptions(*command, options->signal);
    AddDuration(*command, "--for", options->seconds, "play so long; until Ctrl-C without it",
                Least::AboveZero);
    command->add_flag("--wait-for-line", options->isWaiting,
                      "make all ready, and start with a line on standard input");
    command->add_option("--log", options->logPath,
                        "append the calls up to the end of the signal, for vrax replay");
    command->footer(
        "Ctrl-C switches the output off and ends the connection. Exit status: 0, but 130 where it\n"
        "comes before the end of --for. With --json an object a second.\n"
        "--timeout is also how long an instrument may be away that was unplugged meanwhile.");
    program.SetAction(*command, [&program, options] { return Play(program, *options); });
}

}  // namespace vrax
