// The pacing pulses that the instrument makes by itself, each from a marked sample on.
//
// Takes no lock; its owner does.
#pragma once

#include <cstdint>
#include <deque>

#include "instrument/SimulatedInstrument.h"

namespace instrument {

// The pacing fields of the control block, in the instrument's own units.
struct PacingCodes {
    std::uint16_t amplitude = 0;  // see isAcCode; two's complement
    unsigned lengthUs = 0;
    bool isAcCode = false;  // 1600 codes a millivolt; else relative to the DC code of 0 mV
};

// The samples whose instant lies within a pulse that starts with one of them; at least 1.
std::uint64_t SamplesOf(unsigned lengthUs, unsigned rateHz);

class PulseMaker {
public:
    // Also ends the pulse that may be running.
    void Start(const Pulse& pulse, std::uint64_t samples);
    // The output has ended, and the pulse with it.
    void Stop() { end_ = 0; }

    // For samples from the start of the latest pulse on.
    double MvAt(std::uint64_t sample) const { return sample < end_ ? made_.back().amplitudeMv : 0; }
    const std::deque<Pulse>& Made() const { return made_; }

private:
    std::deque<Pulse> made_;  // the newest
    std::uint64_t end_ = 0;   // the first sample after the pulse
};

}  // namespace instrument
