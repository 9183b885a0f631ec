// draw_ecg: draws what the instrument received on ECG paper, and tells whether it is what was asked.

#include <algorithm>
#include <exception>
#include <string>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "draw_ecg/Drawing.h"
#include "draw_ecg/Measurement.h"
#include "draw_ecg/Pulses.h"
#include "draw_ecg/Recording.h"

namespace {

constexpr int kFailure = 1;
constexpr int kUsageError = 2;
constexpr int kDisagrees = 3;

struct Arguments {
    std::string signal;
    std::string requests;
    std::string figures;
    std::string output;
    double pixelsPerMm = 8.0;
};

void Print(const ecg::Phase& phase)
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

void Print(const ecg::PacedPhase& paced)
{
    fmt::print(
        "  pacing     {} pulses of {} due; {:.2f} a minute; {:g} mV asked, {:.2f} measured; {:g} "
        "ms "
        "asked,\n             {:.2f} measured; {:.1f} ms before the QRS complex  {}\n",
        paced.pulses, paced.expected, paced.perMinute, paced.asked.pulseMv, paced.mv,
        paced.asked.pulseMs, paced.ms, paced.lead * 1000.0,
        paced.Agrees() ? "agrees" : "DISAGREES");
}

void Print(const ecg::Pacing& pacing)
{
    if (pacing.phases.empty() && pacing.pulses.empty()) return;
    fmt::print("\n");
    for (const ecg::PacedPhase& paced : pacing.phases) Print(paced);
    if (pacing.strays + pacing.unmarked + pacing.unanswered == 0) return;
    fmt::print("  pulses not asked for {}, without a mark {}; marks without a pulse {}\n",
               pacing.strays, pacing.unmarked, pacing.unanswered);
}

// Every sample that the instrument counted stands in its record, and none was in disorder.
bool IsWhole(const ecg::Statistics& statistics, const ecg::Recording& recording)
{
    return statistics.sequenceErrors == 0 && statistics.modeErrors == 0 &&
           statistics.refusals == 0 && statistics.samples == recording.mv.size();
}

int Run(const Arguments& arguments)
{
    const ecg::Recording recording = ecg::ReadRecordingFile(arguments.signal);
    const auto requests = ecg::ReadRequestsFile(arguments.requests);
    const ecg::Statistics statistics = ecg::ReadStatisticsFile(arguments.figures);
    const auto beats = ecg::FindBeats(recording);
    const auto phases = ecg::MeasurePhases(beats, requests);
    const ecg::Pacing pacing = ecg::MeasurePacing(recording, beats, phases);
    ecg::DrawPage({recording, phases, pacing, statistics, arguments.pixelsPerMm}, arguments.output);

    fmt::print("\n  received   {} packets, {} samples, {:.2f} s at {:.0f} per second\n",
               statistics.packets, recording.mv.size(), recording.End() - recording.start,
               recording.rate);
    fmt::print("  errors     sequence {}, mode {}, refused {}; late packets {}\n\n",
               statistics.sequenceErrors, statistics.modeErrors, statistics.refusals,
               statistics.underruns);
    fmt::print("      asked  in force   asked    measured      asked   measured\n");
    for (const ecg::Phase& phase : phases) Print(phase);
    Print(pacing);

    const bool isWhole = IsWhole(statistics, recording);
    if (!isWhole) fmt::print("\n  The stream has errors, or the record is not complete.\n");
    const bool agrees =
        isWhole && pacing.Agrees() &&
        std::all_of(phases.begin(), phases.end(), [](const ecg::Phase& p) { return p.Agrees(); });
    fmt::print("\n  Every beat {} {} within {:g} bpm and {:g} %. Drawn to {}\n",
               pacing.phases.empty() ? "" : "and pacing pulse",
               agrees ? "agrees" : "does NOT agree", ecg::kRateTolerance,
               ecg::kHeightTolerance * 100.0, arguments.output);
    return agrees ? 0 : kDisagrees;
}

}  // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    CLI::App app(
        "Draws a received ECG on ECG paper and compares it with what was asked for.\n"
        "Status 0: it agrees; 3: it does not.",
        "draw_ecg");
    app.add_option("--signal", arguments.signal, "what vrax-instrument --record wrote")->required();
    app.add_option("--requests", arguments.requests, "what play_ecg --log wrote")->required();
    app.add_option("--figures", arguments.figures,
                   "messages of vrax-instrument --summary; holds its line of figures")
        ->required();
    app.add_option("--output", arguments.output, "the PNG to write")->required();
    app.add_option("--pixels-per-mm", arguments.pixelsPerMm, "size of the picture")
        ->check(CLI::Range(2.0, 40.0))
        ->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageError;
    }
    try {
        return Run(arguments);
    } catch (const std::exception& error) {
        fmt::print(stderr, "draw_ecg: {}\n", error.what());
        return kFailure;
    }
}
