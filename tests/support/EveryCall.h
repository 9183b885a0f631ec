// Every setter and getter of the public header, for tests that only want them called.
#pragma once

#include <functional>
#include <iterator>
#include <vector>

#include "vrax.h"

using Calls = std::vector<std::function<void()>>;

// The setters that take numbers. `value` goes through where it is a NaN, and is one of each range
// otherwise.
inline Calls NumberSetters(double value)
{
    return {
        [=] { VRAXSetAmplitude(value); },
        [=] { VRAXSetFrequency(value); },
        [=] { VRAXSetPulseWidth(value * 50); },
        [=] { VRAXSetQRSDuration(value * 50); },
        [=] { VRAXSetTWave(value); },
        [=] { VRAXSetPDuration(value * 50); },
        [=] { VRAXSetPRInterval(value * 50); },
        [=] { VRAXSetQTInterval(value * 150); },
        [=] { VRAXSetPWave(value); },
        [=] { VRAXSetSTDeviation(value); },
        [=] { VRAXSetCustomizedTDuration(value * 150); },
        [=] { VRAXSetPacingAmplitude(value * 10); },
        [=] { VRAXSetPacingDuration(value); },
        [=] { VRAXSetOvershootAmplitude(value); },
        [=] { VRAXSetECG2_27_Noise(50, value); },
        [=] { VRAXSetECG2_27_AAMIDriftTestAmplitude(value); },
        [=] { VRAXSetECG2_27_AAMIDriftTestFrequency(value); },
        [=] { VRAXExternalRespiratorySetAmplitudeByResistance(value * 50); },
        [=] { VRAXWriteRespirationRWA(value * 60, value * 60, value * 80, value); },
        [=] {
            unsigned short codes[3];
            ExtRespGetAmplitudeDAC(value * 50, codes);
        },
    };
}

// The setters that take whole numbers and flags; none of them switches the output.
inline Calls FlagSetters(int value)
{
    const bool on = value % 2 != 0;
    return {
        [=] { VRAXSetDCOffset(value); },
        [=] { VRAXSetDCOffsetVariableMode(on); },
        [=] { VRAXSetDCOffsetCommonMode(on); },
        [=] { SetDCOffsetCommoneMode(value); },
        [=] { VRAXSetOutputLead(value % 9, on); },
        [=] { SetAllOutputLead(static_cast<unsigned>(value) & 0x1FF); },
        [=] { VRAXSetInputImpedanceMode(on); },
        [=] { VRAXEnableECGOutput(value % 3 != 0); },
        [=] { VRAXEnableACAboveDC(on); },
        [=] { VRAXSetSpecialWave227(value); },
        [=] { VRAXSetSpecialWave251(value); },
        [=] { VRAXSetSpecialWave247(value); },
        [=] { VRAXSetANE20000Lead(value % 9); },
        [=] { VRAXSetPacingPulseMode(value % 2); },
        [=] { VRAXSetPacingRate(static_cast<unsigned>(60 + value % 60)); },
        [=] { VRAXSetPacingRateSynchronized(); },
        [=] { VRAXSetOvershootTimeConstant(static_cast<unsigned>(value % 100)); },
        [=] { VRAXApplyPacing(); },
        [=] { VRAXSetECG2_27_AAMIDriftTest(on); },
        [=] { SetDcDac(value * 100); },
        [] { VRAXSetSpecialWaveformLoop(1); },
        [=] { VRAXSetNSTNoise(value % 4, 1.0); },
        [=] { VRAXSetLeadOff(value % 4); },
        [=] { VRAXMeasureRLD(on); },
        [] {
            double first = 0.0;
            double second = 0.0;
            VRAXReadRLD(&first, &second);
        },
        [=] { VRAXEnableRespiration(value % 2); },
        [=] { VRAXSetRespiration(1000, 15 + value % 10, 2, 500, value % 3); },
        [=] { VRAXSetCalibrationRespiration(100 * value, 1000); },
        [=] { VRAXSetRespirationAlgorithm(15, 1 + value % 5, 0, 10, 10, 10); },
        [] { VRAXDisableRespireAlgorithm(); },
        [] {
            const double ohms[] = {0.0, 0.5, 1.0};
            VRAXSetRespirationRawData(ohms, 3, 100);
        },
        [] { VRAXRespirationModuleIsConnected(); },
        [=] { VRAXExternalRespiratorySetBaseline(value % 12, 0); },
        [=] {
            const auto code = static_cast<unsigned>(value);
            VRAXExternalRespiratorySetDAC(code, code, code, code);
            VRAXExternalRespiratorySetBaselineDAC(code);
        },
        [] { VRAXExternalRespiratoryWriteRDAC3(nullptr); },
        [] { VRAXWriteRespirationBaselineDACTable(nullptr); },
        [=] { ExtRespGetBaselineDAC(value); },
        [=] { VRAXSetPPGStandardWaveform(value % 4, value % 5, 1, value % 2, 1.0, 1000, 10); },
        [=] { VRAXSetPPGStandardWaveformEx(0, 3, 1, 0, 1, 0, 2, 1, 1, 1000, 10, 2, 900, 5); },
        [=] {
            const double samples[] = {1.0, 2.0, 3.0};
            VRAXSetPPGRawData(value % 4, 1, value % 2, 3, samples, samples, 100.0);
        },
        [=] { SetPPGWaveform(value % 4, nullptr); },
        [=] { VRAXClearPPGWaveform(value % 4); },
        [=] { VRAXSetPTTp(value); },
        [=] { VRAXSetPPGRespirationAlgorithm(value % 101, value % 7, value % 11); },
        [=] { VRAXEnablePPGOutput(value % 4, false); },
        [=] { VRAXSetFileLoop(value); },
        [=] { VRAXSetSampleRate(20000); },
        [=] { VRAXConfigureTransmissionRate(value % 6); },
        [=] { VRAXEnableFPGASampling(on); },
        [=] { SetDeviceTimeoutSetting(1000, 200); },
    };
}

