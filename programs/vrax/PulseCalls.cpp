#include "PulseCalls.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <fmt/format.h>

#include "Failure.h"
#include "RawSamples.h"
#include "vrax.h"

namespace vrax {

namespace {

using Names = std::vector<std::string>;

constexpr int kStandardPulse = 3;
constexpr std::array kShapeParts = {"-notch", "-dicrotic", "-peak-time", "-notch-time",
                                    "-dicrotic-time"};
constexpr std::size_t kFileChannels = 2;  // DC, AC

// Where the parts of a standard pulse stand: parts of its period and of its height.
constexpr double kPeakTime = 0.15;
constexpr double kNotchTime = 0.36;
constexpr double kDicroticTime = 0.46;
constexpr double kNotchHeight = 0.56;
constexpr double kDicroticHeight = 0.64;

// Its two channels may fall into different AC ranges.
constexpr unsigned char kRangedModule[] = {0x34, 0x07};

std::string PrefixOf(int led) { return fmt::format("ppg{}", led); }

Names PulseNames(int led)
{
    Names names;
    for (const Parameter& parameter : Parameters()) {
        if (parameter.name.starts_with(PrefixOf(led))) names.push_back(parameter.name);
    }
    return names;
}

bool IsShaped(const Values& values, int led)
{
    return std::any_of(kShapeParts.begin(), kShapeParts.end(),
                       [&](const char* part) { return values.Has(PrefixOf(led) + part); });
}

bool IsFile(const Values& values, int led) { return values.Has(PrefixOf(led) + "-file"); }

PPG_WAVEFORM Pulse(const Values& values, int led)
{
    const std::string ppg = PrefixOf(led);
    const auto given = [&](const std::string& part, double otherwise) {
        return values.Has(ppg + part) ? values[ppg + part] : otherwise;
    };
    PPG_WAVEFORM wave{};
    wave.waveform = values.Int(ppg);
    wave.frequency = given("-frequency", values.FrequencyHz());
    wave.dc = values[ppg + "-dc"];
    wave.ac = values[ppg + "-ac"];
    wave.ledSync = values.Int(ppg + "-sync");
    wave.invert = values.Int(ppg + "-invert");
    if (wave.waveform != kStandardPulse) return wave;
    const double periodMs = 1000.0 / wave.frequency;
    wave.notchLevel = given("-notch", kNotchHeight * wave.ac);
    wave.dicroticLevel = given("-dicrotic", kDicroticHeight * wave.ac);
    wave.t1 = static_cast<int>(given("-peak-time", kPeakTime * periodMs));
    wave.t2 = static_cast<int>(given("-notch-time", kNotchTime * periodMs));
    wave.t3 = static_cast<int>(given("-dicrotic-time", kDicroticTime * periodMs));
    return wave;
}

Failure Refused(const Values& values, int led, int result)
{
    const std::string ppg = PrefixOf(led);
    const PPG_WAVEFORM wave = Pulse(values, led);
    return {fmt::format("the pulse of {} at {:g} Hz, {:g} mV DC and {:g} mV AC was refused ({})",
                        ppg, wave.frequency, wave.dc, wave.ac, result),
            VRAXIsPPGConnected() ? RangeTexts({ppg + "-frequency", ppg + "-dc", ppg + "-ac"}) +
                                       "; vrax info tells the ranges of the module"
                                 : "the instrument has no PPG module"};
}

void SetFile(const Values& values, int led)
{
    const std::string ppg = PrefixOf(led);
    const RawSamples samples = ReadRawSamples(values.Path(ppg + "-file"), kFileChannels);
    const int result =
        VRAXSetPPGRawData(led, values.Int(ppg + "-sync"), values.Int(ppg + "-invert"),
                          static_cast<int>(samples.channels[0].size()), samples.channels[0].data(),
                          samples.channels[1].data(), samples.rate);
    if (result == 0) return;
    throw Failure(fmt::format("the samples of {} were refused ({})", ppg, result),
                  "stop what plays first");
}

void SetPulse(const Values& values, int led)
{
    const PPG_WAVEFORM wave = Pulse(values, led);
    const int result =
        IsShaped(values, led)
            ? SetPPGWaveform(led, &wave)
            : VRAXSetPPGStandardWaveform(led, wave.waveform, wave.ledSync, wave.invert,
                                         wave.frequency, wave.dc, wave.ac);
    if (result <= 0) throw Refused(values, led, result);
}

void SetPair(const Values& values, int first, int second)
{
    const PPG_WAVEFORM a = Pulse(values, first);
    const PPG_WAVEFORM b = Pulse(values, second);
    const int result = VRAXSetPPGStandardWaveformEx(first, a.waveform, a.ledSync, a.invert, second,
                                                    b.waveform, b.ledSync, b.invert, a.frequency,
                                                    a.dc, a.ac, b.frequency, b.dc, b.ac);
    if (result > 0) return;
    throw Failure(fmt::format("the pulses of {} and {} were refused ({})", PrefixOf(first),
                              PrefixOf(second), result),
                  "vrax info tells the ranges of the module");
}

// The channels whose levels the module brings into one range: the first two of its LEDs that have
// a standard shape. Fewer on a module without ranges.
std::vector<int> PairOf(const Values& values)
{
    MODEL_INFORMATION module{};
    if (!VRAXIsPPGConnected() || !VRAXGetPPGDeviceInformation(&module) ||
        std::memcmp(module.modelCode, kRangedModule, sizeof kRangedModule) != 0) {
        return {};
    }
    std::vector<int> pair;
    for (const LEDType led : module.ledTypes) {
        const bool isStandard = led >= 0 && led < kPpgChannels && HasPulse(values, led) &&
                                !IsShaped(values, led) && !IsFile(values, led);
        if (isStandard && pair.size() < 2) pair.push_back(led);
    }
    return pair;
}

}  // namespace

bool HasPulse(const Values& values, int led)
{
    const Names names = PulseNames(led);
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return values.Has(name); });
}

