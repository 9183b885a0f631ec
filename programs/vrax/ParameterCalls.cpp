#include "ParameterCalls.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Failure.h"
#include "vrax.h"

namespace vrax {

namespace {

using Names = std::vector<std::string>;

constexpr double kSecondsPerMinute = 60.0;
constexpr int kStandardPulse = 3;
constexpr int kOutOfRange = -2;  // of the calls that return 0 when they have done it
constexpr char kPpgModule[] = "a PPG module";
constexpr char kRespirationModule[] = "the external respiration module";
constexpr std::array kShapeParts = {"-notch", "-dicrotic", "-peak-time", "-notch-time",
                                    "-dicrotic-time"};

// Ohm, of the instrument without the module.
constexpr int kLeastOwnBaseline = 500;
constexpr int kMostOwnBaseline = 2500;

// Where the parts of a standard pulse stand: parts of its period and of its height.
constexpr double kPeakTime = 0.15;
constexpr double kNotchTime = 0.36;
constexpr double kDicroticTime = 0.46;
constexpr double kNotchHeight = 0.56;
constexpr double kDicroticHeight = 0.64;

// One call for one parameter or a few. It is made when one of them was given.
struct Call {
    const char* function;
    Names parameters;
    int (*make)(const Values& values);
    bool isOneDone = false;        // calls that return 1, not 0, when they have done it
    const char* module = nullptr;  // without which it is refused
};

std::string Ranges(const Names& names)
{
    std::vector<std::string> texts;
    for (const std::string& name : names) {
        texts.push_back(fmt::format("{} takes {}", name, RangeText(FindParameter(name))));
    }
    return fmt::format("{}", fmt::join(texts, ", "));
}

std::string Asked(const Values& values, const Names& names)
{
    std::vector<std::string> texts;
    for (const std::string& name : names) {
        texts.push_back(name + " " + ValueText(FindParameter(name), values[name]));
    }
    return fmt::format("{}", fmt::join(texts, ", "));
}

bool HasModule(const char* module)
{
    return module == kPpgModule ? VRAXIsPPGConnected() : VRAXRespirationModuleIsConnected() == 1;
}

// Ranges were looked at before: what the library refuses has another reason mostly.
Failure Refused(const Call& call, const Values& values, int result)
{
    const std::string sentence =
        fmt::format("{} refused {} ({})", call.function, Asked(values, call.parameters), result);
    if (!call.isOneDone && result == kOutOfRange) return {sentence, Ranges(call.parameters)};
    if (!VRAXIsConnected()) {
        return {sentence, "the instrument was lost: plug it in and start anew", kNoInstrument};
    }
    if (call.module != nullptr && !HasModule(call.module)) {
        return {sentence, fmt::format("it needs {}; vrax info tells what is fitted", call.module)};
    }
    return {sentence, "the instrument did not answer: check its cable, or ask vrax doctor"};
}

void Make(const Call& call, const Values& values)
{
    const bool isGiven = std::any_of(call.parameters.begin(), call.parameters.end(),
                                     [&](const std::string& name) { return values.Has(name); });
    if (!isGiven) return;
    const int result = call.make(values);
    if (call.isOneDone ? result == 1 : result >= 0) return;
    throw Refused(call, values, result);
}

double Frequency(const Values& values)
{
    return values.Has("rate") ? values["rate"] / kSecondsPerMinute : values["frequency"];
}

int SetLeads(const Values& values)
{
    const auto mask = static_cast<unsigned>(values["leads"]);
    for (int lead = 0; lead < kLeads; ++lead) {
        const int result = VRAXSetOutputLead(lead, (mask >> lead & 1U) != 0);
        if (result < 0) return result;
    }
    return 0;
}

int SetLoop(const Values& values)
{
    VRAXSetSpecialWaveformLoop(values.Int("loop"));
    VRAXSetFileLoop(values.Int("loop"));
    return 0;
}

int SetImpedance(const Values& values)
{
    const int baseline =
        std::stoi(FindParameter("impedance-baseline")
                      .words.at(static_cast<std::size_t>(values["impedance-baseline"])));
    const bool isOwn = baseline >= kLeastOwnBaseline && baseline <= kMostOwnBaseline;
    if (!isOwn && VRAXRespirationModuleIsConnected() == 0) return 0;
    if (VRAXEnableRespiration(1) != 1) return 0;
    return VRAXSetRespiration(values.Int("impedance"), values.Int("impedance-rate"),
                              values.Int("impedance-ratio"), baseline,
                              values.Int("impedance-apnea"));
}

int SetBreathing(const Values& values)
{
    return VRAXSetRespirationAlgorithm(values.Int("breathing-rate"), values.Int("breathing-ratio"),
                                       values.Int("breathing-apnea"),
                                       values.Int("breathing-baseline"),
                                       values.Int("breathing-amplitude"),
                                       values.Int("breathing-frequency"));
}

// In order: what a later call builds on comes first.
const std::vector<Call>& FirstCalls()
{
    using V = const Values&;
    static const std::vector<Call> calls = {
        {"VRAXSetSampleRate",
         {"sample-rate"},
         [](V v) { return VRAXSetSampleRate(v.Int("sample-rate")); }},
        {"VRAXSetOutputLead", {"leads"}, SetLeads},
        {"VRAXEnableECGOutput", {"ecg"}, [](V v) { return VRAXEnableECGOutput(v.IsOn("ecg")); }},
        {"VRAXSetSpecialWaveformLoop", {"loop"}, SetLoop},
        {"VRAXSetAmplitude", {"amplitude"}, [](V v) { return VRAXSetAmplitude(v["amplitude"]); }},
        {"VRAXSetFrequency", {"frequency"}, [](V v) { return VRAXSetFrequency(v["frequency"]); }},
        {"VRAXSetFrequency", {"rate"}, [](V v) { return VRAXSetFrequency(Frequency(v)); }},
        {"VRAXSetDCOffsetVariableMode",
         {"dc-variable"},
         [](V v) { return VRAXSetDCOffsetVariableMode(v.IsOn("dc-variable")); }},
        {"VRAXSetDCOffsetCommonMode",
         {"dc-common"},
         [](V v) { return VRAXSetDCOffsetCommonMode(v.IsOn("dc-common")); }},
        {"VRAXSetDCOffset", {"dc-offset"}, [](V v) { return VRAXSetDCOffset(v.Int("dc-offset")); }},
        {"VRAXSetInputImpedanceMode",
         {"input-impedance"},
         [](V v) { return VRAXSetInputImpedanceMode(v.IsOn("input-impedance")); }},
        {"VRAXSetPulseWidth",
         {"pulse-width"},
         [](V v) { return VRAXSetPulseWidth(v["pulse-width"]); }},
        {"VRAXSetQRSDuration",
         {"qrs-duration"},
         [](V v) { return VRAXSetQRSDuration(v["qrs-duration"]); }},
        {"VRAXSetTWave", {"t-wave"}, [](V v) { return VRAXSetTWave(v["t-wave"]); }},
        {"VRAXSetPDuration", {"p-duration"}, [](V v) { return VRAXSetPDuration(v["p-duration"]); }},
        {"VRAXSetPRInterval",
         {"pr-interval"},
         [](V v) { return VRAXSetPRInterval(v["pr-interval"]); }},
        {"VRAXSetQTInterval",
         {"qt-interval"},
         [](V v) { return VRAXSetQTInterval(v["qt-interval"]); }},
        {"VRAXSetPWave", {"p-wave"}, [](V v) { return VRAXSetPWave(v["p-wave"]); }},
        {"VRAXSetSTDeviation",
         {"st-deviation"},
         [](V v) { return VRAXSetSTDeviation(v["st-deviation"]); }},
        {"VRAXSetCustomizedTDuration",
         {"t-duration"},
         [](V v) { return VRAXSetCustomizedTDuration(v["t-duration"]); }},
        {"VRAXSetSpecialWave227",
         {"wave227"},
         [](V v) { return VRAXSetSpecialWave227(v.Int("wave227")); }},
        {"VRAXSetSpecialWave251",
         {"wave251"},
         [](V v) { return VRAXSetSpecialWave251(v.Int("wave251")); }},
        {"VRAXSetSpecialWave247",
         {"wave247"},
         [](V v) { return VRAXSetSpecialWave247(v.Int("wave247")); }},
        {"VRAXSetANE20000Lead",
         {"ane-lead"},
         [](V v) { return VRAXSetANE20000Lead(v.Int("ane-lead")); }},
    };
    return calls;
}

const std::vector<Call>& DisturbanceCalls()
{
    using V = const Values&;
    static const std::vector<Call> calls = {
        {"VRAXSetPacingPulseMode",
         {"pacing-mode"},
         [](V v) { return VRAXSetPacingPulseMode(v.Int("pacing-mode")); }},
        {"VRAXSetPacingAmplitude",
         {"pacing"},
         [](V v) { return VRAXSetPacingAmplitude(v["pacing"]); }},
        {"VRAXSetPacingDuration",
         {"pacing-duration"},
         [](V v) { return VRAXSetPacingDuration(v["pacing-duration"]); }},
        {"VRAXSetPacingRate",
         {"pacing-rate"},
         [](V v) { return VRAXSetPacingRate(static_cast<unsigned>(v["pacing-rate"])); }},
        {"VRAXSetOvershootTimeConstant",
         {"overshoot-time"},
         [](V v) {
             return VRAXSetOvershootTimeConstant(static_cast<unsigned>(v["overshoot-time"]));
         }},
        {"VRAXSetOvershootAmplitude",
         {"overshoot"},
         [](V v) { return VRAXSetOvershootAmplitude(v["overshoot"]); }},
        {"VRAXSetECG2_27_Noise",
         {"noise", "noise-amplitude"},
         [](V v) { return VRAXSetECG2_27_Noise(v.Int("noise"), v["noise-amplitude"]); }},
        {"VRAXSetNSTNoise",
         {"stress-noise", "stress-gain"},
         [](V v) { return VRAXSetNSTNoise(v.Int("stress-noise"), v["stress-gain"]); }},
        {"VRAXSetECG2_27_AAMIDriftTestAmplitude",
         {"drift-amplitude"},
         [](V v) { return VRAXSetECG2_27_AAMIDriftTestAmplitude(v["drift-amplitude"]); }},
        {"VRAXSetECG2_27_AAMIDriftTestFrequency",
         {"drift-frequency"},
         [](V v) { return VRAXSetECG2_27_AAMIDriftTestFrequency(v["drift-frequency"]); }},
        {"VRAXSetECG2_27_AAMIDriftTest",
         {"drift"},
         [](V v) { return VRAXSetECG2_27_AAMIDriftTest(v.IsOn("drift")); }},
        {"VRAXSetRespirationAlgorithm",
         {"breathing-rate", "breathing-ratio", "breathing-apnea", "breathing-baseline",
          "breathing-amplitude", "breathing-frequency"},
         SetBreathing,
         true},
    };
    return calls;
}

const std::vector<Call>& PpgCalls()
{
    using V = const Values&;
    static const std::vector<Call> calls = {
        {"VRAXSetPPGRespirationAlgorithm",
         {"ppg-breathing-baseline", "ppg-breathing-amplitude", "ppg-breathing-frequency"},
         [](V v) -> int {
             return VRAXSetPPGRespirationAlgorithm(v.Int("ppg-breathing-baseline"),
                                                   v.Int("ppg-breathing-amplitude"),
                                                   v.Int("ppg-breathing-frequency"));
         },
         true},
        {"VRAXSetPTTp",
         {"ppg-transit-time"},
         [](V v) {
             VRAXSetPTTp(v.Int("ppg-transit-time"));
             return 0;
         }},
    };
    return calls;
}

// What the instrument and its modules keep themselves, and lose without power.
const std::vector<Call>& ModuleCalls()
{
    using V = const Values&;
    static const std::vector<Call> calls = {
        {"VRAXSetRespiration",
         {"impedance", "impedance-rate", "impedance-ratio", "impedance-baseline",
          "impedance-apnea"},
         SetImpedance,
         true,
         kRespirationModule},
        {"VRAXSetLEDAmbientLightMode",
         {"ambient-light"},
         [](V v) { return VRAXSetLEDAmbientLightMode(v.Int("ambient-light")); },
         false,
         kPpgModule},
        {"SetDynamicLight",
         {"dynamic-light"},
         [](V v) { return SetDynamicLight(v.Int("dynamic-light")); },
         false,
         kPpgModule},
        {"VRAXEnableDynamicLEDStrength",
         {"dynamic-strength"},
         [](V v) -> int { return VRAXEnableDynamicLEDStrength(v.IsOn("dynamic-strength")); },
         true,
         kPpgModule},
        {"VRAXEnableFPGASampling",
         {"strength-detection"},
         [](V v) -> int { return VRAXEnableFPGASampling(v.IsOn("strength-detection")); },
         true,
         kPpgModule},
        {"VRAXConfigureTransmissionRate",
         {"transmission-rate"},
         [](V v) -> int { return VRAXConfigureTransmissionRate(v.Int("transmission-rate")); },
         true,
         kPpgModule},
        {"SetPPGTriggerLevel",
         {"trigger-level1"},
         [](V v) { return SetPPGTriggerLevel(1, v.Int("trigger-level1")); },
         false,
         kPpgModule},
        {"SetPPGTriggerLevel",
         {"trigger-level2"},
         [](V v) { return SetPPGTriggerLevel(2, v.Int("trigger-level2")); },
         false,
         kPpgModule},
        {"SetPPGTriggerLevel",
         {"trigger-level3"},
         [](V v) { return SetPPGTriggerLevel(3, v.Int("trigger-level3")); },
         false,
         kPpgModule},
        {"SetPPGLedLevel",
         {"led-level1"},
         [](V v) { return SetPPGLedLevel(1, v.Int("led-level1")); },
         false,
         kPpgModule},
        {"SetPPGLedLevel",
         {"led-level2"},
         [](V v) { return SetPPGLedLevel(2, v.Int("led-level2")); },
         false,
         kPpgModule},
        {"SetPPGLedLevel",
         {"led-level3"},
         [](V v) { return SetPPGLedLevel(3, v.Int("led-level3")); },
         false,
         kPpgModule},
    };
    return calls;
}

const std::vector<Call>& PlayingCalls()
{
    using V = const Values&;
    static const std::vector<Call> calls = {
        {"VRAXSetLeadOff",
         {"lead-off"},
         [](V v) { return VRAXSetLeadOff(v.Int("lead-off")); },
         true},
        {"VRAXMeasureRLD", {"rld"}, [](V v) { return VRAXMeasureRLD(v.IsOn("rld")); }, true},
        {"SetDcDac", {"dc-code"}, [](V v) { return SetDcDac(v.Int("dc-code")); }, true},
    };
    return calls;
}

Names PulseNames(int led)
{
    Names names;
    const std::string ppg = fmt::format("ppg{}", led);
    for (const Parameter& parameter : Parameters()) {
        if (parameter.name.starts_with(ppg)) names.push_back(parameter.name);
    }
    return names;
}

PPG_WAVEFORM Pulse(const Values& values, const std::string& ppg)
{
    const auto given = [&](const std::string& part, double otherwise) {
        return values.Has(ppg + part) ? values[ppg + part] : otherwise;
    };
    PPG_WAVEFORM wave{};
    wave.waveform = values.Int(ppg);
    wave.frequency = given("-frequency", Frequency(values));
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

void SetPulse(const Values& values, int led)
{
    const std::string ppg = fmt::format("ppg{}", led);
    const bool isShaped = std::any_of(kShapeParts.begin(), kShapeParts.end(),
                                      [&](const char* part) { return values.Has(ppg + part); });
    const PPG_WAVEFORM wave = Pulse(values, ppg);
    const int result =
        isShaped ? SetPPGWaveform(led, &wave)
                 : VRAXSetPPGStandardWaveform(led, wave.waveform, wave.ledSync, wave.invert,
                                              wave.frequency, wave.dc, wave.ac);
    if (result <= 0) {
        throw Failure(fmt::format("the pulse of {} at {:g} Hz, {:g} mV DC and {:g} mV AC was "
                                  "refused ({})",
                                  ppg, wave.frequency, wave.dc, wave.ac, result),
                      VRAXIsPPGConnected()
                          ? Ranges({ppg + "-frequency", ppg + "-dc", ppg + "-ac"}) +
                                "; vrax info tells the ranges of the module"
                          : "the instrument has no PPG module");
    }
    if (VRAXEnablePPGOutput(led, true) != 0) {
        throw Failure(fmt::format("{} could not be switched on", ppg), "stop what plays first");
    }
}

}  // namespace

bool HasPulse(const Values& values, int led)
{
    const Names names = PulseNames(led);
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return values.Has(name); });
}

void SetParameters(const Values& values)
{
    if (values.Has("rate") && values.Has("frequency")) {
        throw Failure("rate and frequency are the same parameter", "give one of them", kWrongUsage);
    }
    for (const Call& call : FirstCalls()) Make(call, values);
    for (const Call& call : DisturbanceCalls()) Make(call, values);
    if (values.Has("ppg-above-dc")) VRAXEnableACAboveDC(values.IsOn("ppg-above-dc"));
    for (int led = 0; led < kPpgChannels; ++led) {
        if (HasPulse(values, led)) SetPulse(values, led);
    }
    for (const Call& call : PpgCalls()) Make(call, values);
    for (const Call& call : ModuleCalls()) Make(call, values);
}

void SetPlayingParameters(const Values& values)
{
    for (const Call& call : PlayingCalls()) Make(call, values);
}

void SetParametersAgain(const Values& values)
{
    for (const Call& call : ModuleCalls()) Make(call, values);
    SetPlayingParameters(values);
}

}  // namespace vrax
