// vrax plot: a signal on ECG paper.
#pragma once

#include "Program.h"

namespace vrax {

void AddPlotCommand(CLI::App& app, Program& program);

}  // namespace vrax
