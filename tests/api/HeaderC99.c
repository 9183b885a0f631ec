/*
 * The public header read by a C99 compiler, and once more by the C++ compiler (ExportsTest.cpp
 * includes this file): every function has its address taken, so a name that the header declares
 * and the library lacks does not link, and the records have the sizes that callers rely on.
 */
#include "vrax.h"

typedef void (*HeaderFunction)(void);

typedef struct HeaderEntry {
    const char* name;
    HeaderFunction function;
} HeaderEntry;

#ifndef HEADER_TABLE
#define HEADER_TABLE g_headerC99
#define HEADER_TABLE_SIZE g_headerC99Size
extern const HeaderEntry g_headerC99[];
extern const size_t g_headerC99Size;
#endif

#define ENTRY(function)                     \
    {                                       \
#function, (HeaderFunction)function \
    }

const HeaderEntry HEADER_TABLE[] = {
    ENTRY(VRAXInit),
    ENTRY(VRAXConnect),
    ENTRY(VRAXFree),
    ENTRY(VRAXIsConnected),
    ENTRY(VRAXIsPPGConnected),
    ENTRY(SetDeviceTimeoutSetting),
    ENTRY(VRAXGetDeviceHandle),
    ENTRY(VRAXSetDeviceHandle),

    ENTRY(VRAXGetDeviceInformation),
    ENTRY(VRAXGetPPGDeviceInformation),
    ENTRY(VRAXGetHWInformation),
    ENTRY(VRAXGetPPGHWInformation),
    ENTRY(VRAXGetSerialNumber),
    ENTRY(VRAXGetPPGSerialNumber),
    ENTRY(VRAXGetFWVersion),
    ENTRY(GetPPGFwVersion),
    ENTRY(GetFWMainVer),
    ENTRY(GetPPGFwMainVer),
    ENTRY(VRAXGetHWVersion),
    ENTRY(VRAXGetUSBBusVoltage),
    ENTRY(VRAXSetDeviceInformation),
    ENTRY(VRAXSetHWInformation),
    ENTRY(VRAXReadMfgInfo),
    ENTRY(VRAXWriteMfgInfo),
    ENTRY(VRAXGetDeviceFeature),
    ENTRY(VRAXEnableFPGASampling),
    ENTRY(VRAXConfigureTransmissionRate),
    ENTRY(VRAXGetTransmissionRate),

    ENTRY(SetCalibrationDataPath),
    ENTRY(SaveCalibrationData),
    ENTRY(LoadCalibrationData),
    ENTRY(GetCalibrationCache),
    ENTRY(GetCalibrationCacheEx),
    ENTRY(ClearCalibrationCache),
    ENTRY(ValidateDCCalibrationData),
    ENTRY(ReadDCCalibrationData),
    ENTRY(WriteDCCalibrationData),
    ENTRY(ClearDCCalibrationData),
    ENTRY(GetPPGDCTable),

    ENTRY(LoadFirmwareFile),
    ENTRY(BurnFirmware),
    ENTRY(LoadMcuFile),
    ENTRY(BurnMcu),

    ENTRY(VRAXSetOutputFunction),
    ENTRY(VRAXGetOutputFunction),
    ENTRY(VRAXIsPlaying),
    ENTRY(VRAXSetOutputLead),
    ENTRY(VRAXGetOutputLead),
    ENTRY(SetAllOutputLead),
    ENTRY(GetAllOutputLead),
    ENTRY(VRAXEnableECGOutput),
    ENTRY(VRAXEnableACAboveDC),
    ENTRY(VRAXReset),
    ENTRY(VRAXResetAllLeadOff),
    ENTRY(VRAXResetEx),

    ENTRY(VRAXSetAmplitude),
    ENTRY(VRAXGetAmplitude),
    ENTRY(VRAXSetFrequency),
    ENTRY(VRAXGetFrequency),
    ENTRY(VRAXSetDCOffset),
    ENTRY(VRAXGetDCOffset),
    ENTRY(VRAXSetDCOffsetVariableMode),
    ENTRY(VRAXGetDCOffsetVariableMode),
    ENTRY(VRAXSetDCOffsetCommonMode),
    ENTRY(VRAXGetDCOffsetCommonMode),
    ENTRY(SetDCOffsetCommoneMode),
    ENTRY(VRAXSetPulseWidth),
    ENTRY(VRAXGetPulseWidth),
    ENTRY(VRAXSetInputImpedanceMode),
    ENTRY(VRAXGetInputImpedanceMode),
    ENTRY(VRAXSetQRSDuration),
    ENTRY(VRAXGetQRSDuration),
    ENTRY(VRAXSetTWave),
    ENTRY(VRAXGetTWave),
    ENTRY(VRAXSetPDuration),
    ENTRY(VRAXGetPDuration),
    ENTRY(VRAXSetPRInterval),
    ENTRY(VRAXGetPRInterval),
    ENTRY(VRAXSetQTInterval),
    ENTRY(VRAXGetQTInterval),
    ENTRY(VRAXSetPWave),
    ENTRY(VRAXGetPWave),
    ENTRY(VRAXSetSTDeviation),
    ENTRY(VRAXGetSTDeviation),
    ENTRY(VRAXSetCustomizedTDuration),
    ENTRY(VRAXGetCustomizedTDuration),
    ENTRY(VRAXSetSpecialWave227),
    ENTRY(VRAXGetSpecialWave227),
    ENTRY(VRAXSetSpecialWave251),
    ENTRY(VRAXGetSpecialWave251),
    ENTRY(VRAXSetSpecialWave247),
    ENTRY(VRAXGetSpecialWave247),
    ENTRY(VRAXSetANE20000Lead),
    ENTRY(VRAXGetANE20000Lead),

    ENTRY(VRAXSetSpecialWaveformLoop),
    ENTRY(GetSpecialWave227Array),
    ENTRY(GetSpecialWave251Array),
    ENTRY(GetSpecialWave247Array),
    ENTRY(GetRRAvg),
    ENTRY(GetRRDev),
    ENTRY(GetHRVFreq),
    ENTRY(GetIEC47RawPoint),
    ENTRY(DumpIEC227Waveform),
    ENTRY(DumpIEC251Waveform),
    ENTRY(DumpIEC247Waveform),
    ENTRY(DumpStandardWaveform),

    ENTRY(VRAXSetPacingPulseMode),
    ENTRY(VRAXGetPacingPulseMode),
    ENTRY(VRAXSetPacingAmplitude),
    ENTRY(VRAXGetPacingAmplitude),
    ENTRY(VRAXSetPacingDuration),
    ENTRY(VRAXGetPacingDuration),
    ENTRY(VRAXSetPacingRate),
    ENTRY(VRAXGetPacingRate),
    ENTRY(VRAXSetPacingRateSynchronized),
    ENTRY(VRAXSetOvershootTimeConstant),
    ENTRY(VRAXGetOvershootTimeConstant),
    ENTRY(VRAXSetOvershootAmplitude),
    ENTRY(VRAXGetOvershootAmplitude),
    ENTRY(VRAXApplyPacing),

    ENTRY(VRAXSetBaselineResetTest),
    ENTRY(VRAXGetBaselineResetTest),
    ENTRY(VRAXSetECG2_27_Noise),
    ENTRY(VRAXGetECG2_27_NoiseFreq),
    ENTRY(VRAXGetECG2_27_NoiseAmp),
    ENTRY(VRAXSetNSTNoise),
    ENTRY(VRAXSetECG2_27_AAMIDriftTest),
    ENTRY(VRAXGetECG2_27_AAMIDriftTest),
    ENTRY(VRAXSetECG2_27_AAMIDriftTestAmplitude),
    ENTRY(VRAXGetECG2_27_AAMIDriftTestAmplitude),
    ENTRY(VRAXSetECG2_27_AAMIDriftTestFrequency),
    ENTRY(VRAXGetECG2_27_AAMIDriftTestFrequency),
    ENTRY(VRAXSetDynamicRangeTest),
    ENTRY(VRAXGetDynamicRangeTest),
    ENTRY(VRAXGetDynamicRangeTestAmplitude),
    ENTRY(VRAXGetDynamicRangeTestFrequency),
    ENTRY(VRAXSetFrequencyScanSine),
    ENTRY(VRAXGetFrequencyScanSine),
    ENTRY(VRAXGetFrequencyScanSineStartFrequency),
    ENTRY(VRAXGetFrequencyScanSineStopFrequency),
    ENTRY(VRAXGetFrequencyScanSineDuration),
    ENTRY(VRAXSetFrequencyScanECG),
    ENTRY(VRAXGetFrequencyScanECG),

    ENTRY(VRAXSetLeadOff),
    ENTRY(VRAXMeasureRLD),
    ENTRY(VRAXReadRLD),

    ENTRY(VRAXSetRespiration),
    ENTRY(VRAXSetCalibrationRespiration),
    ENTRY(VRAXEnableRespiration),
    ENTRY(VRAXSetRespirationAlgorithm),
    ENTRY(VRAXDisableRespireAlgorithm),
    ENTRY(VRAXSetRespirationRawData),
    ENTRY(VRAXRespirationModuleIsConnected),
    ENTRY(VRAXExternalRespiratorySetBaseline),
    ENTRY(VRAXExternalRespiratorySetDAC),
    ENTRY(VRAXExternalRespiratorySetBaselineDAC),
    ENTRY(VRAXExternalRespiratorySetAmplitudeByResistance),
    ENTRY(VRAXWriteRespirationRWA),
    ENTRY(VRAXExternalRespiratoryWriteRDAC3),
    ENTRY(VRAXWriteRespirationBaselineDACTable),
    ENTRY(ExtRespGetBaselineDAC),
    ENTRY(ExtRespGetAmplitudeDAC),

    ENTRY(SetPPGWaveform),
    ENTRY(VRAXSetPPGStandardWaveform),
    ENTRY(VRAXSetPPGStandardWaveformEx),
    ENTRY(VRAXSetPPGRawData),
    ENTRY(VRAXClearPPGWaveform),
    ENTRY(VRAXSetPTTp),
    ENTRY(VRAXSetPPGRespirationAlgorithm),
    ENTRY(VRAXEnablePPGOutput),

    ENTRY(SetPPGTriggerLevel),
    ENTRY(GetPPGTriggerLevel),
    ENTRY(ResetPPGTriggerLevel),
    ENTRY(SetPPGLedLevel),
    ENTRY(ResetPPGLedLevel),
    ENTRY(GetAutoTriggerLevelStatus),
    ENTRY(VRAXEnableDynamicLEDStrength),
    ENTRY(SetDynamicLight),
    ENTRY(VRAXSetLEDAmbientLightMode),
    ENTRY(VRAXGetLEDAmbientLightMode),
    ENTRY(VRAXReadLEDPulseGroupSetting),
    ENTRY(VRAXWriteLEDPulseGroupSetting),
    ENTRY(GetPDStatus),
    ENTRY(VRAXGetFPGAReport),
    ENTRY(VRAXEnablePPGSampling),
    ENTRY(VRAXDisablePPGSampling),
    ENTRY(VRAXStartPPGSampling),
    ENTRY(VRAXStopPPGSampling),
    ENTRY(VRAXRegisterOutputPPGCallback),

    ENTRY(SetDcDac),
    ENTRY(PlayFixedDCByDAC),

    ENTRY(VRAXRegisterOutputSignalCallback),
    ENTRY(VRAXRegisterPacingOutputSignalCallback),
    ENTRY(VRAXRegisterSyncFrequencyCB),
    ENTRY(VRAXRegisterSyncDCOffsetCB),
    ENTRY(VRAXRegisterSyncMainFunctionCB),
    ENTRY(RegisterStandardWaveformCB),
    ENTRY(RegisterBaselineResetCB),

    ENTRY(VRAXCreateSynchronizationSignal),
    ENTRY(VRAXSetSynchronizationSignal),
    ENTRY(VRAXSynchronizationSignalSetEvent),
    ENTRY(VRAXSynchronizationSignalResetEvent),

    ENTRY(CheckECGTxtChannel),
    ENTRY(VRAXLoadECGtxt),
    ENTRY(LoadECGBin),
    ENTRY(LoadECGAHA),
    ENTRY(VRAXLoadECGedf),
    ENTRY(VRAXLoadECGdat),

    ENTRY(SetRawArray),
    ENTRY(ClearRawArray),
    ENTRY(GetFileArray),
    ENTRY(GetRawDataArrayEx),
    ENTRY(VRAXSetFileLoop),
    ENTRY(VRAXSetSampleRate),
    ENTRY(VRAXGetSampleRate),
    ENTRY(VRAXGetSDKVersion),

    ENTRY(EnableSaveLog),
    ENTRY(DisableSaveLog),
    ENTRY(GetSaveLogPath),
    ENTRY(EnableRecordRaw),
    ENTRY(DisableRecordRaw),
    ENTRY(DumpRawData),
};

