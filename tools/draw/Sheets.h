// Which waveforms stand on which sheet.
#pragma once

#include <vector>

#include "tools/draw/SheetLayout.h"

// The sheets of a family with what the library plays; throws as LoadWaveform().
std::vector<Sheet> SheetsOf(Family family);
