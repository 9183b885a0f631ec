// The two tables are known by a few of their points. Between them runs a monotone cubic (Hermite
// pieces; the slope at an inner point is the weighted harmonic mean of its neighbours' slopes, at
// the ends the three-point one-sided slope), rounded to whole numbers; beyond the last point the
// value stays. All of it is computed by the compiler.

#include "ppg/FingerProbeTables.h"

namespace {
struct Point {
    int index;
    double value;
};

// The last point is where the probe saturates.
constexpr Point kDCPoints[] = {{0, 0.0},       {1, 28.0},      {100, 356.0},  {500, 1126.0},
                               {1000, 2000.0}, {1500, 2841.0}, {1574, 2973.0}};
constexpr Point kACPoints[] = {{0, 0.0}, {10, 8.0}, {100, 84.0}, {200, 172.0}, {300, 261.0}};

constexpr double Width(const Point* point) { return point[1].index - point[0].index; }
constexpr double Slope(const Point* point)
{
    return (point[1].value - point[0].value) / Width(point);
}

constexpr double InnerSlope(const Point* point)
{
    const double before = Width(point - 1);
    const double after = Width(point);
    const double weight1 = 2.0 * after + before;
    const double weight2 = after + 2.0 * before;
    return (weight1 + weight2) / (weight1 / Slope(point - 1) + weight2 / Slope(point));
}

// At the end of a piece, from its own slope and that of the piece next to it. Kept within what stays
// monotone.
constexpr double EndSlope(double width, double slope, double nextWidth, double nextSlope)
{
    const double end =
        ((2.0 * width + nextWidth) * slope - width * nextSlope) / (width + nextWidth);
    if (end < 0.0) return 0.0;
    return end > 3.0 * slope ? 3.0 * slope : end;
}

template <std::size_t N>
constexpr double SlopeAt(const Point (&points)[N], std::size_t i)
{
    const Point* point = points + i;
    if (i == 0) return EndSlope(Width(point), Slope(point), Width(point + 1), Slope(point + 1));
    if (i == N - 1) {
        return EndSlope(Width(point - 1), Slope(point - 1), Width(point - 2), Slope(point - 2));
    }
    return InnerSlope(point);
}

constexpr double Piece(const Point* point, double slope0, double slope1, int index)
{
    const double width = Width(point);
    const double s = (index - point->index) / width;
    const double rest = 1.0 - s;
    return point[0].value * (1.0 + 2.0 * s) * rest * rest + slope0 * width * s * rest * rest +
           point[1].value * s * s * (3.0 - 2.0 * s) - slope1 * width * s * s * rest;
}

template <std::size_t Entries, std::size_t N>
constexpr std::array<double, Entries> BuildTable(const Point (&points)[N])
{
    std::array<double, Entries> table = {};
    std::size_t piece = 0;
    for (std::size_t i = 0; i < Entries; ++i) {
        const int index = static_cast<int>(i);
        while (piece < N - 1 && index >= points[piece + 1].index) ++piece;
        double value = points[N - 1].value;
        if (piece < N - 1) {
            value =
                Piece(points + piece, SlopeAt(points, piece), SlopeAt(points, piece + 1), index);
        }
        table[i] = static_cast<double>(static_cast<int>(value + 0.5));
    }
    return table;
}
}  // namespace

constexpr std::array<double, kFingerDCEntries> kFingerDCTable =
    BuildTable<kFingerDCEntries>(kDCPoints);
constexpr std::array<double, kFingerACEntries> kFingerACTable =
    BuildTable<kFingerACEntries>(kACPoints);
constexpr std::array<double, kFingerGains> kFingerDCGains = {
    0.018251, 0.052437, 0.069418, 0.079937, 0.087152, 0.092365, 0.09633,  0.103286,
    0.102154, 0.104043, 0.105641, 0.106936, 0.107952, 0.108699, 0.109461, 0.110119,
    0.110443, 0.110767, 0.111084, 0.110608, 0.111148, 0.111194, 0.109945, 0.111688,
    0.11017,  0.110282, 0.110148, 0.111222, 0.109935, 0.111163, 0.054595};
