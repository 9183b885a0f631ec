#pragma once

#include "Program.h"

namespace vrax {

// vrax firmware show|burn: image files and the programs of the instrument.
void AddFirmwareCommand(CLI::App& app, Program& program);

}  // namespace vrax
