// The records in the instrument's flash, by name. Each takes one exchange for all its frames and
// returns false at the first frame that fails.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/Shared.h"
#include "vrax.h"

constexpr std::size_t kDCCalibrationWords = 4001;
constexpr std::size_t kPDSamplingWords = 1024;
constexpr std::uint16_t kErasedWord = 0xFFFF;
constexpr LEDType kLed1 = 1;

// 64 bytes of the PPG module. The bytes that are not named are kept as read.
struct FACTORY_SETTING {
    std::uint8_t valid;  // 1: valid; 0xFF: erased
    std::uint8_t ledLevel1;
    std::uint8_t ledLevel2;
    std::uint8_t triggerLevel1;
    std::uint8_t triggerLevel2;
    std::uint8_t ledLevel3;
    std::uint8_t triggerLevel3;
    std::uint8_t rest[57];
};
static_assert(sizeof(FACTORY_SETTING) == 64);

// 256 bytes of the PPG board, little-endian words. Words 9 to 17: AC DAC full-scale codes; from 16
// on also the transmission-rate tables.
struct FACTORY_SETTING_MCU {
    std::uint16_t words[128];
};
static_assert(sizeof(FACTORY_SETTING_MCU) == 256);

// Read at the connection of a 0x3407 module.
extern SharedRecord<FACTORY_SETTING_MCU> g_FactorySettingMCU;

// Photodiode ratio factors of the FPGA, three rows of eight.
struct PDRatioRow {
    float values[8];
};
extern SharedRecord<PDRatioRow> g_FPGA_PDRatio[3];

bool ReadPPGCalibrationDataPDSampling(LEDType led, std::uint16_t* data);
bool ReadDCVariableCalibrationData(void* data);
// Does not erase: clear the area first.
bool WriteDCVariableCalibrationData(const void* data);
bool CopyDCVariableCalibrationData(const std::uint16_t* data);
bool ClearDCVariableCalibrationData();
// False without reading it when the area was never programmed.
bool ReadFlashCalibrationData(void* data);
bool ClearFlashCalibrationData();
// At most 64 bytes. Writing erases the sector first.
bool ReadECGMfgInfo(std::uint8_t* data, int length);
bool WriteECGMfgInfo(const void* data, int length);
// True only for a record that is not erased.
bool ReadFactorySetting(FACTORY_SETTING* setting);
bool WriteFactorySetting(const FACTORY_SETTING* setting);
bool ReadFactorySettingMCU(FACTORY_SETTING_MCU* setting);
// The first `words` words of row 0, 1 or 2, at most 4096.
bool ReadPPGDCTable(int row, std::uint16_t* data, std::size_t words);
bool FPGASyncFromEEPROM();
