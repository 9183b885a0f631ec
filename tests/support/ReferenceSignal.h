// The signals once more, in another form than the library's: lines between named points, sines by
// their quarter, times as parts of a whole. Millivolts by seconds from the start of the cycle.
#pragma once

#include <cmath>
#include <vector>

namespace reference {
constexpr double kPi = 3.14159265358979323846;

struct Point {
    double t;
    double mv;
};

// Straight lines between points in order of time; 0 before the first and after the last. A point
// that repeats its predecessor's time is a step.
inline double Lines(const std::vector<Point>& points, double t)
{
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Point& a = points[i - 1];
        const Point& b = points[i];
        if (t >= a.t && t < b.t) return a.mv + (b.mv - a.mv) * ((t - a.t) / (b.t - a.t));
    }
    return 0.0;
}

// Half a sine of the given height between two times, 0 outside.
inline double HalfSine(double from, double to, double height, double t)
{
    return t >= from && t < to ? height * std::sin(kPi * (t - from) / (to - from)) : 0.0;
}

inline double Sine(double peakToPeak, double frequency, double t)
{
    return peakToPeak / 2.0 * std::cos(2.0 * kPi * frequency * t - kPi / 2.0);
}

inline double Triangle(double peakToPeak, double frequency, double t)
{
    const double quarter = 0.25 / frequency;
    const double top = peakToPeak / 2.0;
    return Lines({{0, 0}, {quarter, top}, {3 * quarter, -top}, {4 * quarter, 0}}, t);
}

inline double Square(double peakToPeak, double frequency, double t)
{
    return t * frequency < 0.5 ? peakToPeak / 2.0 : -peakToPeak / 2.0;
}

inline double RectangularPulse(double height, double widthMs, double t)
{
    const double width = widthMs / 1000.0;
    return Lines({{0, 0}, {0.001, height}, {width, height}, {width + 0.001, 0}}, t);
}

inline double TriangularPulse(double height, double widthMs, double delay, double t)
{
    const double width = widthMs / 1000.0;
    return Lines({{delay, 0}, {delay + width / 2.0, height}, {delay + width, 0}}, t);
}

inline double Decay(double height, double t) { return height * std::pow(std::exp(-1.0), 20.0 * t); }

inline double BaselinePulse(double peakToPeak, double t)
{
    const double top = peakToPeak / 2.0;
    return t < 0.5 ? Decay(top, t) : -Decay(top, t - 0.5);
}

// The QRS triangle from `start` on: 7/8 up at 7/16 of its length, 1/8 down at 15/16. It ends at
// `level`.
inline double Qrs(double start, double length, double height, double level, double t)
{
    return Lines({{start, 0},
                  {start + length * 7.0 / 16.0, height * 7.0 / 8.0},
                  {start + length * 15.0 / 16.0, -height / 8.0},
                  {start + length, level}},
                 t);
}

struct Beat {
    double amplitude = 1.0;
    double frequency = 1.0;
    double qrs = 0.1;  // s, all of them
    double t = 0.2;    // mV
    // Customised beat.
    double pDuration = 0.1;
    double prInterval = 0.16;
    double qtInterval = 0.35;
    double tDuration = 0.18;
    double p = 0.2;   // mV
    double st = 0.0;  // mV
};

inline double StandardBeat(const Beat& beat, double t)
{
    const double period = 1.0 / beat.frequency;
    double qrs = beat.qrs;
    double stLength = 0.07;
    double tLength = 0.18;
    if (qrs + stLength + tLength > period) {
        stLength = 0.0;
        tLength = qrs + 0.18 <= period ? 0.18 : qrs + 0.16 <= period ? 0.16 : 0.0;
        if (qrs > period) qrs = period;
    }
    const double tStart = 0.01 + qrs + stLength;
    // A sine of 0.36 s, cut short with the wave.
    const double wave = t < tStart + tLength ? HalfSine(tStart, tStart + 0.18, beat.t, t) : 0.0;
    return Qrs(0.01, qrs, beat.amplitude, 0.0, t) + wave;
}

inline double CustomBeat(const Beat& beat, double t)
{
    const double period = 1.0 / beat.frequency;
    double qrs = beat.qrs;
    if (qrs > period) qrs = period;
    const bool fits = beat.tDuration <= beat.qtInterval - qrs;
    const double tLength = fits ? beat.tDuration : 0.0;
    const double stEnd = beat.prInterval + (fits ? beat.qtInterval - beat.tDuration : qrs);
    if (t < beat.pDuration) return HalfSine(0.0, beat.pDuration, beat.p, t);
    if (t < beat.prInterval) return 0.0;
    if (t < beat.prInterval + qrs) return Qrs(beat.prInterval, qrs, beat.amplitude, beat.st, t);
    if (t < stEnd) return beat.st;
    const double end = stEnd + tLength;
    if (beat.st != 0.0 && t < end - 0.09) {
        return beat.st + HalfSine(stEnd, end, beat.t - beat.st, t);
    }
    return HalfSine(stEnd, end, beat.t, t);
}

inline double Jjg1041(double peakToPeak, double frequency, bool notched, double t)
{
    const double a = peakToPeak / 2.0;
    const double x = t * frequency / 0.75;  // everything is a part of three quarters of the period
    const double p = 0.1327;
    if (x < p) {
        const double level = 0.215 * a;
        const double ripple = 0.019 * a * std::sin(3.0 * kPi * (x - p / 8.0) / (p * 0.75));
        const bool inSine = x >= p / 8.0 && x < p * 7.0 / 8.0;
        return Lines({{0, 0}, {p / 8.0, level}, {p * 7.0 / 8.0, level}, {p, 0}}, x) +
               (inSine ? ripple : 0.0);
    }
    const double y = x - 0.1653;  // from the start of the Q wave
    const double sEnd = 0.516 - 0.212;
    std::vector<Point> points = {{0, 0}, {0.01065, -0.394 * a}, {0.0213, 0}, {0.0427, 1.605 * a}};
    if (notched) {
        points.push_back({0.05835, 0.716 * a});
        points.push_back({0.074, 1.068 * a});
    }
    points.push_back({0.0947, 0});
    points.push_back({0.0947 + (sEnd - 0.0947) / 3.0, -0.116 * a});
    points.push_back({sEnd, -0.116 * a});
    if (y < sEnd) return Lines(points, y);
    return y < 0.516 ? -HalfSine(0.516 - 0.212 / 0.908, 0.516, 0.408 * a, y) : 0.0;
}

// Up by half the amplitude in a quarter, down by the whole in a half, back in a quarter.
inline double Drift(double amplitude, double frequency, double t)
{
    return Triangle(amplitude, frequency, std::fmod(t, 1.0 / frequency));
}
}  // namespace reference
