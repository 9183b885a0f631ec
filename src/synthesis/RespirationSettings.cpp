#include "device/Exchange.h"
#include "synthesis/Respiration.h"

namespace {
constexpr unsigned kSettingsBytes = 19;
constexpr std::uint8_t kControlGroup = 0xEA;
constexpr std::uint8_t kWrite = 0xFF;
constexpr std::uint8_t kControlBlock = 0x01;
constexpr unsigned kSettingsOffset = 8;
constexpr unsigned kApneaOffset = 12;
constexpr unsigned kAckOffset = 3;
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr unsigned kSettingsWaitMs = 40;
constexpr unsigned kApneaWaitMs = 10;
constexpr int kVariationPerStep = 100;  // milliohms
constexpr int kSecondsPerMinute = 60;

void FillSettings(std::uint8_t* block)
{
    std::uint8_t* settings = block + kSettingsOffset;
    settings[0] = static_cast<std::uint8_t>(s_RespFreq);
    settings[1] = static_cast<std::uint8_t>(s_RespVariation / kVariationPerStep);
    settings[2] = static_cast<std::uint8_t>(s_RespRatio);
    settings[3] = static_cast<std::uint8_t>(s_RespBaselineSelection);
}
}  // namespace

int SendRespirationSettings()
{
    CExchange line;
    std::uint8_t request[kSettingsBytes] = {kControlGroup, kWrite, kControlBlock};
    FillSettings(request);
    std::uint8_t reply[kReplyBytes];
    if (!line.Transact(request, sizeof request, reply, kSettingsWaitMs)) return 0;
    return reply[kAckOffset] == kAcknowledged ? 1 : 0;
}

int _SetApnea(bool on)
{
    CExchange line;
    const std::uint8_t request[] = {kControlGroup, 0x00, kControlBlock};
    std::uint8_t block[kReplyBytes];
    if (!line.Transact(request, sizeof request, block)) return 0;
    block[1] = kWrite;
    FillSettings(block);
    block[kApneaOffset] = on ? 1 : 0;
    std::uint8_t reply[kReplyBytes];
    if (!line.Transact(block, sizeof block, reply, kApneaWaitMs)) return 0;
    return reply[kAckOffset] == kAcknowledged ? 1 : 0;
}

void _CheckApnea(int second)
{
    const bool wanted = second % kSecondsPerMinute >= kSecondsPerMinute - s_ApneaTime;
    if (wanted == s_Apnea_On) return;
    s_Apnea_On = wanted;
    _SetApnea(wanted);
}

void EndApnea()
{
    s_Apnea_On = false;
    _SetApnea(false);
}
