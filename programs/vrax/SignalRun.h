// The samples of a signal as an instrument would be sent them, computed without one: the process
// runs beside a simulated instrument that takes packets as fast as they come.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "Parameters.h"
#include "SignalOptions.h"

namespace vrax {

// The same number of samples in each vector; those of what does not play are empty.
struct SignalRun {
    double rate = 0.0;             // samples a second
    std::vector<double> ecgMv;     // the AC part: signal, noise and overshoot
    std::vector<double> dcMv;      // DC offset and the slow tests
    std::vector<double> pacingMv;  // the pulses, which the instrument makes itself
    std::array<std::vector<double>, kPpgChannels> ppgMv;  // without the DC level
};

// Plays one channel for so many seconds from its start on. A signal that ends before is shorter.
// Ends the connection. Throws Failure.
SignalRun RunSignal(const SignalRequest& request, int channel, double seconds);

// Throws Failure when so many seconds cannot be computed.
void CheckRunSeconds(double seconds);

// All channels that are asked for, the PPG with the first.
std::vector<SignalRun> RunChannels(const SignalRequest& request, double seconds);

}  // namespace vrax
