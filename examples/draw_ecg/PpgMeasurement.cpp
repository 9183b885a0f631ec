#include "draw_ecg/PpgMeasurement.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

namespace ecg {

namespace {

constexpr double kEvenOut = 0.05;    // s; of the DC level that a pulse is compared with
constexpr double kSmoothing = 0.01;  // s; of a breath: a few steps of the converter
constexpr double kThreshold = 0.3;   // of the height: below the notch, above the foot
constexpr double kLowerMark = 0.1;   // of the height: the rise is taken between these two
constexpr double kUpperMark = 0.9;
constexpr double kTakingOver = 0.1;  // s of signal that may go by before a request is in force
constexpr double kAtRest = 0.002;    // of the DC level: a few steps of the converter
constexpr double kSmallestAcMv = 0.05;

// The rise of the standard pulse is (1 + sin u) / 2 with u from -pi/2 to pi/2, so that asin gives a
// straight line over time; its two ends are the foot and the peak, finer than a sample.
struct Rise {
    double foot;  // samples
    double peak;
};
Rise FitRise(std::span<const double> values, std::size_t crossing, double low, double high)
{
    const auto part = [&](std::size_t i) { return (values[i] - low) / (high - low); };
    std::size_t first = crossing;
    while (first > 0 && part(first - 1) >= kLowerMark) --first;
    double n = 0, sumX = 0, sumU = 0, sumXX = 0, sumXU = 0;
    for (std::size_t i = first; i < values.size() && part(i) <= kUpperMark; ++i) {
        const double x = static_cast<double>(i) - static_cast<double>(crossing);
        const double u = std::asin(std::clamp(2.0 * part(i) - 1.0, -1.0, 1.0));
        n += 1;
        sumX += x;
        sumU += u;
        sumXX += x * x;
        sumXU += x * u;
    }
    const double slope = (n * sumXU - sumX * sumU) / (n * sumXX - sumX * sumX);
    const double middle = static_cast<double>(crossing) + (sumX - sumU / slope) / n;
    const double quarter = std::numbers::pi / 2.0 / slope;
    return {middle - quarter, middle + quarter};
}

std::vector<std::size_t> UpwardCrossings(std::span<const double> values, double level)
{
    std::vector<std::size_t> crossings;
    for (std::size_t i = 1; i < values.size(); ++i) {
        if (values[i - 1] < level && values[i] >= level) crossings.push_back(i);
    }
    return crossings;
}

bool Plays(const PpgTrace& trace) { return !trace.acMv.empty(); }

// The time until which a request is in force.
double EndOf(const Recording& recording, const std::vector<PpgRequest>& requests, std::size_t index)
{
    return index + 1 < requests.size() ? requests[index + 1].time : recording.End();
}

BeatPhase MeasureBeats(const std::vector<Beat>& beats, const PpgRequest& asked, double end)
{
    BeatPhase phase;
    phase.asked = asked;
    const Beat* before = nullptr;
    double sum = 0;
    for (const Beat& beat : beats) {
        if (beat.peakTime < asked.time || beat.peakTime >= end) continue;
        ++phase.beats;
        if (before != nullptr) {
            const double interval = beat.peakTime - before->peakTime;
            sum += interval;
            phase.rateError = std::max(phase.rateError, std::fabs(60.0 / interval - asked.bpm));
        }
        before = &beat;
    }
    if (phase.beats > 1) phase.bpm = 60.0 * static_cast<double>(phase.beats - 1) / sum;
    return phase;
}

// The last R wave from which the pulse can come. Pulses may come a little early too.
const Beat* BeatOf(const SeenPpgPulse& pulse, const std::vector<Beat>& beats, double transit)
{
    const Beat* nearest = nullptr;
    for (const Beat& beat : beats) {
        const double error = std::fabs(pulse.peak - beat.peakTime - transit);
        if (nearest == nullptr || error < std::fabs(pulse.peak - nearest->peakTime - transit)) {
            nearest = &beat;
        }
    }
    return nearest;
}

PulsePhase MeasurePulses(const std::vector<SeenPpgPulse>& pulses, const std::vector<Beat>& beats,
                         std::size_t channel, const PpgRequest& asked, double end,
                         double sampleTime)
{
    PulsePhase phase;
    phase.channel = channel;
    phase.asked = asked;
    phase.sampleTime = sampleTime;
    if (beats.empty()) return phase;
    const SeenPpgPulse* before = nullptr;
    double intervals = 0;
    for (const SeenPpgPulse& pulse : pulses) {
        // What comes before the first beat that lies in the recording as a whole has none to go by.
        if (pulse.peak < std::max(asked.time, beats.front().peakTime) || pulse.peak >= end)
            continue;
        const Beat* beat = BeatOf(pulse, beats, asked.transit);
        ++phase.pulses;
        const double transit = pulse.peak - beat->peakTime;
        phase.transit += transit;
        phase.transitError = std::max(phase.transitError, std::fabs(transit - asked.transit));
        phase.ratio += pulse.Ratio();
        phase.ratioError =
            std::max(phase.ratioError, std::fabs(pulse.Ratio() / phase.AskedRatio() - 1.0));
        if (before != nullptr) {
            const double interval = pulse.peak - before->peak;
            intervals += interval;
            phase.rateError = std::max(phase.rateError, std::fabs(60.0 / interval - asked.bpm));
        }
        before = &pulse;
    }
    for (const Beat& beat : beats) {
        const double due = beat.peakTime + asked.transit;
        if (due >= asked.time && due < end) ++phase.expected;
    }
    if (phase.pulses == 0) return phase;
    phase.ratio /= static_cast<double>(phase.pulses);
    phase.transit /= static_cast<double>(phase.pulses);
    if (intervals > 0) phase.perMinute = 60.0 * static_cast<double>(phase.pulses - 1) / intervals;
    return phase;
}

// The highest and the lowest value between two times.
double Extreme(const Recording& recording, const std::vector<double>& values, double from,
               double to, bool isHighest)
{
    const auto at = [&](double time) {
        const auto index = std::lround((time - recording.start) * recording.rate);
        return values.begin() +
               std::clamp<std::ptrdiff_t>(index, 0, static_cast<std::ptrdiff_t>(values.size()) - 1);
    };
    const auto [low, high] = std::minmax_element(at(from), at(to) + 1);
    return isHighest ? *high : *low;
}

BreathPhase MeasureBreaths(const Recording& recording, const std::vector<double>& breath,
                           std::size_t channel, const PpgRequest& asked, double end)
{
    BreathPhase phase;
    phase.channel = channel;
    phase.asked = asked;
    if (asked.breaths == 0) {
        // The smoothed level shows what follows a little earlier.
        const double until = std::max(asked.time, end - kSmoothing);
        const double high = Extreme(recording, breath, asked.time, until, true);
        const double low = Extreme(recording, breath, asked.time, until, false);
        phase.depthPercent = 100.0 * std::max(high, -low);
        return phase;
    }
    const Crossings crossings =
        FindCrossings(recording, breath, asked.time + kTakingOver, end, asked.depthPercent / 200.0);
    for (std::size_t i = 0; i + 1 < crossings.up.size(); ++i) {
        const double begin = crossings.up[i];
        const double next = crossings.up[i + 1];
        const auto turn = std::lower_bound(crossings.down.begin(), crossings.down.end(), begin);
        if (turn == crossings.down.end() || *turn > next) continue;
        ++phase.breaths;
        phase.exhale += (next - *turn) / (*turn - begin);
        phase.depthPercent += 50.0 * (Extreme(recording, breath, begin, next, true) -
                                      Extreme(recording, breath, begin, next, false));
        phase.rateError =
            std::max(phase.rateError, std::fabs(60.0 / (next - begin) - asked.breaths));
    }
    if (phase.breaths == 0) return phase;
    const auto count = static_cast<double>(phase.breaths);
    phase.exhale /= count;
    phase.depthPercent /= count;
    phase.perMinute = 60.0 * static_cast<double>(crossings.up.size() - 1) /
                      (crossings.up.back() - crossings.up.front());
    return phase;
}

}  // namespace

double PulsePhase::AskedRatio() const
{
    return asked.levels[channel].acMv / asked.levels[channel].dcMv;
}

bool PulsePhase::Agrees() const
{
    const bool isAtRest = asked.breaths == 0;
    const double spread = isAtRest ? kTransitSpread : kTransitSpreadBreathing;
    return pulses > 1 && pulses == expected && rateError <= kRateTolerance &&
           ratioError <= kRatioTolerance && transitError <= spread * sampleTime &&
           (!isAtRest || std::fabs(transit - asked.transit) <= sampleTime);
}

bool BreathPhase::Agrees() const
{
    if (asked.breaths == 0) return depthPercent <= 100.0 * kAtRest;
    return breaths > 1 && rateError <= kBreathRateTolerance &&
           std::fabs(exhale / asked.exhale - 1.0) <= kBreathShapeTolerance &&
           std::fabs(depthPercent / asked.depthPercent - 1.0) <= kBreathShapeTolerance;
}

bool PpgFigures::Agrees() const
{
    const auto agree = [](const auto& phases) {
        return std::all_of(phases.begin(), phases.end(), [](const auto& p) { return p.Agrees(); });
    };
    return hasAllChannels && !pulses.empty() && agree(beats) && agree(pulses) && agree(breaths);
}

std::vector<double> Smooth(const std::vector<double>& values, double rate, double seconds)
{
    std::vector<double> sums(values.size() + 1, 0.0);
    for (std::size_t i = 0; i < values.size(); ++i) sums[i + 1] = sums[i] + values[i];
    const auto reach = static_cast<std::size_t>(std::lround(rate * seconds / 2.0));
    std::vector<double> smooth(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::size_t side = std::min({reach, i, values.size() - 1 - i});
        smooth[i] = (sums[i + side + 1] - sums[i - side]) / static_cast<double>(2 * side + 1);
    }
    return smooth;
}

std::vector<SeenPpgPulse> FindPpgPulses(const Recording& recording, const PpgTrace& trace)
{
    const std::vector<double> dc = Smooth(trace.dcMv, recording.rate, kEvenOut);
    std::vector<double> ratio(dc.size());
    for (std::size_t i = 0; i < dc.size(); ++i) ratio[i] = dc[i] > 0 ? trace.acMv[i] / dc[i] : 0;
    std::vector<SeenPpgPulse> pulses;
    if (trace.acMv.empty() ||
        *std::max_element(trace.acMv.begin(), trace.acMv.end()) < kSmallestAcMv) {
        return pulses;
    }
    const double top = *std::max_element(ratio.begin(), ratio.end());
    const auto crossings = UpwardCrossings(ratio, kThreshold * top);
    for (std::size_t k = 0; k + 1 < crossings.size(); ++k) {
        const auto begin = ratio.begin() + static_cast<std::ptrdiff_t>(crossings[k]);
        const auto end = ratio.begin() + static_cast<std::ptrdiff_t>(crossings[k + 1]);
        const auto peak = std::max_element(begin, end);
        const double low = *std::min_element(begin, end);
        const Rise rise = FitRise(ratio, crossings[k], low, *peak);
        const auto at = static_cast<std::size_t>(peak - ratio.begin());
        SeenPpgPulse pulse;
        pulse.foot = recording.start + rise.foot / recording.rate;
        pulse.peak = recording.start + rise.peak / recording.rate;
        pulse.acMv = (*peak - low) * dc[at];
        pulse.dcMv = dc[at] + pulse.acMv;
        pulses.push_back(pulse);
    }
    return pulses;
}

std::vector<double> BreathOf(const Recording& recording, const PpgTrace& trace,
                             const std::vector<PpgRequest>& requests)
{
    std::vector<double> breath = Smooth(trace.dcMv, recording.rate, kSmoothing);
    std::size_t rest = breath.size();
    for (const PpgRequest& request : requests) {
        if (request.breaths == 0) continue;
        rest = static_cast<std::size_t>(std::max(1.0, request.time * recording.rate));
        break;
    }
    rest = std::min(rest, breath.size());
    double sum = 0;
    for (std::size_t i = 0; i < rest; ++i) sum += trace.dcMv[i];
    const double level = sum / static_cast<double>(rest);
    for (double& value : breath) value = value / level - 1.0;
    return breath;
}

Crossings FindCrossings(const Recording& recording, const std::vector<double>& values, double from,
                        double to, double depth)
{
    Crossings crossings;
    const auto index = [&](double time) {
        const double at = std::clamp((time - recording.start) * recording.rate, 1.0,
                                     static_cast<double>(values.size()));
        return static_cast<std::size_t>(std::ceil(at));
    };
    double extreme = 0;  // the farthest value since the last crossing
    for (std::size_t i = index(from); i < index(to); ++i) {
        const double before = values[i - 1];
        if (std::fabs(before) > std::fabs(extreme)) extreme = before;
        if ((before < 0) == (values[i] < 0)) continue;
        const double part = before / (before - values[i]);
        const double time = recording.start + (static_cast<double>(i - 1) + part) / recording.rate;
        if (extreme <= -depth) crossings.up.push_back(time);
        if (extreme >= depth) crossings.down.push_back(time);
        if (std::fabs(extreme) >= depth) extreme = 0;
    }
    return crossings;
}

PpgFigures MeasurePpg(const Recording& recording, const std::vector<PpgRequest>& requests)
{
    PpgFigures figures;
    figures.seenBeats = FindBeats(recording);
    figures.hasAllChannels = true;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        figures.beats.push_back(
            MeasureBeats(figures.seenBeats, requests[i], EndOf(recording, requests, i)));
    }
    for (std::size_t channel = 0; channel < kPpgChannels; ++channel) {
        const PpgTrace& trace = recording.ppg[channel];
        const bool isAsked = requests.front().levels[channel].acMv > 0;
        if (isAsked != Plays(trace)) figures.hasAllChannels = false;
        if (!isAsked || !Plays(trace)) continue;
        figures.seenPulses[channel] = FindPpgPulses(recording, trace);
        const std::vector<double> breath = BreathOf(recording, trace, requests);
        for (std::size_t i = 0; i < requests.size(); ++i) {
            const double end = EndOf(recording, requests, i);
            // The last pulse is seen only when the next one has begun.
            const double lastWhole = recording.End() - 60.0 / requests[i].bpm;
            figures.pulses.push_back(MeasurePulses(figures.seenPulses[channel], figures.seenBeats,
                                                   channel, requests[i], std::min(end, lastWhole),
                                                   1.0 / recording.rate));
            figures.breaths.push_back(MeasureBreaths(recording, breath, channel, requests[i], end));
        }
    }
    return figures;
}

}  // namespace ecg
