#include "draw_ecg/Drawing.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <span>

#include <fmt/format.h>

#include "draw_ecg/EcgPaper.h"

namespace ecg {

namespace {

constexpr double kRowSeconds = 6.0;
constexpr double kSpill = 0.1;  // s that are not worth a row of their own

// Lengths in mm. A row is eight squares of the paper high.
constexpr double kMargin = 7.0;
constexpr double kHeader = 24.0;
constexpr double kCalibration = 15.0;  // room for the pulse in front of each row
constexpr double kMarkIndent = 2.5;
constexpr double kRowWidth = kCalibration + kRowSeconds * kMmPerSecond;
constexpr double kRowHeight = 40.0;
constexpr double kBaseline = 30.0;  // below the top of its row
constexpr double kRequestLine = 3.2;
constexpr double kArrowLine = 6.0;
constexpr double kLabelBaseline = 5.2;
constexpr double kLabelLine = 3.6;  // to the next line
constexpr double kSecondsBaseline = 35.2;
constexpr double kPhaseBaseline = 38.3;
constexpr double kPhaseBar = 39.2;
constexpr double kMarkLabel = 11.2;  // of the calibration mark, above the baseline

// Pacing pulses are a hundred times as high as an ECG, so they have a scale of their own.
constexpr double kMmPerPacingMv = 0.1;
constexpr double kHighestSpike = 22.0;  // mm; higher ones are cut
constexpr double kMarkTop = 0.9;        // of the sign below the baseline
constexpr double kMarkHeight = 1.5;
constexpr double kMarkWidth = 1.5;

constexpr Colour kSpikeColour{0.80, 0.20, 0.02};
constexpr Colour kPhaseColours[] = {{0.05, 0.42, 0.44}, {0.55, 0.29, 0.02}, {0.40, 0.16, 0.52}};

class Renderer {
public:
    explicit Renderer(const Page& page)
        : page_(page),
          rows_(CountRows(page.recording)),
          paper_(kRowWidth + 2 * kMargin, kHeader + rows_ * kRowHeight + kMargin, page.pixelsPerMm)
    {}

    void Draw()
    {
        DrawHeader();
        paper_.Grid(kMargin, kHeader, kRowWidth, rows_ * kRowHeight);
        for (int row = 0; row < rows_; ++row) {
            DrawSeconds(row);
            paper_.CalibrationMark(kMargin + kMarkIndent, Y(row, 0));
            DrawTrace(row);
        }
        for (const SeenPulse& pulse : page_.pacing.pulses) DrawPulse(pulse);
        for (const PacedPhase& paced : page_.pacing.phases) DrawPaced(paced);
        for (std::size_t i = 0; i < page_.phases.size(); ++i) {
            if (page_.phases[i].isSeen) DrawPhase(i);
            if (i > 0) DrawChange(i);
        }
    }
    void Save(const std::string& path) { paper_.Save(path); }

private:
    static int CountRows(const Recording& recording)
    {
        const double duration = recording.End() - recording.start;
        return std::max(1, static_cast<int>(std::ceil((duration - kSpill) / kRowSeconds)));
    }
    static double Top(int row) { return kHeader + row * kRowHeight; }
    int RowOf(double time) const
    {
        return std::min(static_cast<int>(time / kRowSeconds), rows_ - 1);
    }
    static double X(int row, double time)
    {
        return kMargin + kCalibration + (time - row * kRowSeconds) * kMmPerSecond;
    }
    static double Y(int row, double mv) { return Top(row) + kBaseline - mv * kMmPerMv; }
    static const Colour& ColourOf(std::size_t phase)
    {
        return kPhaseColours[phase % std::size(kPhaseColours)];
    }

    void DrawHeader();
    void DrawSeconds(int row);
    void DrawPhase(std::size_t index);
    void DrawTrace(int row);
    void DrawPulse(const SeenPulse& pulse);
    void DrawPaced(const PacedPhase& paced);
    void DrawChange(std::size_t index);

