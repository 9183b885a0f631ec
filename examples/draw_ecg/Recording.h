// What the simulated instrument received, what the player asked for, and the figures of the run, as
// they stand in their files.
//
// The readers throw std::runtime_error with one clear sentence.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <vector>

namespace ecg {

// What a PPG channel was driven with.
struct PpgTrace {
    std::vector<double> dcMv;
    std::vector<double> acMv;
};
constexpr std::size_t kPpgChannels = 3;

// Evenly spaced samples.
struct Recording {
    double start = 0;  // s, of the first sample
    double rate = 0;   // samples a second
    std::vector<double> mv;
    std::vector<double> pulseMv;     // the pacing pulses, which the instrument makes by itself
    std::vector<std::size_t> marks;  // the samples with which the stream lets a pulse start

    // As long as `mv` where they play, else empty. NaN where there was nothing.
    std::array<PpgTrace, kPpgChannels> ppg;
    std::vector<double> respirationOhm;
    std::vector<double> baselineOhm;

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

// What was asked of the ECG with a PPG module. A channel that does not play has an AC part of 0.
struct PpgRequest {
    double time = 0;          // s
    double bpm = 0;           // beats and pulses a minute
    double mv = 0;            // QRS complex, peak to peak
    double transit = 0;       // s from the R wave to the peak of the pulse
    double breaths = 0;       // a minute; 0: none
    double exhale = 0;        // times as long as the inhalation
    double depthPercent = 0;  // how far a breath changes the levels of a channel
    struct Level {
        double dcMv = 0;  // the top of the pulse
        double acMv = 0;  // peak to peak
    };
    std::array<Level, kPpgChannels> levels;
};

// What was asked of the ECG and of the external respiration module.
struct RespirationRequest {
    double time = 0;         // s
    double bpm = 0;          // beats a minute
    double mv = 0;           // QRS complex, peak to peak
    double variation = 0;    // ohms, peak to peak
    double breaths = 0;      // a minute
    double exhale = 0;       // times as long as the inhalation
    double baselineOhm = 0;  // ohms
    double apnea = 0;        // s at the end of every minute
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

// Lines of time_s,dc_mv,ac_mv,marker,pulse_mv under a header; all but the DC column is taken.
// pulse_mv may be missing, and columns of the modules may follow, the fields of which may be empty.
Recording ReadRecording(std::istream& in, const std::string& name);
Recording ReadRecordingFile(const std::string& path);

// Lines of time_s,bpm,mv,pulse_mv,pulse_ms under a header, in order of time. The last two columns
// may be missing.
std::vector<Request> ReadRequests(std::istream& in, const std::string& name);
std::vector<Request> ReadRequestsFile(const std::string& path);

// Lines under a header with a column for each member, times in seconds apart from transit_ms, and
// variation_mohm in milliohms.
std::vector<PpgRequest> ReadPpgRequests(std::istream& in, const std::string& name);
std::vector<PpgRequest> ReadPpgRequestsFile(const std::string& path);
RespirationRequest ReadRespirationRequest(std::istream& in, const std::string& name);
RespirationRequest ReadRespirationRequestFile(const std::string& path);

// The line with "packets=..." of the instrument's messages; other lines are passed over.
Statistics ReadStatistics(std::istream& in, const std::string& name);
Statistics ReadStatisticsFile(const std::string& path);

}  // namespace ecg
