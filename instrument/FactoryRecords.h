// What a freshly made instrument carries in its flash.
#pragma once

#include "instrument/Flash.h"
#include "instrument/SimulatedInstrument.h"

namespace instrument {

// The main record, and the module's record and tables when a module is fitted. The DC calibration
// stays erased: the host then takes its default table.
void ProgramFactoryRecords(Flash& flash, const Options& options);

// The main and the module record alone, as the options state them.
void ProgramModelRecords(Flash& flash, const Options& options);

constexpr unsigned kModelWithTwoChannels = 0x3407;  // asks its own board for versions

// 16-bit PPG converters, else 12.
bool HasWideConverters(const Options& options);

// Byte addresses in the module's memory.
constexpr std::uint32_t kFactorySettingMcu = 5248;
constexpr std::uint32_t kRespirationRwa = 5248;  // marker and coefficients, doubles
constexpr std::uint32_t kRespirationBaselines = 5312;
constexpr std::uint32_t kRespirationTable = 5376;
constexpr std::uint32_t kDcRows[] = {5632, 13824, 22016};

constexpr double kRwaMarker = 0.60991;

}  // namespace instrument
