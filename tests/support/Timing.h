// Durations in milliseconds.
#pragma once

#include <algorithm>
#include <chrono>
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

// A request is stamped when the instrument has read it, which a busy machine may delay: of several
// gaps the longest one shows whether the host waited.
inline double LongestArrivalGapMs(const std::vector<instrument::Exchange>& exchanges)
{
    double longest = 0.0;
    for (std::size_t i = 1; i < exchanges.size(); ++i) {
        longest = std::max(longest, MsBetween(exchanges[i - 1].arrived, exchanges[i].arrived));
    }
    return longest;
}

inline double LongestGapAfterReplyMs(const std::vector<instrument::Exchange>& exchanges)
{
    double longest = 0.0;
    for (std::size_t i = 1; i < exchanges.size(); ++i) {
        longest = std::max(longest, MsBetween(exchanges[i - 1].replied, exchanges[i].arrived));
    }
    return longest;
}
