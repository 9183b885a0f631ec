// Every function of vrax.h that sets something can be reached from the program, but for a few with
// a reason.

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "programs/ProgramRun.h"

namespace {

// The command and what is written behind it: an option, a signal of --list-functions, or nothing
// where the command itself does it.
struct Reached {
    const char* command;
    const char* by = "";
};

const std::map<std::string, Reached>& ReachedFunctions()
{
    static const std::map<std::string, Reached> functions = {
        {"SetDeviceTimeoutSetting", {"play", "--read-timeout"}},
        {"VRAXEnableFPGASampling", {"play", "--strength-detection"}},
        {"VRAXConfigureTransmissionRate", {"play", "--transmission-rate"}},
        {"SetCalibrationDataPath", {"", "--calibration-dir"}},
        {"WriteDCCalibrationData", {"calibration", "write"}},
        {"ClearDCCalibrationData", {"calibration", "clear"}},
        {"VRAXSetOutputFunction", {"play", "ecg"}},
        {"VRAXSetOutputLead", {"play", "--leads"}},
        {"VRAXEnableECGOutput", {"play", "--ecg"}},
        {"VRAXEnableACAboveDC", {"play", "--ppg-above-dc"}},
        {"VRAXSetAmplitude", {"play", "--amplitude"}},
        {"VRAXSetFrequency", {"play", "--frequency"}},
        {"VRAXSetDCOffset", {"play", "--dc-offset"}},
        {"VRAXSetDCOffsetVariableMode", {"play", "--dc-variable"}},
        {"VRAXSetDCOffsetCommonMode", {"play", "--dc-common"}},
        {"VRAXSetPulseWidth", {"play", "--pulse-width"}},
        {"VRAXSetInputImpedanceMode", {"play", "--input-impedance"}},
        {"VRAXSetQRSDuration", {"play", "--qrs-duration"}},
        {"VRAXSetTWave", {"play", "--t-wave"}},
        {"VRAXSetPDuration", {"play", "--p-duration"}},
        {"VRAXSetPRInterval", {"play", "--pr-interval"}},
        {"VRAXSetQTInterval", {"play", "--qt-interval"}},
        {"VRAXSetPWave", {"play", "--p-wave"}},
        {"VRAXSetSTDeviation", {"play", "--st-deviation"}},
        {"VRAXSetCustomizedTDuration", {"play", "--t-duration"}},
        {"VRAXSetSpecialWave227", {"play", "--wave227"}},
        {"VRAXSetSpecialWave251", {"play", "--wave251"}},
        {"VRAXSetSpecialWave247", {"play", "--wave247"}},
        {"VRAXSetANE20000Lead", {"play", "--ane-lead"}},
        {"VRAXSetSpecialWaveformLoop", {"play", "--loop"}},
        {"VRAXSetFileLoop", {"play", "--loop"}},
        {"VRAXSetPacingPulseMode", {"play", "--pacing-mode"}},
        {"VRAXSetPacingAmplitude", {"play", "--pacing"}},
        {"VRAXSetPacingDuration", {"play", "--pacing-duration"}},
        {"VRAXSetPacingRate", {"play", "--pacing-rate"}},
        {"VRAXSetPacingRateSynchronized", {"replay"}},
        {"VRAXSetOvershootTimeConstant", {"play", "--overshoot-time"}},
        {"VRAXSetOvershootAmplitude", {"play", "--overshoot"}},
        {"VRAXSetBaselineResetTest", {"play", "baseline-reset"}},
        {"VRAXSetECG2_27_Noise", {"play", "--noise"}},
        {"VRAXSetNSTNoise", {"play", "--stress-noise"}},
        {"VRAXSetECG2_27_AAMIDriftTest", {"play", "--drift"}},
        {"VRAXSetECG2_27_AAMIDriftTestAmplitude", {"play", "--drift-amplitude"}},
        {"VRAXSetECG2_27_AAMIDriftTestFrequency", {"play", "--drift-frequency"}},
        {"VRAXSetDynamicRangeTest", {"play", "range-triangle"}},
        {"VRAXSetFrequencyScanSine", {"play", "scan-sine"}},
        {"VRAXSetFrequencyScanECG", {"play", "scan-ecg"}},
        {"VRAXSetLeadOff", {"play", "--lead-off"}},
        {"VRAXMeasureRLD", {"play", "--rld"}},
        {"VRAXSetRespiration", {"play", "--impedance"}},
        {"VRAXEnableRespiration", {"play", "--impedance"}},
        {"VRAXSetCalibrationRespiration", {"play", "--impedance-hold"}},
        {"VRAXSetRespirationRawData", {"play", "--impedance-file"}},
        {"VRAXSetRespirationAlgorithm", {"play", "--breathing-rate"}},
        {"VRAXDisableRespireAlgorithm", {"replay"}},
        {"VRAXReset", {"replay"}},
        {"VRAXResetAllLeadOff", {"replay"}},
        {"VRAXExternalRespiratorySetBaseline", {"play", "--module-baseline"}},
        {"VRAXExternalRespiratorySetDAC", {"play", "--module-code1"}},
        {"VRAXExternalRespiratorySetBaselineDAC", {"play", "--module-baseline-code"}},
        {"VRAXExternalRespiratorySetAmplitudeByResistance", {"play", "--module-resistance"}},
        {"SetPPGWaveform", {"play", "--ppg1-notch"}},
        {"VRAXSetPPGStandardWaveform", {"play", "--ppg1"}},
        {"VRAXSetPPGStandardWaveformEx", {"play", "--ppg2"}},
        {"VRAXSetPPGRawData", {"play", "--ppg1-file"}},
        {"VRAXSetPTTp", {"play", "--ppg-transit-time"}},
        {"VRAXSetPPGRespirationAlgorithm", {"play", "--ppg-breathing-baseline"}},
        {"VRAXEnablePPGOutput", {"play", "--ppg1"}},
        {"SetPPGTriggerLevel", {"play", "--trigger-level1"}},
        {"ResetPPGTriggerLevel", {"play", "--trigger-levels"}},
        {"SetPPGLedLevel", {"play", "--led-level1"}},
        {"ResetPPGLedLevel", {"play", "--led-levels"}},
        {"VRAXEnableDynamicLEDStrength", {"play", "--dynamic-strength"}},
        {"SetDynamicLight", {"play", "--dynamic-light"}},
        {"VRAXSetLEDAmbientLightMode", {"play", "--ambient-light"}},
        {"VRAXWriteLEDPulseGroupSetting", {"play", "--pulse-groups"}},
        {"SetDcDac", {"play", "--dc-code"}},
        {"PlayFixedDCByDAC", {"play", "fixed-dc"}},
        {"VRAXSetSynchronizationSignal", {"play", "--wait-for-line"}},
        {"VRAXSetSampleRate", {"play", "--sample-rate"}},
        {"EnableSaveLog", {"play", "--log"}},
        {"DisableSaveLog", {"play", "--log"}},
        {"EnableRecordRaw", {"render", "--output"}},
        {"DisableRecordRaw", {"render", "--output"}},
    };
    return functions;
}

constexpr char kManufacture[] = "writes what manufacture writes once, and can lose it";
constexpr char kProcess[] = "a process that plays once has nothing to take back";
constexpr char kOtherForm[] = "another form of a call that is reached";

const std::map<std::string, const char*>& Exceptions()
{
    static const std::map<std::string, const char*> reasons = {
        {"VRAXSetDeviceInformation", kManufacture},
        {"VRAXSetHWInformation", kManufacture},
        {"VRAXWriteMfgInfo", kManufacture},
        {"VRAXWriteRespirationRWA", kManufacture},
        {"VRAXExternalRespiratoryWriteRDAC3", kManufacture},
        {"VRAXWriteRespirationBaselineDACTable", kManufacture},
        {"VRAXResetEx", kProcess},
        {"VRAXClearPPGWaveform", kProcess},
        {"ClearRawArray", kProcess},
        {"ClearCalibrationCache", "removes a file, which a shell does as well"},
        {"SetAllOutputLead", kOtherForm},
        {"SetDCOffsetCommoneMode", kOtherForm},
        {"VRAXApplyPacing", "selecting the signal sends the same"},
        {"SetRawArray", "samples in memory; a file has them here"},
        {"VRAXSetDeviceHandle", "a port that the application has opened itself"},
        {"VRAXEnablePPGSampling", "reads the photodiodes, sets nothing that plays"},
        {"VRAXDisablePPGSampling", "reads the photodiodes, sets nothing that plays"},
    };
    return reasons;
}

// Those whose names say that they set something.
std::set<std::string> Setters()
{
    const std::string header = ReadWholeFile(VRAX_HEADER);
    const std::regex declaration("\nVRAX_API[^;(]*?(\\w+)\\(");
    const std::regex setter(
        "(VRAX)?(ExternalRespiratory)?"
        "(Set|Enable|Disable|Configure|Write|Measure|Reset|Apply|Clear|Play).*");
    std::set<std::string> names;
    for (std::sregex_iterator at(header.begin(), header.end(), declaration), end; at != end; ++at) {
        if (std::regex_match((*at)[1].str(), setter)) names.insert((*at)[1]);
    }
    return names;
}

// The words of a help or a list: options, commands and signals.
std::set<std::string> WordsOf(const std::string& arguments)
{
    std::string text = RunVrax(arguments).output;
    for (char& symbol : text) {
        if (symbol == ',') symbol = ' ';
    }
    std::istringstream stream(text);
    std::set<std::string> words;
    for (std::string word; stream >> word;) words.insert(word);
    return words;
}

}  // namespace

