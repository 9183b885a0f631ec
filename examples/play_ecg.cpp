// Plays an ECG, changes its rate and its height while it plays, and paces it. Written on vrax.h
// alone.

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include <unistd.h>

#include <CLI/CLI.hpp>

#include "vrax.h"

namespace {

struct Step {
    double at;       // s of signal
    double bpm;      // beats a minute
    double mv;       // height of the QRS complex, peak to peak
    double pulseMv;  // pacing pulses, one a beat; 0 = none
    double pulseMs;
};
// Each change is asked for in the middle of a beat, so that it can be seen to wait for its end.
constexpr Step kSteps[] = {{0.0, 60.0, 1.0, 0.0, 0.0},
                           {7.4, 90.0, 1.0, 0.0, 0.0},
                           {13.0, 90.0, 2.0, 0.0, 0.0},
                           {17.6, 90.0, 2.0, 150.0, 2.0}};
constexpr double kEnd = 23.9;  // s of signal

// What follows each pacing pulse. Over before the QRS complex begins.
constexpr double kOvershootMv = 0.3;
constexpr unsigned kOvershootMs = 8;

constexpr unsigned kConnectTimeoutMs = 10000;
constexpr int kDivider = 400;  // the callback sees one sample in a hundred
constexpr auto kLook = std::chrono::milliseconds(10);
constexpr auto kStandstill = std::chrono::seconds(5);

constexpr int kFailure = 1;
constexpr int kUsageError = 2;

// Written by the library's thread that computes the signal.
std::atomic<double> s_signalTime{0.0};

extern "C" void OnSignal(double time, double) { s_signalTime = time; }

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

struct Arguments {
    int port = -1;
    std::string logPath;
};

bool Accepted(const char* call, int result)
{
    if (result == 0) return true;
    std::fprintf(stderr, "play_ecg: %s was refused (%d)\n", call, result);
    return false;
}

std::string Words(const Step& step)
{
    char text[96];
    std::snprintf(text, sizeof text, "%.0f bpm, %.0f mV", step.bpm, step.mv);
    if (step.pulseMv == 0.0) return text;
    const std::string words = text;
    std::snprintf(text, sizeof text, ", paced with %.0f mV, %.0f ms", step.pulseMv, step.pulseMs);
    return words + text;
}

bool IsLive() { return isatty(STDOUT_FILENO) != 0; }

// A line of its own; on a terminal it replaces the running time.
void Tell(double time, const std::string& what)
{
    std::printf("%s  %4.1f s  %s\n", IsLive() ? "\r\x1b[K" : "", time, what.c_str());
    std::fflush(stdout);
}

void ShowTime(const Step& step, double time)
{
    if (!IsLive()) return;
    std::printf("\r\x1b[K  %4.1f s  %s", time, Words(step).c_str());
    std::fflush(stdout);
}

// False when the signal stands still or the instrument has gone.
bool PlayUntil(const Step& step, double end)
{
    double seen = s_signalTime;
    auto lastProgress = std::chrono::steady_clock::now();
    while (seen < end) {
        std::this_thread::sleep_for(kLook);
        const double time = s_signalTime;
        const auto now = std::chrono::steady_clock::now();
        if (time > seen) lastProgress = now;
        seen = time;
        ShowTime(step, seen);
        if (!VRAXIsConnected() || now - lastProgress > kStandstill) {
            std::fprintf(stderr, "play_ecg: the instrument was lost at %.1f s\n", seen);
            return false;
        }
    }
    return true;
}

// One pulse a beat. The timing is in force from the end of the cycle on; the amplitude and the
// length go to the instrument with the last call.
bool Pace(const Step& step)
{
    if (!Accepted("VRAXSetPacingAmplitude", VRAXSetPacingAmplitude(step.pulseMv)) ||
        !Accepted("VRAXSetPacingDuration", VRAXSetPacingDuration(step.pulseMs)) ||
        !Accepted("VRAXSetPacingRateSynchronized", VRAXSetPacingRateSynchronized()) ||
        !Accepted("VRAXSetOvershootAmplitude", VRAXSetOvershootAmplitude(kOvershootMv)) ||
        !Accepted("VRAXSetOvershootTimeConstant", VRAXSetOvershootTimeConstant(kOvershootMs))) {
        return false;
    }
    if (VRAXApplyPacing() == 1) return true;
    std::fprintf(stderr, "play_ecg: the pacing settings were not taken\n");
    return false;
}

// Asks for what differs from the step before. The time is taken first: nothing can be in force
// before it.
bool Ask(const Step& step, const Step* before, std::FILE* log)
{
    const double time = before == nullptr ? 0.0 : s_signalTime.load();
    if (before == nullptr || step.bpm != before->bpm) {
        if (!Accepted("VRAXSetFrequency", VRAXSetFrequency(step.bpm / 60.0))) return false;
    }
    if (before == nullptr || step.mv != before->mv) {
        if (!Accepted("VRAXSetAmplitude", VRAXSetAmplitude(step.mv))) return false;
    }
    if (before != nullptr && step.pulseMv != before->pulseMv && !Pace(step)) return false;
    Tell(time, Words(step) + " asked");
    if (log != nullptr) {
        std::fprintf(log, "%.6f,%g,%g,%g,%g\n", time, step.bpm, step.mv, step.pulseMv,
                     step.pulseMs);
    }
    return true;
}

bool Play(std::FILE* log)
{
    VRAXRegisterOutputSignalCallback(OnSignal, kDivider);
    const Step* before = nullptr;
    for (const Step& step : kSteps) {
        if (before != nullptr && !PlayUntil(*before, step.at)) return false;
        if (!Ask(step, before, log)) return false;
        if (before == nullptr &&
            !Accepted("VRAXSetOutputFunction", VRAXSetOutputFunction(OUTPUT_ECG))) {
            return false;
        }
        before = &step;
    }
    if (!PlayUntil(*before, kEnd)) return false;
    if (!Accepted("VRAXSetOutputFunction", VRAXSetOutputFunction(OUTPUT_OFF))) return false;
    Tell(s_signalTime, "stopped");
    return true;
}

bool Run(const Arguments& arguments)
{
    File log;
    if (!arguments.logPath.empty()) {
        log.reset(std::fopen(arguments.logPath.c_str(), "w"));
        if (!log) {
            std::perror(("play_ecg: " + arguments.logPath).c_str());
            return false;
        }
        std::fprintf(log.get(), "time_s,bpm,mv,pulse_mv,pulse_ms\n");
    }
    if (!VRAXConnect(arguments.port, kConnectTimeoutMs)) {
        std::fprintf(stderr, "play_ecg: no instrument was found within %u s\n",
                     kConnectTimeoutMs / 1000);
        return false;
    }
    std::printf("  connected to %s, firmware %s\n", VRAXGetSerialNumber(), VRAXGetFWVersion());
    const bool played = Play(log.get());
    VRAXFree();
    if (log && (std::fflush(log.get()) != 0 || std::ferror(log.get()) != 0)) {
        std::fprintf(stderr, "play_ecg: %s is not complete\n", arguments.logPath.c_str());
        return false;
    }
    return played;
}

}  // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    CLI::App app(
        "Plays an ECG for 24 seconds: 60 bpm and 1 mV, then 90 bpm, then 2 mV, then paced.",
        "play_ecg");
    app.add_option("--port", arguments.port, "n of /dev/ttyACM<n>; -1 tries all")
        ->check(CLI::Range(-1, 127))
        ->capture_default_str();
    app.add_option("--log", arguments.logPath,
                   "write when each change was asked: time_s,bpm,mv,pulse_mv,pulse_ms");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_SUCCESS : kUsageError;
    }
    return Run(arguments) ? EXIT_SUCCESS : kFailure;
}
