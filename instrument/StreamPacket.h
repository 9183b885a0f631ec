// Stream packets: 50 frames of 64 bytes, read and written by hand-made rules of the instrument.
//
// Pure: bytes in, values out. Shares no code with the host library, so that a misread layout
// cannot agree with itself.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace instrument {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kFrameBytes = 64;
constexpr std::size_t kFramesPerPacket = 50;
constexpr std::size_t kPacketBytes = kFrameBytes * kFramesPerPacket;
constexpr std::size_t kMarkerOffset = 4;  // in a frame: the slot at which a pacing pulse starts
constexpr std::size_t kCountOffset = 5;   // samples in the frame
constexpr std::size_t kSlotOffset = 8;    // the slots of a frame begin here
constexpr std::size_t kMaxSamplesPerFrame = 14;
constexpr std::size_t kMaxExtraCodes = 6;  // three PPG channels, a DC and an AC code each
constexpr double kAcCodesPerMv = 1600.0;

// Bits of the operate mode byte.
constexpr std::uint8_t kModeEcg = 0x03;
constexpr std::uint8_t kModeOff = 0x08;
constexpr std::uint8_t kModeRespiration = 0x20;

// How the slots of a data frame are laid out for an operate mode.
struct Layout {
    std::size_t samples = 0;  // in one frame
    std::size_t slotBytes = 0;
    std::size_t extraCodes = 0;  // 16-bit codes that follow the ECG pair in each slot
};
Layout LayoutOf(std::uint8_t mode);

// One sample slot as it stands on the wire.
struct Slot {
    std::uint16_t dc = 0;
    std::int16_t ac = 0;
    // PPG: DC and AC code of each carried channel, in slot order. External respiration: the three
    // resistance codes and the baseline code. The rest is 0.
    std::array<std::uint16_t, kMaxExtraCodes> extra{};
};

struct Frame {
    std::uint8_t start = 0;  // byte 0, 0x01
    std::uint8_t mode = 0;
    std::uint16_t reserved = 0;  // bytes 2 and 3, 0
    std::uint8_t marker = 0;     // 0, or the 1-based slot at which a pacing pulse starts
    std::uint8_t count = 0;      // samples, as the frame states it
    std::uint16_t sequence = 0;
    std::vector<Slot> slots;  // laid out for the mode; a stop frame for its own framing
};

// The slots of one frame of 64 bytes; the number filled in.
std::size_t DecodeSlots(std::span<const std::uint8_t> frame,
                        std::array<Slot, kMaxSamplesPerFrame>& slots);

// The 50 frames of a packet; empty when `packet` is not 3200 bytes long.
std::vector<Frame> DecodePacket(std::span<const std::uint8_t> packet);

// What is wrong with the framing, or an empty string. Looks at every frame's start byte, reserved
// bytes, marker, sample count, padding, and at the sequence numbers within the packet; not at
// what came before it. Accepts data packets and stop packets.
std::string CheckPacket(std::span<const std::uint8_t> packet);

// The framing part of CheckPacket for data packets, with the index of the frame that is wrong.
std::string FramingFault(std::span<const std::uint8_t> packet, std::size_t& badFrame);

// True when every slot holds `restCode` as its DC code and 0 everywhere else, in the framing of the
// packet that ends a run. In the modes without external respiration a data packet of a resting
// signal holds the very same bytes: the packet alone cannot tell, what follows it does (see
// StreamStatistics).
bool IsStopPacket(std::span<const std::uint8_t> packet, std::uint16_t restCode = 32767);

// True when the framing is one that only a stop packet has (modes 8 and 35).
bool IsOnlyStopPacket(std::span<const std::uint8_t> packet, std::uint16_t restCode = 32767);

// Hand-made packets for tests that play the host.
struct PacketContent {
    std::uint8_t mode = kModeEcg;
    std::uint16_t firstSequence = 0;
    std::uint16_t dcCode = 32767;
    std::int16_t acCode = 0;
    std::uint16_t extraCode = 0;
};
Bytes MakePacket(const PacketContent& content);
Bytes MakeStopPacket(std::uint8_t mode, std::uint16_t firstSequence,
                     std::uint16_t restCode = 32767);

}  // namespace instrument
