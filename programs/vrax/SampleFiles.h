// Files of samples: tables for other programs, and recordings that the library loads again.
#pragma once

#include <string>
#include <vector>

#include "NewFile.h"

namespace vrax {

struct SampleColumn {
    std::string name;
    std::vector<double> mv;
    double mostMv = 20.475;  // full scale of the formats with 16 bits
};

struct SampleTable {
    double rate = 0.0;                  // samples a second
    std::vector<SampleColumn> columns;  // of one length

    std::size_t Count() const { return columns.empty() ? 0 : columns.front().mv.size(); }
};

// Each writes the unfinished `files`, one but for WFDB.
// A line for each sample: time_s, then <name>_mv for each column.
void WriteCsv(const SampleTable& table, const NewFiles& files);
// The text format of VRAXLoadECGtxt().
void WriteText(const SampleTable& table, const NewFiles& files);
// EDF+ in microvolts, data records of one second; the last one is filled up with the last sample.
void WriteEdf(const SampleTable& table, const NewFiles& files);
// WFDB in format 16: the signal file and its header.
void WriteWfdb(const SampleTable& table, const NewFiles& files);

}  // namespace vrax
