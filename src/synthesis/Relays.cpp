#include "synthesis/Relays.h"

#include <cstring>

#include "device/Device.h"
#include "device/Exchange.h"
#include "device/Identification.h"
#include "platform/ByteOrder.h"
#include "ppg/Channels.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Protocol.h"
#include "synthesis/Respiration.h"

Shared<std::uint32_t> g_nRelayControl = 0u;
Shared<std::uint8_t> g_OperateMode = kModeECG;

namespace {
constexpr unsigned kCommandBytes = 17;
constexpr std::uint32_t kCommonMode = 1u << 0;
constexpr std::uint32_t kFixedPositive = 1u << 1;
constexpr std::uint32_t kCalibratedDC = 1u << 2;
constexpr std::uint32_t kRespirationOn = 1u << 3;
constexpr std::uint32_t kModuleOn = 1u << 4;
constexpr std::uint32_t kImpedanceOff = 1u << 5;
constexpr std::uint32_t kFixedDC = 1u << 6;
constexpr std::uint32_t kOffsetNotZero = 1u << 12;
constexpr int kFixedOffsetMv = 300;
constexpr unsigned kFirstLeadBit = 16;  // leads 0 to 6
constexpr std::uint32_t kFirstLeads = 0x7F;
constexpr unsigned kLead7Bit = 8;  // leads 7 and 8
constexpr unsigned kLastLeads = 7;
constexpr int kModelSharedLedSync = 0x1000;
constexpr std::uint8_t kMainChannelModes[] = {kModePPG1, kModePPG1, kModePPG2};

// The last command sent.
std::uint8_t s_lastCommand[kCommandBytes] GUARDED_BY(g_InterruptCriticalSection) = {};
bool s_anyCommandSent GUARDED_BY(g_InterruptCriticalSection) = false;

void Set(std::uint32_t& word, std::uint32_t bit, bool on) { word = on ? word | bit : word & ~bit; }

std::uint32_t BuildRelayWord(bool force)
{
    const bool active = s_ECGGoing || force;
    const bool module = ExtRespIsAvailable() != 0;
    const bool respiration = g_RespirationEnabled;
    const int offset = g_DCSetting;
    std::uint32_t word = 0;
    if (active) {
        Set(word, kOffsetNotZero, offset != 0);
        Set(word, kRespirationOn, respiration && !module);
    }
    const bool pulsesOrOverload = s_PulsesRequired != 0 || g_BaseLineOverload != 0;
    if ((g_DCVariable && offset != 0) || (active && pulsesOrOverload) || GetFixedDcCode() >= 0) {
        Set(word, kCalibratedDC, true);
    } else if (offset == kFixedOffsetMv || offset == -kFixedOffsetMv) {
        Set(word, kFixedDC, true);
        Set(word, kFixedPositive, offset == kFixedOffsetMv);
    }
    if (g_DCVariable) Set(word, kFixedDC, false);
    if (g_PacingPulse == 0 && respiration) Set(word, kCalibratedDC, false);
    Set(word, kImpedanceOff, !g_InputImpedance);
    Set(word, kCommonMode, g_DCCommon);
    if (module) {
        Set(word, kRespirationOn, respiration);
        Set(word, kModuleOn, respiration);
    }
    return word | OutputLeadBits();
}

// The channels of a PPG module, by the LED type of each of its positions.
std::uint8_t ModuleChannelModes()
{
    const MODEL_INFORMATION info = g_PPGModelInfo.Load();
    int mode = 0;
    for (const LEDType type : info.ledTypes) {
        if (type < 0 || type >= kPPGChannels || !g_bPPGOutputEnabled[type]) continue;
        mode |= type == 2 ? kModePPG2 : kModePPG1;
    }
    return static_cast<std::uint8_t>(mode);
}

std::uint8_t ChannelModes()
{
    int mode = 0;
    if (g_bPPGOutputEnabled[1] || g_bPPGOutputEnabled[0]) mode |= kModePPG1;
    if (g_bPPGOutputEnabled[2]) mode |= kModePPG2;
    if (g_bPPGOutputEnabled[0] && g_bPPGOutputEnabled[1]) mode |= kModePPG3;
    return static_cast<std::uint8_t>(mode);
}

std::uint8_t BuildOperateMode()
{
    if (g_MainOutput == OUTPUT_OFF) return kModeOff;
    int mode = kModeECG;
    if (ExtRespIsAvailable() != 0) {
        if (g_RespirationEnabled) mode |= kModeRespiration;
    } else {
        mode |= _IsPPGConnected() ? ModuleChannelModes() : ChannelModes();
    }
    return static_cast<std::uint8_t>(mode);
}

std::uint8_t LedSync(int channel)
{
    if (!g_bPPGOutputEnabled[channel]) return 0;
    return g_PPG_led_sync[channel];
}

void BuildCommand(std::uint8_t (&command)[kCommandBytes])
{
    const std::uint32_t word = g_nRelayControl;
    command[1] = 0xFF;
    command[2] = g_OperateMode;
    WriteBig16(command + 3, static_cast<std::uint16_t>(_GetSampleRate()));
    command[5] = static_cast<std::uint8_t>(word >> 16);
    command[6] = static_cast<std::uint8_t>(word >> 8);
    command[7] = static_cast<std::uint8_t>(word);
    const bool shared = (GetPPGFullModelNumber() & kModelSharedLedSync) != 0;
    command[8] = LedSync(shared ? 0 : 1);
    command[9] = LedSync(2);
    command[10] = LedSync(0);
    command[11] = g_ACCalMode[1];
    command[12] = g_ACCalMode[2];
    command[13] = g_ACCalMode[0];
}
}  // namespace

std::uint32_t OutputLeadBits()
{
    const std::uint32_t leads = g_OutputLead;
    return (leads & kFirstLeads) << kFirstLeadBit | (leads >> kLastLeads & 3u) << kLead7Bit;
}

void SetRelays(bool force)
{
    CExchange line(CExchange::Line::kLater);
    g_nRelayControl = BuildRelayWord(force);
    g_OperateMode = BuildOperateMode();
    if (force || !s_ECGGoing) ChooseACRanges();
    if (DeviceIsConnected() == 0) return;

    std::uint8_t command[kCommandBytes] = {};
    BuildCommand(command);
    const bool same = s_anyCommandSent && std::memcmp(command, s_lastCommand, sizeof command) == 0;
    if (same && !force) return;
    if (!line.TakeLine() || !line.Send(command, sizeof command)) return;
    std::uint8_t reply[kReplyBytes];
    line.Receive(reply);  // ignored
    std::memcpy(s_lastCommand, command, sizeof command);
    s_anyCommandSent = true;
}

void _RefreshOperateMode()
{
    {
        CInterruptLock lock;  // a packet carries one mode
        int mode = kModeECG;
        for (int channel = 0; channel < kPPGChannels; ++channel) {
            if (g_bPPGOutputEnabled[channel]) mode |= kMainChannelModes[channel];
        }
        constexpr LEDType kNoLed = 3;
        if (g_bPPGOutputEnabled[0] && g_PPGModelInfo.Load().ledTypes[2] != kNoLed) {
            mode |= kModePPG3;
            if (!g_bPPGOutputEnabled[1]) mode &= ~kModePPG1;
        }
        g_OperateMode = static_cast<std::uint8_t>(mode);
    }
    SetRelays(true);
}
