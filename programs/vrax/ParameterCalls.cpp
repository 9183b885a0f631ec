#include "ParameterCalls.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Failure.h"
#include "PulseCalls.h"
#include "RawSamples.h"
#include "vrax.h"

namespace vrax {

namespace {

using Names = std::vector<std::string>;

constexpr int kOutOfRange = -2;  // of the calls that return 0 when they have done it
constexpr char kPpgModule[] = "a PPG module";
constexpr char kRespirationModule[] = "the external respiration module";

// Ohm, of the instrument without the module.
constexpr int kLeastOwnBaseline = 500;
constexpr int kMostOwnBaseline = 2500;

// One call for one parameter or a few. It is made when one of them was given.
struct Call {
    const char* function;
    Names parameters;
    int (*make)(const Values& values);
    bool isOneDone = false;        // calls that return 1, not 0, when they have done it
    const char* module = nullptr;  // without which it is refused
};

std::string Asked(const Values& values, const Names& names)
{
    std::vector<std::string> texts;
    for (const std::string& name : names) {
        texts.push_back(name + " " + values.Text(name));
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
    if (!call.isOneDone && result == kOutOfRange) return {sentence, RangeTexts(call.parameters)};
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
    const int baseline = std::stoi(values.Word("impedance-baseline"));
    const bool isOwn = baseline >= kLeastOwnBaseline && baseline <= kMostOwnBaseline;
    const bool isHeld = values.IsOn("impedance-hold");
    if ((!isOwn || isHeld) && VRAXRespirationModuleIsConnected() == 0) return 0;
    if (VRAXEnableRespiration(1) != 1) return 0;
    if (isHeld) return VRAXSetCalibrationRespiration(values.Int("impedance"), baseline);
    return VRAXSetRespiration(values.Int("impedance"), values.Int("impedance-rate"),
                              values.Int("impedance-ratio"), baseline,
                              values.Int("impedance-apnea"));
}

int SetImpedanceFile(const Values& values)
{
    if (VRAXRespirationModuleIsConnected() == 0) return 0;
    const RawSamples samples = ReadRawSamples(values.Path("impedance-file"), 1);
    const auto& ohms = samples.channels.front();
    return VRAXSetRespirationRawData(ohms.data(), static_cast<int>(ohms.size()),
                                     static_cast<int>(samples.rate));
}

// The record has ten bytes: a code a slot, and the word in the order of the host.
int SetPulseGroups(const Values& values)
{
    const auto word = static_cast<std::uint16_t>(values["pulse-group-word"]);
    unsigned char record[kSlots + sizeof word];
    const std::vector<int> codes = SlotsOf(values["pulse-groups"]);
    std::copy(codes.begin(), codes.end(), record);
    std::memcpy(record + kSlots, &word, sizeof word);
    std::uint16_t setting[sizeof record / 2];
    std::memcpy(setting, record, sizeof record);
    return VRAXWriteLEDPulseGroupSetting(setting);
}

// 0 where nothing was to be done.
int ResetIfAsked(const Values& values, const char* name, int (*reset)())
{
    return values.Word(name) == "factory" ? reset() : 0;
}

// The codes of the module's four elements go together.
int SetModuleCodes(const Values& values)
{
    const auto code = [&](const char* name) { return static_cast<unsigned>(values[name]); };
    const unsigned baseline = values.Has("module-baseline-code") ? code("module-baseline-code")
                              : values.Has("module-baseline")
                                  ? ExtRespGetBaselineDAC(values.Int("module-baseline"))
                                  : ExtRespGetBaselineDAC(0);
    return VRAXExternalRespiratorySetDAC(code("module-code1"), code("module-code2"),
                                         code("module-code3"), baseline);
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
        {"SetDeviceTimeoutSetting",
         {"read-timeout", "write-timeout"},
         [](V v) {
             SetDeviceTimeoutSetting(static_cast<unsigned>(v["read-timeout"]),
                                     static_cast<unsigned>(v["write-timeout"]));
             return 0;
         }},
        {"VRAXSetSampleRate",
         {"sample-rate"},
         [](V v) { return VRAXSetSampleRate(v.Int("sample-rate")); }},
        {"VRAXSetOutputLead", {"leads"}, SetLeads},
        {"VRAXEnableECGOutput", {"ecg"}, [](V v) { return VRAXEnableECGOutput(v.IsOn("ecg")); }},
        {"VRAXSetSpecialWaveformLoop", {"loop"}, SetLoop},
        {"VRAXSetAmplitude", {"amplitude"}, [](V v) { return VRAXSetAmplitude(v["amplitude"]); }},
        {"VRAXSetFrequency", {"frequency"}, [](V v) { return VRAXSetFrequency(v["frequency"]); }},
        {"VRAXSetFrequency", {"rate"}, [](V v) { return VRAXSetFrequency(v.FrequencyHz()); }},
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
        {"VRAXSetRespirationRawData",
         {"impedance-file"},
         SetImpedanceFile,
         true,
         kRespirationModule},
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
        // Refused while a signal plays.
        {"VRAXWriteLEDPulseGroupSetting",
         {"pulse-groups", "pulse-group-word"},
         SetPulseGroups,
         true,
         kPpgModule},
    };
    return calls;
}

// What the instrument and its modules keep themselves, and lose without power.
const std::vector<Call>& ModuleCalls()
{
    using V = const Values&;
    static const std::vector<Call> calls = {
        {"VRAXSetRespiration",
         {"impedance", "impedance-rate", "impedance-ratio", "impedance-baseline", "impedance-apnea",
          "impedance-hold", "impedance-file"},
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
        {"ResetPPGTriggerLevel",
         {"trigger-levels"},
         [](V v) { return ResetIfAsked(v, "trigger-levels", ResetPPGTriggerLevel); },
         false,
         kPpgModule},
        {"ResetPPGLedLevel",
         {"led-levels"},
         [](V v) { return ResetIfAsked(v, "led-levels", ResetPPGLedLevel); },
         false,
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
        {"VRAXExternalRespiratorySetBaseline",
         {"module-baseline"},
         [](V v) { return VRAXExternalRespiratorySetBaseline(v.Int("module-baseline"), 0); },
         true,
         kRespirationModule},
        {"VRAXExternalRespiratorySetDAC",
         {"module-code1", "module-code2", "module-code3"},
         SetModuleCodes,
         true,
         kRespirationModule},
        {"VRAXExternalRespiratorySetAmplitudeByResistance",
         {"module-resistance"},
         [](V v) {
             return VRAXExternalRespiratorySetAmplitudeByResistance(v["module-resistance"]);
         },
         true,
         kRespirationModule},
        {"VRAXExternalRespiratorySetBaselineDAC",
         {"module-baseline-code"},
         [](V v) {
             return VRAXExternalRespiratorySetBaselineDAC(
                 static_cast<unsigned>(v["module-baseline-code"]));
         },
         true,
         kRespirationModule},
    };
    return calls;
}

}  // namespace

void SetParameters(const Values& values)
{
    if (values.Has("rate") && values.Has("frequency")) {
        throw Failure("rate and frequency are the same parameter", "give one of them", kWrongUsage);
    }
    for (const Call& call : FirstCalls()) Make(call, values);
    for (const Call& call : DisturbanceCalls()) Make(call, values);
    SetPulses(values);
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
