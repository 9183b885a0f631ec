#include "BuiltInWaveforms.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string_view>

#include <dlfcn.h>

#include "vrax.h"

namespace vrax {

namespace {

constexpr double kMicrovoltsPerMv = 1000.0;
constexpr int kAneRate = 1000;  // samples a second of the table: one second is all of it
constexpr int kNoiseRate = 360;
constexpr int kNoiseSamples = 650000;
constexpr std::string_view kIdentityMark = "@(#)vrax tables: ";

const char* const kIec227Names[] = {
    "AAMI 3A / IEC A1",    "AAMI 3B / IEC A2",    "AAMI 3C / IEC A3",    "AAMI 3D / IEC A4",
    "AAMI 4A / IEC B1",    "AAMI 4A / IEC B1 x2", "AAMI 4A / IEC B1 /2", "AAMI 4B / IEC B2",
    "AAMI 4B / IEC B2 x2", "AAMI 4B / IEC B2 /2",
};
const char* const kIec251Names[] = {
    "CAL05000", "CAL10000", "CAL15000", "CAL20000", "CAL30000", "CAL50000", "CAL20002", "CAL20100",
    "CAL20110", "CAL20160", "CAL20200", "CAL20210", "CAL20260", "CAL20500", "CAL20502", "CAL40000",
};
const char* const kIec247Names[] = {"Test pattern 1", "Test pattern 2", "Test pattern 3",
                                    "Test pattern 4", "Test pattern 5"};
const char* const kAneNames[] = {"I", "II", "III", "V1", "V2", "V3", "V4", "V5", "V6"};
const char* const kNoiseNames[] = {"electrode motion", "baseline wander", "muscle artefact"};

template <class Sample>
BuiltInWaveform Measure(int number, const char* name, const Sample* samples, unsigned count,
                        unsigned rate, double perMv)
{
    BuiltInWaveform found{number, name};
    if (samples == nullptr || count == 0 || rate == 0) return found;
    const auto [lowest, highest] = std::minmax_element(samples, samples + count);
    found.rate = rate;
    found.seconds = static_cast<double>(count) / rate;
    found.lowest = static_cast<double>(*lowest) / perMv;
    found.highest = static_cast<double>(*highest) / perMv;
    return found;
}

// Of a family whose samples a call hands out.
template <class Sample, std::size_t N>
std::vector<BuiltInWaveform> MeasureAll(const Sample* (*get)(int, unsigned*, unsigned*),
                                        const char* const (&names)[N], double perMv)
{
    std::vector<BuiltInWaveform> waveforms;
    for (std::size_t i = 0; i < N; ++i) {
        unsigned count = 0;
        unsigned rate = 0;
        const auto number = static_cast<int>(i);
        const Sample* samples = get(number, &count, &rate);
        waveforms.push_back(Measure(number, names[i], samples, count, rate, perMv));
    }
    return waveforms;
}

// Of what is computed into an array alone.
BuiltInWaveform Render(int number, const char* name, unsigned function, int count, int rate)
{
    std::vector<double> samples(static_cast<std::size_t>(count));
    if (GetRawDataArrayEx(function, samples.data(), count, rate) <= 0) return {number, name};
    return Measure(number, name, samples.data(), static_cast<unsigned>(count),
                   static_cast<unsigned>(rate), 1.0);
}

std::vector<BuiltInWaveform> MeasureAne()
{
    std::vector<BuiltInWaveform> waveforms;
    for (int lead = 0; lead < static_cast<int>(std::size(kAneNames)); ++lead) {
        VRAXSetANE20000Lead(lead);
        waveforms.push_back(Render(lead, kAneNames[lead], OUTPUT_ANE20000, kAneRate, kAneRate));
    }
    VRAXSetANE20000Lead(0);
    return waveforms;
}

std::vector<BuiltInWaveform> MeasureNoise()
{
    std::vector<BuiltInWaveform> waveforms;
    for (int record = 1; record <= static_cast<int>(std::size(kNoiseNames)); ++record) {
        VRAXSetNSTNoise(record, 1.0);
        waveforms.push_back(
            Render(record, kNoiseNames[record - 1], OUTPUT_OFF, kNoiseSamples, kNoiseRate));
    }
    VRAXSetNSTNoise(0, 1.0);
    return waveforms;
}

}  // namespace

std::vector<WaveformFamily> MeasureWaveforms()
{
    return {
        {"IEC 60601-2-27 / AAMI EC13", "VRAXSetSpecialWave227", OUTPUT_IEC227,
         "vrax play iec227 --wave227 N", "EC13",
         MeasureAll(GetSpecialWave227Array, kIec227Names, kMicrovoltsPerMv)},
        {"IEC 60601-2-51 / 60601-2-25", "VRAXSetSpecialWave251", OUTPUT_IEC251,
         "vrax play iec251 --wave251 N", "CAL",
         MeasureAll(GetSpecialWave251Array, kIec251Names, kMicrovoltsPerMv)},
        {"IEC 60601-2-47", "VRAXSetSpecialWave247", OUTPUT_IEC247, "vrax play iec247 --wave247 N",
         "", MeasureAll(GetSpecialWave247Array, kIec247Names, 1.0)},
        {"ANE20000", "VRAXSetANE20000Lead", OUTPUT_ANE20000, "vrax play ane20000 --ane-lead N",
         "ANE20000", MeasureAne()},
        {"Noise stress", "VRAXSetNSTNoise", -1, "vrax play ecg --stress-noise em", "noise",
         MeasureNoise()},
    };
}

std::string FindLibraryFile()
{
    Dl_info info{};
    const auto* place = reinterpret_cast<const void*>(&VRAXGetSDKVersion);
    return dladdr(place, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

// The interface has no call for it, but the library carries a line for tools that look into files.
std::vector<TableSource> FindTableSources()
{
    std::ifstream file(FindLibraryFile(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const std::size_t mark = bytes.find(kIdentityMark);
    if (mark == std::string::npos) return {};
    std::string_view line(bytes.c_str() + mark + kIdentityMark.size());
    std::vector<TableSource> sources;
    while (!line.empty()) {
        const std::string_view item = line.substr(0, line.find(", "));
        const std::size_t space = item.find(' ');
        if (space == item.npos) return {};
        sources.push_back(
            {std::string(item.substr(0, space)), std::string(item.substr(space + 1))});
        line.remove_prefix(std::min(item.size() + 2, line.size()));
    }
    return sources;
}

}  // namespace vrax
