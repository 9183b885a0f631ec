// What the simulated instrument received, what the player asked for, and the figures of the run, as
// they stand in their files.
//
// The readers throw std::runtime_error with one clear sentence.
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <vector>

namespace ecg {

// Evenly spaced samples.
struct Recording {
    double start = 0;  // s, of the first sample
    double rate = 0;   // samples a second
    std::vector<double> mv;
    std::vector<double> pulseMv;     // the pacing pulses, which the instrument makes by itself
    std::vector<std::size_t> marks;  // the samples with which the stream lets a pulse start

    double TimeAt(std::size_t index) const { return start + static_cast<double>(index) / rate; }
    double End() const { return TimeAt(mv.size()); }
};

// What was asked, and the time of the signal when it was.
struct Request {
    double time = 0;     // s
    double bpm = 0;      // beats a minute
    double mv = 0;       // QRS complex, peak to peak
    double pulseMv = 0;  // of one pacing pulse a beat; 0: no pacing
    double pulseMs = 0;
};

// The figures that the instrument counted.
struct Statistics {
    std::uint64_t packets = 0;
    std::uint64_t samples = 0;
    std::uint64_t sequenceErrors = 0;
    std::uint64_t modeErrors = 0;
    std::uint64_t underruns = 0;
    std::uint64_t refusals = 0;
};

// Lines of time_s,dc_mv,ac_mv,marker,pulse_mv under a header; all but the DC column is taken. The
// last column may be missing.
Recording ReadRecording(std::istream& in, const std::string& name);
Recording ReadRecordingFile(const std::string& path);

// Lines of time_s,bpm,mv,pulse_mv,pulse_ms under a header, in order of time. The last two columns
// may be missing.
std::vector<Request> ReadRequests(std::istream& in, const std::string& name);
std::vector<Request> ReadRequestsFile(const std::string& path);

// The line with "packets=..." of the instrument's messages; other lines are passed over.
Statistics ReadStatistics(std::istream& in, const std::string& name);
Statistics ReadStatisticsFile(const std::string& path);

}  // namespace ecg
