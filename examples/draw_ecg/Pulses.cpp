#include "draw_ecg/Pulses.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace ecg {

namespace {

// A phase lasts until the next one is in force.
double EndOf(const Recording& recording, const std::vector<Phase>& phases, std::size_t index)
{
    for (std::size_t k = index + 1; k < phases.size(); ++k) {
        if (phases[k].isSeen) return phases[k].inForce;
    }
    return recording.End();
}

void MeasureShape(PacedPhase& phase, const std::vector<SeenPulse>& pulses, double rate)
{
    for (const SeenPulse& pulse : pulses) {
        phase.mv += pulse.mv / static_cast<double>(pulses.size());
        phase.ms += pulse.ms / static_cast<double>(pulses.size());
        phase.heightError =
            std::max(phase.heightError, std::fabs(pulse.mv / phase.asked.pulseMv - 1.0));
        phase.lengthError =
            std::max(phase.lengthError, std::fabs(pulse.ms - phase.asked.pulseMs) * rate / 1000.0);
    }
}

void MeasureIntervals(PacedPhase& phase, const std::vector<SeenPulse>& pulses)
{
    if (pulses.size() < 2) return;
    for (std::size_t i = 1; i < pulses.size(); ++i) {
        const double perMinute = 60.0 / (pulses[i].time - pulses[i - 1].time);
        phase.rateError = std::max(phase.rateError, std::fabs(perMinute - phase.asked.bpm));
    }
    phase.perMinute =
        60.0 * static_cast<double>(pulses.size() - 1) / (pulses.back().time - pulses.front().time);
}

// The pulses after the last whole beat pace none that could be measured.
void MeasureLead(PacedPhase& phase, const std::vector<SeenPulse>& pulses,
                 const std::vector<Beat>& beats)
{
    double least = std::numeric_limits<double>::infinity();
    double most = 0;
    double sum = 0;
    std::size_t count = 0;
    for (const SeenPulse& pulse : pulses) {
        const auto beat = std::find_if(beats.begin(), beats.end(), [&](const Beat& one) {
            return one.cycleStart + kLeadIn > pulse.time;
        });
        if (beat == beats.end()) break;
        const double lead = beat->cycleStart + kLeadIn - pulse.time;
        least = std::min(least, lead);
        most = std::max(most, lead);
        sum += lead;
        ++count;
    }
    if (count == 0) return;
    phase.lead = sum / static_cast<double>(count);
    phase.leadSpread = most - least;
}

// Counted from the first pulse on, and before it, when it is later than a period.
std::size_t Expected(const Phase& phase, double end, const std::vector<SeenPulse>& pulses)
{
    const double period = 60.0 / phase.asked.bpm;
    const double grace = kMissedPacket / period;
    const double before = (pulses.front().time - phase.inForce) / period;
    const double after = (end - pulses.front().time) / period;
    const auto lost = static_cast<std::size_t>(std::max(before - grace, 0.0));
    // The last one may be due so shortly before the end that the next phase is in force.
    const auto surely = static_cast<std::size_t>(std::max(after - grace, 0.0)) + 1;
    const auto possibly = static_cast<std::size_t>(after) + 1;
    return lost + std::clamp(pulses.size(), surely, possibly);
}

PacedPhase MeasurePaced(const Phase& phase, double end, const std::vector<SeenPulse>& pulses,
                        const std::vector<Beat>& beats, double rate)
{
    PacedPhase paced;
    paced.asked = phase.asked;
    paced.pulses = pulses.size();
    if (pulses.empty()) return paced;
    paced.expected = Expected(phase, end, pulses);
    MeasureShape(paced, pulses, rate);
    MeasureIntervals(paced, pulses);
    MeasureLead(paced, pulses, beats);
    return paced;
}

}  // namespace

bool Pacing::Agrees() const
{
    return strays == 0 && unmarked == 0 && unanswered == 0 &&
           std::all_of(phases.begin(), phases.end(),
                       [](const PacedPhase& phase) { return phase.Agrees(); });
}

std::vector<SeenPulse> FindPulses(const Recording& recording)
{
    std::vector<SeenPulse> pulses;
    auto mark = recording.marks.begin();
    double before = 0;
    for (std::size_t i = 0; i < recording.pulseMv.size(); ++i) {
        const double mv = recording.pulseMv[i];
        const bool isMarked = mark != recording.marks.end() && *mark == i;
        if (isMarked) ++mark;
        if (mv != 0 && (isMarked || mv != before)) {
            pulses.push_back({i, recording.TimeAt(i), mv, 0.0, isMarked});
        }
        if (mv != 0) pulses.back().ms += 1000.0 / recording.rate;
        before = mv;
    }
    return pulses;
}

Pacing MeasurePacing(const Recording& recording, const std::vector<Beat>& beats,
                     const std::vector<Phase>& phases)
{
    Pacing pacing;
    pacing.pulses = FindPulses(recording);
    std::size_t placed = 0;
    for (std::size_t i = 0; i < phases.size(); ++i) {
        if (phases[i].asked.pulseMv == 0) continue;
        const double end = EndOf(recording, phases, i);
        std::vector<SeenPulse> pulses;
        if (phases[i].isSeen) {
            std::copy_if(pacing.pulses.begin(), pacing.pulses.end(), std::back_inserter(pulses),
                         [&](const SeenPulse& pulse) {
                             return pulse.time >= phases[i].inForce && pulse.time < end;
                         });
        }
        placed += pulses.size();
        pacing.phases.push_back(MeasurePaced(phases[i], end, pulses, beats, recording.rate));
    }
    pacing.strays = pacing.pulses.size() - placed;
    for (const SeenPulse& pulse : pacing.pulses) pacing.unmarked += pulse.isMarked ? 0 : 1;
    const std::size_t answered = pacing.pulses.size() - pacing.unmarked;
    pacing.unanswered = recording.marks.size() - answered;
    return pacing;
}

}  // namespace ecg
