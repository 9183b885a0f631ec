#include "tools/draw/Waveforms.h"

#include <algorithm>
#include <stdexcept>

#include <vrax.h>

namespace {

constexpr double kMicrovoltsPerMv = 1000.0;
constexpr int kLeadRate = 1000;
constexpr int kLeadSamples = 1000;
constexpr int kNoiseRate = 360;
constexpr double kNoiseSamples = 650000.0;  // of a record, after which it repeats
constexpr int kNoiseSeconds = 10;           // that are computed
constexpr double kPlainGain = 1.0;

template <typename Sample>
void Take(Waveform& wave, const Sample* samples, unsigned count, unsigned rate, double perMv)
{
    if (samples == nullptr || rate == 0)
        throw std::runtime_error(wave.name + ": not in the library");
    wave.rate = rate;
    wave.seconds = count / wave.rate;
    wave.mv.resize(count);
    std::transform(samples, samples + count, wave.mv.begin(),
                   [&](Sample sample) { return sample / perMv; });
}

void Compute(Waveform& wave, unsigned function, int count, int rate)
{
    wave.rate = rate;
    wave.mv.resize(static_cast<std::size_t>(count));
    if (GetRawDataArrayEx(function, wave.mv.data(), count, rate) != count) {
        throw std::runtime_error(wave.name + ": the library did not compute it");
    }
}

void LoadLead(Waveform& wave)
{
    if (VRAXSetANE20000Lead(wave.number) != 0)
        throw std::runtime_error(wave.name + ": no such lead");
    Compute(wave, OUTPUT_ANE20000, kLeadSamples, kLeadRate);
    wave.seconds = kLeadSamples / wave.rate;
}

// Noise is added to every output function, to 0 mV of the output that is off as well.
void LoadNoise(Waveform& wave)
{
    if (VRAXSetNSTNoise(wave.number, kPlainGain) != 0) {
        throw std::runtime_error(wave.name + ": the noise cannot be selected");
    }
    Compute(wave, OUTPUT_OFF, kNoiseSeconds * kNoiseRate, kNoiseRate);
    VRAXSetNSTNoise(0, kPlainGain);
    wave.seconds = kNoiseSamples / wave.rate;
}

}  // namespace

const std::vector<FamilyFacts>& AllFamilies()
{
    static const std::vector<FamilyFacts> families = {
        {Family::kIec227,
         "iec227",
         {"AAMI 3A / IEC A1", "AAMI 3B / IEC A2", "AAMI 3C / IEC A3", "AAMI 3D / IEC A4",
          "AAMI 4A / IEC B1", "AAMI 4A / IEC B1 x2", "AAMI 4A / IEC B1 /2", "AAMI 4B / IEC B2",
          "AAMI 4B / IEC B2 x2", "AAMI 4B / IEC B2 /2"}},
        {Family::kIec251,
         "iec251",
         {"CAL05000", "CAL10000", "CAL15000", "CAL20000", "CAL30000", "CAL50000", "CAL20002",
          "CAL20100", "CAL20110", "CAL20160", "CAL20200", "CAL20210", "CAL20260", "CAL20500",
          "CAL20502", "CAL40000"}},
        {Family::kAne20000, "ane20000", {"I", "II", "III", "V1", "V2", "V3", "V4", "V5", "V6"}},
        {Family::kIec247,
         "iec247",
         {"Test pattern 1", "Test pattern 2", "Test pattern 3", "Test pattern 4",
          "Test pattern 5"}},
        {Family::kNoise, "noise", {"electrode motion", "baseline wander", "muscle artefact"}},
    };
    return families;
}

const FamilyFacts& FactsOf(Family family)
{
    return *std::find_if(AllFamilies().begin(), AllFamilies().end(),
                         [&](const FamilyFacts& facts) { return facts.family == family; });
}

int NumberOf(Family family, std::size_t index)
{
    return static_cast<int>(index) + (family == Family::kNoise ? 1 : 0);
}

Waveform LoadWaveform(Family family, std::size_t index)
{
    Waveform wave;
    wave.name = FactsOf(family).names.at(index);
    wave.number = NumberOf(family, index);
    unsigned count = 0;
    unsigned rate = 0;
    switch (family) {
        case Family::kIec227: {
            const int* samples = GetSpecialWave227Array(wave.number, &count, &rate);
            Take(wave, samples, count, rate, kMicrovoltsPerMv);
            break;
        }
        case Family::kIec251: {
            const int* samples = GetSpecialWave251Array(wave.number, &count, &rate);
            Take(wave, samples, count, rate, kMicrovoltsPerMv);
            break;
        }
        case Family::kIec247: {
            const double* samples = GetSpecialWave247Array(wave.number, &count, &rate);
            Take(wave, samples, count, rate, 1.0);
            break;
        }
        case Family::kAne20000: LoadLead(wave); break;
        case Family::kNoise: LoadNoise(wave); break;
    }
    return wave;
}
