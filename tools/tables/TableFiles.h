// The files that a build embeds: each table as 32-bit numbers in the byte order of this machine, and
// one line of text that tells what they are.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

struct TableSources {
    std::filesystem::path ec13;   // the folder of the descriptions, or of the records
    std::filesystem::path noise;  // the description, or the folder of the records
    std::filesystem::path cal;
    std::filesystem::path ane20000;
    bool hasEc13Records = false;
    bool hasNoiseRecords = false;
};

inline constexpr const char* kEc13File = "iec227w.bin";
inline constexpr const char* kCalFile = "iec251w.bin";
inline constexpr const char* kAneFile = "ane20000.bin";
inline constexpr const char* kNoiseFile = "noise.bin";
inline constexpr const char* kIdentityFile = "identity.txt";

// Writes the five files into a folder, which is made when missing.
void BuildTables(const TableSources& sources, const std::filesystem::path& out);

// "@(#)vrax tables: EC13 likeness, ..."
std::string TablesIdentity(const TableSources& sources);

// The identity in a library or program that holds tables; nothing where there is none.
std::optional<std::string> FindTablesIdentity(const std::filesystem::path& file);
