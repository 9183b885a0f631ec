// Millivolts to DAC codes. Saturated at both ends; a NaN becomes code 0.
#pragma once

#include <cstdint>

#include "storage/Calibration.h"
#include "synthesis/Numbers.h"

constexpr double kAcCodesPerMv = 1600.0;

inline std::int16_t GetAcDac(double mv) { return SaturateTo<std::int16_t>(kAcCodesPerMv * mv); }

// Between the calibrated codes of the two neighbouring whole millivolts.
inline std::uint16_t GetPacketDCValue(double mv)
{
    constexpr double kMaxMv = 2000.0;
    constexpr std::size_t kLastInterval = kDCCalibrationWords - 2;
    if (std::isnan(mv)) return 0;
    const double x = std::clamp(mv, -kMaxMv, kMaxMv) + kMaxMv;
    const auto i = static_cast<std::size_t>(x);
    const double part = x - static_cast<double>(i);
    if (part == 0.0) return g_ECGDCVariableCalibrationData[i];  // a whole offset, the usual case
    const double low = g_ECGDCVariableCalibrationData[i];
    const double high = g_ECGDCVariableCalibrationData[std::min(i, kLastInterval) + 1];
    return SaturateTo<std::uint16_t>(low + part * (high - low));
}

// What respiration divides the AC path by, from its baseline impedance; 1 for a baseline that the
// instrument does not know.
double GetAttenuation();
