#include "synthesis/Protocol.h"

#include "diagnostics/RawRecorder.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Callbacks.h"
#include "synthesis/Codes.h"
#include "synthesis/MainFunction.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Respiration.h"
#include "synthesis/TestSignals.h"

namespace {
constexpr int kNoFixedCode = -1;
constexpr int kDividerPerCallback = 4;
constexpr double kMsPerSecond = 1000.0;

Shared<int> s_DcDacValue = kNoFixedCode;

struct EcgSample {
    double ac = 0.0;     // mV
    double dc = 0.0;     // mV
    double graph = 0.0;  // mV, before the respiration attenuation
};

EcgSample ComputeSample(double t)
{
    EcgSample sample;
    if (g_bECGOutputEnabled) {
        CycleQuantities& cycle = g_Cycle.Read();
        const double tc = PhaseIn(t, cycle.s_tp);
        sample.ac = MainFunctionVoltage(g_MainOutput, cycle, {s_t}, tc);
        double extra = 0.0;
        sample.dc = _GetPacingV5(cycle, extra, tc);
        if (g_BaseLineOverload != 0 && g_MainOutput == OUTPUT_SINE) {
            sample.dc = _GetBaselineOverload(tc);
        }
        sample.ac += extra;
        sample.ac += GetNstNoise();
        sample.graph = sample.ac;
        if (g_RespirationEnabled) sample.ac /= GetAttenuation();
    }
    // The instrument makes the pacing pulse itself.
    if (g_BaseLineOverload == 0 && g_PA != 0.0) sample.dc = g_DCSetting;
    return sample;
}

void DrawPacingPulse()
{
    const double amplitude = g_PA;
    const double end = s_tg + g_PacingDuration / kMsPerSecond;
    Tell(g_PacingGraphCB, static_cast<double>(s_tg), 0.0);
    Tell(g_PacingGraphCB, static_cast<double>(s_tg), amplitude);
    Tell(g_PacingGraphCB, end, amplitude);
    Tell(g_PacingGraphCB, end, 0.0);
}

void ShowSample(double graph)
{
    const int counter = g_UICounter;
    if (counter == 0) Tell(g_GraphCB, static_cast<double>(s_tg), graph);
    if (s_PacingIndicationNeeded) {  // a listener that comes later is not shown an old pulse
        if (g_PacingGraphCB != nullptr) DrawPacingPulse();
        s_PacingIndicationNeeded = false;
    }
    g_UICounter = counter + 1 >= s_freqDivider / kDividerPerCallback ? 0 : counter + 1;
}
}  // namespace

int GetFixedDcCode() { return s_DcDacValue; }
void SetFixedDcCode(int code) { s_DcDacValue = code; }

void _GetECGVoltageData(double t, std::uint16_t* dcCode, std::int16_t* acCode, bool ui, bool record)
{
    const EcgSample sample = ComputeSample(t);
    const int fixed = s_DcDacValue;
    *dcCode = fixed >= 0 ? static_cast<std::uint16_t>(fixed) : GetPacketDCValue(sample.dc);
    *acCode = GetAcDac(sample.ac);
    if (ui) ShowSample(sample.graph);
    if (record) RecordRawSample(sample.ac, sample.dc);
}
