// The LED pulse-group table of the PPG module.

#include <cstring>

#include "device/Exchange.h"
#include "vrax.h"

namespace {
constexpr std::uint8_t kGroup = 0xEA;
constexpr std::uint8_t kDirection = 0xFF;  // the read sends it too
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr unsigned kAckOffset = 3;
constexpr unsigned kReadWaitMs = 40;
// In request and reply.
constexpr unsigned kFixedOffset = 35;
constexpr unsigned kWordOffset = 36;
constexpr unsigned kGroupsOffset = 40;
// In the caller's record: a group code a slot, then a word.
constexpr std::size_t kSlots = 8;
constexpr std::size_t kRecordBytes = 10;
constexpr std::uint8_t kFixedGroup = 3;

std::uint8_t CodeToWire(std::uint8_t code)
{
    if (code == 3) return 4;
    return code == 1 || code == 2 ? code : std::uint8_t{0};
}

std::uint8_t CodeFromWire(std::uint8_t code)
{
    if (code == 4) return 3;
    return code == 1 || code == 2 ? code : std::uint8_t{0};
}

bool TransactGroups(std::uint8_t (&request)[kReplyBytes], std::uint8_t (&reply)[kReplyBytes],
                    unsigned waitMs)
{
    CExchange line;
    request[0] = kGroup;
    request[1] = kDirection;
    return line.Transact(request, sizeof request, reply, waitMs) &&
           reply[kAckOffset] == kAcknowledged;
}
}  // namespace

bool VRAXReadLEDPulseGroupSetting(std::uint16_t* setting)
{
    CApiLock lock;
    if (setting == nullptr || IsLineBusy()) return false;
    std::uint8_t request[kReplyBytes] = {};
    std::uint8_t reply[kReplyBytes];
    if (!TransactGroups(request, reply, kReadWaitMs)) return false;
    std::uint8_t record[kRecordBytes];
    std::memcpy(record, setting, sizeof record);
    std::uint16_t word = 0;
    if (reply[kFixedOffset] == 1) {
        record[0] = kFixedGroup;
    } else {
        word = static_cast<std::uint16_t>(reply[kWordOffset] << 8 | reply[kWordOffset + 1]);
    }
    // The first slot's own code is not read, deliberately.
    for (std::size_t i = 1; i < kSlots; ++i) record[i] = CodeFromWire(reply[kGroupsOffset + i]);
    std::memcpy(record + kSlots, &word, sizeof word);
    std::memcpy(setting, record, sizeof record);
    return true;
}

bool VRAXWriteLEDPulseGroupSetting(const std::uint16_t* setting)
{
    CApiLock lock;
    if (setting == nullptr || IsLineBusy()) return false;
    std::uint8_t record[kRecordBytes];
    std::memcpy(record, setting, sizeof record);
    std::uint16_t word = 0;
    std::memcpy(&word, record + kSlots, sizeof word);
    std::uint8_t request[kReplyBytes] = {};
    request[kFixedOffset] = record[0] != 0 && word == 0 ? 1 : 0;
    request[kWordOffset] = static_cast<std::uint8_t>(word >> 8);
    request[kWordOffset + 1] = static_cast<std::uint8_t>(word);
    for (std::size_t i = 0; i < kSlots; ++i) request[kGroupsOffset + i] = CodeToWire(record[i]);
    std::uint8_t reply[kReplyBytes];
    return TransactGroups(request, reply, 0);
}
