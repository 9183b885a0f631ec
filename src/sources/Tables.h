// The constant tables of the built-in waveforms and of the noise records.
//
// They are made at build time, from the descriptions in sources/tables/ or from public records, and
// are read-only data of the library. docs/tables.md tells what each one holds.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr std::size_t kIec227Waveforms = 10;
inline constexpr std::size_t kIec227RowSamples = 66000;
inline constexpr int kIec227Rate = 720;  // samples a second
inline constexpr std::size_t kIec251Waveforms = 16;
inline constexpr std::size_t kIec251RowSamples = 1000;
inline constexpr int kIec251Rate = 1000;  // samples a second
inline constexpr std::size_t kAne20000Leads = 9;
inline constexpr std::size_t kAne20000RowSamples = 1000;
inline constexpr int kAne20000Rate = 1000;  // samples a second
inline constexpr std::size_t kNoiseRecords = 3;
inline constexpr std::size_t kNoiseRecordSamples = 650000;
inline constexpr int kNoiseRate = 360;  // samples a second

#define VRAX_TABLE extern "C" __attribute__((visibility("hidden")))

// IEC 60601-2-27 / AAMI EC13 in uV; 0 from the end of a record to the end of its row.
VRAX_TABLE const std::int32_t IEC227W[kIec227Waveforms][kIec227RowSamples];

// IEC 60601-2-25, CAL05000 to CAL40000, in uV.
VRAX_TABLE const std::int32_t IEC251W[kIec251Waveforms][kIec251RowSamples];

// ANE20000, leads I, II, III, V1 to V6, in uV.
VRAX_TABLE const std::int32_t ANE20000[kAne20000Leads][kAne20000RowSamples];

// Noise in uV: MA, EM and BW one after the other, then one 0 that is read as the sample after the
// last.
VRAX_TABLE const std::int32_t g_NoiseRecords[kNoiseRecords * kNoiseRecordSamples + 1];

// Which tables these are: "@(#)vrax tables: ...". `vrax-tables which` finds it in a file.
VRAX_TABLE const char g_TablesIdentity[];

#undef VRAX_TABLE
