// Plays an ECG, changes its rate and its height while it plays, and paces it. Written on vrax.h
// alone.

#include <cstdio>
#include <string>

#include "player/Player.h"
#include "vrax.h"

namespace {

using player::Accepted;
using player::PlayUntil;
using player::Tell;

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

constexpr char kLogColumns[] = "time_s,bpm,mv,pulse_mv,pulse_ms";

std::string Words(const Step& step)
{
    char text[96];
    std::snprintf(text, sizeof text, "%.0f bpm, %.0f mV", step.bpm, step.mv);
    if (step.pulseMv == 0.0) return text;
    const std::string words = text;
    std::snprintf(text, sizeof text, ", paced with %.0f mV, %.0f ms", step.pulseMv, step.pulseMs);
    return words + text;
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
    return player::Done("VRAXApplyPacing", VRAXApplyPacing());
}

// Asks for what differs from the step before. The time is taken first: nothing can be in force
// before it.
bool Ask(const Step& step, const Step* before, std::FILE* log)
{
    const double time = before == nullptr ? 0.0 : player::SignalTime();
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
    const Step* before = nullptr;
    for (const Step& step : kSteps) {
        if (before != nullptr && !PlayUntil(Words(*before), step.at)) return false;
        if (!Ask(step, before, log)) return false;
        if (before == nullptr &&
            !Accepted("VRAXSetOutputFunction", VRAXSetOutputFunction(OUTPUT_ECG))) {
            return false;
        }
        before = &step;
    }
    if (!PlayUntil(Words(*before), kEnd)) return false;
    if (!Accepted("VRAXSetOutputFunction", VRAXSetOutputFunction(OUTPUT_OFF))) return false;
    Tell(player::SignalTime(), "stopped");
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    player::Arguments arguments;
    int status = 0;
    if (!player::ReadArguments(
            argc, argv, "play_ecg",
            "Plays an ECG for 24 seconds: 60 bpm and 1 mV, then 90 bpm, then 2 mV, then paced.",
            kLogColumns, arguments, status)) {
        return status;
    }
    return player::Run(arguments, kLogColumns, Play);
}
