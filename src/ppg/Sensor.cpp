#include "ppg/Sensor.h"

#include "device/Exchange.h"

Shared<bool> g_PPGDynamicLEDEnabled = false;

namespace {
constexpr std::uint8_t kGroup = 0xB0;
constexpr std::uint8_t kRead = 0x00;
constexpr std::uint8_t kWrite = 0xFF;
constexpr std::uint8_t kDynamicLight = 0x03;
constexpr std::uint8_t kSignalStrength = 0x01;
constexpr std::uint8_t kAmbientLight = 0x10;
constexpr unsigned kSwitchAckOffset = 4;
constexpr unsigned kAckOffset = 3;
constexpr unsigned kModeOffset = 4;
constexpr std::uint8_t kAcknowledged = 0xFF;

Shared<bool> s_PPGDynamicLight = true;

bool WriteSwitch(std::uint8_t item, std::uint8_t value, std::uint8_t (&reply)[kReplyBytes])
{
    CExchange line;
    const std::uint8_t request[] = {kGroup, kWrite, item, 0x00, value};
    return line.Transact(request, sizeof request, reply);
}
}  // namespace

bool EnableDynamicLEDStrength(bool on)
{
    g_PPGDynamicLEDEnabled = on;
    std::uint8_t reply[kReplyBytes];
    return WriteSwitch(kDynamicLight, on ? 1 : 0, reply) &&
           reply[kSwitchAckOffset] == kAcknowledged;
}

int SetDynamicLight(int on)
{
    CApiLock lock;
    const bool wanted = on != 0;
    if (wanted == s_PPGDynamicLight) return 0;
    std::uint8_t reply[kReplyBytes];
    if (!WriteSwitch(kDynamicLight, wanted ? 1 : 0, reply)) return -1;
    s_PPGDynamicLight = wanted;
    return 0;
}

bool EnableSignalStrengthDetection(int value)
{
    std::uint8_t reply[kReplyBytes];
    return WriteSwitch(kSignalStrength, static_cast<std::uint8_t>(value), reply) &&
           reply[kSwitchAckOffset] == kAcknowledged;
}

AmbientResult WriteAmbientLightMode(int mode)
{
    CExchange line;
    const std::uint8_t request[] = {
        kGroup, kWrite, kAmbientLight, 0x00, static_cast<std::uint8_t>(mode), 0x00};
    if (!line.Send(request, sizeof request)) return AmbientResult::kNoReply;
    if (s_ECGGoing) {
        line.LeaveReplyUnread();
        return AmbientResult::kDone;
    }
    std::uint8_t reply[kReplyBytes];
    return line.Receive(reply) ? AmbientResult::kDone : AmbientResult::kNoReply;
}

AmbientResult ReadAmbientLightMode(int& mode)
{
    CExchange line;
    const std::uint8_t request[] = {kGroup, kRead, kAmbientLight, 0x00, 0x00, 0x00};
    std::uint8_t reply[kReplyBytes];
    if (!line.Transact(request, sizeof request, reply)) return AmbientResult::kNoReply;
    if (reply[kAckOffset] != kAcknowledged) return AmbientResult::kNotAcknowledged;
    mode = reply[kModeOffset];
    return AmbientResult::kDone;
}
