// The PPG waveforms, their synchronisation and their output.

#include "api/Setters.h"
#include "device/LineState.h"
#include "ppg/Channels.h"
#include "ppg/WaveformStore.h"
#include "vrax.h"

namespace {
constexpr int kBusy = -1;
constexpr int kNoChannel = -2;
constexpr int kMaxPercent = 100;

int SetStandard(const StandardPPGWaveform& standard)
{
    const PPG_WAVEFORM wave = DescribeStandardPPG(standard);
    return SetPPGWaveform(standard.led, &wave);
}
}  // namespace

int SetPPGWaveform(int led, const PPG_WAVEFORM* wave) { return StorePPGWaveform(led, wave); }

int VRAXSetPPGStandardWaveform(int led, int waveform, int ledSync, int invert, double frequency,
                               double dc, double ac)
{
    CApiLock lock;
    _outputLog("VRAXSetPPGStandardWaveform(%d, %d, %d, %d, %.2f, %.0f, %.2f);", led, waveform,
               ledSync, invert, frequency, dc, ac);
    return SetStandard({led, waveform, ledSync, invert, frequency, dc, ac});
}

int VRAXSetPPGStandardWaveformEx(int led1, int waveform1, int ledSync1, int invert1, int led2,
                                 int waveform2, int ledSync2, int invert2, double frequency1,
                                 double dc1, double ac1, double frequency2, double dc2, double ac2)
{
    CApiLock lock;
    StandardPPGWaveform first = {led1, waveform1, ledSync1, invert1, frequency1, dc1, ac1};
    StandardPPGWaveform second = {led2, waveform2, ledSync2, invert2, frequency2, dc2, ac2};
    ShareACRange(first, second);
    const int result = SetStandard(first);
    return result < 0 ? result : SetStandard(second);
}

int VRAXSetPPGRawData(int led, int ledSync, int invert, int count, const double* dc,
                      const double* ac, double sampleRate)
{
    CApiLock lock;
    return StorePPGRawData(led, ledSync, invert, count, dc, ac, sampleRate);
}

void VRAXClearPPGWaveform(int led)
{
    CApiLock lock;
    _ClearPPGData(led);
}

void VRAXSetPTTp(int ms)
{
    CApiLock lock;
    _outputLog("VRAXSetPTTp(%d);", ms);
    g_PPG_PTTp = ms;
}

bool VRAXSetPPGRespirationAlgorithm(int baselinePercent, int amplitudePercent, int frequencyPercent)
{
    for (const int percent : {baselinePercent, amplitudePercent, frequencyPercent}) {
        if (IsOutside(percent, 0, kMaxPercent)) return false;
    }
    g_PPG_BaselineModV = baselinePercent;
    g_PPG_AmpModV = amplitudePercent;
    g_PPG_FreqModHz = frequencyPercent;
    return true;
}

int VRAXEnablePPGOutput(int led, bool enable)
{
    CApiLock lock;
    _outputLog("%s(%d, %s);", "VRAXEnablePPGOutput", led, BoolText(enable));
    if (IsLineBusy()) return kBusy;
    if (!IsPPGChannel(led)) return kNoChannel;
    g_bPPGOutputEnabled[led] = enable;
    return kOk;
}
