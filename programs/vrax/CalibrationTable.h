// The ECG DC table as vrax.h and its file hold it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace vrax {

constexpr std::size_t kCalibrationCodes = 4001;
constexpr int kCalibrationFirstMv = -2000;
constexpr std::size_t kCalibrationFileBytes = 2 * kCalibrationCodes;
constexpr std::uint16_t kNeverProgrammed = 0xFFFF;

// Entry i is the code for (i + kCalibrationFirstMv) mV.
using CalibrationTable = std::array<std::uint16_t, kCalibrationCodes>;

enum class CalibrationSource { File, Instrument, StraightLine };
const char* NameOf(CalibrationSource source);

// What is wrong with a table, as an end of a sentence that begins with the table's name; empty
// when nothing is. The library takes such a table for never calibrated.
std::string FindFault(const CalibrationTable& table);
// The same for the file of a table that an instrument may well have: the library refuses it.
std::string FindFileFault(const CalibrationTable& table);

// Throws Failure when the file cannot be read or has another length.
CalibrationTable ReadCalibrationFile(const std::string& path);

// The table that the library uses now. Throws Failure when it cannot be had.
CalibrationTable CurrentCalibration();

// The level in mV that a code of the DC converter gives, between two entries in proportion.
double LevelOfCode(const CalibrationTable& table, int code);

// Whence the table of this connection came; `hasFile` tells whether a file was there to be taken.
// Without one the instrument's own table is read again and becomes that of the library.
CalibrationSource FindCalibrationSource(bool hasFile);

}  // namespace vrax
