// The path that runs once a sample and channel: a table lookup, scaled to codes.

#include <algorithm>
#include <cmath>

#include "device/Identification.h"
#include "ppg/Channels.h"
#include "storage/Records.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Numbers.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Respiration.h"

namespace {
constexpr double kMsPerSecond = 1000.0;
constexpr double kPercent = 0.01;
constexpr int kACRanges = 3;
// Full scale of the 0x3407 module's ranges in mV, whole: that of range 2 is 1 and not 1.5,
// deliberately.
constexpr double kRangeFullScales[kACRanges] = {300.0, 15.0, 1.0};
constexpr std::size_t kFirstACLevelWord = 9;
// The records below change when an instrument is identified. Loading them costs more than a sample.
constexpr int kLookupsPerLoad = 64;

// What the codes of the module are made from. Thread that builds packets only.
struct ModuleScale {
    double dcMax;  // mV
    double acMax;  // mV, whole
    bool hasRanges;
    std::uint16_t acLevels[kPPGChannels * kACRanges];  // by row and range; 0: the common level
};
ModuleScale s_scale;
int s_lookupsToLoad = 0;

// Position in the pulse while breathing modulates its rate, in cycles. One for all channels,
// deliberately: each lookup advances it.
double s_modulatedPhase = 0.0;

void LoadScale()
{
    const DeviceFeature feature = g_DeviceFeature.Load();
    s_scale.dcMax = feature.ppgDcMax;
    s_scale.acMax = Truncate(feature.ppgAcMax);
    s_scale.hasRanges = GetPPGFullModelNumber() == kPPGModel3407;
    if (!s_scale.hasRanges) return;
    const FACTORY_SETTING_MCU setting = g_FactorySettingMCU.Load();
    std::copy_n(setting.words + kFirstACLevelWord, kPPGChannels * kACRanges, s_scale.acLevels);
}

const ModuleScale& Scale(double t)
{
    if (s_lookupsToLoad <= 0 || t <= 0.0) {
        LoadScale();
        s_lookupsToLoad = kLookupsPerLoad;
    }
    --s_lookupsToLoad;
    return s_scale;
}

std::uint16_t CodeOf(double mv, double fullScale, double level)
{
    if (fullScale == 0.0) return 0;
    return SaturateTo<std::uint16_t>(std::min(mv / fullScale * level, level));
}

std::uint16_t ACCodeOf(double mv, int led, const ModuleScale& scale)
{
    if (!scale.hasRanges) return CodeOf(mv, scale.acMax, g_nPPGACDacLevel);
    const int range = std::min<int>(g_ACCalMode[led], kACRanges - 1);
    const std::uint16_t common = g_nPPGACDacLevel;
    const std::uint16_t own = scale.acLevels[kACRanges * RowOfPPGChannel(led) + range];
    return CodeOf(mv, kRangeFullScales[range], own != 0 ? own : common);
}

// The level of a synthesised waveform stands still: its code is that of the last sample.
struct LastDC {
    std::int32_t sample = 0;  // uV
    double dcMax = 0.0;
    std::uint16_t level = 0;
    std::uint16_t code = 0;
};
LastDC s_lastDC[kPPGChannels];

std::uint16_t DCCodeOf(std::int32_t sample, int led, const ModuleScale& scale)
{
    LastDC& last = s_lastDC[led];
    const std::uint16_t level = g_nPPGDCDacLevel;
    if (sample != last.sample || scale.dcMax != last.dcMax || level != last.level) {
        last = {sample, scale.dcMax, level,
                CodeOf(sample / kMicrovoltsPerMillivolt, scale.dcMax, level)};
    }
    return last.code;
}

// Breathing also moves the rate of the heart. Half of the step, kept so.
double ModulatedPhase(double t, double phase, double depth)
{
    if (t <= 0.0) {
        s_modulatedPhase = phase;
        return phase;
    }
    const double heart = g_F;
    const double frequency = heart + depth * heart;
    s_modulatedPhase += frequency * (1.0 / _GetSampleRate()) / 2.0;
    return s_modulatedPhase - Truncate(s_modulatedPhase);
}

// A phase that rounding or a number out of all bounds has put outside stays in the table.
std::size_t IndexAt(int led, double phase)
{
    const std::uint64_t length = g_PPG_data_lengths[led];
    return std::min(SaturateTo<std::uint64_t>(static_cast<double>(length) * phase), length - 1);
}

// R wave of the running beat, s from the start of the cycle; negative when none is synchronised to.
double RWaveTime(const CycleQuantities& cycle)
{
    switch (static_cast<int>(g_MainOutput)) {
        case OUTPUT_ECG: return cycle.s_t1;
        case OUTPUT_CUSTOM_ECG: return cycle.s_Cus_t3;
        default: return -1.0;
    }
}

struct Modulation {
    int baseline = g_PPG_BaselineModV;
    int amplitude = g_PPG_AmpModV;
    int frequency = g_PPG_FreqModHz;
    bool IsOn() const { return (baseline | amplitude | frequency) != 0; }
};

void ModulateLevels(const Modulation& modulation, double breath, double acMax, double& dc,
                    double& ac)
{
    if (modulation.amplitude != 0) {
        const double factor = 1.0 + kPercent * modulation.amplitude * breath;
        dc *= factor;
        ac *= factor;
    }
    if (modulation.baseline != 0) {
        const double baseline = kPercent * modulation.baseline * breath * acMax;
        dc += baseline;
        ac += baseline;
    }
}

double Millivolts(std::int32_t microvolts) { return microvolts / kMicrovoltsPerMillivolt; }

// The delay within a beat changes with the settings alone.
struct LastDelay {
    std::int64_t delay = 0;   // ms
    std::int64_t period = 0;  // ms
    double seconds = 0.0;
};
LastDelay s_lastDelay[kPPGChannels];

double DelayWithin(int led, std::int64_t delay, std::int64_t period)
{
    LastDelay& last = s_lastDelay[led];
    if (delay != last.delay || period != last.period) {
        last = {delay, period, static_cast<double>(delay % period) / kMsPerSecond};
    }
    return last.seconds;
}
}  // namespace