    const Page& page_;
    int rows_;
    EcgPaper paper_;
};

void Renderer::DrawHeader()
{
    const bool isGood = std::all_of(page_.phases.begin(), page_.phases.end(),
                                    [](const Phase& p) { return p.Agrees(); }) &&
                        page_.pacing.Agrees() && page_.statistics.sequenceErrors == 0;
    const double right = kMargin + kRowWidth;
    paper_.Text(kMargin, 10.5, "ECG as the instrument received it", {.size = 5.0, .isBold = true});
    paper_.Text(right, 10.5, isGood ? "measured as asked" : "NOT as asked",
                {.size = 4.0,
                 .colour = isGood ? kPassed : kFailed,
                 .anchor = Anchor::Right,
                 .isBold = true});
    paper_.Text(kMargin, 17.5, "25 mm/s     10 mm/mV", {.size = 3.2});
    const Statistics& s = page_.statistics;
    paper_.Text(right, 17.5,
                fmt::format("{} packets,  {} samples at {:.0f} per second,  {} sequence errors",
                            s.packets, s.samples, page_.recording.rate, s.sequenceErrors),
                {.size = 3.2, .colour = kGrey, .anchor = Anchor::Right});
}

void Renderer::DrawSeconds(int row)
{
    const int first = static_cast<int>(row * kRowSeconds);
    for (int second = first; second <= first + static_cast<int>(kRowSeconds); ++second) {
        const double x = X(row, second);
        paper_.Line(x, Y(row, 0) + 2.0, x, Y(row, 0) + 2.8, kGrey, 0.25);
        const bool isLast = second == first + static_cast<int>(kRowSeconds);
        paper_.Text(isLast ? x - 0.6 : x, Top(row) + kSecondsBaseline, fmt::format("{} s", second),
                    {.size = 2.2,
                     .colour = kGrey,
                     .anchor = isLast ? Anchor::Right : Anchor::Centre,
                     .hasHalo = true});
    }
}

// A bar over the rows of the phase, and its figures in the row that shows most of it.
void Renderer::DrawPhase(std::size_t index)
{
    const Phase& phase = page_.phases[index];
    double end = page_.recording.End();
    for (std::size_t k = index + 1; k < page_.phases.size(); ++k) {
        if (page_.phases[k].isSeen) end = std::min(end, page_.phases[k].inForce);
    }
    int widestRow = 0;
    double widest = 0;
    for (int row = 0; row < rows_; ++row) {
        const double from = std::max(phase.inForce, row * kRowSeconds);
        const double length = std::min(end, (row + 1) * kRowSeconds) - from;
        if (length <= 0) continue;
        paper_.Bar(X(row, from), Top(row) + kPhaseBar, length * kMmPerSecond,
                   kRowHeight - kPhaseBar, ColourOf(index));
        if (length <= widest) continue;
        widest = length;
        widestRow = row;
    }
    const double start = std::max(phase.inForce, widestRow * kRowSeconds);
    paper_.Text(X(widestRow, start), Top(widestRow) + kPhaseBaseline,
                fmt::format("{:g} bpm asked, {:.2f} measured;   {:g} mV asked, {:.3f} measured",
                            phase.asked.bpm, phase.bpm, phase.asked.mv, phase.mv),
                {.size = 2.7,
                 .colour = phase.Agrees() ? ColourOf(index) : kFailed,
                 .isBold = true,
                 .hasHalo = true});
}

void Renderer::DrawTrace(int row)
{
    const Recording& recording = page_.recording;
    const auto sampleAt = [&](double time) {
        const double index = std::max(0.0, std::ceil((time - recording.start) * recording.rate));
        return std::min(static_cast<std::size_t>(index), recording.mv.size());
    };
    const std::size_t first = sampleAt(row * kRowSeconds);
    const std::size_t end = sampleAt((row + 1) * kRowSeconds);
    paper_.Curve(std::span(recording.mv).subspan(first, end - first),
                 {.x = X(row, recording.TimeAt(first)),
                  .y = Y(row, 0),
                  .mmPerSample = kMmPerSecond / recording.rate},
                 kInk, kTraceWidth);
}

// The pulse as the instrument made it, and below the baseline the mark that let it begin.
void Renderer::DrawPulse(const SeenPulse& pulse)
{
    const int row = RowOf(pulse.time);
    const double height = std::clamp(pulse.mv * kMmPerPacingMv, -kHighestSpike, kHighestSpike);
    const double left = X(row, pulse.time);
    const double right = X(row, pulse.time + pulse.ms / 1000.0);
    const double baseline = Y(row, 0);
    paper_.MoveTo(left, baseline);
    paper_.LineTo(left, baseline - height);
    paper_.LineTo(right, baseline - height);
    paper_.LineTo(right, baseline);
    paper_.Stroke(kSpikeColour, kTraceWidth);
    paper_.Text(left - 0.6, baseline - std::max(height, 0.0) + 2.0,
                fmt::format("{:.1f} mV", pulse.mv),
                {.size = 2.2,
                 .colour = kSpikeColour,
                 .anchor = Anchor::Right,
                 .isBold = true,
                 .hasHalo = true});
    if (!pulse.isMarked) return;
    paper_.MoveTo(left - kMarkWidth / 2.0, baseline + kMarkTop + kMarkHeight);
    paper_.LineTo(left, baseline + kMarkTop);
    paper_.LineTo(left + kMarkWidth / 2.0, baseline + kMarkTop + kMarkHeight);
    paper_.LineTo(left - kMarkWidth / 2.0, baseline + kMarkTop + kMarkHeight);
    paper_.Stroke(kSpikeColour, kTraceWidth);
}

// What was measured and the scale of the pulses, in the row that shows the last one.
void Renderer::DrawPaced(const PacedPhase& paced)
{
    int row = RowOf(paced.asked.time);
    for (const SeenPulse& pulse : page_.pacing.pulses) row = std::max(row, RowOf(pulse.time));
    const TextStyle style{.size = 2.6,
                          .colour = paced.Agrees() ? kSpikeColour : kFailed,
                          .anchor = Anchor::Right,
                          .isBold = true,
                          .hasHalo = true};
    const double right = kMargin + kRowWidth - 0.6;
    paper_.Text(right, Top(row) + kLabelBaseline,
                fmt::format("{} pulses at the marks;   {:g} mV asked, {:.2f} measured",
                            paced.pulses, paced.asked.pulseMv, paced.mv),
                style);
    paper_.Text(right, Top(row) + kLabelBaseline + kLabelLine,
                fmt::format("{:g} ms asked, {:.2f} measured;   {:.1f} ms before the QRS complex",
                            paced.asked.pulseMs, paced.ms, paced.lead * 1000.0),
                style);
    paper_.Text(kMargin + kCalibration / 2.0, Y(row, 0) - kMarkLabel - kLabelLine,
                fmt::format("{:g} mV pulse", kMmPerMv / kMmPerPacingMv),
                {.size = 1.8,
                 .colour = kSpikeColour,
                 .anchor = Anchor::Centre,
                 .isBold = true,
                 .hasHalo = true});
}

// A dashed line where the change was asked for, an arrow to where it is in force.
void Renderer::DrawChange(std::size_t index)
{
    const Phase& phase = page_.phases[index];
    const Request& before = page_.phases[index - 1].asked;
    const int row = RowOf(phase.asked.time);
    const double x = X(row, phase.asked.time);
    const double top = Top(row);
    std::string asked;
    if (phase.asked.bpm != before.bpm) asked += fmt::format("{:g} bpm ", phase.asked.bpm);
    if (phase.asked.mv != before.mv) asked += fmt::format("{:g} mV ", phase.asked.mv);
    if (phase.asked.pulseMv != before.pulseMv) {
        asked += fmt::format("pacing {:g} mV {:g} ms ", phase.asked.pulseMv, phase.asked.pulseMs);
    }
    asked += "asked";

    paper_.Line(x, top + kRequestLine, x, Y(row, 0) + 1.5, kRequestColour, 0.3, true);
    TextStyle style{.size = 2.8, .colour = kRequestColour, .isBold = true, .hasHalo = true};
    const bool hasRoom = x - X(row, row * kRowSeconds) > paper_.TextWidth(asked, style);
    if (hasRoom) {
        style.anchor = Anchor::Right;
        paper_.Text(x - 0.8, top + kLabelBaseline, asked, style);
    } else {
        paper_.Text(x, top + kRequestLine - 0.6, asked, style);
    }
    if (!phase.isSeen) return;

    const int effectRow = RowOf(phase.inForce);
    const double effectX = X(effectRow, phase.inForce);
    const double effectTop = Top(effectRow);
    paper_.Line(effectX, effectTop + kRequestLine, effectX, Y(effectRow, 0) + 1.5, ColourOf(index),
                0.4);
    if (effectRow == row) paper_.Arrow(x, effectX, top + kArrowLine, kRequestColour);
    paper_.Text(effectX + 0.9, effectTop + kLabelBaseline,
                phase.isAtCycleEnd ? "in force, from the end of the cycle"
                                   : "in force, later than the end of the cycle",
                {.size = 2.8,
                 .colour = phase.isAtCycleEnd ? ColourOf(index) : kFailed,
                 .isBold = true,
                 .hasHalo = true});
}

}  // namespace

void DrawPage(const Page& page, const std::string& path)
{
    Renderer renderer(page);
    renderer.Draw();
    renderer.Save(path);
}

}  // namespace ecg
