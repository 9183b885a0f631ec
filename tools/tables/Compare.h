// How far tables are from records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/tables/Families.h"

struct Difference {
    std::string name;
    std::size_t samples;   // of the record
    std::int32_t largest;  // uV, without sign
    double rms;            // uV
    double tableRms;       // uV, of the table's samples
    double recordRms;      // uV
    bool hasZerosBehind;   // to the end of the row
};

// One entry a record, the rows of the table taken in the same order.
std::vector<Difference> CompareTable(const std::filesystem::path& table, std::size_t rowSamples,
                                     const std::vector<NamedSamples>& records);

std::string DifferencesText(const std::vector<Difference>& differences);

// Every sample equal, and zeros behind.
bool AreExact(const std::vector<Difference>& differences);
