// The waveforms that the library has built in, measured.
#pragma once

#include <string>
#include <vector>

namespace vrax {

struct BuiltInWaveform {
    int number;  // as its selector takes it
    std::string name;
    double rate = 0.0;  // samples a second
    double seconds = 0.0;
    double lowest = 0.0;  // mV
    double highest = 0.0;
};

struct WaveformFamily {
    std::string standard;
    std::string selector;  // the call that takes the number
    int function;          // OutputFunction_E that plays it; -1 when it is added to any
    std::string words;     // of the command line that plays number N
    std::string table;     // its name in the identity of the tables; empty when it is computed
    std::vector<BuiltInWaveform> waveforms;
};

// Changes the selected waveforms and noise; they are the defaults afterwards.
std::vector<WaveformFamily> MeasureWaveforms();

struct TableSource {
    std::string table;   // such as "EC13"
    std::string source;  // "likeness" or "public record"
};

// What the library that runs says about its tables; empty when it says nothing.
std::vector<TableSource> FindTableSources();

// The file of that library.
std::string FindLibraryFile();

}  // namespace vrax
