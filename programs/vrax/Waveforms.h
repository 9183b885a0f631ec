// vrax waveforms: the built-in waveforms and the tables behind them.
#pragma once

#include "Program.h"

namespace vrax {

void AddWaveformsCommand(CLI::App& app, Program& program);

}  // namespace vrax
