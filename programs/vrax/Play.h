// vrax play: streams a signal to the instrument until it is stopped.
#pragma once

#include "Program.h"

namespace vrax {

void AddPlayCommand(CLI::App& app, Program& program);

}  // namespace vrax
