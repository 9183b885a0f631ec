// What the four tables hold: shapes, the names of their rows and where the samples come from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

using Samples = std::vector<std::int32_t>;  // uV

struct NamedSamples {
    std::string name;
    Samples microvolts;
};

struct Ec13Row {
    const char* record;
    std::size_t samples;
    double unitsPerMv;  // of the published record
};
inline constexpr Ec13Row kEc13Rows[] = {
    {"aami3a", 43081, 130.0},   {"aami3b", 43142, 130.0}, {"aami3c", 43144, 130.0},
    {"aami3d", 34511, 130.0},   {"aami4a", 65211, 80.0},  {"aami4a_d", 65214, 40.0},
    {"aami4a_h", 65207, 160.0}, {"aami4b", 65238, 80.0},  {"aami4b_d", 65239, 40.0},
    {"aami4b_h", 65237, 160.0},
};
inline constexpr int kEc13Zero = 2048;  // the value of 0 mV
inline constexpr double kEc13RateHz = 720.0;
inline constexpr std::size_t kEc13RowSamples = 66000;

inline constexpr const char* kNoiseRecordNames[] = {"ma", "em", "bw"};

// The rows of a table in their order, without the zeros that fill up a row. These throw a
// TableError when a file is missing or is not what the table needs.
std::vector<NamedSamples> Ec13FromRecords(const std::filesystem::path& folder);
std::vector<NamedSamples> Ec13FromDescriptions(const std::filesystem::path& folder);
std::vector<NamedSamples> NoiseFromRecords(const std::filesystem::path& folder);
std::vector<NamedSamples> NoiseFromDescription(const std::filesystem::path& file);
std::vector<NamedSamples> CalFromDescription(const std::filesystem::path& file);
std::vector<NamedSamples> AneFromDescription(const std::filesystem::path& file);

// All rows one after the other; rows shorter than `rowSamples` end with zeros.
Samples JoinRows(const std::vector<NamedSamples>& rows, std::size_t rowSamples);
