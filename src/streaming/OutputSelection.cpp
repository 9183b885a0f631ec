#include "streaming/OutputSelection.h"

#include <algorithm>

#include "device/Exchange.h"
#include "device/Identification.h"
#include "diagnostics/ApiLog.h"
#include "ppg/Sensor.h"
#include "ppg/TransmissionRate.h"
#include "streaming/Change.h"
#include "streaming/Playback.h"
#include "synthesis/Callbacks.h"
#include "synthesis/Numbers.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Protocol.h"
#include "synthesis/Relays.h"
#include "synthesis/Respiration.h"

namespace {
constexpr unsigned kBaselineTestPauseMs = 100;
constexpr double kEcgScanStart = 0.05;
constexpr double kEcgScanStop = 0.5;
constexpr double kEcgScanSeconds = 30.0;
constexpr double kScanResolution = 100000.0;  // 5 decimals
constexpr double kScanEnded = -1.0;
constexpr int kNoFixedCode = -1;

// Pacing and dynamic LED strength are sent by the end of the run.
Shared<bool> s_deferOffCommands = false;

void ClearScans()
{
    s_FreqScanOn = false;
    g_FreqScan1 = false;
    g_FreqScan3 = false;
}

void StartScan(int function, double start, double stepHz)
{
    {
        CInterruptLock packetIsBuilt;  // no sample sees half of it
        g_F = start;
        s_Fd = stepHz;
        s_FreqScanOn = true;
    }
    g_MainOutput = function;
    Tell(g_SyncMainFuncCB, function, stepHz);
    _ChangeRequested();
    // A callback may have switched off before a run existed whose end clears them.
    if (g_MainOutput == OUTPUT_OFF && !IsRunGoing()) ClearScans();
}

// No packet is built of the new function at the old time.
void Select(int function)
{
    CInterruptLock noPacket;
    g_MainOutput = function;
    SetPacing();
    RestartClock();
}

void SwitchOffAfterScan(double stop)
{
    g_MainOutput = OUTPUT_OFF;
    Tell(g_SyncMainFuncCB, static_cast<int>(OUTPUT_OFF), stop);
    _ChangeRequested();
}
}  // namespace

void SetOutputFunction(int function)
{
    _outputLog("VRAXSetOutputFunction(%d);", function);
    if (function != OUTPUT_OFF) {
        Select(function);
    } else {
        g_MainOutput = OUTPUT_OFF;
        if (s_ECGGoing) {
            s_deferOffCommands = true;
            _ChangeRequested();
            return;
        }
        SetPacing();
        EnableDynamicLEDStrength(false);
    }
    if (function == OUTPUT_BASELINE_PULSE) {
        Change();
    } else {
        _ChangeRequested();
    }
}

bool SetBaselineResetTest(int test)
{
    _outputLog("VRAXSetBaselineResetTest(%d);", test);
    if (test == g_BaseLineOverload) return false;
    Tell(g_BaselineResetCB, test);
    if (test != 0) g_MainOutput = OUTPUT_SINE;
    g_BaseLineOverload = test;
    _ChangeRequested();
    return true;
}

void SetDynamicRangeTest(bool on, bool triangle, double amplitude, double frequency)
{
    if (on) {
        g_MainOutput = triangle ? OUTPUT_TRIANGLE : OUTPUT_SQUARE;
    } else {
        g_MainOutput = OUTPUT_OFF;
    }
    g_DynamicRangeTest = on;
    g_DynamicRangeTriangle = triangle;
    g_ADynamicRange = amplitude;
    g_FDynamicRange = frequency;
    _ChangeRequested();
}

void SetFrequencyScanSine(bool on, int seconds, double start, double stop)
{
    _outputLog("VRAXSetFrequencyScanSine(%s, %.2f, %.2f, %.0f);", BoolText(on), start, stop,
               static_cast<double>(seconds));
    g_Fstart = start;
    g_Ffinal = stop;
    g_Fduration = seconds;
    if (on) {
        g_FreqScan1 = true;
        StartScan(OUTPUT_SINE, start, (stop - start) / seconds / _GetSampleRate());
    } else if (g_MainOutput != OUTPUT_OFF) {
        SwitchOffAfterScan(stop);
    }
}

void SetFrequencyScanECG(bool on)
{
    _outputLog("SetFreqScanECG(%s);", BoolText(on));
    if (!on) {
        SwitchOffAfterScan(0.0);
        return;
    }
    g_FreqScan3 = true;
    g_Fstart = kEcgScanStart;
    g_Ffinal = kEcgScanStop;
    StartScan(OUTPUT_ECG, kEcgScanStart,
              (kEcgScanStop - kEcgScanStart) / kEcgScanSeconds / _GetSampleRate());
}

void _UpdateFreqScanIfRequired()
{
    if (!s_FreqScanOn) return;
    const double frequency = g_F;
    Tell(g_SyncFreqCB, frequency, static_cast<double>(s_tg));
    const double rounded = RoundHalfUp(frequency * kScanResolution) / kScanResolution;
    const double start = g_Fstart;
    const double stop = g_Ffinal;
    if (!(rounded < std::min(start, stop)) && !(rounded > std::max(start, stop))) return;
    if (g_MainOutput == OUTPUT_OFF) return;
    Tell(g_SyncFreqCB, kScanEnded, stop);
    if (g_FreqScan1) SetFrequencyScanSine(false, g_Fduration, start, stop);
    if (g_FreqScan3) SetFrequencyScanECG(false);
}

void EndWaveform(double t, double period)
{
    Tell(g_StandardStopCB, t, period);
    SetOutputFunction(OUTPUT_OFF);
}

void PlayPostProcessing()
{
    g_PacingApplyRequested = false;
    {
        CApiLock lock;
        SetBaselineResetTest(0);
    }
    SleepMilliseconds(kBaselineTestPauseMs);
    ClearScans();
    SetFixedDcCode(kNoFixedCode);
    SetRelays(false);
    ApplyDefaultTransmissionRate();
    if (g_RespirationEnabled && ExtRespIsAvailable() == 0 && s_Apnea_On) EndApnea();
    if (s_deferOffCommands.Exchange(false)) {
        SetPacing();
        EnableDynamicLEDStrength(false);
    }
}
