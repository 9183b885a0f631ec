// Selecting what is played, the tests that switch it themselves, and the resets.

#include <optional>

#include "api/Setters.h"
#include "device/LineState.h"
#include "ppg/Channels.h"
#include "streaming/Change.h"
#include "streaming/OutputSelection.h"
#include "streaming/Playback.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/Protocol.h"
#include "synthesis/Relays.h"
#include "synthesis/Respiration.h"
#include "synthesis/TestSignals.h"
#include "vrax.h"

namespace {
constexpr unsigned kBaselineTestPauseMs = 100;
constexpr unsigned kFixedDCPauseMs = 20;
constexpr int kDacCodes = 65536;

constexpr double kDefaultScanStart = 0.67;
constexpr double kDefaultScanStop = 150.0;
constexpr int kDefaultScanSeconds = 30;

// Calls the setter only where the parameter differs, so that one at its default writes no log line.
template <class T, class Setter>
void ResetTo(T current, T standard, Setter set)
{
    if (current != standard) set(standard);
}

void ResetNoiseAndDrift()
{
    constexpr double kNoiseAmplitude = 0.1;
    constexpr double kDriftFrequency = 0.1;
    if (g_MainNoise != 0 || g_MainsNoiseAmp != kNoiseAmplitude) {
        VRAXSetECG2_27_Noise(0, kNoiseAmplitude);
    }
    if (g_AAMIDriftTest || g_AAMIDriftTestAmp != kDefaultDriftAmplitude ||
        g_AAMIDriftTestWaveLen != kDefaultDriftWaveLength) {
        VRAXSetECG2_27_AAMIDriftTest(false);
        VRAXSetECG2_27_AAMIDriftTestAmplitude(kDefaultDriftAmplitude);
        VRAXSetECG2_27_AAMIDriftTestFrequency(kDriftFrequency);
    }
}

void ResetTests()
{
    constexpr double kAmplitude = 1.0;
    constexpr double kFrequency = 40.0;
    if (g_DynamicRangeTest || !g_DynamicRangeTriangle || g_ADynamicRange != kAmplitude ||
        g_FDynamicRange != kFrequency) {
        VRAXSetDynamicRangeTest(false, true, kAmplitude, kFrequency);
    }
    if (g_FreqScan1 || g_Fduration != kDefaultScanSeconds || g_Fstart != kDefaultScanStart ||
        g_Ffinal != kDefaultScanStop) {
        VRAXSetFrequencyScanSine(false, kDefaultScanSeconds, kDefaultScanStart, kDefaultScanStop);
    }
}

void ResetSignal()
{
    ResetTo<int>(g_MainOutput, OUTPUT_OFF, VRAXSetOutputFunction);
    ResetTo<double>(g_Amplitude, 1.0, VRAXSetAmplitude);
    ResetTo<double>(g_F, 1.0, VRAXSetFrequency);
    ResetTo<int>(g_DCSetting, 0, VRAXSetDCOffset);
    ResetTo<bool>(g_DCVariable, true, VRAXSetDCOffsetVariableMode);
    ResetTo<bool>(g_DCCommon, false, VRAXSetDCOffsetCommonMode);
    ResetTo<double>(g_PulseWidth, 100.0, VRAXSetPulseWidth);
    ResetTo<bool>(g_InputImpedance, true, VRAXSetInputImpedanceMode);
    ResetTo<int>(g_PacingPulse, 0, VRAXSetPacingPulseMode);
    ResetTo<double>(g_QRSDuration, 100.0, VRAXSetQRSDuration);
    ResetTo<double>(g_CusT, 0.2, VRAXSetTWave);
    ResetTo<double>(g_PA, 0.0, VRAXSetPacingAmplitude);
    ResetTo<double>(g_PacingDuration, 2.0, VRAXSetPacingDuration);
    ResetTo<unsigned>(g_PacingRate, 60, VRAXSetPacingRate);
    VRAXSetPacingRateSynchronized();
    ResetTo<unsigned>(g_PacingOvershootTC, 0, VRAXSetOvershootTimeConstant);
    ResetNoiseAndDrift();
    ResetTo<bool>(g_RespirationEnabled, false, VRAXEnableRespiration);
    if (HasRespirationAlgorithm()) VRAXDisableRespireAlgorithm();
    ResetTests();
    ResetTo<double>(g_PDuration, 100.0, VRAXSetPDuration);
    ResetTo<double>(g_PRInterval, 160.0, VRAXSetPRInterval);
    ResetTo<double>(g_QTInterval, 350.0, VRAXSetQTInterval);
    ResetTo<double>(g_CusP, 0.2, VRAXSetPWave);
    ResetTo<double>(g_CusST, 0.0, VRAXSetSTDeviation);
}

// The overshoot amplitude and the customised T duration are left alone, deliberately.
void _ResetVRAX(bool clearLeads)
{
    ResetSignal();
    CApiLock lock;
    SpecialWaveFormNo = 0;
    ANE20000ChannelNo = 0;
    s_NST_Noise = 0;
    s_NST_gain = 1.0;
    _ResetPPG();
    if (clearLeads) SetAllOutputLead(0);
    s_loopPlay = true;
    g_bECGOutputEnabled = true;
}

void iResetVRAX(bool lead0On)
{
    _ResetVRAX(true);
    // Also where setters are refused, without an instrument and a listener.
    if (lead0On && VRAXSetOutputLead(0, true) != kOk) SetAllOutputLead(1);
}
}  // namespace

