// The lines with which a person or a script makes the instrument misbehave.
#pragma once

#include <string>

#include "instrument/SimulatedInstrument.h"

namespace instrument {

// Carries out one line; what is to be told about it, without a line end. Unknown lines change
// nothing and are told so.
std::string RunControlLine(SimulatedInstrument& instrument, const std::string& line);

std::string ControlHelp();

// "port /dev/ttyACM0, plugged, ..." and the figures of the stream in one line.
std::string StatusLine(const SimulatedInstrument& instrument);
// "packets=... samples=... ": for scripts to read.
std::string SummaryLine(const SimulatedInstrument& instrument);

}  // namespace instrument
