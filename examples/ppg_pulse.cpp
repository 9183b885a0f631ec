// Two light signals of a pulse oximeter beside an ECG: an AC to DC ratio for each, whose quotient a
// monitor turns into the saturation, and the time that the pulse needs from the heart to the finger.
#include <chrono>
#include <cstdio>
#include <thread>

#include <vrax.h>

namespace {
constexpr double kHertz = 1.25;  // 75 beats and pulses a minute
constexpr int kTransitMs = 250;  // from the R wave to the peak of the pulse
constexpr int kStandardPulse = 3;

struct Light {
    int channel;
    double dcMv;
    double acMv;
};
constexpr Light kLights[] = {{1, 1000, 10}, {2, 1500, 30}};  // 1 % and 2 %
}  // namespace

int main()
{
    SetDeviceTimeoutSetting(1000, 200);  // ms: tables are read, on a busy machine as well
    if (!VRAXConnect(-1, 10000)) return 1;
    if (!VRAXIsPPGConnected()) {
        std::fputs("the instrument has no PPG module\n", stderr);
        return 1;
    }
    VRAXSetFrequency(kHertz);
    for (const Light& light : kLights) {
        const int samples = VRAXSetPPGStandardWaveform(light.channel, kStandardPulse, 1, 0, kHertz,
                                                       light.dcMv, light.acMv);
        if (samples <= 0 || VRAXEnablePPGOutput(light.channel, true) != 0) return 1;
        std::printf("channel %d: AC/DC %.1f %%\n", light.channel, 100 * light.acMv / light.dcMv);
    }
    VRAXSetPTTp(kTransitMs);
    if (VRAXSetOutputFunction(OUTPUT_ECG) != 0) return 1;
    std::this_thread::sleep_for(std::chrono::seconds(5));
    VRAXFree();
}
