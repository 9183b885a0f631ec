// Measured response of the 0x3307 finger probe: data of the module. Another probe's tables replace
// FingerProbeTables.cpp alone.
#pragma once

#include <array>
#include <cstddef>

constexpr std::size_t kFingerDCEntries = 3001;
constexpr std::size_t kFingerACEntries = 301;
constexpr std::size_t kFingerGains = 31;

// By the DC level in whole millivolts; never decreasing.
extern const std::array<double, kFingerDCEntries> kFingerDCTable;
// By the AC amplitude in tenths of a millivolt, ten times the converted value; never decreasing.
extern const std::array<double, kFingerACEntries> kFingerACTable;
// By the hundreds of the DC table's value.
extern const std::array<double, kFingerGains> kFingerDCGains;
