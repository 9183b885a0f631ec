// What the streaming engine and the relays need to know of the three PPG channels.
#pragma once

#include <cstdint>

#include "platform/Shared.h"

constexpr int kPPGChannels = 3;

// The packet builder asks for this channel.
extern Shared<bool> g_bPPGOutputEnabled[kPPGChannels];
// LED synchronisation byte of the channel's waveform; 0 without one.
extern Shared<std::uint8_t> g_PPG_led_sync[kPPGChannels];
// AC range of the channel, 0, 1 or 2; the 0x3407 module alone has ranges.
extern Shared<std::uint8_t> g_ACCalMode[kPPGChannels];
// Called by the packet builder with the graph time (s) and the pulse value (mV).
extern Shared<void (*)(double, double)> g_PPGGraphCBs[kPPGChannels];
// The PPG AC amplitude is reduced by the DC level unless set.
extern Shared<bool> g_bACAboveDC;

inline bool IsAnyPPGOutputEnabled()
{
    return g_bPPGOutputEnabled[0] || g_bPPGOutputEnabled[1] || g_bPPGOutputEnabled[2];
}

// No output, no waveform.
void _ResetPPG();

// The codes of a channel at a play time, and the pulse value for its graph (mV). All zero for a
// channel without a waveform.
double _GetPPGTimeOffset(int led);
void _GetPPGVoltageData(double t, int led, double timeOffset, std::uint16_t* dcCode,
                        std::uint16_t* acCode, double* pulseValue);
