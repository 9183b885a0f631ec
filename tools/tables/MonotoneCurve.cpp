#include "tools/tables/MonotoneCurve.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {
double Slope(const CurvePoint& a, const CurvePoint& b) { return (b.y - a.y) / (b.x - a.x); }

// The weighted harmonic mean of Fritsch and Butland: 0 at a turning point, else at most three times
// the flatter side, which keeps the join monotone.
double InnerSlope(const CurvePoint& before, const CurvePoint& point, const CurvePoint& after)
{
    const double left = Slope(before, point);
    const double right = Slope(point, after);
    if (left * right <= 0.0) return 0.0;
    const double leftLength = point.x - before.x;
    const double rightLength = after.x - point.x;
    const double leftWeight = 2.0 * rightLength + leftLength;
    const double rightWeight = rightLength + 2.0 * leftLength;
    return (leftWeight + rightWeight) / (leftWeight / left + rightWeight / right);
}
}  // namespace

MonotoneCurve::MonotoneCurve(std::vector<CurvePoint> points)
    : points_(std::move(points)), slopes_(points_.size())
{
    for (std::size_t i = 1; i + 1 < points_.size(); ++i) {
        slopes_[i] = InnerSlope(points_[i - 1], points_[i], points_[i + 1]);
    }
}

double MonotoneCurve::At(double x) const
{
    if (x <= points_.front().x) return points_.front().y;
    if (x >= points_.back().x) return points_.back().y;
    const auto after = std::ranges::upper_bound(points_, x, {}, &CurvePoint::x);
    const auto i = static_cast<std::size_t>(after - points_.begin()) - 1;
    const CurvePoint& a = points_[i];
    const CurvePoint& b = points_[i + 1];
    const double length = b.x - a.x;
    const double u = (x - a.x) / length;
    const double v = 1.0 - u;
    return v * v * (1.0 + 2.0 * u) * a.y + u * u * (1.0 + 2.0 * v) * b.y +
           length * u * v * (v * slopes_[i] - u * slopes_[i + 1]);
}