const size_t HEADER_TABLE_SIZE = sizeof(HEADER_TABLE) / sizeof(HEADER_TABLE[0]);

/* A size or offset that is wrong makes an array of -1 elements. */
#define CHECK(name, condition) typedef char Check##name[(condition) ? 1 : -1]
CHECK(ModelSize, sizeof(MODEL_INFORMATION) == 24);
CHECK(ModelSequence, offsetof(MODEL_INFORMATION, sequenceNumber) == 4);
CHECK(ModelLot, offsetof(MODEL_INFORMATION, yearOrLot) == 8);
CHECK(ModelLeds, offsetof(MODEL_INFORMATION, ledTypes) == 12);
CHECK(LedSize, sizeof(LEDType) == 4);
CHECK(HardwareSize, sizeof(VRAXHardwareInformation) == 24);
CHECK(HardwareMajor, offsetof(VRAXHardwareInformation, hardwareMajor) == 16);
CHECK(FeatureSize, sizeof(VRAXDeviceFeature) == 80);
CHECK(FeaturePhotodiodes, offsetof(VRAXDeviceFeature, photodiodeChannels) == 12);
CHECK(FeatureAcMin, offsetof(VRAXDeviceFeature, ppgAcMin) == 24);
CHECK(FeatureDcMax, offsetof(VRAXDeviceFeature, ppgDcMax) == 48);
CHECK(FeatureLastCell, offsetof(VRAXDeviceFeature, reserved9) == 72);
CHECK(PulseSize, sizeof(PPG_WAVEFORM) == 128);
CHECK(PulseTimes, offsetof(PPG_WAVEFORM, t1) == 56);
CHECK(PulseCycles, offsetof(PPG_WAVEFORM, variationCycles) == 112);
CHECK(BoolSize, sizeof(bool) == 1);
CHECK(LastStage, BURN_ERASE == 1 && BURN_FINISHED == 6);
CHECK(LastFunction, OUTPUT_YY1079_DYNAMIC_RANGE == 10000 && OUTPUT_ANE20000 == 17);
