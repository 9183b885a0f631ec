// The time between a packet and the next, as the instrument receives them.
#pragma once

#include <algorithm>
#include <mutex>
#include <optional>

#include "support/Timing.h"

namespace soak {

class CStreamWatch {
public:
    // On the instrument's thread, for every request.
    void See(const instrument::Exchange& exchange)
    {
        if (exchange.kind != instrument::Request::Stream) return;
        const std::lock_guard lock(mutex_);
        if (last_) longestMs_ = std::max(longestMs_, MsBetween(*last_, exchange.arrived));
        last_ = exchange.arrived;
        if (instrument::IsStopPacket(exchange.request)) last_.reset();
    }
    // The stream is cut on purpose: what has arrived so far has no next.
    void Cut()
    {
        const std::lock_guard lock(mutex_);
        last_.reset();
    }
    double LongestMs() const
    {
        const std::lock_guard lock(mutex_);
        return longestMs_;
    }

private:
    mutable std::mutex mutex_;
    std::optional<instrument::Clock::time_point> last_;
    double longestMs_ = 0;
};

}  // namespace soak
