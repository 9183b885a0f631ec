#include "tools/fit/Repeats.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {
constexpr int kPeriodSteps = 20;            // to each side of the estimate
constexpr double kPeriodStep = 0.05;        // samples
constexpr int kAlignmentRounds = 4;         // the starts settle within 0.01 sample after three
constexpr double kLeastForAlignment = 0.5;  // of a repeat: less holds too few slopes

// The cubic through the four samples around `position`; the end samples go on outside.
double SampleAt(const std::vector<double>& signal, double position)
{
    const double whole = std::floor(position), u = position - whole;
    const auto sample = [&](double index) {
        const double last = static_cast<double>(signal.size() - 1);
        return signal[static_cast<std::size_t>(std::clamp(index, 0.0, last))];
    };
    const double a = sample(whole - 1), b = sample(whole), c = sample(whole + 1),
                 d = sample(whole + 2);
    const double cubic = 3.0 * (b - c) + d - a, square = 2.0 * a - 5.0 * b + 4.0 * c - d;
    return b + 0.5 * u * (c - a + u * (square + u * cubic));
}

std::vector<double> RegularStarts(const std::vector<double>& signal, double period)
{
    std::vector<double> starts;
    const auto repeats =
        static_cast<std::size_t>(std::ceil(static_cast<double>(signal.size()) / period));
    for (std::size_t i = 0; i < repeats; ++i) starts.push_back(static_cast<double>(i) * period);
    return starts;
}

// Of the repeats that are there in full.
std::vector<double> Average(const std::vector<double>& signal, const std::vector<double>& starts,
                            std::size_t length)
{
    std::vector<double> average(length, 0.0);
    double count = 0.0;
    for (const double start : starts) {
        if (start + static_cast<double>(length) > static_cast<double>(signal.size())) break;
        for (std::size_t i = 0; i < length; ++i) {
            average[i] += SampleAt(signal, start + static_cast<double>(i));
        }
        ++count;
    }
    for (double& value : average) value /= count;
    return average;
}

double SquaredDifference(const std::vector<double>& signal, double period)
{
    const std::vector<double> starts = RegularStarts(signal, period);
    const auto length = static_cast<std::size_t>(period);
    const std::vector<double> average = Average(signal, starts, length);
    double sum = 0.0;
    for (const double start : starts) {
        if (start + period > static_cast<double>(signal.size())) break;
        for (std::size_t i = 0; i < length; ++i) {
            const double off = SampleAt(signal, start + static_cast<double>(i)) - average[i];
            sum += off * off;
        }
    }
    return sum;
}

double BestPeriod(const std::vector<double>& signal, double estimate)
{
    double best = estimate, least = SquaredDifference(signal, estimate);
    for (int step = -kPeriodSteps; step <= kPeriodSteps; ++step) {
        const double period = estimate + step * kPeriodStep;
        const double sum = SquaredDifference(signal, period);
        if (sum >= least) continue;
        least = sum;
        best = period;
    }
    return best;
}

// How much later than `start` the repeat lies, by least squares along the average's slopes.
double Lateness(const std::vector<double>& signal, const std::vector<double>& average, double start)
{
    double along = 0.0, slopes = 0.0;
    for (std::size_t i = 1; i + 1 < average.size(); ++i) {
        const double position = start + static_cast<double>(i);
        if (position < 0.0 || position > static_cast<double>(signal.size() - 1)) continue;
        const double slope = (average[i + 1] - average[i - 1]) / 2.0;
        along += (average[i] - SampleAt(signal, position)) * slope;
        slopes += slope * slope;
    }
    return slopes > 0.0 ? along / slopes : 0.0;
}

std::size_t LongestRepeat(const std::vector<double>& starts)
{
    double longest = 0.0;
    for (std::size_t i = 1; i < starts.size(); ++i) {
        longest = std::max(longest, starts[i] - starts[i - 1]);
    }
    return static_cast<std::size_t>(std::ceil(longest)) + 1;
}
}  // namespace

Repeats FindRepeats(const std::vector<double>& signal, double period)
{
    const double best = BestPeriod(signal, period);
    Repeats repeats{RegularStarts(signal, best), {}};
    const double enough = kLeastForAlignment * best;
    for (int round = 0; round < kAlignmentRounds; ++round) {
        repeats.average = Average(signal, repeats.starts, LongestRepeat(repeats.starts));
        for (double& start : repeats.starts) {
            if (static_cast<double>(signal.size()) - start < enough) continue;
            start += Lateness(signal, repeats.average, start);
        }
        const double first = repeats.starts.front();
        for (double& start : repeats.starts) start -= first;
    }
    repeats.average = Average(signal, repeats.starts, LongestRepeat(repeats.starts));
    return repeats;
}
