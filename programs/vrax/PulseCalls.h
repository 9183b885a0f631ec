// The pulses of the PPG channels, from what a user gave to the calls of the library.
#pragma once

#include "Parameters.h"

namespace vrax {

// Whether a PPG channel is given.
bool HasPulse(const Values& values, int led);

// Throws Failure for parameters of a channel that its pulse does not have: the parts of the
// standard pulse with another shape, and a shape or levels beside a file.
void CheckPulses(const Values& values);

// Sets and enables the channels that are given. Throws Failure, which names the channel.
void SetPulses(const Values& values);

}  // namespace vrax
