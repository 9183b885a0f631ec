#pragma once

#include "Program.h"

namespace vrax {

// vrax calibration show|save|write|clear: the ECG DC table of the instrument.
void AddCalibrationCommand(CLI::App& app, Program& program);

}  // namespace vrax
