// For each parameter of vrax play a value other than its initial one, and what shows that it has
// reached its call: lines of the API log, requests to the instrument, or the samples.
#pragma once

#include <ostream>
#include <string>
#include <vector>

struct PlayedParameter {
    const char* name;
    const char* value;
    std::vector<const char*> proof;  // lines, or beginnings of requests
};

// All in one run. Values differ, so that two that are exchanged are seen.
struct ParameterRun {
    const char* name;
    const char* signal;
    const char* instrument;  // options
    std::vector<PlayedParameter> parameters;

    friend void PrintTo(const ParameterRun& run, std::ostream* out) { *out << run.name; }

    std::string Options() const
    {
        std::string text;
        for (const PlayedParameter& each : parameters) {
            text += std::string(" --") + each.name + " " + each.value;
        }
        return text;
    }
};

inline const char kBreathingLine[] = "VRAXSetRespirationAlgorithm(12, 4, 11, 21, 22, 23);";
inline const char kImpedanceLine[] = "VRAXSetRespiration(2000, 20, 3, 1000, 10);";
inline const char kScanLine[] = "VRAXSetFrequencyScanSine(true, 5.00, 90.00, 20);";
inline const char kRangeLine[] = "VRAXSetDynamicRangeTest(true, true, 2.5, 30);";
inline const char kPulse0Line[] = "VRAXSetPPGStandardWaveform(0, 1, 2, 1, 1.50, 900, 12.50);";
inline const char kPulse1Line[] = "VRAXSetPPGStandardWaveform(1, 0, 2, 1, 1.25, 800, 13.50);";
inline const char kPulse2Line[] = "VRAXSetPPGStandardWaveform(2, 2, 2, 1, 2.50, 700, 14.50);";

