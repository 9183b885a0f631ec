// Roundings of the signal path, defined for every double.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

constexpr double kTwoPi = 6.283185307179586;

// Toward zero. Values that an integer does not hold are whole already; a NaN stays one.
inline double Truncate(double value)
{
    constexpr double kWholeFrom = 4503599627370496.0;  // 2^52
    if (!(std::fabs(value) < kWholeFrom)) return value;
    return static_cast<double>(static_cast<std::int64_t>(value));
}

inline double FloorOf(double value)
{
    const double whole = Truncate(value);
    return whole > value ? whole - 1.0 : whole;
}

// Half up: the whole number below value + 0.5.
inline double RoundHalfUp(double value) { return FloorOf(value + 0.5); }

// The position in a period that repeats from 0 on.
inline double PhaseIn(double t, double period) { return t - FloorOf(t / period) * period; }

// Toward zero and saturated; a NaN becomes 0.
template <class Integer>
Integer SaturateTo(double value)
{
    constexpr double kLow = static_cast<double>(std::numeric_limits<Integer>::min());
    constexpr double kHigh = static_cast<double>(std::numeric_limits<Integer>::max());
    if (!(value > kLow)) return value <= kLow ? std::numeric_limits<Integer>::min() : Integer{0};
    if (value >= kHigh) return std::numeric_limits<Integer>::max();
    return static_cast<Integer>(value);
}
