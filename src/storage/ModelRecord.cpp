#include "storage/ModelRecord.h"

#include "platform/ByteOrder.h"
#include "storage/Flash.h"

namespace {
constexpr std::uint32_t kRecordAddress = 0;
constexpr std::uint8_t kRecordLetter = 'T';
constexpr std::size_t kHardwareOffset = kFlashDataOffset + 8;

// Reads the frame of the main record, erases the sector, and turns the frame into the one that
// writes it back.
bool ReadFrameForRewrite(CExchange& line, std::uint8_t (&frame)[kReplyBytes])
    REQUIRES(g_APICriticalSection, g_InterruptCriticalSection)
{
    const FlashFrame read =
        MakeReadFrame(StorageChannel::kMainBoard, kRecordAddress, kModelRecordBytes);
    if (!line.Transact(read.bytes, sizeof read.bytes, frame)) return false;
    if (!FlashErase(StorageChannel::kMainBoard, kRecordAddress)) return false;
    frame[3] = kFlashWrite;
    frame[4] = 0;
    return true;
}
}  // namespace

bool ReadMainModelRecord(std::uint8_t (&record)[kModelRecordBytes])
{
    CExchange line;
    return FlashRead(StorageChannel::kMainBoard, kRecordAddress, record, sizeof record);
}

bool ReadModuleModelRecord(std::uint8_t (&record)[kModelRecordBytes])
{
    CExchange line;
    return FlashRead(StorageChannel::kPPGModule, kRecordAddress, record, sizeof record);
}

bool SetModelInfo(const MODEL_INFORMATION* record)
{
    CExchange line;
    std::uint8_t frame[kReplyBytes];
    if (!ReadFrameForRewrite(line, frame)) return false;
    std::uint8_t* data = frame + kFlashDataOffset;
    data[0] = kRecordLetter;
    data[1] = static_cast<std::uint8_t>(record->typeLetters[0]);
    data[2] = static_cast<std::uint8_t>(record->typeLetters[1]);
    data[3] = record->modelCode[0];
    data[4] = record->modelCode[1];
    data[5] = static_cast<std::uint8_t>(record->yearOrLot);
    WriteBig16(data + 6, static_cast<std::uint16_t>(record->sequenceNumber));
    std::uint8_t reply[kReplyBytes];
    if (!ExchangeFlashFrame(frame, 0, reply)) return false;
    g_ModelInfo.Store(*record);
    return true;
}

bool SetHWInfo(int major, int minor)
{
    CExchange line;
    std::uint8_t frame[kReplyBytes];
    if (!ReadFrameForRewrite(line, frame)) return false;
    frame[kHardwareOffset] = static_cast<std::uint8_t>(major);
    frame[kHardwareOffset + 1] = static_cast<std::uint8_t>(minor);
    std::uint8_t reply[kReplyBytes];
    if (!ExchangeFlashFrame(frame, 0, reply)) return false;
    HardwareInformation info = g_HWInfo.Load();
    info.hardwareMajor = static_cast<std::uint32_t>(major);
    info.hardwareMinor = static_cast<std::uint32_t>(minor);
    g_HWInfo.Store(info);
    return true;
}
