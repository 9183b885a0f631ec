// The ten waveforms of IEC 60601-2-27 / AAMI EC13: from the public records to descriptions.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

struct Ec13Waveform {
    const char* record;
    const char* name;
    const char* what;  // in words
};

// In the order of the table's rows.
const std::vector<Ec13Waveform>& Ec13Waveforms();

struct FittedFile {
    std::string path;  // below the directory of the descriptions
    std::string text;
};

// Every description and the pieces they share. `progress` is told what comes next. Throws
// TableError when a record is missing or is not the one that is expected.
std::vector<FittedFile> FitEc13(const std::filesystem::path& records,
                                const std::function<void(const std::string&)>& progress);

// Of a record's first signal.
std::vector<double> ReadMicrovolts(const std::filesystem::path& records, const std::string& record);
