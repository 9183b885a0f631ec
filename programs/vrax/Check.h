// vrax check: what the library's loaders make of a recording, and why.
#pragma once

#include "Program.h"

namespace vrax {

void AddCheckCommand(CLI::App& app, Program& program);

}  // namespace vrax
