// The calibration waveforms of IEC 60601-2-25: the QRS by an exact rule, P and T estimated.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

enum class QrsShape { kRs100, kR56, kQ56, kRs36 };

struct CalTiming {  // ms from the start of the beat
    double pMicrovolts;
    int pLength;
    int qrsOnset;       // the last sample at 0
    double tAmplitude;  // part of the QRS amplitude
    int tPeak;          // from the last sample of the QRS
    int tLength;
};

struct CalWaveform {
    std::string name;
    std::int32_t microvolts;
    QrsShape shape;
    std::int32_t st;  // uV
    int beats;        // in the second that the table holds
    CalTiming timing;
};

// In the order of the file; a TableError says what it refuses.
std::vector<CalWaveform> ReadCalWaveforms(const std::filesystem::path& file);

// One sample a millisecond from the onset on, uV; the first is 0, the last the ST level.
std::vector<std::int32_t> MakeQrs(QrsShape shape, std::int32_t microvolts, std::int32_t st);

// One second at 1000 samples a second, uV.
std::vector<std::int32_t> MakeCalWaveform(const CalWaveform& waveform);