int VRAXSetOutputFunction(int function)
{
    // Stopping always works: commands that wait for the free line give the API lock back.
    std::optional<CReleaseWaitingCommands> release;
    if (function == OUTPUT_OFF) {
        release.emplace();
    } else {
        WaitForEndingRun();  // the new one would be refused
    }
    {
        CApiLock lock;
        release.reset();
        const bool stops = function == OUTPUT_OFF && IsRunGoing();
        if (!CanSetParameters() && !stops) return kNoDevice;
        SetOutputFunction(function);
    }
    WaitForEndingRun();
    if (g_MainOutput != OUTPUT_OFF && !IsRunGoing()) {
        // The run before was ending by itself and refused the new one.
        CApiLock lock;
        Change();
    }
    return kOk;
}
int VRAXGetOutputFunction(void) { return ReadLocked(g_MainOutput); }

int VRAXIsPlaying(void)
{
    CApiLock lock;
    return IsLineBusy() ? 1 : 0;
}

int VRAXSetBaselineResetTest(int test)
{
    if (test != 0) WaitForEndingRun();
    {
        CApiLock lock;
        if (!CanSetParameters()) return kNoDevice;
        SetBaselineResetTest(test);
    }
    SleepMilliseconds(kBaselineTestPauseMs);
    return kOk;
}
int VRAXGetBaselineResetTest(void) { return g_BaseLineOverload; }

int VRAXSetDynamicRangeTest(bool on, bool triangle, double amplitude, double frequency)
{
    if (on) WaitForEndingRun();
    CApiLock lock;
    if (!CanSetParameters()) return kNoDevice;
    if (IsOutside(amplitude, 0.0, 10.0)) return kOutOfRange;
    if (IsOutside(frequency, 1.0, 60.0)) return kRefused;
    _outputLog("VRAXSetDynamicRangeTest(%s, %s, %.1f, %.0f);", BoolText(on), BoolText(triangle),
               amplitude, frequency);
    SetDynamicRangeTest(on, triangle, amplitude, frequency);
    return kOk;
}
bool VRAXGetDynamicRangeTest(void) { return ReadLocked(g_DynamicRangeTest); }
double VRAXGetDynamicRangeTestAmplitude(void) { return ReadLocked(g_ADynamicRange); }
double VRAXGetDynamicRangeTestFrequency(void) { return ReadLocked(g_FDynamicRange); }

int VRAXSetFrequencyScanSine(bool on, int seconds, double start, double stop)
{
    constexpr double kLowest = 0.67;
    constexpr double kHighest = 500.0;
    if (on) WaitForEndingRun();
    CApiLock lock;
    if (!CanSetParameters()) return kNoDevice;
    if (IsOutside(start, kLowest, kHighest)) return kOutOfRange;
    if (IsOutside(stop, kLowest, kHighest)) return kRefused;
    if (IsOutside(seconds, 10, 180)) return kRefusedByTest;
    SetFrequencyScanSine(on, seconds, start, stop);
    return kOk;
}
bool VRAXGetFrequencyScanSine(void) { return ReadLocked(g_FreqScan1); }
double VRAXGetFrequencyScanSineStartFrequency(void) { return ReadLocked(g_Fstart); }
double VRAXGetFrequencyScanSineStopFrequency(void) { return ReadLocked(g_Ffinal); }
int VRAXGetFrequencyScanSineDuration(void) { return ReadLocked(g_Fduration); }

int VRAXSetFrequencyScanECG(bool on)
{
    if (on) WaitForEndingRun();
    CApiLock lock;
    if (!CanSetParameters()) return kNoDevice;
    SetFrequencyScanECG(on);
    return kOk;
}
bool VRAXGetFrequencyScanECG(void) { return ReadLocked(g_FreqScan3); }

int VRAXApplyPacing(void)
{
    CApiLock lock;
    if (g_bConnected != 0 && s_ECGGoing) {
        g_PacingApplyRequested = true;
        return 1;
    }
    return SetPacing();
}

int SetDcDac(int code)
{
    CApiLock lock;
    if (code < 0 || code >= kDacCodes) return 0;
    SetFixedDcCode(code);
    g_DCVariable = true;
    SetRelays(false);
    return 1;
}

// Off and waited for first: the end of a run needs the API lock.
int PlayFixedDCByDAC(unsigned code)
{
    VRAXSetOutputFunction(OUTPUT_OFF);
    CApiLock lock;
    SleepMilliseconds(kFixedDCPauseMs);
    if (code >= static_cast<unsigned>(kDacCodes) || SetDcDac(static_cast<int>(code)) != 1) return 0;
    const bool silent = VRAXSetAmplitude(0.0) == kOk;
    return VRAXSetOutputFunction(OUTPUT_SQUARE) == kOk && silent ? 1 : 0;
}

void VRAXReset(void)
{
    _outputLog("VRAXReset();");
    iResetVRAX(true);
}

void VRAXResetAllLeadOff(void)
{
    _outputLog("VRAXResetAllLeadOff();");
    iResetVRAX(false);
}

void VRAXResetEx(void) { _ResetVRAX(false); }
