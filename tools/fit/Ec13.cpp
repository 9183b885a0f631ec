#include "tools/fit/Ec13.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

#include "tools/fit/RepeatingCurve.h"
#include "tools/fit/TurningPoints.h"
#include "tools/tables/Record.h"

namespace {
constexpr double kRate = 720.0;  // samples a second, of all ten
constexpr double kMsPerSample = 1000.0 / kRate;
constexpr std::size_t kLeastSamples = 34000;  // the shortest has 34511

// The tachycardias start with a train of equal complexes.
constexpr std::size_t kComplexes = 41;
constexpr std::size_t kComplexSpacing = 540;  // samples
constexpr std::size_t kTrain = kComplexes * kComplexSpacing;
constexpr double kComplexBound = 14.0;  // uV
constexpr std::size_t kQuiet = 300;     // a sample between two complexes
constexpr std::size_t kMaxShift = 16;   // samples, between tachycardias that start a train

// Rows 0 to 3 repeat throughout. Periods in samples.
constexpr std::array<double, 4> kPeriods = {1077.0, 2876.0, 1438.0, 1438.0};
constexpr RepeatingSettings kRhythm{
    .msPerSample = kMsPerSample,
    .period = 0.0,  // of each waveform
    .repeatBound = 8.0,
    .wanderStep = 10.0,
    .wanderPrice = 1000.0,
    .swing = 200.0,
    .extremeBound = 36.0,
};

// The tachycardias: the same tape at three gains. The double one shows every extreme, so all values
// here are half of what counts there.
constexpr RepeatingSettings kTachycardia{
    .msPerSample = kMsPerSample,
    .period = 0.0,  // of each tape
    .repeatBound = 6.0,
    .wanderStep = 10.0,
    .wanderPrice = 450.0,
    .swing = 100.0,
    .extremeBound = 18.0,
};

struct Tachycardia {
    const char* piece;
    double period;                    // samples
    std::size_t rowOfDouble;          // fitted: its record starts earliest on the tape
    std::array<std::size_t, 3> rows;  // single, double, half
};
constexpr std::array<double, 3> kGains = {1.0, 2.0, 0.5};
constexpr std::array<Tachycardia, 2> kTachycardias = {{
    {"pieces/tachycardia-4a.txt", 2396.0, 5, {4, 5, 6}},
    {"pieces/tachycardia-4b.txt", 1106.0, 8, {7, 8, 9}},
}};

using Signal = std::vector<double>;

Signal Tail(const Signal& signal)
{
    return {signal.begin() + static_cast<Signal::difference_type>(kTrain), signal.end()};
}

DescriptionText StartWaveform(const Ec13Waveform& waveform, std::size_t samples)
{
    DescriptionText text;
    text.Comment(
        fmt::format("{}. A likeness of the public record {},", waveform.what, waveform.record));
    text.Comment("fitted by vrax-fit-waveforms; docs/waveform-fit.md tells how near it comes.");
    text.Line(fmt::format("name {}", waveform.name));
    text.Line(fmt::format("rate {}", NumberText(kRate)));
    text.Line(fmt::format("samples {}", samples));
    return text;
}

FittedFile FitRhythm(const Ec13Waveform& waveform, const Signal& signal, double period)
{
    RepeatingSettings settings = kRhythm;
    settings.period = period;
    DescriptionText text = StartWaveform(waveform, signal.size());
    AddRepeatingCurve(text, FitRepeatingCurve(signal, settings));
    text.Line("");
    text.Line("play repeats");
    text.Line("play wander");
    return {fmt::format("{}.txt", waveform.record), text.Text()};
}

// The complex of the trains, the same in all records but for their steps: averaged over them.
FittedFile FitComplex(const std::vector<Signal>& signals)
{
    Signal average(kComplexSpacing, 0.0);
    for (const Signal& signal : signals) {
        for (std::size_t i = 0; i < kTrain; ++i) {
            average[i % kComplexSpacing] += signal[i] - signal[kQuiet];
        }
    }
    for (double& value : average) value /= static_cast<double>(kComplexes * signals.size());
    DescriptionText text;
    text.Comment(
        "The triangular QRS complex at the start of the tachycardias, above the baseline.");
    text.AddShape("qrs", Join::kLines,
                  ChooseTurningPoints(average, kMsPerSample, Join::kLines, kComplexBound));
    return {"pieces/qrs.txt", text.Text()};
}

FittedFile FitTachycardia(const Tachycardia& tachycardia, const Signal& tape)
{
    RepeatingSettings settings = kTachycardia;
    settings.period = tachycardia.period;
    DescriptionText text;
    text.Comment("The tachycardia of three waveforms, which play it at gain 1, 2 and 1/2.");
    AddRepeatingCurve(text, FitRepeatingCurve(tape, settings));
    return {tachycardia.piece, text.Text()};
}

// Samples by which the record's tachycardia starts later on the tape than the tape's first sample.
std::size_t FindShift(const Signal& tape, const Signal& tail, double gain)
{
    std::size_t best = 0;
    double least = -1.0;
    for (std::size_t shift = 0; shift <= kMaxShift; ++shift) {
        double sum = 0.0;
        const std::size_t length = std::min(tail.size(), tape.size() - shift);
        for (std::size_t i = 0; i < length; ++i) {
            sum += std::abs(tail[i] / gain - tape[i + shift]);
        }
        const double mean = sum / static_cast<double>(length);
        if (least >= 0.0 && mean >= least) continue;
        least = mean;
        best = shift;
    }
    return best;
}

FittedFile DescribeTachycardia(const Ec13Waveform& waveform, const char* piece,
                               const Signal& signal, const Signal& tape, double gain)
{
    const double begin = static_cast<double>(kTrain) * kMsPerSample;
    const double shift = static_cast<double>(FindShift(tape, Tail(signal), gain)) * kMsPerSample;
    const std::string tail = fmt::format("at {} from {} gain {}", NumberText(begin - shift),
                                         NumberText(begin), NumberText(gain));
    DescriptionText text = StartWaveform(waveform, signal.size());
    text.Line("");
    text.Line("include pieces/qrs.txt");
    text.Line(fmt::format("include {}", piece));
    text.Line("");
    text.AddShape("baseline", Join::kLines, {{0.0, signal[kQuiet]}});
    text.Line("sequence train");
    text.Line(fmt::format("0 qrs repeat {} every {}", kComplexes,
                          NumberText(kMsPerSample * static_cast<double>(kComplexSpacing))));
    text.Line("");
    text.Line(fmt::format("play baseline until {}", NumberText(begin)));
    text.Line(fmt::format("play train until {}", NumberText(begin)));
    text.Line(fmt::format("play repeats {}", tail));
    text.Line(fmt::format("play wander {}", tail));
    return {fmt::format("{}.txt", waveform.record), text.Text()};
}
}  // namespace

