// The external module's calibration in the instrument's flash, and in memory.
#pragma once

#include <cstdint>

// At a connection with the module present: the three records below.
void LoadRespirationDACCalibrationData();

// A record that cannot be read, or coefficients without their marker, leave memory as it was.
void LoadRespirationRWA();
void LoadRespirationRDAC3();
void LoadRespirationBaselineDACTable();

// Memory changes when the flash has taken the whole record. Nothing is erased.
bool WriteRespirationRWA(const double (&coefficients)[4]);
bool WriteRespirationRDAC3(const double* ohms);
bool WriteRespirationBaselineDACTable(const std::uint16_t* codes);
