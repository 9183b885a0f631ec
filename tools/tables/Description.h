// Readable descriptions of waveforms, and their expansion into samples.
//
// A description is lines of words; '#' starts a comment. Times are milliseconds, values microvolts.
//
//   name TEXT             of the waveform
//   rate HZ               samples a second
//   samples N             length
//   include FILE          shapes and sequences of a file beside this one
//   shape NAME JOIN       turning points follow: pairs TIME VALUE, any number a line, times rising
//   sequence NAME         entries follow: TIME SHAPE [repeat N every MS]
//   play NAME [at MS] [from MS] [until MS] [gain G]
//
// Turning points are joined by straight `lines` or by a `smooth` curve: a cubic in each interval,
// level at every peak and trough, that never leaves the range of its two points. Before its first
// and after its last point a shape keeps the value of that point. In a sequence each shape starts
// at its time and runs until the next one starts; before the first there is 0.
//
// The waveform is the sum of its `play` lines. `at` is where time 0 of the shape or sequence falls
// in the waveform; it is heard from `from` (inside) until `until` (outside), times of the waveform.
// What is played has to stand above, and is multiplied by `gain`. The sum at n / rate is rounded to
// the nearest microvolt, halves away from zero.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/tables/MonotoneCurve.h"
#include "tools/tables/TextFile.h"

struct Waveform {
    std::string name;
    double rate;  // samples a second
    std::vector<std::int32_t> microvolts;
};

// "file:line: what is wrong", or "file: what is wrong" where no line is to blame.
using DescriptionError = TableError;

Waveform ReadDescription(const std::filesystem::path& file);

enum class Join { kLines, kSmooth };

// Turning points, x in ms and y in uV, and how they are joined.
class Shape {
public:
    // At least one point; the times rise.
    Shape(Join join, std::vector<CurvePoint> points);

    double At(double ms) const;

private:
    Join join_;
    std::vector<CurvePoint> points_;
    MonotoneCurve smooth_;
};
