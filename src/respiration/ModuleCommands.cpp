#include "respiration/ModuleCommands.h"

#include "device/Exchange.h"
#include "platform/ByteOrder.h"
#include "respiration/ExternalModule.h"
#include "synthesis/Parameters.h"
#include "synthesis/Respiration.h"

namespace {
constexpr std::uint8_t kGroup = 0xCC;
constexpr std::uint8_t kWrite = 0xFF;
constexpr std::uint8_t kSettings = 0x0D;
constexpr std::uint8_t kBaseline = 0x0E;
constexpr unsigned kAckOffset = 3;
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr unsigned kWordsOffset = 4;
constexpr unsigned kBaselineWord = 3;
constexpr std::uint32_t kModuleLeads = 7;

// 1, 2 or 4 for the lowest of the leads 0, 1, 2 that is on; 0 for none, and while respiration is
// off.
std::uint8_t LeadCode()
{
    const std::uint32_t leads = g_RespirationEnabled ? g_OutputLead & kModuleLeads : 0;
    return static_cast<std::uint8_t>(leads & (~leads + 1));
}
}  // namespace

bool ReadModuleSettings(ModuleSettings& settings)
{
    CExchange line;
    const std::uint8_t request[] = {kGroup, 0x00, kSettings, 0x00};
    std::uint8_t reply[kReplyBytes];
    if (!line.Transact(request, sizeof request, reply) || reply[kAckOffset] != kAcknowledged) {
        return false;
    }
    for (unsigned i = 0; i < kModuleWords; ++i) {
        settings.words[i] = ReadBig16(reply + kWordsOffset + 2 * i);
    }
    return true;
}

bool WriteModuleSettings(const ModuleSettings& settings)
{
    CExchange line;
    std::uint8_t request[kReplyBytes] = {kGroup, kWrite, kSettings, 0x00};
    for (unsigned i = 0; i < kModuleWords; ++i) {
        WriteBig16(request + kWordsOffset + 2 * i, settings.words[i]);
    }
    std::uint8_t reply[kReplyBytes];
    return line.Transact(request, sizeof request, reply) && reply[kAckOffset] >= kAcknowledged;
}

bool WriteModuleBaseline(int index)
{
    CExchange line;
    const std::uint8_t request[] = {
        kGroup, kWrite, kBaseline, 0x00, static_cast<std::uint8_t>(index), LeadCode()};
    std::uint8_t reply[kReplyBytes];
    return line.Transact(request, sizeof request, reply);
}

bool SetModuleBaselineCode(std::uint16_t code)
{
    CExchange line;
    ModuleSettings settings;
    if (!ReadModuleSettings(settings)) return false;
    settings.words[kBaselineWord] = code;
    return WriteModuleSettings(settings);
}

bool SetModuleResistance(double ohms)
{
    CExchange line;
    ModuleSettings settings;
    if (!ReadModuleSettings(settings)) return false;
    ExtRespGetAmplitudeDAC(ohms, settings.words);
    return WriteModuleSettings(settings);
}

bool SetModuleBaseline(int index)
{
    CExchange line;
    return WriteModuleBaseline(index) && SetModuleBaselineCode(ExtRespGetBaselineDAC(index));
}

void UpdateModuleLeads() { WriteModuleBaseline(s_RespBaselineSelection); }