double _GetPPGTimeOffset(int led)
{
    const std::int64_t transit = g_PPG_PTTp;
    if (transit < 0 || !IsPPGChannel(led) || !g_bECGOutputEnabled || g_PPG_use_file[led])
        return 0.0;
    const std::int64_t peak = g_PPG_waveforms[led].t1;
    const CycleQuantities& cycle = g_Cycle.Read();
    const double rWave = RWaveTime(cycle);
    if (peak < 0 || rWave < 0.0) return 0.0;
    const std::int64_t period = SaturateTo<std::int32_t>(kMsPerSecond * cycle.s_tp);
    if (period == 0) return 0.0;
    const std::int64_t delay = SaturateTo<std::int32_t>(kMsPerSecond * rWave) - peak + transit;
    return DelayWithin(led, delay, period);
}

void _GetPPGVoltageData(double t, int led, double timeOffset, std::uint16_t* dcCode,
                        std::uint16_t* acCode, double* pulseValue)
{
    *dcCode = 0;
    *acCode = 0;
    *pulseValue = 0.0;
    if (!IsPPGChannel(led)) return;
    const std::int32_t* dcSamples = g_pPPG_data_DC[led];
    const std::int32_t* acSamples = g_pPPG_data_AC[led];
    if (g_PPG_data_lengths[led] == 0 || acSamples == nullptr) return;

    const double period = g_PPG_data_periods[led];
    const double cycles = (t + period - timeOffset) / period;
    // The floor keeps a pulse that is delayed by more than its own period in step.
    double phase = cycles - FloorOf(cycles);
    const Modulation modulation;
    const double breath = modulation.IsOn() ? GetRespirationVoltage() : 0.0;
    if (modulation.frequency != 0) {
        phase = ModulatedPhase(t, phase, kPercent * modulation.frequency * breath);
    }
    const std::size_t index = IndexAt(led, phase);
    double ac = Millivolts(acSamples[index]);
    *pulseValue = g_PPG_invert_output[led] ? Millivolts(g_PPG_data_AC_max[led]) - ac : ac;
    const ModuleScale& scale = Scale(t);
    if (modulation.IsOn()) {
        double dc = Millivolts(dcSamples[index]);
        ModulateLevels(modulation, breath, Millivolts(g_PPG_data_AC_max[led]), dc, ac);
        *dcCode = CodeOf(dc, scale.dcMax, g_nPPGDCDacLevel);
    } else {
        *dcCode = DCCodeOf(dcSamples[index], led, scale);
    }
    *acCode = ACCodeOf(ac, led, scale);
}
