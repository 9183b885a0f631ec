#include "ppg/CalibrationSettings.h"

#include <algorithm>
#include <cstring>

#include "device/Exchange.h"

namespace {
constexpr std::uint8_t kGroup = 0xCC;
constexpr std::uint8_t kWrite = 0xFF;
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr unsigned kAckOffset = 3;
constexpr unsigned kValueOffset = 4;
constexpr unsigned kBeforeWriteMs = 10;
constexpr unsigned kAfterWriteMs = 40;
constexpr int kMaxValueBytes = static_cast<int>(kReplyBytes - kValueOffset);

bool ReadSetting(PPGCalibrationSetting setting, std::uint8_t (&reply)[kReplyBytes])
{
    CExchange line;
    std::uint8_t request[kReplyBytes] = {kGroup, 0x00, static_cast<std::uint8_t>(setting)};
    return line.Transact(request, sizeof request, reply) && reply[kAckOffset] == kAcknowledged;
}
}  // namespace

bool ReadCalibrationSetting(PPGCalibrationSetting setting, std::uint8_t* value)
{
    std::uint8_t reply[kReplyBytes];
    if (!ReadSetting(setting, reply)) return false;
    if (value != nullptr) *value = reply[kValueOffset];
    return true;
}

bool ReadCalibrationSetting(PPGCalibrationSetting setting, std::uint16_t* value)
{
    std::uint8_t reply[kReplyBytes];
    if (!ReadSetting(setting, reply)) return false;
    if (value != nullptr) {
        *value = static_cast<std::uint16_t>(reply[kValueOffset] | reply[kValueOffset + 1] << 8);
    }
    return true;
}

bool WriteCalibrationSetting(PPGCalibrationSetting setting, const std::uint8_t* data, int length)
{
    CExchange line;
    SleepMilliseconds(kBeforeWriteMs);
    std::uint8_t request[kReplyBytes] = {kGroup, kWrite, static_cast<std::uint8_t>(setting)};
    const int bytes = std::clamp(length, 0, kMaxValueBytes);
    std::memcpy(request + kValueOffset, data, static_cast<std::size_t>(bytes));
    std::uint8_t reply[kReplyBytes];
    if (!line.Transact(request, sizeof request, reply) || reply[kAckOffset] != kAcknowledged) {
        return false;
    }
    SleepMilliseconds(kAfterWriteMs);
    return true;
}

bool WriteCalibrationSetting(PPGCalibrationSetting setting, std::uint8_t value)
{
    return WriteCalibrationSetting(setting, &value, 1);
}

bool WriteCalibrationSetting(PPGCalibrationSetting setting, std::uint16_t value)
{
    const std::uint8_t data[] = {static_cast<std::uint8_t>(value),
                                 static_cast<std::uint8_t>(value >> 8)};
    return WriteCalibrationSetting(setting, data, 2);
}
