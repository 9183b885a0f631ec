#include "instrument/SamplingFrames.h"

#include <bit>
#include <cmath>

namespace instrument {

namespace {

constexpr unsigned kChannels = 4;
constexpr std::size_t kFirstRecord = 8;

}  // namespace

void SamplingFrames::Begin(std::uint8_t mask, Clock::time_point now)
{
    mask_ = mask;
    start_ = now;
    frame_ = 0;
    sample_ = 0;
}

std::optional<Clock::time_point> SamplingFrames::Due() const
{
    if (mask_ == 0 || !(stream_.framesPerSecond > 0)) return std::nullopt;
    if (stream_.frames != 0 && frame_ >= stream_.frames) return std::nullopt;
    const double ns = std::round(static_cast<double>(frame_ + 1) * 1e9 / stream_.framesPerSecond);
    return start_ + std::chrono::nanoseconds(static_cast<std::int64_t>(ns));
}

Bytes SamplingFrames::Next()
{
    Bytes frame = Make();
    const std::uint64_t number = frame_++;
    if (stream_.loseEvery != 0 && frame_ % stream_.loseEvery == 0) return {};
    if (stream_.edit) stream_.edit(frame, number);
    return frame;
}

// As many whole records as there is room for: a big-endian sample for each channel, and a status.
Bytes SamplingFrames::Make()
{
    Bytes frame(kFrameBytes, 0);
    frame[0] = 0xAD;
    frame[1] = 0xFF;
    frame[4] = mask_;
    const auto record = 2 * static_cast<std::size_t>(std::popcount(mask_)) + 1;
    for (std::size_t at = kFirstRecord; at + record <= frame.size(); ++sample_) {
        for (unsigned channel = 0; channel < kChannels; ++channel) {
            if ((mask_ >> channel & 1) == 0) continue;
            const auto own = static_cast<std::uint16_t>(sample_ & 0xFFFF);
            const std::uint16_t value = stream_.value ? stream_.value(channel, sample_) : own;
            frame[at++] = static_cast<std::uint8_t>(value >> 8);
            frame[at++] = static_cast<std::uint8_t>(value & 0xFF);
        }
        frame[at++] = stream_.status ? stream_.status(sample_) : std::uint8_t{0};
    }
    return frame;
}

}  // namespace instrument
