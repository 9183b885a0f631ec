#include "tools/draw/SheetLayout.h"

#include <algorithm>
#include <cmath>

#include "draw_ecg/EcgPaper.h"

namespace {

constexpr double kSquare = 5.0;
constexpr double kLabelRoom = 9.0;  // above the highest curve of a row
constexpr double kBelowCurve = 1.5;
constexpr double kSecondsRoom = 4.5;
constexpr double kRowGap = 4.0;
constexpr double kLowestTop = 12.0;  // mm; the calibration mark fits in every row
constexpr double kWidestPixels = 1500.0;
constexpr int kFinest = 8;  // pixels a millimetre

double Squares(double mm) { return kSquare * std::ceil(mm / kSquare); }

double WidthOf(const std::vector<Strip>& row)
{
    double width = kCalibration - kStripGap;
    for (const Strip& strip : row) width += strip.Seconds() * ecg::kMmPerSecond + kStripGap;
    // A single strip ends with the paper.
    return row.size() == 1 ? width : width + kStripGap / 2.0;
}

RowPlace Place(const std::vector<Strip>& row, double top, bool hasSeconds)
{
    double highest = kLowestTop;
    double lowest = 0;
    RowPlace place{.top = top, .height = 0, .baseline = 0, .strips = {}};
    double x = kMargin + kCalibration;
    for (const Strip& strip : row) {
        const auto [low, high] = std::minmax_element(strip.mv.begin(), strip.mv.end());
        highest = std::max(highest, *high * ecg::kMmPerMv);
        lowest = std::min(lowest, *low * ecg::kMmPerMv);
        place.strips.push_back(x);
        x += strip.Seconds() * ecg::kMmPerSecond + kStripGap;
    }
    const double above = Squares(highest + kLabelRoom);
    const double below = Squares(kBelowCurve - lowest + (hasSeconds ? kSecondsRoom : 0.0));
    place.height = above + below;
    place.baseline = top + above;
    return place;
}

}  // namespace

SheetLayout LayOut(const Sheet& sheet)
{
    SheetLayout layout{.width = 0, .height = kHeader, .pixelsPerMm = 0, .rows = {}};
    for (const std::vector<Strip>& row : sheet.rows) {
        layout.rows.push_back(Place(row, layout.height, sheet.hasSeconds));
        layout.height += layout.rows.back().height + kRowGap;
        if (row.front().tachogram) layout.height += kTachogramHeight;
        layout.width = std::max(layout.width, WidthOf(row) + 2.0 * kMargin);
    }
    layout.height += kMargin - kRowGap;
    layout.pixelsPerMm = std::min(kFinest, static_cast<int>(kWidestPixels / layout.width));
    return layout;
}
