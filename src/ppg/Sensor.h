// The PPG module's switches that a connection and a run need: dynamic light and LED strength,
// signal detection, and stopping photodiode sampling.
#pragma once

#include <cstdint>

#include "platform/Shared.h"
#include "storage/Records.h"

// The module's factory setting, read on first need; cleared by identification.
extern SharedRecord<FACTORY_SETTING> g_PPGFactorySettings;
// Last requested dynamic LED strength.
extern Shared<bool> g_PPGDynamicLEDEnabled;

// Records the request, then sends it. True when acknowledged.
bool EnableDynamicLEDStrength(bool on);
// 0; sends nothing when the switch is there already. -1 when the instrument did not answer.
int SetDynamicLight(int on);
bool EnableSignalStrengthDetection(int value);
// Stops photodiode sampling; true when a full reply came.
bool _StopPPGAD();