// What switches the output function, some of it after a wait.
inline Calls OutputSetters(int value)
{
    constexpr int kFunctions[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 14, 15, 16, 17, 10000};
    const int function = kFunctions[static_cast<std::size_t>(value) % std::size(kFunctions)];
    return {
        [=] { VRAXSetOutputFunction(function); },
        [] { VRAXSetDynamicRangeTest(true, true, 1.0, 40.0); },
        [] { VRAXSetFrequencyScanSine(true, 10, 10.0, 20.0); },
        [] { VRAXSetFrequencyScanECG(true); },
        [=] { VRAXSetBaselineResetTest(value % 5); },
        [] { VRAXSetBaselineResetTest(0); },
        [] { VRAXSetOutputFunction(OUTPUT_OFF); },
        [] { VRAXSetFrequencyScanSine(false, 30, 0.67, 150.0); },
        [] { VRAXSetFrequencyScanECG(false); },
        [] { VRAXSetDynamicRangeTest(false, true, 1.0, 40.0); },
        [=] { PlayFixedDCByDAC(static_cast<unsigned>(value) * 100U); },
        [=] { VRAXSetOutputFunction(function); },
        [] { VRAXResetEx(); },
        [] { VRAXResetAllLeadOff(); },
        [] { VRAXReset(); },
        [=] { VRAXSetOutputFunction(function); },
    };
}

inline Calls CallbackSetters()
{
    return {
        [] { VRAXRegisterOutputSignalCallback([](double, double) {}, 40); },
        [] { VRAXRegisterPacingOutputSignalCallback([](double, double) {}); },
        [] { VRAXRegisterSyncFrequencyCB([](double, double) {}); },
        [] { VRAXRegisterSyncDCOffsetCB([](int, double, double) {}); },
        [] { VRAXRegisterSyncMainFunctionCB([](int, double) {}); },
        [] { RegisterStandardWaveformCB([](double, double) {}); },
        [] { RegisterBaselineResetCB([](int) {}); },
        [] { VRAXRegisterOutputSignalCallback(nullptr, 0); },
        [] { VRAXRegisterPacingOutputSignalCallback(nullptr); },
        [] { VRAXRegisterSyncFrequencyCB(nullptr); },
        [] { VRAXRegisterSyncDCOffsetCB(nullptr); },
        [] { VRAXRegisterSyncMainFunctionCB(nullptr); },
        [] { RegisterStandardWaveformCB(nullptr); },
        [] { RegisterBaselineResetCB(nullptr); },
    };
}

