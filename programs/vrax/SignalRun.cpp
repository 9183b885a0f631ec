#include "SignalRun.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <optional>

#include <fmt/format.h>

#include "CalibrationTable.h"
#include "Failure.h"
#include "Interruption.h"
#include "ParameterCalls.h"
#include "PulseCalls.h"
#include "vrax.h"

namespace vrax {

namespace {

constexpr int kPort = 0;  // of the simulated instrument
constexpr unsigned kConnectTimeoutMs = 20000;
constexpr int kEverySample = 1;
constexpr auto kLook = std::chrono::milliseconds(5);
constexpr auto kStandstill = std::chrono::seconds(20);
constexpr double kMostSeconds = 3600.0;

struct Point {
    double time;  // s
    double mv;
};

// Written by the packet thread; read after the connection has ended, but for the number.
std::atomic<std::size_t> s_samples{0};
std::vector<Point> s_corners;
std::array<std::vector<double>, kPpgChannels> s_pulses;

extern "C" void OnComputedSample(double, double)
{
    s_samples.fetch_add(1, std::memory_order_relaxed);
}
extern "C" void OnPacingCorner(double time, double mv) { s_corners.push_back({time, mv}); }
template <int kLed>
void OnPulse(double, double mv)
{
    s_pulses[kLed].push_back(mv);
}

class Connection {
public:
    Connection()
    {
        if (!VRAXConnect(kPort, kConnectTimeoutMs)) {
            throw Failure("the simulated instrument does not answer", "try again", kNoInstrument);
        }
    }
    ~Connection() { VRAXFree(); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
};

// The library writes the buffers until recording is off.
class RawRecording {
public:
    RawRecording(std::vector<double>& ac, std::vector<double>& dc)
    {
        EnableRecordRaw(ac.data(), dc.data(), static_cast<int>(ac.size()));
    }
    ~RawRecording() { DisableRecordRaw(); }
    RawRecording(const RawRecording&) = delete;
    RawRecording& operator=(const RawRecording&) = delete;
};

void ListenToSignal()
{
    s_samples = 0;
    s_corners.clear();
    for (auto& pulse : s_pulses) pulse.clear();
    VRAXRegisterOutputSignalCallback(OnComputedSample, kEverySample);
    VRAXRegisterPacingOutputSignalCallback(OnPacingCorner);
    VRAXRegisterOutputPPGCallback(0, OnPulse<0>);
    VRAXRegisterOutputPPGCallback(1, OnPulse<1>);
    VRAXRegisterOutputPPGCallback(2, OnPulse<2>);
}

// Until so many samples are there or the signal has ended.
void AwaitSamples(std::size_t count)
{
    std::size_t seen = 0;
    auto lastProgress = std::chrono::steady_clock::now();
    while (seen < count && VRAXGetOutputFunction() != OUTPUT_OFF) {
        if (Interruption::WaitFor(kLook)) throw Failure("interrupted", "", kInterrupted);
        const auto now = std::chrono::steady_clock::now();
        const std::size_t samples = s_samples;
        if (samples > seen) lastProgress = now;
        seen = samples;
        if (now - lastProgress > kStandstill) {
            throw Failure("the signal stands still", "try again");
        }
    }
}

// Each pulse comes as four corners: 0, its height, its height, 0. One that is shorter than the
// distance of two samples stands in one of them.
std::vector<double> SamplePulses(std::size_t count, double rate)
{
    std::vector<double> mv(count, 0.0);
    for (std::size_t i = 0; i + 3 < s_corners.size(); i += 4) {
        const auto at = [&](double time) {
            return static_cast<std::size_t>(std::max(0.0, std::ceil(time * rate - 1e-6)));
        };
        const std::size_t first = at(s_corners[i + 1].time);
        const std::size_t end = std::max(at(s_corners[i + 2].time), first + 1);
        for (std::size_t k = first; k < std::min(end, count); ++k) mv[k] = s_corners[i + 1].mv;
    }
    return mv;
}

void TakeResults(SignalRun& run, const SignalRequest& request, std::size_t count)
{
    run.ecgMv.resize(count);
    run.dcMv.resize(count);
    if (request.values["pacing"] != 0.0) run.pacingMv = SamplePulses(count, run.rate);
    for (int led = 0; led < kPpgChannels; ++led) {
        if (!HasPulse(request.values, led)) continue;
        auto& pulse = run.ppgMv[static_cast<std::size_t>(led)];
        pulse = s_pulses[static_cast<std::size_t>(led)];
        pulse.resize(count, pulse.empty() ? 0.0 : pulse.back());
    }
}

}  // namespace

void CheckRunSeconds(double seconds)
{
    if (seconds <= kMostSeconds) return;
    throw Failure(fmt::format("{:g} s cannot be computed", seconds),
                  fmt::format("--for takes up to {:g} s", kMostSeconds), kWrongUsage);
}

SignalRun RunSignal(const SignalRequest& request, int channel, double seconds)
{
    SignalRun run;
    std::size_t count = 0;
    std::optional<double> fixedMv;
    {
        const Connection connection;
        LoadRecord(request.signal, channel);
        SetParameters(request.values);
        run.rate = VRAXGetSampleRate();
        const auto wanted = static_cast<std::size_t>(std::llround(seconds * run.rate));
        run.ecgMv.resize(wanted);
        run.dcMv.resize(wanted);
        ListenToSignal();
        const RawRecording recording(run.ecgMv, run.dcMv);
        StartSignal(request.signal, request.values);
        SetPlayingParameters(request.values);
        AwaitSamples(wanted);
        VRAXSetOutputFunction(OUTPUT_OFF);
        count = std::min<std::size_t>(wanted, s_samples);
        if (request.values.Has("dc-code")) {
            fixedMv = LevelOfCode(CurrentCalibration(), request.values.Int("dc-code"));
        }
    }
    // A code stands in the place of the level that is recorded.
    if (fixedMv.has_value()) std::fill(run.dcMv.begin(), run.dcMv.end(), *fixedMv);
    TakeResults(run, request, count);
    return run;
}

std::vector<SignalRun> RunChannels(const SignalRequest& request, double seconds)
{
    const Interruption interruption;
    std::vector<SignalRun> runs;
    for (const int channel : request.channels) {
        runs.push_back(RunSignal(request, channel, seconds));
    }
    return runs;
}

}  // namespace vrax
