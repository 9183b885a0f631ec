// What holds after every load, whatever the file.
#pragma once

#include <cmath>
#include <cstdlib>

#include "sources/RawArray.h"

inline void Require(bool condition)
{
    if (!condition) std::abort();
}

// The samples of a load are there and can be read; without any there is no record.
inline void CheckRecord(int result, bool isClamped)
{
    const double* samples = g_pECGRawData;
    Require((samples != nullptr) == (result > 0));
    if (result <= 0) return;
    Require(g_nECGRawSize == result);
    for (int i = 0; i < result; ++i) {
        Require(!isClamped || std::isnan(samples[i]) || std::fabs(samples[i]) <= 20.0);
    }
    Require(std::isfinite(RawArrayVoltage(0.0)) || !std::isfinite(samples[0]));
}
