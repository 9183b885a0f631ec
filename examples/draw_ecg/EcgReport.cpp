#include <algorithm>

#include <fmt/format.h>

#include "draw_ecg/Drawing.h"
#include "draw_ecg/Measurement.h"
#include "draw_ecg/Pulses.h"
#include "draw_ecg/Reports.h"

namespace ecg {

namespace {

void Print(const Phase& phase)
{
    if (!phase.isSeen) {
        fmt::print(
            "  {:7.2f} s   never   {:4.0f} bpm      -         {:4.2f} mV      -       "
            "NOT IN THE SIGNAL\n",
            phase.asked.time, phase.asked.bpm, phase.asked.mv);
        return;
    }
    fmt::print(
        "  {:7.2f} s {:6.2f} s   {:4.0f} bpm {:7.2f} bpm   {:4.2f} mV {:7.3f} mV  {:3} beats"
        "  {}\n",
        phase.asked.time, phase.inForce, phase.asked.bpm, phase.bpm, phase.asked.mv, phase.mv,
        phase.beats,
        phase.Agrees()       ? "agrees"
        : phase.isAtCycleEnd ? "DISAGREES"
                             : "IN FORCE TOO LATE");
}

void Print(const PacedPhase& paced)
{
    fmt::print(
        "  pacing     {} pulses of {} due; {:.2f} a minute; {:g} mV asked, {:.2f} measured; {:g} "
        "ms "
        "asked,\n             {:.2f} measured; {:.1f} ms before the QRS complex  {}\n",
        paced.pulses, paced.expected, paced.perMinute, paced.asked.pulseMv, paced.mv,
        paced.asked.pulseMs, paced.ms, paced.lead * 1000.0,
        paced.Agrees() ? "agrees" : "DISAGREES");
}

void Print(const Pacing& pacing)
{
    if (pacing.phases.empty() && pacing.pulses.empty()) return;
    fmt::print("\n");
    for (const PacedPhase& paced : pacing.phases) Print(paced);
    if (pacing.strays + pacing.unmarked + pacing.unanswered == 0) return;
    fmt::print("  pulses not asked for {}, without a mark {}; marks without a pulse {}\n",
               pacing.strays, pacing.unmarked, pacing.unanswered);
}

}  // namespace

bool IsWhole(const Statistics& statistics, const Recording& recording)
{
    return statistics.sequenceErrors == 0 && statistics.modeErrors == 0 &&
           statistics.refusals == 0 && statistics.samples == recording.mv.size();
}

void PrintStream(const Statistics& statistics, const Recording& recording)
{
    fmt::print("\n  received   {} packets, {} samples, {:.2f} s at {:.0f} per second\n",
               statistics.packets, recording.mv.size(), recording.End() - recording.start,
               recording.rate);
    fmt::print("  errors     sequence {}, mode {}, refused {}; late packets {}\n\n",
               statistics.sequenceErrors, statistics.modeErrors, statistics.refusals,
               statistics.underruns);
}

std::string StreamFigures(const Statistics& statistics, const Recording& recording)
{
    return fmt::format("{} packets,  {} samples at {:.0f} per second,  {} sequence errors",
                       statistics.packets, statistics.samples, recording.rate,
                       statistics.sequenceErrors);
}

int ReportEcg(const Arguments& arguments)
{
    const Recording recording = ReadRecordingFile(arguments.signal);
    const auto requests = ReadRequestsFile(arguments.requests);
    const Statistics statistics = ReadStatisticsFile(arguments.figures);
    const auto beats = FindBeats(recording);
    const auto phases = MeasurePhases(beats, requests);
    const Pacing pacing = MeasurePacing(recording, beats, phases);
    DrawPage({recording, phases, pacing, statistics, arguments.pixelsPerMm}, arguments.output);

    PrintStream(statistics, recording);
    fmt::print("      asked  in force   asked    measured      asked   measured\n");
    for (const Phase& phase : phases) Print(phase);
    Print(pacing);

    const bool isWhole = IsWhole(statistics, recording);
    if (!isWhole) fmt::print("\n  The stream has errors, or the record is not complete.\n");
    const bool agrees =
        isWhole && pacing.Agrees() &&
        std::all_of(phases.begin(), phases.end(), [](const Phase& p) { return p.Agrees(); });
    fmt::print("\n  Every beat {} {} within {:g} bpm and {:g} %. Drawn to {}\n",
               pacing.phases.empty() ? "" : "and pacing pulse",
               agrees ? "agrees" : "does NOT agree", kRateTolerance, kHeightTolerance * 100.0,
               arguments.output);
    return agrees ? 0 : kDisagrees;
}

}  // namespace ecg
