// The signal that was received, as comma-separated values: time_s,dc_mv,ac_mv,marker,pulse_mv.
#pragma once

#include <cstdio>
#include <span>
#include <string>

#include "instrument/SimulatedInstrument.h"

namespace instrument {

// The lines of `samples`, the same in every locale. Six decimals; nine for times that need them.
void AppendCsv(std::string& text, std::span<const Sample> samples);

class CsvFile {
public:
    // Throws std::runtime_error with one sentence.
    explicit CsvFile(const std::string& path);
    ~CsvFile();
    CsvFile(const CsvFile&) = delete;
    CsvFile& operator=(const CsvFile&) = delete;

    void Write(std::span<const Sample> samples);
    // False when a line could not be written. The file is complete after this.
    bool Close();

private:
    std::FILE* file_;
    bool isGood_ = true;
    std::string text_;
};

}  // namespace instrument
