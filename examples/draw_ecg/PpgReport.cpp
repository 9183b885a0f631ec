#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "draw_ecg/Panels.h"
#include "draw_ecg/PpgMeasurement.h"
#include "draw_ecg/Reports.h"

namespace ecg {

namespace {

constexpr Colour kChannelColours[kPpgChannels] = {{0.10, 0.42, 0.20},
                                                  {0.70, 0.12, 0.10},
                                                  {0.42, 0.16, 0.54}};
constexpr double kZoomSeconds = 1.8;
constexpr double kZoomLeadIn = 0.15;  // s in front of the R wave
constexpr double kZoomAt = 5.0;       // s
constexpr double kPercent = 100.0;

template <class Phase>
std::vector<const Phase*> OfChannel(const std::vector<Phase>& phases, std::size_t channel)
{
    std::vector<const Phase*> found;
    for (const Phase& phase : phases) {
        if (phase.channel == channel) found.push_back(&phase);
    }
    return found;
}

const char* Verdict(bool agrees) { return agrees ? "agrees" : "DISAGREES"; }

void Print(const PpgFigures& figures)
{
    for (const BeatPhase& phase : figures.beats) {
        fmt::print(
            "  from {:5.2f} s  ECG     {:3} beats    {:6.2f} bpm asked, {:.3f} measured  {}\n",
            phase.asked.time, phase.beats, phase.asked.bpm, phase.bpm, Verdict(phase.Agrees()));
    }
    for (const PulsePhase& phase : figures.pulses) {
        fmt::print(
            "  from {:5.2f} s  PPG {}   {:3} of {} pulses, {:.3f} a minute; AC/DC {:.3f} % asked, "
            "{:.4f} measured;\n"
            "                 transit {:.1f} ms asked, {:.3f} measured, worst {:.3f} off  {}\n",
            phase.asked.time, phase.channel, phase.pulses, phase.expected, phase.perMinute,
            kPercent * phase.AskedRatio(), kPercent * phase.ratio, 1000.0 * phase.asked.transit,
            1000.0 * phase.transit, 1000.0 * phase.transitError, Verdict(phase.Agrees()));
    }
    for (const BreathPhase& phase : figures.breaths) {
        if (phase.asked.breaths == 0) {
            fmt::print("  from {:5.2f} s  PPG {}   at rest; DC moves by {:.3f} %  {}\n",
                       phase.asked.time, phase.channel, phase.depthPercent,
                       Verdict(phase.Agrees()));
            continue;
        }
        fmt::print(
            "  from {:5.2f} s  PPG {}   {} breaths; {:g} a minute asked, {:.3f} measured; 1:{:g} "
            "asked, 1:{:.3f} measured;\n"
            "                 depth {:g} % asked, {:.2f} measured  {}\n",
            phase.asked.time, phase.channel, phase.breaths, phase.asked.breaths, phase.perMinute,
            phase.asked.exhale, phase.exhale, phase.asked.depthPercent, phase.depthPercent,
            Verdict(phase.Agrees()));
    }
}

// Round numbers around the highest value; four steps or fewer.
double RoundStep(double highest)
{
    const double power = std::pow(10.0, std::floor(std::log10(highest / 4.0)));
    for (const double factor : {1.0, 2.0, 2.5, 5.0}) {
        if (highest <= 4.0 * factor * power) return factor * power;
    }
    return 10.0 * power;
}

Panel EcgPanel(const Recording& recording, const PpgFigures& figures)
{
    Panel panel{.title = "ECG, mV", .height = 22};
    double measured = 0;
    for (const BeatPhase& phase : figures.beats) {
        panel.agrees = panel.agrees && phase.Agrees();
        measured += phase.bpm / static_cast<double>(figures.beats.size());
    }
    panel.figures[0] =
        fmt::format("{:g} bpm asked, {:.2f} measured", figures.beats.front().asked.bpm, measured);
    panel.figures[1] = "no beat more than 0.1 bpm off";
    if (!panel.agrees) panel.figures[1] = "a beat is more than 0.1 bpm off";
    panel.low = -0.4;
    panel.high = 1.2;
    panel.step = 0.4;
    panel.curves.push_back({&recording.mv});
    return panel;
}

// The R wave that the enlargement begins with.
const Beat* ZoomBeat(const PpgFigures& figures)
{
    for (const Beat& beat : figures.seenBeats) {
        if (beat.peakTime >= kZoomAt) return &beat;
    }
    return nullptr;
}

Panel ChannelPanel(const Recording& recording, const PpgFigures& figures, std::size_t channel)
{
    const PpgTrace& trace = recording.ppg[channel];
    Panel panel{.title = fmt::format("PPG {}, AC part, mV", channel),
                .colour = kChannelColours[channel]};
    const auto phases = OfChannel(figures.pulses, channel);
    double ratio = 0, rate = 0;
    for (const PulsePhase* phase : phases) {
        const auto share = 1.0 / static_cast<double>(phases.size());
        panel.agrees = panel.agrees && phase->Agrees();
        ratio += phase->ratio * share;
        rate += phase->perMinute * share;
    }
    const PulsePhase& first = *phases.front();
    const auto& level = first.asked.levels[channel];
    panel.figures[0] =
        fmt::format("AC/DC {:g}/{:g} mV = {:.3f} % asked, {:.4f} % measured", level.acMv,
                    level.dcMv, kPercent * first.AskedRatio(), kPercent * ratio);
    panel.figures[1] = fmt::format(
        "{:g} a minute asked, {:.2f} measured;   peak {:g} ms after R asked, {:.2f} measured",
        first.asked.bpm, rate, 1000.0 * first.asked.transit, 1000.0 * first.transit);
    panel.high = *std::max_element(trace.acMv.begin(), trace.acMv.end()) * 1.1;
    panel.step = RoundStep(panel.high);
    panel.curves.push_back({&trace.acMv, kChannelColours[channel]});
    const Beat* beat = ZoomBeat(figures);
    for (const SeenPpgPulse& pulse : figures.seenPulses[channel]) {
        if (beat == nullptr || pulse.peak < beat->peakTime) continue;
        panel.arrow = TimeArrow{beat->peakTime, pulse.peak, 0.88 * panel.high,
                                fmt::format("{:.1f} ms", 1000.0 * (pulse.peak - beat->peakTime))};
        break;
    }
    return panel;
}

// The DC levels of all channels as shares of what they are at rest.
Panel BreathPanel(const PpgFigures& figures,
                  const std::array<std::vector<double>, kPpgChannels>& levels)
{
    Panel panel{.title = "DC parts, % of rest"};
    panel.agrees = std::all_of(figures.breaths.begin(), figures.breaths.end(),
                               [](const BreathPhase& phase) { return phase.Agrees(); });
    panel.low = 70;
    panel.high = 130;
    panel.step = 20;
    // Levels that agree lie on one another: the lower ones are wider.
    double width = 1.1;
    for (std::size_t channel = 0; channel < kPpgChannels; ++channel) {
        if (levels[channel].empty()) continue;
        panel.curves.push_back({&levels[channel], kChannelColours[channel], width});
        width = 0.35;
    }
    for (const BreathPhase& phase : figures.breaths) {
        if (phase.asked.breaths == 0) continue;
        panel.low = 100.0 - 1.5 * phase.asked.depthPercent;
        panel.high = 100.0 + 1.5 * phase.asked.depthPercent;
        panel.figures[0] = fmt::format(
            "{:g} breaths a minute asked, {:.2f} measured;   1:{:g} asked, 1:{:.2f} measured",
            phase.asked.breaths, phase.perMinute, phase.asked.exhale, phase.exhale);
        panel.figures[1] = fmt::format("depth {:g} % asked, {:.2f} % measured",
                                       phase.asked.depthPercent, phase.depthPercent);
    }
    return panel;
}

PanelPage MakePage(const Recording& recording, const std::vector<PpgRequest>& requests,
                   const PpgFigures& figures)
{
    PanelPage page;
    page.title = "ECG and PPG as the instrument received them";
    page.start = recording.start;
    page.rate = recording.rate;
    page.end = recording.End();
    const Beat* beat = ZoomBeat(figures);
    page.zoomFrom =
        std::max(page.start, (beat == nullptr ? kZoomAt : beat->peakTime) - kZoomLeadIn);
    page.zoomTo = page.zoomFrom + kZoomSeconds;
    page.zoomTitle = "two beats, enlarged";
    if (beat != nullptr) page.zoomLines.push_back(beat->peakTime);
    for (const auto& pulses : figures.seenPulses) {
        for (const SeenPpgPulse& pulse : pulses) {
            if (beat == nullptr || pulse.peak < beat->peakTime) continue;
            page.zoomLines.push_back(pulse.peak);
            break;
        }
    }
    for (const PpgRequest& request : requests) {
        if (request.breaths == 0) continue;
        page.spans.push_back({request.time,
                              page.end,
                              fmt::format("breathing asked, {:g} a minute", request.breaths),
                              {0.93, 0.955, 0.985}});
    }
    return page;
}

}  // namespace

int ReportPpg(const Arguments& arguments)
{
    const Recording recording = ReadRecordingFile(arguments.signal);
    const auto requests = ReadPpgRequestsFile(arguments.requests);
    const Statistics statistics = ReadStatisticsFile(arguments.figures);
    const PpgFigures figures = MeasurePpg(recording, requests);
    const bool isWhole = IsWhole(statistics, recording);
    const bool agrees = isWhole && figures.Agrees();

    PanelPage page = MakePage(recording, requests, figures);
    page.figures = StreamFigures(statistics, recording);
    page.agrees = agrees;
    page.pixelsPerMm = arguments.pixelsPerMm;
    page.panels.push_back(EcgPanel(recording, figures));
    std::array<std::vector<double>, kPpgChannels> levels;
    for (std::size_t channel = 0; channel < kPpgChannels; ++channel) {
        if (OfChannel(figures.pulses, channel).empty()) continue;
        page.panels.push_back(ChannelPanel(recording, figures, channel));
        levels[channel] = BreathOf(recording, recording.ppg[channel], requests);
        for (double& value : levels[channel]) value = kPercent * (1.0 + value);
    }
    page.panels.push_back(BreathPanel(figures, levels));
    DrawPanels(page, arguments.output);

    PrintStream(statistics, recording);
    Print(figures);
    if (!figures.hasAllChannels) fmt::print("\n  Not the channels that were asked for play.\n");
    if (!isWhole) fmt::print("\n  The stream has errors, or the record is not complete.\n");
    fmt::print(
        "\n  Every pulse {} within {:g} a minute, {:g} % of AC/DC and one sample ({:g} ms) of "
        "transit time at rest,\n  every breath within {:g} a minute. Drawn to {}\n",
        agrees ? "agrees" : "does NOT agree", kRateTolerance, kPercent * kRatioTolerance,
        1000.0 / recording.rate, kBreathRateTolerance, arguments.output);
    return agrees ? 0 : kDisagrees;
}

}  // namespace ecg
