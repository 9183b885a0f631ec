// The external respiration module as the packet builder sees it: the resistance at a play time, and
// the codes of the network that makes it. Values from values; no I/O.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/Shared.h"
#include "vrax.h"

constexpr double kRestingOhms = 50.0;
constexpr std::size_t kModuleCoefficients = 4;
constexpr std::size_t kThirdElementSteps = 96;
constexpr std::size_t kModuleBaselines = 12;

// The module's calibration. Loaded at a connection, replaced by the calibration writers under the
// interrupt lock, read by the thread that builds packets.

// [0], [1]: fixed resistances in series with the first and the second programmable one, ohms;
// [2]: correction in the choice of the third; [3]: kept, not used.
extern Shared<double> g_fECGExtRespirationCoef[kModuleCoefficients];
// Ohms of each code of the third element. The name is spelled so.
extern Shared<double> g_fECGExtRespiratationRDAC3[kThirdElementSteps];
// Codes of the baselines 0, 100, 200, 500, 1000, ... 4500 ohms.
extern Shared<std::uint16_t> g_ECGExtRespirationBaselineDACTable[kModuleBaselines];

// Code of the baseline that was selected last, sent in every sample.
extern Shared<std::uint16_t> g_nECGExtRespirationBaselineDAC;

// Ohms at a time of the play clock: the respiration record, else the breath of the settings, else
// the calibration's constant. Called while a packet is built.
double CalculateECGExtRespiration(double t);