// The PPG module's light and photodiodes; none of them starts or stops sampling.
inline Calls SensorCalls(int value)
{
    return {
        [=] { SetPPGTriggerLevel(1 + value % 3, value % 256); },
        [=] { GetPPGTriggerLevel(1 + value % 3); },
        [] { ResetPPGTriggerLevel(); },
        [=] { SetPPGLedLevel(1 + value % 3, value % 256); },
        [] { ResetPPGLedLevel(); },
        [] {
            uint16_t status[5];
            GetAutoTriggerLevelStatus(status);
        },
        [=] { VRAXEnableDynamicLEDStrength(value % 2 != 0); },
        [=] { SetDynamicLight(value % 2); },
        [=] { VRAXSetLEDAmbientLightMode(value % 15); },
        [] { VRAXGetLEDAmbientLightMode(); },
        [] {
            uint16_t groups[5] = {};
            VRAXReadLEDPulseGroupSetting(groups);
            VRAXWriteLEDPulseGroupSetting(groups);
        },
        [] {
            uint32_t v[6];
            GetPDStatus(&v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
        },
        [] {
            double report[18];
            VRAXGetFPGAReport(report);
        },
        [=] { VRAXRegisterOutputPPGCallback(value % 4, [](double, double) {}); },
        [=] { VRAXRegisterOutputPPGCallback(value % 4, nullptr); },
    };
}

inline Calls ParameterGetters()
{
    return {
        [] { VRAXGetOutputFunction(); },
        [] { VRAXIsPlaying(); },
        [] { VRAXGetOutputLead(3); },
        [] { GetAllOutputLead(); },
        [] { VRAXGetAmplitude(); },
        [] { VRAXGetFrequency(); },
        [] { VRAXGetDCOffset(); },
        [] { VRAXGetDCOffsetVariableMode(); },
        [] { VRAXGetDCOffsetCommonMode(); },
        [] { VRAXGetPulseWidth(); },
        [] { VRAXGetInputImpedanceMode(); },
        [] { VRAXGetQRSDuration(); },
        [] { VRAXGetTWave(); },
        [] { VRAXGetPDuration(); },
        [] { VRAXGetPRInterval(); },
        [] { VRAXGetQTInterval(); },
        [] { VRAXGetPWave(); },
        [] { VRAXGetSTDeviation(); },
        [] { VRAXGetCustomizedTDuration(); },
        [] { VRAXGetSpecialWave227(); },
        [] { VRAXGetSpecialWave251(); },
        [] { VRAXGetSpecialWave247(); },
        [] { VRAXGetANE20000Lead(); },
        [] { VRAXGetPacingPulseMode(); },
        [] { VRAXGetPacingAmplitude(); },
        [] { VRAXGetPacingDuration(); },
        [] { VRAXGetPacingRate(); },
        [] { VRAXGetOvershootTimeConstant(); },
        [] { VRAXGetOvershootAmplitude(); },
        [] { VRAXGetBaselineResetTest(); },
        [] { VRAXGetECG2_27_NoiseFreq(); },
        [] { VRAXGetECG2_27_NoiseAmp(); },
        [] { VRAXGetECG2_27_AAMIDriftTest(); },
        [] { VRAXGetECG2_27_AAMIDriftTestAmplitude(); },
        [] { VRAXGetECG2_27_AAMIDriftTestFrequency(); },
        [] { VRAXGetDynamicRangeTest(); },
        [] { VRAXGetDynamicRangeTestAmplitude(); },
        [] { VRAXGetDynamicRangeTestFrequency(); },
        [] { VRAXGetFrequencyScanSine(); },
        [] { VRAXGetFrequencyScanSineStartFrequency(); },
        [] { VRAXGetFrequencyScanSineStopFrequency(); },
        [] { VRAXGetFrequencyScanSineDuration(); },
        [] { VRAXGetFrequencyScanECG(); },
        [] { VRAXGetSampleRate(); },
        [] { VRAXGetSDKVersion(); },
    };
}

inline Calls InstrumentGetters()
{
    return {
        [] { VRAXIsConnected(); },
        [] { VRAXIsPPGConnected(); },
        [] { VRAXGetDeviceHandle(); },
        [] {
            MODEL_INFORMATION info;
            VRAXGetDeviceInformation(&info);
            VRAXGetPPGDeviceInformation(&info);
        },
        [] {
            VRAXHardwareInformation info;
            VRAXGetHWInformation(&info);
            VRAXGetPPGHWInformation(&info);
        },
        [] { VRAXGetSerialNumber(); },
        [] { VRAXGetPPGSerialNumber(); },
        [] { VRAXGetFWVersion(); },
        [] { GetPPGFwVersion(); },
        [] { GetFWMainVer(); },
        [] { GetPPGFwMainVer(); },
        [] { VRAXGetHWVersion(); },
        [] { VRAXGetUSBBusVoltage(); },
        [] {
            VRAXDeviceFeature feature;
            VRAXGetDeviceFeature(&feature);
        },
        [] {
            unsigned a = 0;
            unsigned b = 0;
            VRAXGetTransmissionRate(1, &a, &b);
        },
        [] { ValidateDCCalibrationData(); },
        [] {
            unsigned char words[64];
            GetPPGDCTable(0, words, sizeof words);
        },
        [] { GetSaveLogPath(); },
    };
}

// The loaders of recordings, with one path for every file.
inline Calls RecordLoaders(const char* path)
{
    return {
        [=] {
            char* names[1] = {};
            CheckECGTxtChannel(path, names);
        },
        [=] { VRAXLoadECGtxt(path, 0); },
        [=] { LoadECGBin(path); },
        [=] { LoadECGAHA(path, 0); },
        [=] { VRAXLoadECGedf(path, 0); },
        [=] { VRAXLoadECGdat(path, path, 0); },
    };
}

// The loaders of programs, with one path for every file.
inline Calls ImageLoaders(const char* path)
{
    return {
        [=] {
            int version[4];
            LoadFirmwareFile(path, &version[0], &version[1], &version[2], &version[3]);
        },
        [=] {
            int version[4];
            LoadMcuFile(path, &version[0], &version[1], &version[2], &version[3]);
        },
    };
}

// Nothing is touched where no image is loaded, or at the first callback.
inline Calls CancelledBurns()
{
    return {
        [] { BurnFirmware([](int, int) { return 1; }); },
        [] { BurnMcu([](int, int) { return 1; }); },
    };
}

inline void CallAll(const Calls& calls)
{
    for (const auto& call : calls) call();
}
