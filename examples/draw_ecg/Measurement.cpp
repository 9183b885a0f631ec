#include "draw_ecg/Measurement.h"

#include <algorithm>
#include <cmath>

namespace ecg {

namespace {

constexpr double kBeforePeak = 0.05;  // s; the QRS complex lies within these two
constexpr double kAfterPeak = 0.07;
constexpr double kBlock = 0.5;            // s over which the local height is taken
constexpr double kThreshold = 0.35;       // of the local height: above the T wave
constexpr double kSmallestHeight = 0.05;  // mV; below it there are no beats
constexpr double kLowerMark = 0.2;        // of the R wave: where its strokes are measured
constexpr double kUpperMark = 0.8;

// The largest value of each block.
std::vector<double> BlockHeights(const Recording& recording, std::size_t length)
{
    std::vector<double> heights((recording.mv.size() + length - 1) / length, 0.0);
    for (std::size_t i = 0; i < recording.mv.size(); ++i) {
        heights[i / length] = std::max(heights[i / length], recording.mv[i]);
    }
    return heights;
}

// A level for each block, from the blocks of a second to both sides.
std::vector<double> Thresholds(const std::vector<double>& heights)
{
    constexpr std::size_t kReach = 2;
    std::vector<double> thresholds(heights.size());
    for (std::size_t i = 0; i < heights.size(); ++i) {
        const auto first = heights.begin() + static_cast<std::ptrdiff_t>(i - std::min(i, kReach));
        const auto last =
            heights.begin() + static_cast<std::ptrdiff_t>(std::min(i + kReach + 1, heights.size()));
        thresholds[i] = std::max(kThreshold * *std::max_element(first, last), kSmallestHeight);
    }
    return thresholds;
}

// A stroke of the R wave as a straight line: s at its foot on the baseline, and s for the height.
struct Stroke {
    double foot;
    double duration;
};

// The least-squares line through the samples between the two marks, from the peak to one side.
Stroke FitStroke(const Recording& recording, std::size_t peak, std::ptrdiff_t step)
{
    const double height = recording.mv[peak];
    const auto size = static_cast<std::ptrdiff_t>(recording.mv.size());
    double n = 0, sumX = 0, sumY = 0, sumYY = 0, sumXY = 0;
    for (auto i = static_cast<std::ptrdiff_t>(peak); i >= 0 && i < size; i += step) {
        const double y = recording.mv[static_cast<std::size_t>(i)] / height;
        if (y > kUpperMark) continue;
        if (y < kLowerMark) break;
        const double x = static_cast<double>(i) - static_cast<double>(peak);
        n += 1;
        sumX += x;
        sumY += y;
        sumYY += y * y;
        sumXY += x * y;
    }
    const double slope = (n * sumXY - sumX * sumY) / (n * sumYY - sumY * sumY);  // samples
    const double foot = (sumX - slope * sumY) / n;
    return {recording.TimeAt(peak) + foot / recording.rate, slope / recording.rate};
}

// The R wave is where the upstroke and the downstroke, drawn on upwards, meet; this is finer than a
// sample, and a baseline that wanders does not move it. The beginning is where the upstroke, drawn on
// downwards, meets the baseline.
Beat MeasureBeat(const Recording& recording, std::size_t peak)
{
    const Stroke rise = FitStroke(recording, peak, -1);
    const Stroke fall = FitStroke(recording, peak, 1);
    const double top = (fall.foot - rise.foot) / (rise.duration - fall.duration);

    const auto at = recording.mv.begin() + static_cast<std::ptrdiff_t>(peak);
    const auto range = std::minmax_element(at - std::lround(kBeforePeak * recording.rate),
                                           at + std::lround(kAfterPeak * recording.rate));
    Beat beat;
    beat.peakTime = rise.foot + top * rise.duration;
    beat.cycleStart = rise.foot - kLeadIn;
    beat.mv = *range.second - *range.first;
    return beat;
}

bool HasWholeComplex(const Recording& recording, std::size_t peak)
{
    const double index = static_cast<double>(peak);
    return index >= kBeforePeak * recording.rate &&
           index + kAfterPeak * recording.rate < static_cast<double>(recording.mv.size());
}

double RateAfter(const std::vector<Beat>& beats, std::size_t index)
{
    return 60.0 / (beats[index + 1].peakTime - beats[index].peakTime);
}

bool IsNearer(double value, double to, double than)
{
    return std::fabs(value - to) < std::fabs(value - than);
}

// Whether a beat shows all that was changed. The last beat has no interval to judge by.
bool Shows(const std::vector<Beat>& beats, std::size_t index, const Request& asked,
           const Request& before)
{
    if (asked.bpm != before.bpm) {
        if (index + 1 >= beats.size()) return false;
        if (!IsNearer(RateAfter(beats, index), asked.bpm, before.bpm)) return false;
    }
    return asked.mv == before.mv || IsNearer(beats[index].mv, asked.mv, before.mv);
}

// The first beat of each request; beats.size() when the signal never shows it.
std::vector<std::size_t> FirstBeats(const std::vector<Beat>& beats,
                                    const std::vector<Request>& requests)
{
    std::vector<std::size_t> first(requests.size(), beats.size());
    first[0] = 0;
    for (std::size_t i = 1; i < requests.size(); ++i) {
        for (std::size_t k = first[i - 1] + 1; k < beats.size(); ++k) {
            if (beats[k].cycleStart < requests[i].time) continue;
            if (!Shows(beats, k, requests[i], requests[i - 1])) continue;
            first[i] = k;
            break;
        }
    }
    return first;
}

// Measures the beats from `first` up to and without `last`. The interval that leads to `last`
// belongs to them too.
void MeasurePhase(Phase& phase, const std::vector<Beat>& beats, std::size_t first, std::size_t last)
{
    phase.beats = last - first;
    double sum = 0;
    for (std::size_t k = first; k < last; ++k) {
        sum += beats[k].mv;
        phase.heightError =
            std::max(phase.heightError, std::fabs(beats[k].mv - phase.asked.mv) / phase.asked.mv);
    }
    phase.mv = sum / static_cast<double>(phase.beats);

    const std::size_t lastPeak = std::min(last, beats.size() - 1);
    for (std::size_t k = first; k < lastPeak; ++k) {
        phase.rateError =
            std::max(phase.rateError, std::fabs(RateAfter(beats, k) - phase.asked.bpm));
    }
    const double duration = beats[lastPeak].peakTime - beats[first].peakTime;
    phase.bpm = 60.0 * static_cast<double>(lastPeak - first) / duration;
}

}  // namespace

std::vector<Beat> FindBeats(const Recording& recording)
{
    std::vector<Beat> beats;
    const auto length = static_cast<std::size_t>(std::max(1.0, kBlock * recording.rate));
    const std::vector<double> thresholds = Thresholds(BlockHeights(recording, length));
    const std::vector<double>& mv = recording.mv;
    for (std::size_t i = 0; i < mv.size();) {
        if (mv[i] <= thresholds[i / length]) {
            ++i;
            continue;
        }
        std::size_t peak = i;
        for (; i < mv.size() && mv[i] > thresholds[i / length]; ++i) {
            if (mv[i] > mv[peak]) peak = i;
        }
        if (HasWholeComplex(recording, peak)) beats.push_back(MeasureBeat(recording, peak));
    }
    return beats;
}

std::vector<Phase> MeasurePhases(const std::vector<Beat>& beats,
                                 const std::vector<Request>& requests)
{
    std::vector<Phase> phases(requests.size());
    if (requests.empty()) return phases;
    const std::vector<std::size_t> first = FirstBeats(beats, requests);
    for (std::size_t i = 0; i < requests.size(); ++i) {
        Phase& phase = phases[i];
        phase.asked = requests[i];
        const std::size_t last = i + 1 < first.size() ? first[i + 1] : beats.size();
        // A rate needs two beats.
        if (first[i] + 1 >= beats.size() || last <= first[i]) continue;
        phase.isSeen = true;
        phase.inForce = beats[first[i]].cycleStart;
        const double wait = phase.inForce - phase.asked.time;
        const double longest = i == 0 ? 0.0 : 60.0 / requests[i - 1].bpm;
        phase.isAtCycleEnd = wait <= longest + kMissedPacket;
        MeasurePhase(phase, beats, first[i], last);
    }
    return phases;
}

}  // namespace ecg
