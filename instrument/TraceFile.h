// Every exchange with time stamps, one line a direction, for people to read.
#pragma once

#include <cstdio>
#include <string>

#include "instrument/SimulatedInstrument.h"

namespace instrument {

// Times are seconds since `start`.
std::string TraceLines(const Exchange& exchange, Clock::time_point start);
std::string TraceLine(const Refusal& refusal, Clock::time_point start);

class TraceFile {
public:
    // Throws std::runtime_error with one sentence.
    explicit TraceFile(const std::string& path);
    ~TraceFile();
    TraceFile(const TraceFile&) = delete;
    TraceFile& operator=(const TraceFile&) = delete;

    void Write(const Exchange& exchange);
    void Write(const Refusal& refusal);
    bool Close();

private:
    void Write(const std::string& lines);

    std::FILE* file_;
    bool isGood_ = true;
    const Clock::time_point start_ = Clock::now();
};

}  // namespace instrument
