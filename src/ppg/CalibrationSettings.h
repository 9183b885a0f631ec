// The numbered settings of the PPG module, one or two bytes each.
#pragma once

#include <cstdint>

enum class PPGCalibrationSetting : std::uint8_t {
    kLedLevel1 = 1,
    kLedLevel2 = 2,
    kTriggerLevel1 = 3,
    kTriggerLevel2 = 4,
    kLedLevel3 = 18,
    kTriggerLevel3 = 19,
    kRate1 = 1,  // the 0x3407 module shares these two numbers
    kRate2 = 2,
    kRate3 = 25,
    kRate4 = 26,
};

// True when the reply is whole and acknowledged; otherwise `value` stays. Null drops the value.
bool ReadCalibrationSetting(PPGCalibrationSetting setting, std::uint8_t* value);
bool ReadCalibrationSetting(PPGCalibrationSetting setting, std::uint16_t* value);

bool WriteCalibrationSetting(PPGCalibrationSetting setting, const std::uint8_t* data, int length);
bool WriteCalibrationSetting(PPGCalibrationSetting setting, std::uint8_t value);
// Low byte first, unlike every other word on the wire.
bool WriteCalibrationSetting(PPGCalibrationSetting setting, std::uint16_t value);
