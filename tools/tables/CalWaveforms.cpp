#include "tools/tables/CalWaveforms.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>

#include "tools/tables/TextFile.h"
#include "tools/tables/Turn.h"

namespace {
constexpr int kSamples = 1000;  // one second
constexpr std::int32_t kMaxMicrovolts = 20000;

QrsShape ReadShape(const TextLine& line, std::size_t index)
{
    static const std::map<std::string, QrsShape> shapes{{"rs100", QrsShape::kRs100},
                                                        {"r56", QrsShape::kR56},
                                                        {"q56", QrsShape::kQ56},
                                                        {"rs36", QrsShape::kRs36}};
    const auto found = shapes.find(line.Word(index));
    if (found == shapes.end()) line.Fail("'" + line.Word(index) + "' is no shape of a QRS");
    return found->second;
}

CalWaveform ReadWaveform(const TextLine& line)
{
    line.Require(6);
    CalWaveform waveform{line.Word(1),    line.Integer(2), ReadShape(line, 3),
                         line.Integer(4), line.Integer(5), {}};
    const bool isInRange = waveform.microvolts > 0 && waveform.microvolts <= kMaxMicrovolts &&
                           std::abs(waveform.st) <= waveform.microvolts;
    if (!isInRange) line.Fail("the amplitude or the ST level is out of range");
    const bool hasStRule = waveform.shape == QrsShape::kR56 || waveform.shape == QrsShape::kQ56;
    if (waveform.st != 0 && !hasStRule) line.Fail("this shape has no ST level");
    return waveform;
}

CalTiming ReadTiming(const TextLine& line)
{
    line.Require(8);
    return {line.Number(2), line.Integer(3), line.Integer(4),
            line.Number(5), line.Integer(6), line.Integer(7)};
}

int Rounded(double microvolts) { return static_cast<int>(std::lround(microvolts)); }

// The T wave rises from the ST level and falls to 0.
double SegmentAfterQrs(const CalWaveform& waveform, int sinceQrs)
{
    const CalTiming& timing = waveform.timing;
    const double peak = timing.tAmplitude * waveform.microvolts;
    const double from = sinceQrs < timing.tPeak ? waveform.st : 0.0;
    const double position = sinceQrs - timing.tPeak + timing.tLength / 2.0;
    return from + (peak - from) * RaisedCosine(position, timing.tLength);
}
}  // namespace

std::vector<CalWaveform> ReadCalWaveforms(const std::filesystem::path& file)
{
    std::vector<CalWaveform> waveforms;
    std::map<int, CalTiming> timings;
    for (const TextLine& line : ReadTextFile(file)) {
        if (line.Word(0) == "waveform") {
            waveforms.push_back(ReadWaveform(line));
        } else if (line.Word(0) == "timing") {
            timings[line.Integer(1)] = ReadTiming(line);
        } else {
            line.Fail("starts with neither 'waveform' nor 'timing'");
        }
    }
    for (CalWaveform& waveform : waveforms) {
        const auto timing = timings.find(waveform.beats);
        if (timing == timings.end() || waveform.beats < 1) {
            throw TableError(file.string() + ": no timing for the beats of " + waveform.name);
        }
        waveform.timing = timing->second;
    }
    return waveforms;
}

std::vector<std::int32_t> MakeCalWaveform(const CalWaveform& waveform)
{
    const CalTiming& timing = waveform.timing;
    const std::vector<std::int32_t> qrs = MakeQrs(waveform.shape, waveform.microvolts, waveform.st);
    const int qrsEnd = timing.qrsOnset + static_cast<int>(qrs.size()) - 1;
    const int beatLength = kSamples / waveform.beats;
    const int tEnd = qrsEnd + timing.tPeak + timing.tLength / 2;
    if (timing.qrsOnset < timing.pLength || timing.tLength / 2 > timing.tPeak ||
        tEnd > beatLength) {
        throw TableError(waveform.name + ": the waves do not fit into the beat");
    }
    std::vector<std::int32_t> beat(static_cast<std::size_t>(beatLength));
    for (int i = 0; i < timing.qrsOnset; ++i) {
        beat[static_cast<std::size_t>(i)] =
            Rounded(timing.pMicrovolts * RaisedCosine(i, timing.pLength));
    }
    std::ranges::copy(qrs, beat.begin() + timing.qrsOnset);
    for (int i = qrsEnd + 1; i < beatLength; ++i) {
        beat[static_cast<std::size_t>(i)] = Rounded(SegmentAfterQrs(waveform, i - qrsEnd));
    }
    std::vector<std::int32_t> samples;
    for (int i = 0; i < waveform.beats; ++i)
        samples.insert(samples.end(), beat.begin(), beat.end());
    return samples;
}
