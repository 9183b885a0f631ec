// Records in WFDB form: a text header (.hea) and a file of samples (.dat), format 16 or 212.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

struct RecordSignal {
    double unitsPerMv;
    int zero;  // the value of 0 mV
    std::vector<std::int16_t> values;
};

struct Record {
    std::string name;
    double rate;  // samples a second
    std::vector<RecordSignal> signals;
};

// Reads `DIR/NAME.hea` and the samples that it names. Refuses, with a TableError, a file that is
// missing or shorter or longer than the header says, another format, and samples of any signal
// whose first value or 16-bit sum is not the header's.
Record ReadRecord(const std::filesystem::path& header);

// Rounded to the nearest microvolt, halves away from zero.
std::vector<std::int32_t> Microvolts(const RecordSignal& signal);
