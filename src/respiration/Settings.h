// The settings of the impedance respiration: stored, and sent to the instrument's own generator or,
// when it is present, to the external module.
#pragma once

struct RespirationSettings {
    int variation;  // milliohms
    int rate;       // breaths/min
    int ratio;      // 1 to 5 for inhale:exhale 1:1 to 1:5
    int baseline;   // ohms
    int apneaSeconds;
};

// 1 when the device accepted them. They are stored in any case; ranges are the exported call's.
int SetRespiration(const RespirationSettings& settings);
// A constant resistance; rate, ratio and apnea stay.
int SetCalibrationRespiration(int variation, int baseline);

// Stores the switch; off also clears the settings. The relays and the module are the caller's.
void StoreRespirationSwitch(bool on);

// The index of a baseline in the table of what is present, 0 for one that is not in it. With the
// external module one that is in it becomes the baseline code of the stream.
int GetRespiratoryBaselineSelection(int ohms);
