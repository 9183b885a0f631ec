#pragma once

#include "Program.h"

namespace vrax {

// vrax doctor: looks at everything that can keep an instrument from working, and gives advice.
void AddDoctorCommand(CLI::App& app, Program& program);

}  // namespace vrax
