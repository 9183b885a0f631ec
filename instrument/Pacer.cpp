#include "instrument/Pacer.h"

#include <algorithm>

namespace instrument {

namespace {

// A host that is late by more did not hiccup, it stood still; nothing is caught up then.
constexpr std::chrono::seconds kLongestCatchUp{1};

// A host waits 100 ms for the reply to its stop packet, whatever the sample rate.
constexpr std::chrono::milliseconds kLongestRest{50};

constexpr std::uint64_t kNsPerSecond = 1000000000;

}  // namespace

void Pacer::Begin(Clock::time_point arrival)
{
    due_ = arrival;
    remainder_ = 0;
}

Pacer::Clock::time_point Pacer::DueOf(Clock::time_point arrival, unsigned samples, unsigned rate,
                                      bool isResting)
{
    if (rate != rate_) remainder_ = 0;
    rate_ = rate;
    const Clock::time_point before = due_;
    const std::uint64_t duration = samples * kNsPerSecond + remainder_;
    due_ += std::chrono::nanoseconds(duration / rate);
    remainder_ = duration % rate;

    if (arrival > due_) {
        ++underruns_;
        if (arrival - due_ > kLongestCatchUp) due_ = arrival;
        return arrival;
    }
    // It may be the stop packet. Answered early, but never more than one packet ahead, so that the
    // pace of a signal at rest stays what it is.
    if (isResting) return std::min(due_, std::max(arrival + kLongestRest, before));
    return due_;
}

}  // namespace instrument
