// A curve as few turning points.
#pragma once

#include <vector>

#include "tools/tables/Description.h"

// Greedy: starts with both ends and adds a point where the joined points are farthest from the
// curve, until they are nowhere more than `bound` away. Points lie on samples; times are rounded to
// 0.1 ms and values to 1 uV, as they are written.
std::vector<CurvePoint> ChooseTurningPoints(const std::vector<double>& curve, double msPerSample,
                                            Join join, double bound);