// The calls stand in the API log.
inline const std::vector<ParameterRun>& LoggedRuns()
{
    static const std::vector<ParameterRun> runs = {
        {"Signal",
         "ecg",
         "",
         {{"amplitude", "2.5", {"VRAXSetAmplitude(2.50);"}},
          {"frequency", "1.25", {"VRAXSetFrequency(1.25);"}},
          {"dc-offset", "120", {"VRAXSetDCOffset(120);"}},
          {"dc-variable", "off", {"VRAXSetDCOffsetVariableMode(false);"}},
          {"dc-common", "on", {"VRAXSetDCOffsetCommonMode(true);"}},
          {"pulse-width", "70", {"VRAXSetPulseWidth(70);"}},
          {"ecg", "off", {"VRAXEnableECGOutput(false);"}},
          {"qrs-duration", "90", {"VRAXSetQRSDuration(90);"}},
          {"t-wave", "0.3", {"VRAXSetTWave(0.3);"}},
          {"p-wave", "0.4", {"VRAXSetPWave(0.4);"}},
          {"p-duration", "80", {"VRAXSetPDuration(80);"}},
          {"pr-interval", "150", {"VRAXSetPRInterval(150);"}},
          {"qt-interval", "370", {"VRAXSetQTInterval(370);"}},
          {"st-deviation", "-0.25", {"SetSTDeviation(-0.25);"}},
          {"t-duration", "200", {"SetCustomizedTDuration(200);"}},
          {"leads", "0,3", {"SetOutputLead(0, true);", "SetOutputLead(3, true);"}},
          {"input-impedance", "off", {"VRAXSetInputImpedanceMode(false);"}},
          {"lead-off", "2", {"VRAXSetLeadOff(2);"}},
          {"rld", "on", {"VRAXMeasureRLD(true);"}}}},
        {"Disturbances",
         "ecg",
         "",
         {{"rate", "90", {"VRAXSetFrequency(1.50);"}},
          {"pacing", "100", {"VRAXSetPacingAmplitude(100);"}},
          {"pacing-duration", "1", {"VRAXSetPacingDuration(1);"}},
          {"pacing-mode", "double-150", {"VRAXSetPacingPulseMode(1);"}},
          {"pacing-rate", "95", {"VRAXSetPacingRate(95);"}},
          {"overshoot", "1.5", {"VRAXSetOvershootAmplitude(1.5);"}},
          {"overshoot-time", "20", {"VRAXSetOvershootTimeConstant(20);"}},
          {"noise", "60", {"VRAXSetECG2_27_Noise(2, 0.25);"}},
          {"noise-amplitude", "0.25", {"VRAXSetECG2_27_Noise(2, 0.25);"}},
          {"drift", "on", {"VRAXSetECG2_27_AAMIDriftTest(true);"}},
          {"drift-amplitude", "2.5", {"VRAXSetECG2_27_AAMIDriftTestAmplitude(2.5);"}},
          {"drift-frequency", "0.25", {"VRAXSetECG2_27_AAMIDriftTestFrequency(0.25);"}},
          {"impedance", "2000", {"VRAXEnableRespiration(true);", kImpedanceLine}},
          {"impedance-rate", "20", {kImpedanceLine}},
          {"impedance-ratio", "3", {kImpedanceLine}},
          {"impedance-baseline", "1000", {kImpedanceLine}},
          {"impedance-apnea", "10", {kImpedanceLine}},
          {"breathing-rate", "12", {kBreathingLine}},
          {"breathing-ratio", "4", {kBreathingLine}},
          {"breathing-apnea", "11", {kBreathingLine}},
          {"breathing-baseline", "21", {kBreathingLine}},
          {"breathing-amplitude", "22", {kBreathingLine}},
          {"breathing-frequency", "23", {kBreathingLine}},
          {"ppg-transit-time", "50000", {"VRAXSetPTTp(50000);"}}}},
        {"Wave227", "iec227", "", {{"wave227", "3", {"SetSpecialWave227(3);"}}}},
        {"Wave251", "iec251", "", {{"wave251", "4", {"SetSpecialWave251(4);"}}}},
        {"Wave247", "iec247", "", {{"wave247", "2", {"SetSpecialWave247(2);"}}}},
        {"Overload", "baseline-reset", "", {{"overload", "80", {"VRAXSetBaselineResetTest(3);"}}}},
        {"Range",
         "range-triangle",
         "",
         {{"range-amplitude", "2.5", {kRangeLine}}, {"range-frequency", "30", {kRangeLine}}}},
        {"Scan",
         "scan-sine",
         "",
         {{"scan-start", "5", {kScanLine}},
          {"scan-stop", "90", {kScanLine}},
          {"scan-seconds", "20", {kScanLine}}}},
        {"Pulses",
         "ecg",
         "--ppg 3307",
         {{"ppg0", "triangle", {kPulse0Line, "VRAXEnablePPGOutput(0, true);"}},
          {"ppg0-frequency", "1.5", {kPulse0Line}},
          {"ppg0-dc", "900", {kPulse0Line}},
          {"ppg0-ac", "12.5", {kPulse0Line}},
          {"ppg0-sync", "2", {kPulse0Line}},
          {"ppg0-invert", "on", {kPulse0Line}},
          {"ppg1", "sine", {kPulse1Line, "VRAXEnablePPGOutput(1, true);"}},
          {"ppg1-frequency", "1.25", {kPulse1Line}},
          {"ppg1-dc", "800", {kPulse1Line}},
          {"ppg1-ac", "13.5", {kPulse1Line}},
          {"ppg1-sync", "2", {kPulse1Line}},
          {"ppg1-invert", "on", {kPulse1Line}},
          {"ppg2", "square", {kPulse2Line, "VRAXEnablePPGOutput(2, true);"}},
          {"ppg2-frequency", "2.5", {kPulse2Line}},
          {"ppg2-dc", "700", {kPulse2Line}},
          {"ppg2-ac", "14.5", {kPulse2Line}},
          {"ppg2-sync", "2", {kPulse2Line}},
          {"ppg2-invert", "on", {kPulse2Line}},
          {"ambient-light", "3", {"SetLEDAmbientLightMode(3);"}}}},
    };
    return runs;
}

