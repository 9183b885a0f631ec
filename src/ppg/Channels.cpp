#include "ppg/Channels.h"

Shared<bool> g_bPPGOutputEnabled[kPPGChannels];
Shared<std::uint8_t> g_PPG_led_sync[kPPGChannels];
Shared<std::uint8_t> g_ACCalMode[kPPGChannels];
Shared<void (*)(double, double)> g_PPGGraphCBs[kPPGChannels];
Shared<bool> g_bACAboveDC = false;

void _ResetPPG()
{
    for (int led = 0; led < kPPGChannels; ++led) {
        g_bPPGOutputEnabled[led] = false;
        g_PPG_led_sync[led] = std::uint8_t{0};
    }
}

// No channel holds a waveform.
double _GetPPGTimeOffset(int) { return 0.0; }

void _GetPPGVoltageData(double, int, double, std::uint16_t* dcCode, std::uint16_t* acCode,
                        double* pulseValue)
{
    *dcCode = 0;
    *acCode = 0;
    *pulseValue = 0.0;
}
