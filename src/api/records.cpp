// The record of output function 13, rendering a function into an array, and the sample rate.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "api/Setters.h"
#include "sources/RawArray.h"
#include "streaming/Change.h"
#include "streaming/Playback.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Callbacks.h"
#include "synthesis/MainFunction.h"
#include "synthesis/Numbers.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/TestSignals.h"
#include "vrax.h"

namespace {
constexpr int kNoSamples = -1;
constexpr int kNoMemory = -2;
constexpr int kLongestSeconds = 1800;

// The samples of a function from time 0 on, with the parameters as they are.
void Render(int function, double* out, int count, int rate)
{
    DerivedParameters rewritten;
    CycleQuantities cycle = DeriveCycle(function, rate, rewritten);
    const long double step = 1.0L / rate;
    bool ended = false;
    for (int i = 0; i < count; ++i) {
        const double t = static_cast<double>(i * step);
        if (ended) {
            out[i] = NstNoiseAt(t);  // the output goes off with the end of the waveform
            continue;
        }
        const double tc = t - cycle.s_tp * Truncate(t / cycle.s_tp);
        out[i] = MainFunctionVoltage(function, cycle, {t, rate, &ended}, tc) + NstNoiseAt(t);
        if (ended) Tell(g_StandardStopCB, t, cycle.s_tp);
    }
}

// What the call reports: at least one second of samples, at most half an hour.
int RenderedCount(int count, int rate)
{
    const double seconds = static_cast<double>(count) / rate;
    if (seconds < 1.0) return rate;
    return seconds > kLongestSeconds ? rate * kLongestSeconds : count;
}
}  // namespace

int SetRawArray(int count, const double* samples, int rate)
{
    if (samples == nullptr || count < 1 || rate < 1) return kNoSamples;
    const std::size_t bytes = static_cast<std::size_t>(count) * sizeof *samples;
    auto* copy = static_cast<double*>(std::malloc(bytes));
    if (copy == nullptr) return kNoMemory;
    std::memcpy(copy, samples, bytes);
    ReplaceRawArray(copy, count, rate);
    ECGFileUnitMV = 1;
    RecordReplaced();
    return kOk;
}

void ClearRawArray(void) { FreeRawArrays(); }

double* GetFileArray(unsigned* count, unsigned* rate)
{
    if (count == nullptr || rate == nullptr) return nullptr;
    *count = static_cast<unsigned>(std::max<int>(g_nECGRawSize, 0));  // may be a code
    *rate = SaturateTo<unsigned>(g_nECGRawSampleRate);
    return g_pECGRawData;
}

int GetRawDataArrayEx(unsigned function, double* out, int count, int rate)
{
    CApiLock lock;
    if (IsLineBusy() || IsRunGoing() || out == nullptr) return 0;
    if (IsOutside(rate, kLowestSampleRate, kHighestSampleRate)) return 0;
    {
        CAutoCriticalSection recordStays(g_PacketCriticalSection);
        Render(static_cast<int>(function), out, count, rate);
    }
    g_MainOutput = OUTPUT_OFF;
    s_t = 0.0;
    return RenderedCount(count, rate);
}

void VRAXSetFileLoop(int loop)
{
    CApiLock lock;
    s_loopFile = loop != 0;
}

int VRAXSetSampleRate(int rate)
{
    CApiLock lock;
    if (!CanSetParameters()) return kNoDevice;
    if (IsOutside(rate, kLowestSampleRate, kHighestSampleRate)) return kOutOfRange;
    if (s_ECGGoing) return kRefused;
    s_sampleRate = rate;
    s_freqDivider = std::min<int>(s_freqDivider, rate);
    _ChangeRequested();
    return kOk;
}

int VRAXGetSampleRate(void)
{
    CApiLock lock;
    return _GetSampleRate();
}

const char* VRAXGetSDKVersion(void) { return "1.2.5.5"; }
