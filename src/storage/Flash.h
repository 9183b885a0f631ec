// The instrument's flash: framed reads, writes and sector erases.
//
// Takes no lock itself: the caller holds one exchange over all frames of a record, so that no other
// command and no stream packet comes between them. Every function stops at the first frame that is
// not answered in full and acknowledged, and returns false; a destination then holds what came
// before, and zeros.
#pragma once

#include <cstddef>
#include <cstdint>

#include "device/Exchange.h"

enum class StorageChannel : std::uint8_t {
    kMainBoard = 1,       // main board information
    kECGBoard = 3,        // ECG calibration and manufacturing area
    kECGVariableDC = 18,  // ECG DC variable calibration
    kPPGModule = 19,      // PPG module, external respiration tables
};

constexpr std::size_t kFlashSectorBytes = 1024;

constexpr std::size_t kFlashDataOffset = 16;  // of the data in a frame
constexpr std::size_t kFlashFrameData = 48;   // the most that a frame has room for
constexpr unsigned kFlashEraseWaitMs = 40;    // before the reply to an erase
constexpr std::uint8_t kFlashWrite = 0xFF;    // byte 3 of a frame

struct FlashFrame {
    std::uint8_t bytes[64];
};
FlashFrame MakeReadFrame(StorageChannel channel, std::uint32_t address, std::size_t count);
// Up to 48 bytes.
FlashFrame MakeWriteFrame(StorageChannel channel, std::uint32_t address, const std::uint8_t* data,
                          std::size_t count);
FlashFrame MakeEraseFrame(StorageChannel channel, std::uint32_t address);

// Sends a frame, waits, and reads its reply; true when that is whole and acknowledged.
bool ExchangeFlashFrame(const std::uint8_t (&frame)[kReplyBytes], unsigned waitMs,
                        std::uint8_t (&reply)[kReplyBytes])
    REQUIRES(g_APICriticalSection, g_InterruptCriticalSection);

// 16-bit words, most significant byte first on the wire.
bool DoReadFlash(std::uint32_t address, StorageChannel channel, std::uint16_t* data,
                 std::size_t words) REQUIRES(g_APICriticalSection, g_InterruptCriticalSection);
bool DoWriteFlash(std::uint32_t address, StorageChannel channel, const std::uint16_t* data,
                  std::size_t words) REQUIRES(g_APICriticalSection, g_InterruptCriticalSection);

// Bytes as they are.
bool DoReadFlash(std::uint32_t address, StorageChannel channel, std::uint8_t* data,
                 std::size_t bytes) REQUIRES(g_APICriticalSection, g_InterruptCriticalSection);
bool DoWriteFlash(std::uint32_t address, StorageChannel channel, const std::uint8_t* data,
                  std::size_t bytes) REQUIRES(g_APICriticalSection, g_InterruptCriticalSection);
bool FlashRead(StorageChannel channel, std::uint32_t address, void* data, std::size_t bytes)
    REQUIRES(g_APICriticalSection, g_InterruptCriticalSection);
bool FlashWrite(StorageChannel channel, std::uint32_t address, const void* data, std::size_t bytes)
    REQUIRES(g_APICriticalSection, g_InterruptCriticalSection);

// The sector of 1024 bytes at `address`. A full reply is enough, whatever it holds.
bool FlashErase(StorageChannel channel, std::uint32_t address)
    REQUIRES(g_APICriticalSection, g_InterruptCriticalSection);
