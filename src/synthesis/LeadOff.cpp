#include "synthesis/LeadOff.h"

#include "device/Exchange.h"
#include "platform/ByteOrder.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Relays.h"

namespace {
constexpr std::uint32_t kMeasuringRld = 1u << 10;
constexpr std::uint32_t kMode3 = 1u << 11;
constexpr std::uint32_t kModes1And2 = 1u << 13;
constexpr std::uint32_t kMode1 = 1u << 14;

constexpr unsigned kShortCommandBytes = 8;
constexpr std::uint8_t kShortCommandMode = 3;  // whatever the operate mode is

constexpr std::uint8_t kRld = 0x10;
constexpr unsigned kRldPauseMs = 5;
constexpr unsigned kAckOffset = 3;
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr unsigned kFirstValue = 6;
constexpr unsigned kSecondValue = 8;
constexpr double kVoltsPerCount = 0.0032258064516129032;  // 3.3 / 1023

std::uint32_t WithLeadOff(std::uint32_t word, int mode)
{
    if (mode == 3) return word | kMode3;
    word &= ~kMode3;
    switch (mode) {
        case 0: return word & ~kModes1And2;
        case 1: return word | kModes1And2 | kMode1;
        default: return (word | kModes1And2) & ~kMode1;
    }
}

// The relay command without the bytes of the PPG module.
bool SendRelayWord(CExchange& line, std::uint32_t word)
{
    g_nRelayControl = word;
    std::uint8_t command[kShortCommandBytes] = {};
    command[1] = 0xFF;
    command[2] = kShortCommandMode;
    WriteBig16(command + 3, static_cast<std::uint16_t>(_GetSampleRate()));
    command[5] = static_cast<std::uint8_t>(word >> 16);
    command[6] = static_cast<std::uint8_t>(word >> 8);
    command[7] = static_cast<std::uint8_t>(word);
    std::uint8_t reply[kReplyBytes];
    return line.Transact(command, sizeof command, reply);
}
}  // namespace

bool SetLeadOff(int mode)
{
    CExchange line;
    return SendRelayWord(line, WithLeadOff(g_nRelayControl | OutputLeadBits(), mode));
}

bool MeasureRLD(bool on)
{
    CExchange line;
    const std::uint8_t request[] = {0xAD, 0xFF, 0x00, 0x00, on ? kRld : std::uint8_t{0}};
    std::uint8_t reply[kReplyBytes];
    if (!line.Transact(request, sizeof request, reply, kRldPauseMs)) return false;
    if (reply[kAckOffset] != kAcknowledged) return false;
    const std::uint32_t word = g_nRelayControl | OutputLeadBits();
    return SendRelayWord(line, on ? word | kMeasuringRld : word & ~kMeasuringRld);
}

bool ReadRLD(RldReading& reading)
{
    CExchange line;
    const std::uint8_t request[] = {0xAD, 0x00, 0x01, 0x00, kRld};
    std::uint8_t reply[kReplyBytes];
    if (!line.Transact(request, sizeof request, reply)) return false;
    if (reply[kAckOffset] != kAcknowledged) return false;
    reading.first = ReadBig16(reply + kFirstValue) * kVoltsPerCount;
    reading.second = ReadBig16(reply + kSecondValue) * kVoltsPerCount;
    return true;
}
