// A smooth curve through points: a cubic Hermite join that meets every point and never leaves the
// range between neighbours, so that extremes are points of the list.
#pragma once

#include <vector>

struct CurvePoint {
    double x;
    double y;
};

class MonotoneCurve {
public:
    // At least two points, x rising.
    explicit MonotoneCurve(std::vector<CurvePoint> points);

    // Outside the points: the nearest point's value.
    double At(double x) const;

private:
    std::vector<CurvePoint> points_;
    std::vector<double> slopes_;
};
