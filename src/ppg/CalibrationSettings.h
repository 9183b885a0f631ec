// The numbered settings of the PPG module, one or two bytes each.
#pragma once

#include <cstdint>

enum class PPGCalibrationSetting : std::uint8_t {
    kRate1 = 1,  // also the LED level of position 1
    kRate2 = 2,  // also the LED level of position 2
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
