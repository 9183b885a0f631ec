#include "instrument/StreamPacket.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include <fmt/format.h>

namespace instrument {

namespace {

constexpr std::uint8_t kStartByte = 0x01;
constexpr std::uint8_t kModePpgBits = 0x1C;
constexpr std::uint8_t kModeEcgAndRespiration = kModeEcg | kModeRespiration;

using FrameView = std::span<const std::uint8_t, kFrameBytes>;

FrameView FrameAt(std::span<const std::uint8_t> packet, std::size_t index)
{
    return packet.subspan(index * kFrameBytes).first<kFrameBytes>();
}

std::uint16_t WordAt(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    return static_cast<std::uint16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}

void PutWord(std::uint8_t* at, std::uint16_t word)
{
    at[0] = static_cast<std::uint8_t>(word >> 8);
    at[1] = static_cast<std::uint8_t>(word & 0xFF);
}

std::size_t PpgChannels(std::uint8_t mode)
{
    return static_cast<std::size_t>(std::popcount(static_cast<unsigned>(mode & kModePpgBits)));
}

// A stop frame counts channels where a data frame counts slots: it leaves the respiration bit out,
// and the ECG slot too when no ECG bit is set.
Layout StopLayoutOf(std::uint8_t mode)
{
    const std::size_t channels = PpgChannels(mode);
    const std::size_t ecg = (mode & kModeEcg) != 0 ? 1 : 0;
    const std::size_t parts = std::max<std::size_t>(channels + ecg, 1);
    return {14 / parts, 4 * (channels + 1), 2 * channels};
}

// The stop frame of a mode with sequence number 0.
std::array<std::uint8_t, kFrameBytes> StopFrame(std::uint8_t mode, std::uint16_t restCode)
{
    std::array<std::uint8_t, kFrameBytes> frame{};
    const Layout layout = StopLayoutOf(mode);
    frame[0] = kStartByte;
    frame[1] = mode;
    frame[5] = static_cast<std::uint8_t>(layout.samples);
    if ((mode & kModeEcg) == 0) return frame;
    for (std::size_t slot = 0; slot < layout.samples; ++slot) {
        PutWord(&frame[kSlotOffset + slot * layout.slotBytes], restCode);
    }
    return frame;
}

bool EqualsButSequence(FrameView frame, const std::array<std::uint8_t, kFrameBytes>& wanted)
{
    return std::memcmp(frame.data(), wanted.data(), 6) == 0 &&
           std::memcmp(frame.data() + 8, wanted.data() + 8, kFrameBytes - 8) == 0;
}

Slot SlotAt(FrameView frame, std::size_t offset, std::size_t extraCodes)
{
    Slot slot;
    slot.dc = WordAt(frame, offset);
    slot.ac = static_cast<std::int16_t>(WordAt(frame, offset + 2));
    for (std::size_t i = 0; i < extraCodes; ++i) slot.extra[i] = WordAt(frame, offset + 4 + 2 * i);
    return slot;
}

bool IsZero(FrameView frame, std::size_t from)
{
    return std::all_of(frame.begin() + static_cast<std::ptrdiff_t>(from), frame.end(),
                       [](std::uint8_t byte) { return byte == 0; });
}

bool IsGoodFrame(FrameView frame, const Layout& layout)
{
    return frame[0] == kStartByte && WordAt(frame, 2) == 0 && frame[5] == layout.samples &&
           (frame[4] == 0 || (frame[1] == kModeEcg && frame[4] <= kMaxSamplesPerFrame)) &&
           IsZero(frame, kSlotOffset + layout.samples * layout.slotBytes);
}

std::string FrameFault(FrameView frame, const Layout& layout)
{
    if (frame[0] != kStartByte) return fmt::format("byte 0 is {:02X}, not 01", frame[0]);
    if (WordAt(frame, 2) != 0) return "bytes 2 and 3 are not 0";
    if (frame[5] != layout.samples) {
        return fmt::format("{} samples stated where mode {:02X} has {}", frame[5], frame[1],
                           layout.samples);
    }
    if (frame[4] > kMaxSamplesPerFrame) return fmt::format("marker {} is no slot", frame[4]);
    if (frame[4] != 0 && frame[1] != kModeEcg) return "a marker outside the ECG-only layout";
    return fmt::format("padding from byte {} on is not 0",
                       kSlotOffset + layout.samples * layout.slotBytes);
}

}  // namespace

Layout LayoutOf(std::uint8_t mode)
{
    if (mode == kModeEcg) return {14, 4, 0};
    if (mode == kModeEcgAndRespiration) return {4, 12, 4};
    const std::size_t channels = PpgChannels(mode);
    return {14 / (channels + 1), 4 * (channels + 1), 2 * channels};
}

std::size_t DecodeSlots(std::span<const std::uint8_t> frame,
                        std::array<Slot, kMaxSamplesPerFrame>& slots)
{
    const FrameView bytes = frame.first<kFrameBytes>();
    Layout layout = LayoutOf(bytes[1]);
    if (bytes[5] != layout.samples) layout = StopLayoutOf(bytes[1]);
    // A stop frame of mode 8 states more slots than a frame has room for.
    const std::size_t room = (kFrameBytes - kSlotOffset) / layout.slotBytes;
    const std::size_t count = std::min<std::size_t>(layout.samples, room);
    for (std::size_t i = 0; i < count; ++i) {
        slots[i] = SlotAt(bytes, kSlotOffset + i * layout.slotBytes, layout.extraCodes);
    }
    return count;
}

std::vector<Frame> DecodePacket(std::span<const std::uint8_t> packet)
{
    std::vector<Frame> frames;
    if (packet.size() != kPacketBytes) return frames;

    for (std::size_t i = 0; i < kFramesPerPacket; ++i) {
        const FrameView bytes = FrameAt(packet, i);
        std::array<Slot, kMaxSamplesPerFrame> slots;
        const auto count = static_cast<std::ptrdiff_t>(DecodeSlots(bytes, slots));
        frames.push_back({bytes[0],
                          bytes[1],
                          WordAt(bytes, 2),
                          bytes[4],
                          bytes[5],
                          WordAt(bytes, 6),
                          {slots.begin(), slots.begin() + count}});
    }
    return frames;
}

std::string FramingFault(std::span<const std::uint8_t> packet, std::size_t& badFrame)
{
    badFrame = 0;
    if (packet.size() != kPacketBytes) {
        return fmt::format("{} bytes where a packet has {}", packet.size(), kPacketBytes);
    }
    std::uint8_t mode = packet[1];
    Layout layout = LayoutOf(mode);
    for (std::size_t i = 0; i < kFramesPerPacket; ++i) {
        const FrameView frame = FrameAt(packet, i);
        if (frame[1] != mode) layout = LayoutOf(frame[1]);
        mode = frame[1];
        if (IsGoodFrame(frame, layout)) continue;
        badFrame = i;
        return fmt::format("frame {}: {}", i, FrameFault(frame, layout));
    }
    return {};
}

std::string CheckPacket(std::span<const std::uint8_t> packet)
{
    std::size_t badFrame = 0;
    std::string fault = FramingFault(packet, badFrame);
    if (!fault.empty()) {
        if (packet.size() != kPacketBytes) return fault;
        const std::uint16_t restCode = WordAt(packet, kSlotOffset);
        if (!IsOnlyStopPacket(packet, restCode)) return fault;
    }
    for (std::size_t i = 1; i < kFramesPerPacket; ++i) {
        const auto wanted = static_cast<std::uint16_t>(WordAt(FrameAt(packet, i - 1), 6) + 1);
        const std::uint16_t found = WordAt(FrameAt(packet, i), 6);
        if (found != wanted) {
            return fmt::format("frame {}: sequence {} where {} follows", i, found, wanted);
        }
    }
    return {};
}

bool IsStopPacket(std::span<const std::uint8_t> packet, std::uint16_t restCode)
{
    if (packet.size() != kPacketBytes) return false;
    const auto wanted = StopFrame(packet[1], restCode);
    for (std::size_t i = 0; i < kFramesPerPacket; ++i) {
        if (!EqualsButSequence(FrameAt(packet, i), wanted)) return false;
    }
    return true;
}

bool IsOnlyStopPacket(std::span<const std::uint8_t> packet, std::uint16_t restCode)
{
    if (packet.size() != kPacketBytes) return false;
    const std::uint8_t mode = packet[1];
    if (LayoutOf(mode).samples == StopLayoutOf(mode).samples) return false;
    return IsStopPacket(packet, restCode);
}

Bytes MakePacket(const PacketContent& content)
{
    Bytes packet(kPacketBytes, 0);
    const Layout layout = LayoutOf(content.mode);
    for (std::size_t i = 0; i < kFramesPerPacket; ++i) {
        std::uint8_t* frame = packet.data() + i * kFrameBytes;
        frame[0] = kStartByte;
        frame[1] = content.mode;
        frame[5] = static_cast<std::uint8_t>(layout.samples);
        PutWord(frame + 6, static_cast<std::uint16_t>(content.firstSequence + i));
        for (std::size_t slot = 0; slot < layout.samples; ++slot) {
            std::uint8_t* at = frame + kSlotOffset + slot * layout.slotBytes;
            PutWord(at, content.dcCode);
            PutWord(at + 2, static_cast<std::uint16_t>(content.acCode));
            for (std::size_t extra = 0; extra < layout.extraCodes; ++extra) {
                PutWord(at + 4 + 2 * extra, content.extraCode);
            }
        }
    }
    return packet;
}

Bytes MakeStopPacket(std::uint8_t mode, std::uint16_t firstSequence, std::uint16_t restCode)
{
    Bytes packet;
    packet.reserve(kPacketBytes);
    auto frame = StopFrame(mode, restCode);
    for (std::size_t i = 0; i < kFramesPerPacket; ++i) {
        PutWord(&frame[6], static_cast<std::uint16_t>(firstSequence + i));
        packet.insert(packet.end(), frame.begin(), frame.end());
    }
    return packet;
}

}  // namespace instrument
