#include "StripChart.h"

#include <algorithm>
#include <cmath>
#include <span>

#include <fmt/format.h>

#include "draw_ecg/EcgPaper.h"

namespace vrax {

namespace {

// Lengths in mm.
constexpr double kMargin = 7.0;
constexpr double kHeader = 22.0;
constexpr double kFront = 15.0;  // for the calibration mark
constexpr double kMarkIndent = 2.5;
constexpr double kRowSeconds = 10.0;
constexpr double kSquare = 5.0;
constexpr double kAbove = 10.0;      // of the highest value, for the names
constexpr double kBelow = 5.0;       // of the lowest, for the seconds
constexpr double kLowestTop = 10.0;  // the calibration mark has room
constexpr double kScaledHeight = 20.0;
constexpr double kSpikeHeight = 12.0;
constexpr double kTick = 0.9;
constexpr ecg::Colour kSpike{0.80, 0.20, 0.02};
constexpr ecg::Colour kLabel{0.05, 0.30, 0.62};

struct Row {
    const Strip* strip;
    std::size_t first;  // sample
    std::size_t count;
    double top;     // mm
    double height;  // mm
    double baseline;
    double mmPerMv;
    double low;  // mV, of the whole strip
};

double ToSquares(double mm) { return std::ceil(mm / kSquare - 1e-9) * kSquare; }

// All rows of a strip have the scale and the height of the whole.
Row Scale(const Strip& strip)
{
    const auto [lowest, highest] = std::minmax_element(strip.mv.begin(), strip.mv.end());
    const bool isMovingLevel = strip.scaling == Scaling::Level && *lowest < *highest;
    const double low = isMovingLevel ? *lowest : std::min(*lowest, 0.0);
    const double high = isMovingLevel ? *highest : std::max(*highest, 0.0);
    const double range = std::max(high - low, 1e-6);
    if (strip.scaling == Scaling::Level) {
        const double mmPerMv = kScaledHeight / range;
        const double above = ToSquares(kScaledHeight + kAbove);
        const double height = above + ToSquares(kBelow);
        return {&strip, 0, 0, 0.0, height, above + low * mmPerMv, mmPerMv, low};
    }
    const bool isPulse = strip.scaling == Scaling::Pulse;
    const double mmPerMv = isPulse ? kScaledHeight / range : ecg::kMmPerMv;
    const double above = ToSquares(std::max(high * mmPerMv, kLowestTop) + kAbove);
    const double below = ToSquares(-low * mmPerMv + kBelow);
    return {&strip, 0, 0, 0.0, above + below, above, mmPerMv, low};
}

std::vector<Row> LayOut(const Chart& chart)
{
    std::size_t pieces = 0;
    const auto length = [](const Strip& strip) {
        return static_cast<std::size_t>(std::lround(kRowSeconds * strip.rate));
    };
    for (const Strip& strip : chart.strips) {
        pieces = std::max(pieces, (strip.mv.size() + length(strip) - 1) / length(strip));
    }
    std::vector<Row> rows;
    double top = kHeader;
    for (std::size_t piece = 0; piece < pieces; ++piece) {
        for (const Strip& strip : chart.strips) {
            Row row = Scale(strip);
            row.first = std::min(piece * length(strip), strip.mv.size());
            row.count = std::min(length(strip), strip.mv.size() - row.first);
            row.top = top;
            row.baseline += top;
            top += row.height;
            rows.push_back(row);
        }
    }
    return rows;
}

double PaperWidth(const Chart& chart)
{
    double seconds = 1.0;
    for (const Strip& strip : chart.strips) {
        seconds = std::max(seconds, static_cast<double>(strip.mv.size()) / strip.rate);
    }
    return ToSquares(kFront + std::min(seconds, kRowSeconds) * ecg::kMmPerSecond);
}

class ChartDrawing {
public:
    ChartDrawing(const Chart& chart, const std::string& path)
        : chart_(chart),
          rows_(LayOut(chart)),
          width_(PaperWidth(chart)),
          paper_(width_ + 2.0 * kMargin, rows_.back().top + rows_.back().height + kMargin,
                 chart.pixelsPerMm, path)
    {}

