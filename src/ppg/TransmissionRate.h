// The transmission rate of the PPG board; only the 0x3407 module has one.
#pragma once

#include <cstdint>

// Writes what differs from the last values written. True at once for other modules.
bool UpdateMCUTransmissionRate(std::uint16_t a, std::uint16_t b, std::uint16_t c, std::uint16_t d);
// The values that a connection applies and the end of a run restores.
bool ApplyDefaultTransmissionRate();
