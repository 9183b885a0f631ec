#include "storage/Flash.h"

#include <algorithm>
#include <cstring>

#include "platform/ByteOrder.h"

namespace {
constexpr std::size_t kChunkBytes = 32;
constexpr std::size_t kChunkWords = 16;
constexpr std::size_t kAckOffset = 4;
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr unsigned kReadPauseMs = 6;     // between two chunks of the 8-bit flavour
constexpr unsigned kReplyWaitMs = 6;     // before the reply to a write
constexpr unsigned kProgramWaitMs = 40;  // after the reply to a write

FlashFrame MakeFrame(StorageChannel channel, std::uint32_t address, std::size_t count)
{
    FlashFrame frame = {};
    frame.bytes[0] = 0x12;
    frame.bytes[1] = 0x55;
    frame.bytes[2] = 0xAA;
    frame.bytes[5] = static_cast<std::uint8_t>(channel);
    frame.bytes[7] = static_cast<std::uint8_t>(count);
    WriteBig32(frame.bytes + 8, address);
    return frame;
}

bool WriteChunk(const FlashFrame& frame) REQUIRES(g_APICriticalSection, g_InterruptCriticalSection)
{
    std::uint8_t reply[kReplyBytes];
    if (!ExchangeFlashFrame(frame.bytes, kReplyWaitMs, reply)) return false;
    SleepMilliseconds(kProgramWaitMs);
    return true;
}

std::uint32_t AddressAfter(std::uint32_t start, std::size_t bytes)
{
    return start + static_cast<std::uint32_t>(bytes);
}
}  // namespace

bool ExchangeFlashFrame(const std::uint8_t (&frame)[kReplyBytes], unsigned waitMs,
                        std::uint8_t (&reply)[kReplyBytes])
{
    if (!SendRequest(frame, sizeof frame)) return false;
    if (waitMs != 0) SleepMilliseconds(waitMs);
    return ReceiveReply(reply) && reply[kAckOffset] >= kAcknowledged;
}

FlashFrame MakeReadFrame(StorageChannel channel, std::uint32_t address, std::size_t count)
{
    return MakeFrame(channel, address, count);
}

FlashFrame MakeWriteFrame(StorageChannel channel, std::uint32_t address, const std::uint8_t* data,
                          std::size_t count)
{
    FlashFrame frame = MakeFrame(channel, address, count);
    frame.bytes[3] = kFlashWrite;
    std::memcpy(frame.bytes + kFlashDataOffset, data, std::min(count, kFlashFrameData));
    return frame;
}

FlashFrame MakeEraseFrame(StorageChannel channel, std::uint32_t address)
{
    FlashFrame frame = MakeFrame(channel, address, 0);
    frame.bytes[3] = kFlashWrite;
    frame.bytes[6] = 1;
    return frame;
}

bool DoReadFlash(std::uint32_t address, StorageChannel channel, std::uint16_t* data,
                 std::size_t words)
{
    std::memset(data, 0, words * sizeof *data);
    for (std::size_t done = 0; done < words; done += kChunkWords) {
        const std::size_t count = std::min(kChunkWords, words - done);
        const FlashFrame frame = MakeFrame(channel, AddressAfter(address, 2 * done), 2 * count);
        std::uint8_t reply[kReplyBytes];
        if (!ExchangeFlashFrame(frame.bytes, 0, reply)) return false;
        for (std::size_t k = 0; k < count; ++k) {
            data[done + k] = ReadBig16(reply + kFlashDataOffset + 2 * k);
        }
    }
    return true;
}

bool DoWriteFlash(std::uint32_t address, StorageChannel channel, const std::uint16_t* data,
                  std::size_t words)
{
    for (std::size_t done = 0; done < words; done += kChunkWords) {
        const std::size_t count = std::min(kChunkWords, words - done);
        std::uint8_t bytes[kChunkBytes];
        for (std::size_t k = 0; k < count; ++k) WriteBig16(bytes + 2 * k, data[done + k]);
        if (!WriteChunk(
                MakeWriteFrame(channel, AddressAfter(address, 2 * done), bytes, 2 * count))) {
            return false;
        }
    }
    return true;
}

bool DoReadFlash(std::uint32_t address, StorageChannel channel, std::uint8_t* data,
                 std::size_t bytes)
{
    std::memset(data, 0, bytes);
    for (std::size_t done = 0; done < bytes; done += kChunkBytes) {
        const std::size_t count = std::min(kChunkBytes, bytes - done);
        const FlashFrame frame = MakeFrame(channel, AddressAfter(address, done), count);
        std::uint8_t reply[kReplyBytes];
        if (!ExchangeFlashFrame(frame.bytes, 0, reply)) return false;
        std::memcpy(data + done, reply + kFlashDataOffset, count);
        SleepMilliseconds(kReadPauseMs);
    }
    return true;
}

bool DoWriteFlash(std::uint32_t address, StorageChannel channel, const std::uint8_t* data,
                  std::size_t bytes)
{
    for (std::size_t done = 0; done < bytes; done += kChunkBytes) {
        const std::size_t count = std::min(kChunkBytes, bytes - done);
        if (!WriteChunk(MakeWriteFrame(channel, AddressAfter(address, done), data + done, count))) {
            return false;
        }
    }
    return true;
}

bool FlashRead(StorageChannel channel, std::uint32_t address, void* data, std::size_t bytes)
{
    return DoReadFlash(address, channel, static_cast<std::uint8_t*>(data), bytes);
}

bool FlashWrite(StorageChannel channel, std::uint32_t address, const void* data, std::size_t bytes)
{
    return DoWriteFlash(address, channel, static_cast<const std::uint8_t*>(data), bytes);
}

bool FlashErase(StorageChannel channel, std::uint32_t address)
{
    const FlashFrame frame = MakeEraseFrame(channel, address);
    if (!SendRequest(frame.bytes, sizeof frame.bytes)) return false;
    SleepMilliseconds(kFlashEraseWaitMs);
    std::uint8_t reply[kReplyBytes];
    return ReceiveReply(reply);
}