    void Draw()
    {
        paper_.Text(kMargin, 9.5, chart_.title, {.size = TitleSize(), .isBold = true});
        paper_.Text(kMargin, 16.5, "25 mm/s     10 mm/mV", {.size = 3.2});
        for (const Row& row : rows_) {
            paper_.Grid(kMargin, row.top, width_, row.height);
            DrawScale(row);
            DrawSeconds(row);
            DrawCurve(row);
        }
    }
    void Save(const std::string& path) { paper_.Save(path); }

private:
    // So that a title with many parameters fits.
    double TitleSize()
    {
        constexpr double kUsual = 4.6;
        const double needed = paper_.TextWidth(chart_.title, {.size = kUsual, .isBold = true});
        return kUsual * std::min(1.0, width_ / needed);
    }
    static double X(double seconds) { return kMargin + kFront + seconds * ecg::kMmPerSecond; }
    void DrawScale(const Row& row);
    void DrawBar(const Row& row);
    void DrawSeconds(const Row& row);
    void DrawCurve(const Row& row);
    void DrawSpikes(const Row& row);

    const Chart& chart_;
    const std::vector<Row> rows_;
    const double width_;
    ecg::EcgPaper paper_;
};

void ChartDrawing::DrawScale(const Row& row)
{
    if (row.strip->scaling == Scaling::Paper) {
        paper_.CalibrationMark(kMargin + kMarkIndent, row.baseline);
    } else {
        DrawBar(row);
    }
    paper_.Text(X(0.0) + 0.8, row.top + 4.2, row.strip->name,
                {.size = 2.9, .colour = kLabel, .isBold = true, .hasHalo = true});
}

// From the lowest value to the highest. That of a pulse is told by its length, that of a level by
// its ends.
void ChartDrawing::DrawBar(const Row& row)
{
    const double x = kMargin + kMarkIndent + kSquare;
    const double bottom = row.baseline - row.low * row.mmPerMv;
    const double mv = kScaledHeight / row.mmPerMv;
    const bool isLevel = row.strip->scaling == Scaling::Level;
    const auto label = [&](double y, double value) {
        paper_.Text(
            x, y, fmt::format("{:.4g} mV", value),
            {.size = 2.2, .colour = ecg::kGrey, .anchor = ecg::Anchor::Centre, .hasHalo = true});
    };
    paper_.Line(x, bottom, x, bottom - kScaledHeight, ecg::kInk, ecg::kTraceWidth);
    label(bottom - kScaledHeight - 1.2, isLevel ? row.low + mv : mv);
    if (isLevel) label(bottom + 3.0, row.low);
}

void ChartDrawing::DrawSeconds(const Row& row)
{
    const double start = static_cast<double>(row.first) / row.strip->rate;
    const double bottom = row.top + row.height;
    const double end = start + static_cast<double>(row.count) / row.strip->rate;
    for (double second = std::ceil(start); second < end; second += 1.0) {
        const double x = X(second - start);
        paper_.Line(x, bottom - kTick, x, bottom, ecg::kGrey, 0.25);
        paper_.Text(x + 0.5, bottom - 1.2, fmt::format("{:g} s", second),
                    {.size = 2.2, .colour = ecg::kGrey, .hasHalo = true});
    }
}

void ChartDrawing::DrawSpikes(const Row& row)
{
    const auto& pulses = row.strip->pacingMv;
    for (std::size_t i = row.first; i < std::min(row.first + row.count, pulses.size()); ++i) {
        if (pulses[i] == 0.0 || (i > 0 && pulses[i - 1] != 0.0)) continue;
        const double x = X(static_cast<double>(i - row.first) / row.strip->rate);
        const double height = std::copysign(kSpikeHeight, pulses[i]);
        paper_.Line(x, row.baseline, x, row.baseline - height, kSpike, ecg::kTraceWidth);
    }
}

void ChartDrawing::DrawCurve(const Row& row)
{
    if (row.count == 0) return;
    paper_.Clip(kMargin, row.top, width_, row.height);
    DrawSpikes(row);
    paper_.Curve(std::span(row.strip->mv).subspan(row.first, row.count),
                 {.x = X(0.0),
                  .y = row.baseline,
                  .mmPerSample = ecg::kMmPerSecond / row.strip->rate,
                  .mmPerUnit = row.mmPerMv},
                 ecg::kInk, ecg::kTraceWidth);
    paper_.Unclip();
}

}  // namespace

void DrawChart(const Chart& chart, const std::string& path)
{
    {
        ChartDrawing drawing(chart, path);
        drawing.Draw();
        drawing.Save(path);
    }
    ecg::ReleaseFonts();
}

}  // namespace vrax
