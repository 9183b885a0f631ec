// What is known of the PPG modules: device data, kept apart from the code that uses it.
#pragma once

#include "vrax.h"

// The capability record of a module code, or the default record of an unknown one.
VRAXDeviceFeature LookUpDeviceFeature(int fullModelNumber);
VRAXDeviceFeature DefaultDeviceFeature();

// The LED types of positions 1, 2 and 3 by the module's type letters and code.
struct LedPattern {
    int types[3];
};
LedPattern LookUpLedPattern(const char (&letters)[2], int fullModelNumber);
