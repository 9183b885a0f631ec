#include "ppg/Channels.h"

#include "device/Identification.h"
#include "device/LineState.h"

Shared<bool> g_bPPGOutputEnabled[kPPGChannels];
Shared<std::uint8_t> g_PPG_led_sync[kPPGChannels];
Shared<std::uint8_t> g_ACCalMode[kPPGChannels];
Shared<void (*)(double, double)> g_PPGGraphCBs[kPPGChannels];
Shared<bool> g_bACAboveDC = false;
Shared<int> g_PPG_PTTp = -1;
Shared<int> g_PPG_BaselineModV = 0;
Shared<int> g_PPG_AmpModV = 0;
Shared<int> g_PPG_FreqModHz = 0;

PPG_WAVEFORM g_PPG_waveforms[kPPGChannels] = {};
bool g_PPG_use_file[kPPGChannels] = {};
double g_PPG_data_sample_rates[kPPGChannels] = {kPPGWaveformRate, kPPGWaveformRate,
                                                kPPGWaveformRate};
std::uint64_t g_PPG_data_lengths[kPPGChannels] = {};
double g_PPG_data_periods[kPPGChannels] = {};
std::int32_t* g_pPPG_data_DC[kPPGChannels] = {};
std::int32_t* g_pPPG_data_AC[kPPGChannels] = {};
std::int32_t g_PPG_data_AC_max[kPPGChannels] = {};
bool g_PPG_invert_output[kPPGChannels] = {true, true, true};

namespace {
constexpr double kRangeTolerance = 0.00005;  // mV
constexpr double kRange0From = 15.0;
constexpr double kRange1From = 1.5;
}  // namespace

void _ClearPPGData(int led)
{
    if (!IsPPGChannel(led)) return;
    CAutoCriticalSection packetIsBuilt(g_PacketCriticalSection);
    delete[] g_pPPG_data_DC[led];
    delete[] g_pPPG_data_AC[led];
    g_pPPG_data_DC[led] = nullptr;
    g_pPPG_data_AC[led] = nullptr;
    g_PPG_use_file[led] = false;
    g_PPG_data_sample_rates[led] = kPPGWaveformRate;
    g_PPG_data_lengths[led] = 0;
    g_PPG_data_periods[led] = 0.0;
    g_PPG_data_AC_max[led] = 0;
    g_PPG_led_sync[led] = std::uint8_t{0};
    g_PPG_invert_output[led] = true;
}

void _ResetPPG()
{
    for (int led = 0; led < kPPGChannels; ++led) {
        CAutoCriticalSection packetIsBuilt(g_PacketCriticalSection);
        g_bPPGOutputEnabled[led] = false;
        _ClearPPGData(led);
        g_PPG_waveforms[led] = {};
    }
    g_PPG_PTTp = -1;
    g_PPG_BaselineModV = 0;
    g_PPG_AmpModV = 0;
    g_PPG_FreqModHz = 0;
}

std::uint8_t GetACCalMode(double ac)
{
    if (ac + kRangeTolerance >= kRange0From) return 0;
    return ac + kRangeTolerance >= kRange1From ? 1 : 2;
}

void ChooseACRanges()
{
    if (GetPPGFullModelNumber() != kPPGModel3407) return;
    CAutoCriticalSection packetIsBuilt(g_PacketCriticalSection);
    for (int led = 0; led < kPPGChannels; ++led) {
        if (!g_bPPGOutputEnabled[led]) continue;
        g_ACCalMode[led] = GetACCalMode(g_PPG_data_AC_max[led] / kMicrovoltsPerMillivolt);
    }
}
