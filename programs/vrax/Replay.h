// vrax replay: makes the calls of a log again.
#pragma once

#include "Program.h"

namespace vrax {

void AddReplayCommand(CLI::App& app, Program& program);

}  // namespace vrax
