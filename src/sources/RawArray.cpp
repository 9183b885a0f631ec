#include "sources/RawArray.h"

#include <algorithm>
#include <cstdlib>

#include "device/LineState.h"

namespace {
constexpr double kMicrovoltsPerMv = 1000.0;
constexpr double kRounding = 1e-3;  // samples; a time at the period's end is no gap
constexpr int kDefaultRate = 20000;
}  // namespace

Shared<double*> g_pECGRawData = nullptr;
Shared<int> g_nECGRawSize = 0;
Shared<double> g_nECGRawSampleRate = static_cast<double>(kDefaultRate);
Shared<int> ECGFileUnitMV = 1;
Shared<double*> g_pRespRawData = nullptr;
Shared<int> g_nRespRawSize = 0;
Shared<int> g_nRespSampleRate = kDefaultRate;

double GetRawArrayPeriod()
{
    return g_pECGRawData == nullptr ? 0.0 : g_nECGRawSize / g_nECGRawSampleRate;
}

double RawArrayVoltage(double t)
{
    const double* samples = g_pECGRawData;
    const double position = g_nECGRawSampleRate * t;
    const int size = g_nECGRawSize;
    // Also false for a position that is no number.
    const bool inside = position > -1.0 && position < size + kRounding;
    if (samples == nullptr || size < 1 || !inside) return 0.0;
    const double sample = samples[std::min(static_cast<int>(position), size - 1)];
    return ECGFileUnitMV != 0 ? sample : sample / kMicrovoltsPerMv;
}

void ReplaceRawArray(double* samples, int count, double rate)
{
    double* old;
    {
        CAutoCriticalSection packetIsBuilt(g_PacketCriticalSection);
        old = g_pECGRawData;
        g_pECGRawData = samples;
        g_nECGRawSize = count;
        g_nECGRawSampleRate = rate;
    }
    std::free(old);
}

void ReplaceRespirationArray(double* samples, int count, int rate)
{
    double* old;
    {
        CAutoCriticalSection packetIsBuilt(g_PacketCriticalSection);
        old = g_pRespRawData;
        g_pRespRawData = samples;
        g_nRespRawSize = count;
        g_nRespSampleRate = rate;
    }
    std::free(old);
}

void EmptyRawArray() { ReplaceRawArray(nullptr, 0, g_nECGRawSampleRate); }

void FreeRawArrays()
{
    ReplaceRawArray(nullptr, 0, kDefaultRate);
    ReplaceRespirationArray(nullptr, 0, kDefaultRate);
}
