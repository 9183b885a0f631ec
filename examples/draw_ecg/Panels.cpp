#include "draw_ecg/Panels.h"

#include <algorithm>
#include <cmath>
#include <span>

#include <fmt/format.h>

namespace ecg {

namespace {

// Lengths in mm.
constexpr double kMargin = 5.0;
constexpr double kAxis = 9.0;  // room for its numbers, left of the plots
constexpr double kMainWidth = 110.0;
constexpr double kGap = 5.0;
constexpr double kZoomWidth = 46.0;
constexpr double kMainLeft = kMargin + kAxis;
constexpr double kZoomLeft = kMainLeft + kMainWidth + kGap;
constexpr double kRight = kZoomLeft + kZoomWidth;
constexpr double kHeader = 16.5;
constexpr double kTitleHeight = 11.2;  // of two lines above each panel
constexpr double kFirstLine = 5.2;
constexpr double kSecondLine = 9.5;
constexpr double kFooter = 10.0;
constexpr double kTick = 3.2;  // below the last panel, to the numbers
constexpr double kEdge = 2.0;  // so near to a side, a time does not stand in the middle
constexpr double kTextSize = 2.7;
constexpr double kArrowHead = 1.2;

constexpr Colour kPlotPaper{0.985, 0.985, 0.99};
constexpr Colour kGridLine{0.87, 0.88, 0.90};
constexpr Colour kFrame{0.62, 0.63, 0.66};

// The part of the time axis that a column of plots shows.
struct Column {
    double left;
    double width;
    double from;  // s
    double to;
    double tick;

    double X(double time) const { return left + (time - from) / (to - from) * width; }
    bool Shows(double time) const { return time >= from && time <= to; }
};

// The multiples of `step` from `low` to `high`.
std::vector<double> Ticks(double low, double high, double step)
{
    constexpr double kRounding = 1e-9;
    const auto first = std::lround(std::ceil(low / step - kRounding));
    const auto last = std::lround(std::floor(high / step + kRounding));
    std::vector<double> ticks;
    for (auto i = first; i <= last; ++i) ticks.push_back(static_cast<double>(i) * step);
    return ticks;
}

double PageHeight(const PanelPage& page)
{
    double height = kHeader + kFooter;
    for (const Panel& panel : page.panels) height += kTitleHeight + panel.height;
    return height;
}

class PanelRenderer {
public:
    explicit PanelRenderer(const PanelPage& page)
        : page_(page),
          paper_(kRight + kMargin, PageHeight(page), page.pixelsPerMm),
          main_{kMainLeft, kMainWidth, page.start, page.end, page.tickSeconds},
          zoom_{kZoomLeft, kZoomWidth, page.zoomFrom, page.zoomTo, page.zoomTick}
    {}

    void Draw()
    {
        DrawHeader();
        double top = kHeader;
        for (const Panel& panel : page_.panels) {
            DrawTitle(panel, top);
            for (const Column& column : {main_, zoom_}) {
                DrawPlot(panel, column, top + kTitleHeight);
            }
            DrawAxis(panel, top + kTitleHeight);
            top += kTitleHeight + panel.height;
        }
        for (const Column& column : {main_, zoom_}) DrawTimes(column, top);
        DrawLabels();
    }
    void Save(const std::string& path) { paper_.Save(path); }

private:
    static double Y(const Panel& panel, double top, double value)
    {
        return top + (panel.high - value) / (panel.high - panel.low) * panel.height;
    }
    void DrawHeader();
    void DrawTitle(const Panel& panel, double top);
    void DrawPlot(const Panel& panel, const Column& column, double top);
    void DrawGrid(const Panel& panel, const Column& column, double top);
    void DrawCurves(const Panel& panel, const Column& column, double top);
    void DrawMarks(const Panel& panel, const Column& column, double top);
    void DrawAxis(const Panel& panel, double top);
    void DrawTimes(const Column& column, double bottom);
    void DrawLabels();

