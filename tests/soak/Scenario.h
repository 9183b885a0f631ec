// What a soak run does and how much of it.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "support/Slowdown.h"

namespace soak {

constexpr double kSampleRate = 20000;  // Hz, of the ECG alone
constexpr double kPacketSamples = 700;

struct Scenario {
    bool isPaced = false;
    double minutes = 60;  // of signal
    unsigned seed = 1;

    std::uint64_t Samples() const { return static_cast<std::uint64_t>(minutes * 60 * kSampleRate); }
};

// Mean distances in seconds of signal, whatever the pace.
constexpr double kChangeEvery = 0.5;
constexpr double kCommandEvery = 2;
constexpr double kRestartEvery = 60;
constexpr double kReplugEvery = 120;
constexpr double kLeastReplugs = 3;  // of a short run

constexpr std::size_t PacketsIn(double seconds)
{
    return static_cast<std::size_t>(seconds * kSampleRate / kPacketSamples) + 1;
}

// What must not be exceeded. Limits, not measurements: a busy machine is far from them.
constexpr unsigned kReplyMs = 1000;  // a reply that a busy machine delays is no lost one
constexpr double kLongestGapMs = 250.0 * kSlowdown;      // beyond what the machine held up
constexpr double kLongestCommandMs = 500.0 * kSlowdown;  // likewise
// A packet and a command, there and back: so often the machine may hold up what is on its way.
constexpr int kTransfers = 4;
constexpr double kLongestReplugMs = 20000.0 * kSlowdown;
constexpr std::chrono::seconds kStall{30 * kSlowdown};
constexpr long kGrowthKb = 2048;

}  // namespace soak
