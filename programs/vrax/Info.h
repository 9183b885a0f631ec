#pragma once

#include "Program.h"

namespace vrax {

// vrax info: what the instrument is.
void AddInfoCommand(CLI::App& app, Program& program);

}  // namespace vrax
