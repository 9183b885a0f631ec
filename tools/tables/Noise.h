// A likeness of a noise record: its length, third-octave levels and distribution of amplitudes, from
// a seed. Gaussian noise whose bands have the `drive` levels is bent, sample by sample, to the
// record's distribution; the drives are fitted so that the bands then have the record's levels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/tables/MonotoneCurve.h"

inline constexpr std::size_t kNoiseSamples = 650000;
inline constexpr double kNoiseRateHz = 360.0;

struct NoiseBand {
    int number;    // the centre is 10^(number / 10) Hz; kRestBand is all below the lowest
    double level;  // uV rms, of the record
    double drive;  // uV rms, of the Gaussian noise
};
inline constexpr int kLowestBand = -13;  // 0.05 Hz
inline constexpr int kHighestBand = 22;  // 158 Hz
inline constexpr int kRestBand = kLowestBand - 1;

struct NoiseDescription {
    std::string name;
    std::uint64_t seed = 0;
    double rms = 0.0;                   // uV, of the record
    std::vector<NoiseBand> bands;       // the rest, then rising
    std::vector<CurvePoint> quantiles;  // x: percent of the samples below, 0 to 100; y: uV
};

// In the order of the file; a TableError says what it refuses.
std::vector<NoiseDescription> ReadNoiseDescriptions(const std::filesystem::path& file);
std::string NoiseDescriptionText(const std::vector<NoiseDescription>& descriptions);

// kNoiseSamples samples in uV, the same on every machine.
std::vector<std::int32_t> MakeNoise(const NoiseDescription& description);

// uV rms in the bands from kRestBand to kHighestBand.
std::vector<double> BandLevels(const std::vector<std::int32_t>& samples);

// Derives a description from a record of kNoiseSamples samples.
NoiseDescription FitNoise(const std::string& name, std::uint64_t seed,
                          const std::vector<std::int32_t>& record);