const std::vector<Ec13Waveform>& Ec13Waveforms()
{
    static const std::vector<Ec13Waveform> waveforms = {
        {"aami3a", "AAMI 3A / IEC A1", "Ventricular bigeminy, 80/min"},
        {"aami3b", "AAMI 3B / IEC A2", "Slow alternating ventricular bigeminy, 60/min"},
        {"aami3c", "AAMI 3C / IEC A3", "Rapid alternating ventricular bigeminy, 120/min"},
        {"aami3d", "AAMI 3D / IEC A4", "Bidirectional systoles, 90/min"},
        {"aami4a", "AAMI 4A / IEC B1", "Ventricular tachycardia, 1 mV, 206/min"},
        {"aami4a_d", "AAMI 4A / IEC B1 x2", "Ventricular tachycardia, 2 mV, 206/min"},
        {"aami4a_h", "AAMI 4A / IEC B1 /2", "Ventricular tachycardia, 0.5 mV, 206/min"},
        {"aami4b", "AAMI 4B / IEC B2", "Ventricular tachycardia, 2 mV, 195/min"},
        {"aami4b_d", "AAMI 4B / IEC B2 x2", "Ventricular tachycardia, 4 mV, 195/min"},
        {"aami4b_h", "AAMI 4B / IEC B2 /2", "Ventricular tachycardia, 1 mV, 195/min"},
    };
    return waveforms;
}

std::vector<double> ReadMicrovolts(const std::filesystem::path& records, const std::string& record)
{
    const std::filesystem::path header = records / (record + ".hea");
    const Record read = ReadRecord(header);
    if (read.rate != kRate) throw TableError(header.string() + ": the rate is not 720 Hz");
    const std::vector<std::int32_t> microvolts = Microvolts(read.signals.front());
    if (microvolts.size() < kLeastSamples) {
        throw TableError(header.string() + ": the record is too short");
    }
    return {microvolts.begin(), microvolts.end()};
}

std::vector<FittedFile> FitEc13(const std::filesystem::path& records,
                                const std::function<void(const std::string&)>& progress)
{
    const std::vector<Ec13Waveform>& waveforms = Ec13Waveforms();
    std::vector<Signal> signals;
    signals.reserve(waveforms.size());
    for (const Ec13Waveform& waveform : waveforms) {
        signals.push_back(ReadMicrovolts(records, waveform.record));
    }
    std::vector<FittedFile> files;
    for (std::size_t row = 0; row < kPeriods.size(); ++row) {
        progress(waveforms[row].name);
        files.push_back(FitRhythm(waveforms[row], signals[row], kPeriods[row]));
    }
    files.push_back(FitComplex({signals.begin() + kPeriods.size(), signals.end()}));
    for (const Tachycardia& tachycardia : kTachycardias) {
        progress(waveforms[tachycardia.rows[0]].name + std::string(", x2 and /2"));
        Signal tape = Tail(signals[tachycardia.rowOfDouble]);
        for (double& value : tape) value /= kGains[1];
        files.push_back(FitTachycardia(tachycardia, tape));
        for (std::size_t i = 0; i < kGains.size(); ++i) {
            const std::size_t row = tachycardia.rows[i];
            files.push_back(DescribeTachycardia(waveforms[row], tachycardia.piece, signals[row],
                                                tape, kGains[i]));
        }
    }
    return files;
}