// The calls are not logged; the instrument is sent this. Groups are sent as 0, 1, 2 and 4.
inline const std::vector<ParameterRun>& SentRuns()
{
    static const std::vector<ParameterRun> runs = {
        {"FactoryLevels",
         "ecg",
         "--ppg 3407",
         {{"dynamic-light", "on", {"B0 FF 03 00 01"}},
          {"trigger-levels",
           "factory",
           {"mode write: CC FF 03 00 3C", "mode write: CC FF 04 00 3D",
            "mode write: CC FF 13 00 3E"}},
          {"led-levels",
           "factory",
           {"mode write: CC FF 01 00 96", "mode write: CC FF 02 00 97",
            "mode write: CC FF 12 00 98"}},
          {"pulse-groups", "1,2,3,0,3,2,1,0", {"12 34 00 00 01 02 04 00 04 02 01 00"}},
          {"pulse-group-word", "4660", {"12 34 00 00 01 02 04 00 04 02 01 00"}}}},
        {"Levels",
         "ecg",
         "--ppg 3407",
         {{"dynamic-strength", "on", {"B0 FF 03 00 01"}},
          {"strength-detection", "on", {"B0 FF 01 00 01"}},
          {"trigger-level1", "17", {"mode write: CC FF 03 00 11"}},
          {"trigger-level2", "18", {"mode write: CC FF 04 00 12"}},
          {"trigger-level3", "19", {"mode write: CC FF 13 00 13"}},
          {"led-level1", "33", {"mode write: CC FF 01 00 21"}},
          {"led-level2", "34", {"mode write: CC FF 02 00 22"}},
          {"led-level3", "35", {"mode write: CC FF 12 00 23"}}}},
        {"RespirationModule",
         "ecg",
         "--respiration",
         {{"module-baseline", "2000", {"baseline write: CC FF 0E 00 06"}},
          {"module-code1", "11", {"module write: CC FF 0D 00 00 0B 00 0C 00 0D 00 63"}},
          {"module-code2", "12", {"module write: CC FF 0D 00 00 0B 00 0C 00 0D 00 63"}},
          {"module-code3", "13", {"module write: CC FF 0D 00 00 0B 00 0C 00 0D 00 63"}},
          {"module-baseline-code", "99", {"module write: CC FF 0D 00 00 0B 00 0C 00 0D 00 63"}}}},
    };
    return runs;
}

// Neither logged nor a request of their own: the tests of the modules look at the samples and at
// the times, those of the tables at what the library tells.
inline const std::vector<std::string>& ParametersSeenElsewhere()
{
    static const std::vector<std::string> names = {
        "ane-lead",
        "loop",
        "stress-noise",
        "stress-gain",
        "sample-rate",
        "dc-code",
        "impedance-hold",
        "impedance-file",
        "module-resistance",
        "ppg0-notch",
        "ppg0-dicrotic",
        "ppg0-peak-time",
        "ppg0-notch-time",
        "ppg0-dicrotic-time",
        "ppg0-file",
        "ppg1-notch",
        "ppg1-dicrotic",
        "ppg1-peak-time",
        "ppg1-notch-time",
        "ppg1-dicrotic-time",
        "ppg1-file",
        "ppg2-notch",
        "ppg2-dicrotic",
        "ppg2-peak-time",
        "ppg2-notch-time",
        "ppg2-dicrotic-time",
        "ppg2-file",
        "ppg-above-dc",
        "ppg-breathing-baseline",
        "ppg-breathing-amplitude",
        "ppg-breathing-frequency",
        "transmission-rate",
        "read-timeout",
        "write-timeout",  // the one call has both; a port takes at once what is written
    };
    return names;
}
