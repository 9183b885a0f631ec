// The three PPG channels: their waveforms, and the codes of a channel at a play time.
//
// A channel's waveform is written and read under g_PacketCriticalSection, which the thread that
// builds packets holds.
#pragma once

#include <cstdint>

#include "platform/Shared.h"
#include "vrax.h"

constexpr int kPPGChannels = 3;
constexpr double kMicrovoltsPerMillivolt = 1000.0;
constexpr double kPPGWaveformRate = 10000.0;  // samples/s of a synthesised waveform

// The packet builder asks for this channel.
extern Shared<bool> g_bPPGOutputEnabled[kPPGChannels];
// LED synchronisation byte of the channel's waveform; 0 without one.
extern Shared<std::uint8_t> g_PPG_led_sync[kPPGChannels];
// AC range of the channel, 0, 1 or 2; the 0x3407 module alone has ranges.
extern Shared<std::uint8_t> g_ACCalMode[kPPGChannels];
// Called by the packet builder with the graph time (s) and the pulse value (mV).
extern Shared<void (*)(double, double)> g_PPGGraphCBs[kPPGChannels];
// The DC level that is set is the bottom of the pulse; otherwise it is the top.
extern Shared<bool> g_bACAboveDC;
// From the R wave to the peak of the pulse, ms; negative: the pulse is not synchronised.
extern Shared<int> g_PPG_PTTp;
// How deep breathing modulates the pulse, percent; all 0: not at all. Read with every sample.
extern Shared<int> g_PPG_BaselineModV;
extern Shared<int> g_PPG_AmpModV;
extern Shared<int> g_PPG_FreqModHz;

// The description that a channel's waveform was synthesised from, adjusted.
extern PPG_WAVEFORM g_PPG_waveforms[kPPGChannels];
// The samples came from the application. Setting a description later leaves it on, deliberately:
// the period stays that of the array and the pulse is not synchronised until the channel is cleared.
extern bool g_PPG_use_file[kPPGChannels];
extern double g_PPG_data_sample_rates[kPPGChannels];    // samples/s
extern std::uint64_t g_PPG_data_lengths[kPPGChannels];  // samples of a period; 0: no waveform
// Of the pulse, s: that of the description, else that of the samples.
extern double g_PPG_data_periods[kPPGChannels];
// One period in uV, owned.
extern std::int32_t* g_pPPG_data_DC[kPPGChannels];
extern std::int32_t* g_pPPG_data_AC[kPPGChannels];
extern std::int32_t g_PPG_data_AC_max[kPPGChannels];  // uV
// The pulse stands upside down. True for an empty channel, deliberately.
extern bool g_PPG_invert_output[kPPGChannels];

inline bool IsPPGChannel(int led) { return led >= 0 && led < kPPGChannels; }

inline bool IsAnyPPGOutputEnabled()
{
    return g_bPPGOutputEnabled[0] || g_bPPGOutputEnabled[1] || g_bPPGOutputEnabled[2];
}

// Drops the samples; the description stays. Another number than a channel's is ignored.
void _ClearPPGData(int led);
// No output, no waveform, no synchronisation, no modulation.
void _ResetPPG();

// The range of the 0x3407 module for an AC amplitude in mV: 0 from 15, 1 from 1.5, else 2.
std::uint8_t GetACCalMode(double ac);
// Gives each enabled channel of the 0x3407 module the range of its waveform.
void ChooseACRanges();
// Row of the 0x3407 module's tables for a channel.
inline int RowOfPPGChannel(int led)
{
    constexpr int kRows[kPPGChannels] = {2, 0, 1};
    return kRows[led];
}

// By how much the pulse is delayed to follow the R wave, s.
double _GetPPGTimeOffset(int led);
// The codes of a channel at a play time, and the pulse value for its graph (mV), unmodulated. All
// zero for a channel without a waveform. By the thread that builds packets alone.
void _GetPPGVoltageData(double t, int led, double timeOffset, std::uint16_t* dcCode,
                        std::uint16_t* acCode, double* pulseValue);
