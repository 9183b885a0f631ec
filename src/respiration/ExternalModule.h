// The external respiration module as the packet builder sees it: the resistance at a play time and
// its codes. Without the module's tables the resistance rests and every code is 0.
#pragma once

#include <cstdint>

#include "platform/Shared.h"

constexpr double kRestingOhms = 50.0;

// Baseline code, sent in every sample.
extern Shared<std::uint16_t> g_nECGExtRespirationBaselineDAC;

double CalculateECGExtRespiration(double t);
// Fills the three codes and returns the first.
std::uint16_t ExtRespGetAmplitudeDAC(double ohms, std::uint16_t* codes);
// The output leads have changed: the module's baseline setting follows them.
void UpdateModuleLeads();
