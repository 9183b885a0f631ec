// The tables that turn millivolts into DAC codes: where they are kept, which source wins at a
// connection, and the host's copy in the file "calibration.dat".
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/Shared.h"
#include "storage/Records.h"

// Codes of the ECG DC path: entry i for (i - 2000) mV. Written at a connection and by the
// calibration calls, read by the thread that builds packets.
extern Shared<std::uint16_t> g_ECGDCVariableCalibrationData[kDCCalibrationWords];

constexpr std::size_t kPPGDCTableRows = 3;
constexpr std::size_t kPPGDCTableWords = 3001;
// DC codes of the 0x3407 module by millivolt. Row 2 is never loaded and stays as it was, kept so.
extern Shared<std::uint16_t> g_PPGDCTable[kPPGDCTableRows][kPPGDCTableWords];

// Photodiode calibration: LED 1, then the other LED.
extern Shared<std::uint16_t> g_pPPGPDSamplingCalibrationData[2 * kPDSamplingWords];

extern const char* const CALIBRATION_FILE_NAME;

// The loaders of a connection.
void SetECGDCVariableCalibrationData();
void LoadPPGDCTable();
void LoadPPGPDSamplingCalibrationData();

// At unload.
void FreeCalibrationCache();

void _SetECGDCDefaultCalibrationData();
// One decimal word a line; nothing when the file cannot be opened.
void _outputECGDCVariableCalibrationData(const char* path);
