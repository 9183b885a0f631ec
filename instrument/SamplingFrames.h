// The photodiode frames that the instrument sends by itself, and when.
//
// Takes no lock; its owner does.
#pragma once

#include <cstdint>
#include <optional>

#include "instrument/SimulatedInstrument.h"

namespace instrument {

class SamplingFrames {
public:
    void SetStream(const SamplingStream& stream) { stream_ = stream; }

    // From frame and sample 0 on; mask 0 ends it.
    void Begin(std::uint8_t mask, Clock::time_point now);
    void End() { mask_ = 0; }

    // Of the next frame, on a schedule that counts from Begin(); empty when none comes.
    std::optional<Clock::time_point> Due() const;
    // The next frame, which is then past; no bytes when it is lost.
    Bytes Next();

private:
    Bytes Make();

    SamplingStream stream_;
    std::uint8_t mask_ = 0;
    Clock::time_point start_;
    std::uint64_t frame_ = 0;
    std::uint64_t sample_ = 0;
};

}  // namespace instrument
