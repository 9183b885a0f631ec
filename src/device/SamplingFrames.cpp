#include "device/SamplingFrames.h"

#include <cstring>

namespace {
constexpr std::uint8_t kSamplingGroup = 0xAD;
constexpr std::uint8_t kSamplingDirection = 0xFF;
constexpr unsigned kAckOffset = 3;
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr unsigned kMaskOffset = 4;
constexpr std::uint8_t kChannels = 0x0F;
constexpr unsigned kHeadBytes = 8;
// More than come, one a millisecond, during the longest exchange: a calibration of the DC path is
// written in 12 s. Beyond that the oldest go.
constexpr unsigned kMostFrames = 16384;

// Nothing else is waited for under it.
CSimpleCriticalSection s_section;
std::uint8_t s_frames[kMostFrames][kReplyBytes] GUARDED_BY(s_section);
unsigned s_first GUARDED_BY(s_section) = 0;
unsigned s_count GUARDED_BY(s_section) = 0;

bool HasSamplingHead(const std::uint8_t* block)
{
    return block[0] == kSamplingGroup && block[1] == kSamplingDirection;
}

// The reply that ends sampling begins alike, but names no channel.
bool NamesChannel(const std::uint8_t* block) { return (block[kMaskOffset] & kChannels) != 0; }

bool IsSamplingFrame(const std::uint8_t* block, unsigned length)
{
    return length == kReplyBytes && IsSamplingBlock(block, length) && NamesChannel(block);
}
}  // namespace

bool IsSamplingCommand(const std::uint8_t* request, unsigned length)
{
    return length > 1 && request[0] == kSamplingGroup && request[1] == kSamplingDirection;
}

bool IsSamplingBlock(const std::uint8_t* block, unsigned length)
{
    return (s_bFramesMayCome || g_PPG_PDSamplingRunning) && length >= kHeadBytes &&
           HasSamplingHead(block);
}

bool IsStrayFrame(const std::uint8_t* block, unsigned length)
{
    return length > kMaskOffset && HasSamplingHead(block) && NamesChannel(block);
}

bool IsSamplingAcknowledge(const std::uint8_t* block, unsigned length)
{
    return length == kReplyBytes && IsSamplingBlock(block, length) &&
           block[kAckOffset] == kAcknowledged;
}

bool KeepSamplingFrame(const std::uint8_t* block, unsigned length)
{
    if (!IsSamplingFrame(block, length)) return false;
    CAutoCriticalSection lock(s_section);
    std::memcpy(s_frames[(s_first + s_count) % kMostFrames], block, kReplyBytes);
    if (s_count < kMostFrames) {
        ++s_count;
    } else {
        s_first = (s_first + 1) % kMostFrames;
    }
    return true;
}

void ReturnSamplingFrame(const std::uint8_t* block, unsigned length)
{
    if (!IsSamplingFrame(block, length)) return;
    CAutoCriticalSection lock(s_section);
    if (s_count == kMostFrames) return;
    s_first = (s_first + kMostFrames - 1) % kMostFrames;
    std::memcpy(s_frames[s_first], block, kReplyBytes);
    ++s_count;
}

bool HasKeptFrames()
{
    CAutoCriticalSection lock(s_section);
    return s_count > 0;
}

bool TakeKeptFrame(std::uint8_t (&frame)[kReplyBytes])
{
    CAutoCriticalSection lock(s_section);
    if (s_count == 0) return false;
    std::memcpy(frame, s_frames[s_first], kReplyBytes);
    s_first = (s_first + 1) % kMostFrames;
    --s_count;
    return true;
}

void DropKeptFrames()
{
    CAutoCriticalSection lock(s_section);
    s_count = 0;
}
