// What a freshly made instrument carries in its flash.
#pragma once

#include "instrument/Flash.h"
#include "instrument/SimulatedInstrument.h"

namespace instrument {

// The main record, and the module's record and tables when a module is fitted. The DC calibration
// stays erased: the host then takes its default table.
void ProgramFactoryRecords(Flash& flash, const Options& options);

// The main and the module record alone, as the options state them.
void ProgramModelRecords(Flash& flash, const Options& options);

constexpr unsigned kModelWithTwoChannels = 0x3407;  // asks its own board for versions

}  // namespace instrument
