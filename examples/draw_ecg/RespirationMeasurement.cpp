#include "draw_ecg/RespirationMeasurement.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace ecg {

namespace {

constexpr double kRestOhm = 50.0;
constexpr double kMinute = 60.0;
constexpr double kSmoothing = 0.05;  // s
constexpr double kInfinite = std::numeric_limits<double>::infinity();

// Sample times are written with six digits.
constexpr double kTimeStep = 1e-6;

double BreathOhm(const RespirationRequest& asked, double time)
{
    const double period = 60.0 / asked.breaths;
    const double inhale = period / (1.0 + asked.exhale);
    const double at = std::fmod(time, period);
    const double part =
        at < inhale ? (1.0 - std::cos(std::numbers::pi * at / inhale)) / 2.0
                    : (1.0 + std::cos(std::numbers::pi * (at - inhale) / (period - inhale))) / 2.0;
    return kRestOhm + asked.variation * part;
}

bool IsHeld(const RespirationRequest& asked, double time)
{
    return std::fmod(time + kTimeStep, kMinute) >= kMinute - asked.apnea;
}

void MeasureEcg(RespirationFigures& figures, const Recording& recording)
{
    const double attenuation = EcgAttenuation(figures.asked.baselineOhm);
    Recording ecg;
    ecg.start = recording.start;
    ecg.rate = recording.rate;
    for (const double mv : recording.mv) ecg.mv.push_back(mv * attenuation);
    const auto beats = FindBeats(ecg);
    const RespirationRequest& asked = figures.asked;
    figures.beats = beats.size();
    if (beats.size() < 2) return;
    for (std::size_t i = 0; i < beats.size(); ++i) {
        figures.mv += beats[i].mv / static_cast<double>(beats.size());
        figures.heightError =
            std::max(figures.heightError, std::fabs(beats[i].mv / asked.mv - 1.0));
        if (i == 0) continue;
        const double bpm = 60.0 / (beats[i].peakTime - beats[i - 1].peakTime);
        figures.bpmError = std::max(figures.bpmError, std::fabs(bpm - asked.bpm));
    }
    figures.bpm = 60.0 * static_cast<double>(beats.size() - 1) /
                  (beats.back().peakTime - beats.front().peakTime);
}

void MeasureSamples(RespirationFigures& figures, const Recording& recording)
{
    const RespirationRequest& asked = figures.asked;
    if (recording.respirationOhm.empty()) figures.ohmError = kInfinite;
    for (std::size_t i = 0; i < recording.respirationOhm.size(); ++i) {
        const double time = recording.TimeAt(i);
        const double ohm = recording.respirationOhm[i];
        const double error = std::fabs(ohm - AskedOhm(asked, recording.rate, time));
        const double worst = std::isnan(ohm) ? kInfinite : error;
        if (worst > figures.ohmError) {
            figures.ohmError = worst;
            figures.ohmErrorAt = time;
        }
        const double baseline = std::fabs(recording.baselineOhm[i] - asked.baselineOhm);
        figures.baselineError =
            std::max(figures.baselineError, std::isnan(baseline) ? kInfinite : baseline);
    }
}

// The last stretch in which no sample differs from the one before.
void MeasureHold(RespirationFigures& figures, const Recording& recording)
{
    const std::vector<double>& ohm = recording.respirationOhm;
    const double end = recording.End();
    const double held = std::max(0.0, end - (kMinute - figures.asked.apnea));
    figures.heldAsked = figures.asked.apnea > 0 ? std::min(held, figures.asked.apnea) : 0.0;
    figures.holdStart = end - figures.heldAsked;
    if (ohm.empty()) return;
    std::size_t first = ohm.size() - 1;
    while (first > 0 && ohm[first - 1] == ohm[first]) --first;
    figures.holdOhm = ohm[first];
    figures.heldSeconds = end - recording.TimeAt(first);
}

void MeasureBreaths(RespirationFigures& figures, const Recording& recording)
{
    const RespirationRequest& asked = figures.asked;
    const auto count = std::min(recording.respirationOhm.size(),
                                static_cast<std::size_t>(std::lround(
                                    (figures.holdStart - recording.start) * recording.rate)));
    const std::vector<double> moving(recording.respirationOhm.begin(),
                                     recording.respirationOhm.begin() +
                                         static_cast<std::ptrdiff_t>(count));
    if (moving.empty()) return;
    const auto [low, high] = std::minmax_element(moving.begin(), moving.end());
    figures.variation = *high - *low;
    std::vector<double> centred = Smooth(moving, recording.rate, kSmoothing);
    for (double& ohm : centred) ohm -= (*low + *high) / 2.0;
    const Crossings crossings = FindCrossings(recording, centred, recording.start,
                                              figures.holdStart, asked.variation / 4.0);
    const std::vector<double>& up = crossings.up;
    if (up.size() < 2) return;
    figures.breaths = up.size() - 1;
    for (std::size_t i = 0; i + 1 < up.size(); ++i) {
        const double perMinute = 60.0 / (up[i + 1] - up[i]);
        figures.breathError = std::max(figures.breathError, std::fabs(perMinute - asked.breaths));
    }
    figures.perMinute = 60.0 * static_cast<double>(figures.breaths) / (up.back() - up.front());
}

}  // namespace

double AskedOhm(const RespirationRequest& asked, double rate, double time)
{
    if (asked.apnea <= 0 || !IsHeld(asked, time)) return BreathOhm(asked, time);
    // The last sample before the hold; in the first minute, when there is none, 0 ohms are held.
    const double begin = std::floor((time + kTimeStep) / kMinute) * kMinute + kMinute - asked.apnea;
    return begin <= 0 ? 0.0 : BreathOhm(asked, begin - 1.0 / rate);
}

double EcgAttenuation(double baselineOhm)
{
    return baselineOhm <= 0 ? 1.0 : baselineOhm / 100.0 + 0.04;
}

bool RespirationFigures::HoldsBreath() const
{
    // The last sample before the hold has the value that is held, and times are sums of many steps.
    return std::fabs(heldSeconds - heldAsked) <= 2.5 * sampleTime + kTimeStep;
}

bool RespirationFigures::Agrees() const
{
    return beats > 1 && bpmError <= kRateTolerance && heightError <= kHeightTolerance &&
           breaths > 1 && breathError <= kBreathRateTolerance && ohmError <= kOhmTolerance &&
           baselineError == 0.0 && (heldAsked == 0.0 || HoldsBreath());
}

RespirationFigures MeasureRespiration(const Recording& recording, const RespirationRequest& asked)
{
    RespirationFigures figures;
    figures.asked = asked;
    figures.sampleTime = 1.0 / recording.rate;
    MeasureEcg(figures, recording);
    MeasureSamples(figures, recording);
    MeasureHold(figures, recording);
    MeasureBreaths(figures, recording);
    return figures;
}

}  // namespace ecg
