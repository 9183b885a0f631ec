#include "tools/draw/SheetDrawing.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "draw_ecg/EcgPaper.h"

namespace {

using ecg::Anchor;
using ecg::Colour;
using ecg::EcgPaper;
using ecg::kGrey;
using ecg::kInk;
using ecg::kMmPerSecond;

// Lengths in mm. Only curves and calibration marks are drawn in ink on the paper.
constexpr double kMarkIndent = 2.5;
constexpr double kTitleBaseline = 9.5;
constexpr double kRemarkBaseline = 16.0;
constexpr double kNameBaseline = 4.2;  // below the top of a row
constexpr double kCaptionBaseline = 7.6;
constexpr double kLabelIndent = 0.8;
constexpr double kSecondsBaseline = 1.2;  // above the bottom of a row
constexpr double kTick = 0.9;
constexpr double kSwing = 1.25;          // half the height of a tachogram, in deviations
constexpr double kSmallestSwing = 0.05;  // s
constexpr double kTachogramPad = 4.5;    // above and below its plot
constexpr double kDot = 0.7;
constexpr double kEdge = 4.0;       // no room there for half a label
constexpr double kMostTimes = 8.0;  // labelled under a tachogram

constexpr Colour kLabel{0.05, 0.30, 0.62};
constexpr Colour kSeam{0.55, 0.29, 0.02};

// 1, 2 or 5 times a power of ten, so that few labels fit under `seconds`.
double RoundStep(double seconds)
{
    const double power = std::pow(10.0, std::floor(std::log10(seconds / kMostTimes)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (seconds / (factor * power) <= kMostTimes) return factor * power;
    }
    return 10.0 * power;
}

class Drawing {
public:
    explicit Drawing(const Sheet& sheet)
        : sheet_(sheet),
          layout_(LayOut(sheet)),
          paper_(layout_.width, layout_.height, layout_.pixelsPerMm)
    {}

    void Draw()
    {
        paper_.Text(kMargin, kTitleBaseline, sheet_.title, {.size = 4.6, .isBold = true});
        paper_.Text(kMargin, kRemarkBaseline, sheet_.remark, {.size = 3.0, .colour = kGrey});
        for (std::size_t i = 0; i < layout_.rows.size(); ++i) {
            DrawRow(sheet_.rows[i], layout_.rows[i]);
        }
    }
    PictureSize Save(const std::string& path)
    {
        paper_.Save(path);
        return {paper_.PixelWidth(), paper_.PixelHeight()};
    }

private:
    double PaperWidth() const { return layout_.width - 2.0 * kMargin; }
    void DrawRow(const std::vector<Strip>& strips, const RowPlace& place);
    void DrawStrip(const Strip& strip, double x, const RowPlace& place);
    void DrawSeconds(const Strip& strip, double x, double bottom);
    void DrawTachogram(const Tachogram& tachogram, double x, double top);
    void DrawLevel(double x, double y, double interval);

    const Sheet& sheet_;
    SheetLayout layout_;
    EcgPaper paper_;
};

void Drawing::DrawRow(const std::vector<Strip>& strips, const RowPlace& place)
{
    paper_.Grid(kMargin, place.top, PaperWidth(), place.height);
    paper_.CalibrationMark(kMargin + kMarkIndent, place.baseline);
    for (std::size_t i = 0; i < strips.size(); ++i) DrawStrip(strips[i], place.strips[i], place);
    if (strips.front().tachogram) {
        DrawTachogram(*strips.front().tachogram, place.strips.front(), place.top + place.height);
    }
}

void Drawing::DrawStrip(const Strip& strip, double x, const RowPlace& place)
{
    const double bottom = place.top + place.height;
    for (const double seam : strip.seams) {
        const double at = x + (seam - strip.start) * kMmPerSecond;
        paper_.Line(at, place.top + kCaptionBaseline, at, bottom, kSeam, 0.25, true);
    }
    if (sheet_.hasSeconds) DrawSeconds(strip, x, bottom);
    paper_.Curve(strip.mv, {.x = x, .y = place.baseline, .mmPerSample = kMmPerSecond / strip.rate},
                 kInk, ecg::kTraceWidth);
    paper_.Text(x + kLabelIndent, place.top + kNameBaseline, strip.name,
                {.size = 2.9, .colour = kLabel, .isBold = true, .hasHalo = true});
    paper_.Text(x + kLabelIndent, place.top + kCaptionBaseline, strip.caption,
                {.size = 2.4, .colour = kLabel, .hasHalo = true});
}

void Drawing::DrawSeconds(const Strip& strip, double x, double bottom)
{
    const double end = strip.start + strip.Seconds();
    for (int second = static_cast<int>(std::ceil(strip.start)); second <= end; ++second) {
        const double at = x + (second - strip.start) * kMmPerSecond;
        paper_.Line(at, bottom - kTick, at, bottom, kGrey, 0.25);
        const bool isLast = second + 1 > end;
        paper_.Text(isLast ? at - 0.5 : at + 0.5, bottom - kSecondsBaseline,
                    fmt::format("{} s", second),
                    {.size = 2.2,
                     .colour = kGrey,
                     .anchor = isLast ? Anchor::Right : Anchor::Left,
                     .hasHalo = true});
    }
}

void Drawing::DrawLevel(double x, double y, double interval)
{
    paper_.Line(x, y, kMargin + PaperWidth(), y, kGrey, 0.15, true);
    paper_.Text(x - 1.0, y + 0.8, fmt::format("{:g} s", interval),
                {.size = 2.2, .colour = kGrey, .anchor = Anchor::Right});
}

// The interval after each beat over the time of the beat, the whole pattern across the paper.
void Drawing::DrawTachogram(const Tachogram& tachogram, double x, double top)
{
    const double width = kMargin + PaperWidth() - x;
    const double half = (kTachogramHeight - 2.0 * kTachogramPad) / 2.0;
    const double middle = top + kTachogramPad + half;
    const double swing = std::max(tachogram.deviation, kSmallestSwing / kSwing) * kSwing;
    const auto yOf = [&](double interval) {
        return middle - (interval - tachogram.mean) / swing * half;
    };
    DrawLevel(x, middle, tachogram.mean);
    if (tachogram.deviation > 0) {
        DrawLevel(x, yOf(tachogram.mean + tachogram.deviation),
                  tachogram.mean + tachogram.deviation);
        DrawLevel(x, yOf(tachogram.mean - tachogram.deviation),
                  tachogram.mean - tachogram.deviation);
    }
    const double bottom = middle + half;
    const double step = RoundStep(tachogram.seconds);
    for (int i = 0; i * step <= tachogram.seconds; ++i) {
        const double time = i * step;
        const double at = x + width * time / tachogram.seconds;
        paper_.Line(at, bottom, at, bottom + kTick, kGrey, 0.2);
        const bool isAtEdge = x + width - at < kEdge;
        paper_.Text(at, bottom + kTick + 2.4, fmt::format("{:g} s", time),
                    {.size = 2.2,
                     .colour = kGrey,
                     .anchor = isAtEdge ? Anchor::Right : Anchor::Centre});
    }
    paper_.Text(x + kLabelIndent, top + 3.2, "interval from each R wave to the next, whole pattern",
                {.size = 2.4, .colour = kLabel});
    // Two thousand dots are no more than a line.
    const double dot = std::min(kDot, 0.9 * width / static_cast<double>(tachogram.times.size()));
    for (std::size_t i = 0; i < tachogram.times.size(); ++i) {
        const double size = std::max(dot, ecg::kTraceWidth);
        paper_.Bar(x + tachogram.times[i] / tachogram.seconds * width - size / 2.0,
                   yOf(tachogram.intervals[i]) - size / 2.0, size, size, kInk);
    }
}

}  // namespace

PictureSize DrawSheet(const Sheet& sheet, const std::string& path)
{
    Drawing drawing(sheet);
    drawing.Draw();
    return drawing.Save(path);
}
