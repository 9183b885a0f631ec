#include "tools/tables/Turn.h"

#include <cmath>
#include <numbers>

namespace {
constexpr int kSeriesTerms = 10;  // the last is below 1e-19 at an eighth of a turn

// The power series of the cosine (first = 0) or of the sine (first = 1), summed from its small end.
double Series(double angle, int first)
{
    double sum = 1.0;
    for (int term = kSeriesTerms; term >= 1; --term) {
        const int order = 2 * term + first;
        sum = 1.0 - sum * angle * angle / (order * (order - 1.0));
    }
    return first == 0 ? sum : sum * angle;
}
}  // namespace

TurnPoint PointAtTurn(double turn)
{
    const double quarter = std::floor(turn * 4.0 + 0.5);
    const double angle = (turn - quarter / 4.0) * 2.0 * std::numbers::pi;
    const double cosine = Series(angle, 0);
    const double sine = Series(angle, 1);
    switch (static_cast<int>(quarter) % 4) {
        case 0: return {cosine, sine};
        case 1: return {-sine, cosine};
        case 2: return {-cosine, -sine};
        default: return {sine, -cosine};
    }
}

double RaisedCosine(double position, double length)
{
    if (position <= 0.0 || position >= length) return 0.0;
    return 0.5 - 0.5 * PointAtTurn(position / length).cosine;
}
