// The switches of the PPG module: dynamic light and LED strength, signal detection, ambient light.
#pragma once

#include <cstdint>

#include "platform/Shared.h"
#include "vrax.h"

// Last requested dynamic LED strength.
extern Shared<bool> g_PPGDynamicLEDEnabled;

// Records the request, then sends it. True when acknowledged.
bool EnableDynamicLEDStrength(bool on);
// The low byte is sent as given.
bool EnableSignalStrengthDetection(int value);

enum class AmbientResult { kDone, kNoReply, kNotAcknowledged };
// While a signal plays the reply is left unread.
AmbientResult WriteAmbientLightMode(int mode);
AmbientResult ReadAmbientLightMode(int& mode);
