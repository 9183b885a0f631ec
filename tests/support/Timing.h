// Durations in milliseconds.
#pragma once

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include "instrument/SimulatedInstrument.h"

class CStopwatch {
public:
    double Ms() const
    {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_)
            .count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

inline double MsBetween(instrument::Clock::time_point from, instrument::Clock::time_point to)
{
    return std::chrono::duration<double, std::milli>(to - from).count();
}

// A request is stamped when the instrument has read it, which a busy machine delays now for one
// request and now for another. The middle one of several gaps shows how long the host waited, give
// or take this much.
constexpr double kStampJitterMs = 1.0;

inline double MedianMs(std::vector<double> values)
{
    if (values.empty()) return 0.0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Between one request and the next.
inline double MedianArrivalGapMs(const std::vector<instrument::Exchange>& exchanges)
{
    std::vector<double> gaps;
    for (std::size_t i = 1; i < exchanges.size(); ++i) {
        gaps.push_back(MsBetween(exchanges[i - 1].arrived, exchanges[i].arrived));
    }
    return MedianMs(std::move(gaps));
}

// Between a reply and the next request.
inline double MedianGapAfterReplyMs(const std::vector<instrument::Exchange>& exchanges)
{
    std::vector<double> gaps;
    for (std::size_t i = 1; i < exchanges.size(); ++i) {
        gaps.push_back(MsBetween(exchanges[i - 1].replied, exchanges[i].arrived));
    }
    return MedianMs(std::move(gaps));
}