    const PanelPage& page_;
    EcgPaper paper_;
    const Column main_;
    const Column zoom_;
};

void PanelRenderer::DrawHeader()
{
    paper_.Text(kMargin, 8.5, page_.title, {.size = 4.0, .isBold = true});
    paper_.Text(kRight, 8.5, page_.agrees ? "measured as asked" : "NOT as asked",
                {.size = 3.6,
                 .colour = page_.agrees ? kPassed : kFailed,
                 .anchor = Anchor::Right,
                 .isBold = true});
    paper_.Text(kMargin, 14.2, page_.figures, {.size = kTextSize, .colour = kGrey});
    paper_.Text(kRight, 14.2, page_.zoomTitle,
                {.size = kTextSize, .colour = kGrey, .anchor = Anchor::Right});
}

void PanelRenderer::DrawTitle(const Panel& panel, double top)
{
    paper_.Text(kMainLeft, top + kFirstLine, panel.title,
                {.size = 3.1, .colour = panel.colour, .isBold = true});
    const TextStyle style{.size = kTextSize,
                          .colour = panel.agrees ? kInk : kFailed,
                          .anchor = Anchor::Right,
                          .isBold = !panel.agrees};
    paper_.Text(kRight, top + kFirstLine, panel.figures[0], style);
    paper_.Text(kRight, top + kSecondLine, panel.figures[1], style);
}

void PanelRenderer::DrawGrid(const Panel& panel, const Column& column, double top)
{
    for (const double value : Ticks(panel.low, panel.high, panel.step)) {
        const double y = Y(panel, top, value);
        paper_.Line(column.left, y, column.left + column.width, y, kGridLine, 0.2);
    }
    for (const double time : Ticks(column.from, column.to, column.tick)) {
        paper_.Line(column.X(time), top, column.X(time), top + panel.height, kGridLine, 0.2);
    }
}

void PanelRenderer::DrawCurves(const Panel& panel, const Column& column, double top)
{
    const double perMm = panel.height / (panel.high - panel.low);
    for (const PanelCurve& curve : panel.curves) {
        const auto index = [&](double time) {
            const double at = std::ceil((time - page_.start) * page_.rate - 1e-6);
            return std::min(static_cast<std::size_t>(std::max(at, 0.0)), curve.values->size());
        };
        const std::size_t first = index(column.from);
        const std::size_t end = index(column.to);
        const double time = page_.start + static_cast<double>(first) / page_.rate;
        paper_.Curve(std::span(*curve.values).subspan(first, end - first),
                     {.x = column.X(time),
                      .y = Y(panel, top, 0.0),
                      .mmPerSample = column.width / ((column.to - column.from) * page_.rate),
                      .mmPerUnit = perMm},
                     curve.colour, curve.width);
    }
}

// The lines of the enlargement, and an arrow with its length in time.
void PanelRenderer::DrawMarks(const Panel& panel, const Column& column, double top)
{
    for (const double time : page_.zoomLines) {
        if (!column.Shows(time)) continue;
        paper_.Line(column.X(time), top, column.X(time), top + panel.height, kRequestColour, 0.25,
                    true);
    }
    if (!panel.arrow) return;
    const TimeArrow& arrow = *panel.arrow;
    if (!column.Shows(arrow.from) || !column.Shows(arrow.to)) return;
    const double y = Y(panel, top, arrow.value);
    paper_.Line(column.X(arrow.from), y, column.X(arrow.to) - kArrowHead, y, kRequestColour, 0.3);
    paper_.Arrow(column.X(arrow.from), column.X(arrow.to), y, kRequestColour);
    paper_.Text(column.X(arrow.to) + 1.0, y + 0.9, arrow.text,
                {.size = kTextSize, .colour = kRequestColour, .isBold = true, .hasHalo = true});
}

void PanelRenderer::DrawPlot(const Panel& panel, const Column& column, double top)
{
    paper_.Bar(column.left, top, column.width, panel.height, kPlotPaper);
    for (const TimeSpan& span : page_.spans) {
        const double from = std::clamp(span.from, column.from, column.to);
        const double to = std::clamp(span.to, column.from, column.to);
        if (from >= to) continue;
        paper_.Bar(column.X(from), top, column.X(to) - column.X(from), panel.height, span.colour);
    }
    DrawGrid(panel, column, top);
    paper_.Clip(column.left, top, column.width, panel.height);
    DrawCurves(panel, column, top);
    paper_.Unclip();
    if (column.left == zoom_.left) DrawMarks(panel, column, top);
    paper_.MoveTo(column.left, top);
    paper_.LineTo(column.left + column.width, top);
    paper_.LineTo(column.left + column.width, top + panel.height);
    paper_.LineTo(column.left, top + panel.height);
    paper_.LineTo(column.left, top);
    paper_.Stroke(kFrame, 0.2);
}

void PanelRenderer::DrawAxis(const Panel& panel, double top)
{
    for (const double value : Ticks(panel.low, panel.high, panel.step)) {
        paper_.Text(kMainLeft - 1.0, Y(panel, top, value) + 0.8, fmt::format("{:.4g}", value),
                    {.size = 2.2, .colour = kGrey, .anchor = Anchor::Right});
    }
}

void PanelRenderer::DrawTimes(const Column& column, double bottom)
{
    for (const double time : Ticks(column.from, column.to, column.tick)) {
        const bool isFirst = column.X(time) < column.left + kEdge;
        const bool isLast = column.X(time) > column.left + column.width - kEdge;
        paper_.Text(column.X(time), bottom + kTick, fmt::format("{:g} s", time),
                    {.size = 2.4,
                     .colour = kGrey,
                     .anchor = isFirst  ? Anchor::Left
                               : isLast ? Anchor::Right
                                        : Anchor::Centre});
    }
}

// What the backgrounds are.
void PanelRenderer::DrawLabels()
{
    const double bottom = PageHeight(page_) - kFooter + kTick + 4.0;
    for (const TimeSpan& span : page_.spans) {
        paper_.Text(main_.X((std::max(span.from, main_.from) + std::min(span.to, main_.to)) / 2.0),
                    bottom, span.text,
                    {.size = kTextSize,
                     .colour = kRequestColour,
                     .anchor = Anchor::Centre,
                     .isBold = true});
    }
}

}  // namespace

void DrawPanels(const PanelPage& page, const std::string& path)
{
    PanelRenderer renderer(page);
    renderer.Draw();
    renderer.Save(path);
}

}  // namespace ecg
