// vrax render: the samples of a signal in a file.
#pragma once

#include "Program.h"

namespace vrax {

void AddRenderCommand(CLI::App& app, Program& program);

}  // namespace vrax
