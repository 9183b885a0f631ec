// When the reply to a stream packet is due, if packets are answered in real time.
#pragma once

#include <chrono>
#include <cstdint>

namespace instrument {

class Pacer {
public:
    using Clock = std::chrono::steady_clock;

    // The run's first packet arrived: the schedule counts from here.
    void Begin(Clock::time_point arrival);

    // The due time of the reply to the next packet, which lasts `samples` at `rate` Hz. Absolute:
    // late replies and late packets do not add up. Never before `arrival`.
    Clock::time_point DueOf(Clock::time_point arrival, unsigned samples, unsigned rate,
                            bool isResting);

    std::uint64_t Underruns() const { return underruns_; }

private:
    Clock::time_point due_;        // of the packet before
    std::uint64_t remainder_ = 0;  // of a nanosecond, in units of 1/rate
    unsigned rate_ = 0;
    std::uint64_t underruns_ = 0;
};

}  // namespace instrument