void CheckPulses(const Values& values)
{
    for (int led = 0; led < kPpgChannels; ++led) {
        const std::string ppg = PrefixOf(led);
        if (IsShaped(values, led) && values.Int(ppg) != kStandardPulse) {
            throw Failure(fmt::format("{} {} has no notch and no dicrotic wave", ppg,
                                      values.Text(ppg)),
                          fmt::format("--{} pulse has them", ppg), kWrongUsage);
        }
        if (!IsFile(values, led)) continue;
        ReadRawSamples(values.Path(ppg + "-file"), kFileChannels);
        for (const std::string& name : PulseNames(led)) {
            const bool isUsed =
                name == ppg + "-file" || name == ppg + "-sync" || name == ppg + "-invert";
            if (isUsed || !values.Has(name)) continue;
            throw Failure(fmt::format("{} has no effect on samples of a file", name),
                          fmt::format("{0}-sync and {0}-invert have", ppg), kWrongUsage);
        }
    }
}

void SetPulses(const Values& values)
{
    if (values.Has("ppg-above-dc")) VRAXEnableACAboveDC(values.IsOn("ppg-above-dc"));
    const std::vector<int> pair = PairOf(values);
    const bool isPair = pair.size() == 2;
    if (isPair) SetPair(values, pair[0], pair[1]);
    for (int led = 0; led < kPpgChannels; ++led) {
        if (!HasPulse(values, led)) continue;
        const bool isSet = isPair && (led == pair[0] || led == pair[1]);
        if (!isSet) IsFile(values, led) ? SetFile(values, led) : SetPulse(values, led);
        if (VRAXEnablePPGOutput(led, true) == 0) continue;
        throw Failure(fmt::format("{} could not be switched on", PrefixOf(led)),
                      "stop what plays first");
    }
}

}  // namespace vrax
