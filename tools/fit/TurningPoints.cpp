#include "tools/fit/TurningPoints.h"

#include <cmath>
#include <cstddef>
#include <set>

namespace {
constexpr double kTimesPerMs = 10.0;  // the grid of written times

std::vector<CurvePoint> PointsAt(const std::set<std::size_t>& samples,
                                 const std::vector<double>& curve, double msPerSample)
{
    std::vector<CurvePoint> points;
    for (const std::size_t sample : samples) {
        const double ms = static_cast<double>(sample) * msPerSample;
        points.push_back({std::round(ms * kTimesPerMs) / kTimesPerMs, std::round(curve[sample])});
    }
    return points;
}
}  // namespace

std::vector<CurvePoint> ChooseTurningPoints(const std::vector<double>& curve, double msPerSample,
                                            Join join, double bound)
{
    std::set<std::size_t> samples{0, curve.size() - 1};
    for (;;) {
        std::vector<CurvePoint> points = PointsAt(samples, curve, msPerSample);
        const Shape shape(join, points);
        double farthest = bound;
        std::size_t where = curve.size();
        for (std::size_t i = 0; i < curve.size(); ++i) {
            const double off = std::abs(shape.At(static_cast<double>(i) * msPerSample) - curve[i]);
            if (off <= farthest || samples.count(i) != 0) continue;
            farthest = off;
            where = i;
        }
        if (where == curve.size()) return points;
        samples.insert(where);
    }
}
