// The signal that was received, as comma-separated values: time_s,dc_mv,ac_mv,marker,pulse_mv, and
// columns of the modules when they play.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "instrument/SimulatedInstrument.h"

namespace instrument {

// Columns after the first five, two a bit: bits 0 to 2 ppg<n>_dc_mv and ppg<n>_ac_mv, bit 3
// respiration_ohm and baseline_ohm.
using CsvColumns = unsigned;
CsvColumns ColumnsOf(std::span<const Sample> samples);

// The lines of `samples`, the same in every locale. Six decimals; nine for times that need them.
// A value that does not play is empty.
void AppendCsv(std::string& text, std::span<const Sample> samples, CsvColumns columns = 0);

class CsvFile {
public:
    // Throws std::runtime_error with one sentence.
    explicit CsvFile(const std::string& path);
    ~CsvFile();
    CsvFile(const CsvFile&) = delete;
    CsvFile& operator=(const CsvFile&) = delete;

    void Write(std::span<const Sample> samples);
    // False when a line could not be written. The file is complete after this: until then, lines
    // from before a module began to play lack its columns.
    bool Close();

private:
    // So many lines with these columns.
    struct Section {
        CsvColumns columns;
        std::uint64_t lines;
    };

    void Begin(CsvColumns columns);
    bool Widen();

    const std::string path_;
    std::FILE* file_;
    bool isGood_ = true;
    std::vector<Section> sections_;
    std::string text_;
};

}  // namespace instrument
