#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "draw_ecg/Panels.h"
#include "draw_ecg/Reports.h"
#include "draw_ecg/RespirationMeasurement.h"

namespace ecg {

namespace {

constexpr Colour kBreathColour{0.05, 0.42, 0.44};
constexpr Colour kHoldColour{0.995, 0.955, 0.90};
constexpr double kZoomSeconds = 3.0;
constexpr double kMilliohms = 1000.0;

const char* Verdict(bool agrees) { return agrees ? "agrees" : "DISAGREES"; }

void Print(const RespirationFigures& figures)
{
    const RespirationRequest& asked = figures.asked;
    fmt::print(
        "  ECG         {} beats; {:g} bpm asked, {:.3f} measured; {:g} mV asked, {:.3f} "
        "measured\n",
        figures.beats, asked.bpm, figures.bpm, asked.mv, figures.mv);
    fmt::print(
        "  breathing   {} whole breaths; {:g} a minute asked, {:.3f} measured; {:g} ohm "
        "asked, {:.4f} measured\n",
        figures.breaths, asked.breaths, figures.perMinute, asked.variation, figures.variation);
    fmt::print("  resistance  farthest from what was asked: {:.6f} ohm, at {:.4f} s  {}\n",
               figures.ohmError, figures.ohmErrorAt, Verdict(figures.ohmError <= kOhmTolerance));
    fmt::print("  baseline    {:g} ohm asked, farthest from it: {:g} ohm  {}\n", asked.baselineOhm,
               figures.baselineError, Verdict(figures.baselineError == 0.0));
    fmt::print("  apnea       {:.3f} s asked, held for {:.4f} s at {:.4f} ohm  {}\n",
               figures.heldAsked, figures.heldSeconds, figures.holdOhm,
               Verdict(figures.heldAsked == 0.0 || figures.HoldsBreath()));
}

Panel EcgPanel(const RespirationFigures& figures, const std::vector<double>& mv)
{
    const RespirationRequest& asked = figures.asked;
    Panel panel{.title = "ECG, mV", .height = 26};
    panel.agrees = figures.bpmError <= kRateTolerance && figures.heightError <= kHeightTolerance;
    panel.figures[0] =
        fmt::format("{:g} bpm asked, {:.2f} measured;   {:g} mV asked, {:.3f} measured", asked.bpm,
                    figures.bpm, asked.mv, figures.mv);
    panel.figures[1] = fmt::format("in front of the {:g} ohm, which leave {:.3f} of it",
                                   asked.baselineOhm, 1.0 / EcgAttenuation(asked.baselineOhm));
    panel.low = -0.5 * asked.mv;
    panel.high = asked.mv;
    panel.step = 0.5 * asked.mv;
    panel.curves.push_back({&mv});
    return panel;
}

Panel ResistancePanel(const Recording& recording, const RespirationFigures& figures,
                      const std::vector<double>& above)
{
    const RespirationRequest& asked = figures.asked;
    Panel panel{.title = "Respiration, ohm above 50", .colour = kBreathColour, .height = 36};
    panel.agrees = figures.breathError <= kBreathRateTolerance && figures.breaths > 1 &&
                   figures.baselineError == 0.0;
    panel.figures[0] = fmt::format(
        "{:g} breaths a minute asked, {:.2f} measured;   {:g} ohm asked, {:.3f} measured",
        asked.breaths, figures.perMinute, asked.variation, figures.variation);
    panel.figures[1] = fmt::format("held for {:.2f} s asked, {:.2f} measured, at {:.3f} ohm",
                                   figures.heldAsked, figures.heldSeconds, figures.holdOhm);
    if (recording.respirationOhm.empty()) panel.figures[1] = "nothing was received";
    panel.low = -0.15 * asked.variation;
    panel.high = 1.15 * asked.variation;
    panel.step = asked.variation / 4.0;
    panel.curves.push_back({&above, kBreathColour, 0.5});
    return panel;
}

Panel ErrorPanel(const RespirationFigures& figures, const std::vector<double>& errors)
{
    Panel panel{.title = "Resistance less what was asked, milliohm",
                .colour = kBreathColour,
                .height = 22};
    panel.agrees = figures.ohmError <= kOhmTolerance;
    panel.figures[0] =
        fmt::format("every sample within {:.2f} milliohm", kMilliohms * figures.ohmError);
    panel.figures[1] = fmt::format("{:g} are allowed", kMilliohms * kOhmTolerance);
    panel.high = 0.2;
    for (const double scale : {1.0, 10.0, 100.0, 1000.0}) {
        panel.high = 0.4 * scale;
        if (kMilliohms * figures.ohmError <= panel.high) break;
    }
    panel.low = -panel.high;
    panel.step = panel.high / 2.0;
    panel.curves.push_back({&errors, kBreathColour, 0.25});
    return panel;
}

PanelPage MakePage(const Recording& recording, const RespirationFigures& figures)
{
    PanelPage page;
    page.title = "ECG and respiration as the instrument received them";
    page.start = recording.start;
    page.rate = recording.rate;
    page.end = recording.End();
    page.zoomFrom = std::max(page.start, figures.holdStart - kZoomSeconds / 2.0);
    page.zoomTo = page.zoomFrom + kZoomSeconds;
    page.zoomTick = 1.0;
    page.zoomTitle = "the beginning of the apnea, enlarged";
    if (figures.heldAsked > 0) {
        page.spans.push_back(
            {figures.holdStart, page.end,
             fmt::format("apnea asked, {:g} s of each minute", figures.asked.apnea), kHoldColour});
    }
    return page;
}

}  // namespace

int ReportRespiration(const Arguments& arguments)
{
    const Recording recording = ReadRecordingFile(arguments.signal);
    const RespirationRequest asked = ReadRespirationRequestFile(arguments.requests);
    const Statistics statistics = ReadStatisticsFile(arguments.figures);
    const RespirationFigures figures = MeasureRespiration(recording, asked);
    const bool isWhole = IsWhole(statistics, recording);
    const bool agrees = isWhole && figures.Agrees();

    std::vector<double> mv, above, errors;
    const double attenuation = EcgAttenuation(asked.baselineOhm);
    for (const double value : recording.mv) mv.push_back(value * attenuation);
    for (std::size_t i = 0; i < recording.respirationOhm.size(); ++i) {
        const double ohm = recording.respirationOhm[i];
        const double error = ohm - AskedOhm(asked, recording.rate, recording.TimeAt(i));
        above.push_back(std::isnan(ohm) ? 0.0 : ohm - 50.0);
        errors.push_back(std::isnan(ohm) ? 0.0 : kMilliohms * error);
    }
    PanelPage page = MakePage(recording, figures);
    page.figures = StreamFigures(statistics, recording);
    page.agrees = agrees;
    page.pixelsPerMm = arguments.pixelsPerMm;
    page.panels = {EcgPanel(figures, mv), ResistancePanel(recording, figures, above),
                   ErrorPanel(figures, errors)};
    DrawPanels(page, arguments.output);

    PrintStream(statistics, recording);
    Print(figures);
    if (!isWhole) fmt::print("\n  The stream has errors, or the record is not complete.\n");
    fmt::print(
        "\n  Every sample {} within {:g} ohm, every breath within {:g} a minute, the breath is "
        "{}held.\n  Drawn to {}\n",
        agrees ? "agrees" : "does NOT agree", kOhmTolerance, kBreathRateTolerance,
        figures.HoldsBreath() ? "" : "NOT ", arguments.output);
    return agrees ? 0 : kDisagrees;
}

}  // namespace ecg
