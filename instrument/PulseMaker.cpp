#include "instrument/PulseMaker.h"

#include <algorithm>
#include <cstddef>

namespace instrument {

namespace {

constexpr std::size_t kKeptPulses = 65536;
constexpr std::uint64_t kUsPerSecond = 1000000;

}  // namespace

std::uint64_t SamplesOf(unsigned lengthUs, unsigned rateHz)
{
    const std::uint64_t parts = std::uint64_t{lengthUs} * rateHz;
    return std::max<std::uint64_t>((parts + kUsPerSecond - 1) / kUsPerSecond, 1);
}

void PulseMaker::Start(const Pulse& pulse, std::uint64_t samples)
{
    made_.push_back(pulse);
    if (made_.size() > kKeptPulses) made_.pop_front();
    end_ = pulse.sample + samples;
}

}  // namespace instrument
