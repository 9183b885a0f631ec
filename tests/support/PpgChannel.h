// A PPG channel as a test sets it and looks it up.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "ppg/Channels.h"
#include "vrax.h"

struct PpgSample {
    unsigned dc = 0;
    unsigned ac = 0;
    double pulse = 0.0;  // mV
};

// Every output starts from another value: the lookup writes all three.
inline PpgSample LookUp(double t, int led, double offset = 0.0)
{
    std::uint16_t dc = 0xEEEE;
    std::uint16_t ac = 0xEEEE;
    double pulse = -777.0;
    _GetPPGVoltageData(t, led, offset, &dc, &ac, &pulse);
    return {dc, ac, pulse};
}

inline std::vector<int> AcSamples(int led)
{
    return {g_pPPG_data_AC[led], g_pPPG_data_AC[led] + g_PPG_data_lengths[led]};
}

inline std::vector<int> DcSamples(int led)
{
    return {g_pPPG_data_DC[led], g_pPPG_data_DC[led] + g_PPG_data_lengths[led]};
}

inline bool IsEmptyChannel(int led)
{
    return g_PPG_data_lengths[led] == 0 && g_pPPG_data_AC[led] == nullptr &&
           g_pPPG_data_DC[led] == nullptr && !g_PPG_use_file[led] &&
           g_PPG_data_sample_rates[led] == 10000.0 && g_PPG_data_AC_max[led] == 0 &&
           g_PPG_led_sync[led] == 0 && g_PPG_invert_output[led];
}

inline PPG_WAVEFORM MakeWave(int shape, double frequency, double dc, double ac)
{
    PPG_WAVEFORM wave = {};
    wave.waveform = shape;
    wave.frequency = frequency;
    wave.dc = dc;
    wave.ac = ac;
    return wave;
}
