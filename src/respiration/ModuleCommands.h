// The external module's settings on the wire. An operation of several exchanges holds the line over
// all of them and stops at the first that fails.
#pragma once

#include <cstdint>

constexpr unsigned kModuleWords = 4;

// Codes of the first, second and third resistance, and of the baseline.
struct ModuleSettings {
    std::uint16_t words[kModuleWords];
};

bool ReadModuleSettings(ModuleSettings& settings);
bool WriteModuleSettings(const ModuleSettings& settings);

// The index goes out with the code of the leads that are on. True when a whole reply came.
bool WriteModuleBaseline(int index);

// Read, changed, written back.
bool SetModuleBaselineCode(std::uint16_t code);
bool SetModuleResistance(double ohms);
// The baseline of an index and its code.
bool SetModuleBaseline(int index);

// The output leads have changed: the module's baseline setting follows them.
void UpdateModuleLeads();
