// One sample of the ECG path: voltage, codes, graph and recording.
#pragma once

#include <cstdint>

// The codes at `t` seconds of play. With `ui` the graph callbacks see the sample, with `record` the
// raw recorder. On the thread that builds packets, under the interrupt lock.
void _GetECGVoltageData(double t, std::uint16_t* dcCode, std::int16_t* acCode, bool ui,
                        bool record);

// A fixed DC code that overrides the calibrated path; -1: none.
int GetFixedDcCode();
void SetFixedDcCode(int code);
