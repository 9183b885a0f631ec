// The LED and trigger levels of the PPG module's three positions, and its factory levels.
#pragma once

#include "platform/Shared.h"
#include "storage/Records.h"

// The module's factory setting, read on first need; cleared by identification.
extern SharedRecord<FACTORY_SETTING> g_PPGFactorySettings;
