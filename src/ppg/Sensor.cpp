#include "ppg/Sensor.h"

#include "device/Exchange.h"

SharedRecord<FACTORY_SETTING> g_PPGFactorySettings;
Shared<bool> g_PPGDynamicLEDEnabled = false;

namespace {
constexpr std::uint8_t kFpgaGroup = 0xB0;
constexpr std::uint8_t kConverterGroup = 0xAD;
constexpr std::uint8_t kWrite = 0xFF;
constexpr std::uint8_t kDynamicLight = 0x03;
constexpr std::uint8_t kSignalStrength = 0x01;
constexpr unsigned kFpgaAckOffset = 4;
constexpr std::uint8_t kAcknowledged = 0xFF;

Shared<bool> s_PPGDynamicLight = true;

bool WriteFpgaSwitch(std::uint8_t item, std::uint8_t value, std::uint8_t (&reply)[kReplyBytes])
{
    CExchange line;
    const std::uint8_t request[] = {kFpgaGroup, kWrite, item, 0x00, value};
    return line.Transact(request, sizeof request, reply);
}
}  // namespace

bool EnableDynamicLEDStrength(bool on)
{
    g_PPGDynamicLEDEnabled = on;
    std::uint8_t reply[kReplyBytes];
    return WriteFpgaSwitch(kDynamicLight, on ? 1 : 0, reply) &&
           reply[kFpgaAckOffset] == kAcknowledged;
}

int SetDynamicLight(int on)
{
    const bool wanted = on != 0;
    if (wanted == s_PPGDynamicLight) return 0;
    std::uint8_t reply[kReplyBytes];
    if (!WriteFpgaSwitch(kDynamicLight, wanted ? 1 : 0, reply)) return -1;
    s_PPGDynamicLight = wanted;
    return 0;
}

bool EnableSignalStrengthDetection(int value)
{
    std::uint8_t reply[kReplyBytes];
    return WriteFpgaSwitch(kSignalStrength, static_cast<std::uint8_t>(value), reply) &&
           reply[kFpgaAckOffset] == kAcknowledged;
}

bool _StopPPGAD()
{
    CExchange line;
    const std::uint8_t request[] = {kConverterGroup, kWrite, 0x00, 0x00, 0x00};
    std::uint8_t reply[kReplyBytes];
    return line.Transact(request, sizeof request, reply);
}