TEST(Reach, EverySetterOfTheHeaderIsReachedOrHasAReason)
{
    const std::set<std::string> setters = Setters();
    ASSERT_GT(setters.size(), 90U);
    for (const std::string& name : setters) {
        EXPECT_NE(ReachedFunctions().contains(name), Exceptions().contains(name)) << name;
    }
    for (const auto& [name, by] : ReachedFunctions()) EXPECT_TRUE(setters.contains(name)) << name;
    for (const auto& [name, why] : Exceptions()) EXPECT_TRUE(setters.contains(name)) << name;
}

TEST(Reach, ThePlacesExist)
{
    std::map<std::string, std::set<std::string>> words;
    for (const auto& [name, reached] : ReachedFunctions()) {
        const std::string command = reached.command;
        if (!words.contains(command)) {
            words[command] = WordsOf(command + " --help");
            if (command == "play") words[command].merge(WordsOf("play --list-functions"));
        }
        const std::string by = reached.by;
        EXPECT_TRUE(by.empty() || words[command].contains(by)) << name << ": " << by;
    }
}

TEST(Reach, TheProgramCallsThem)
{
    const CommandOutcome symbols = RunCommand(VRAX_NM " -D --undefined-only " VRAX_PROGRAM);
    ASSERT_EQ(symbols.status, 0) << symbols.output;
    for (const auto& [name, reached] : ReachedFunctions()) {
        EXPECT_TRUE(std::regex_search(symbols.output, std::regex(" U " + name + "\\b"))) << name;
    }
}
