// The likenesses of the noise records: length, RMS, crest, distribution and third-octave levels,
// against the public records where those are at hand, else against the figures of the description.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "support/PublicRecords.h"
#include "tools/tables/Noise.h"
#include "tools/tables/TextFile.h"

namespace {
using Samples = std::vector<std::int32_t>;

constexpr double kRateHz = 360.0;
constexpr double kMostDb = 2.0;

double Rms(const Samples& samples)
{
    double sum = 0.0;
    for (const double sample : samples) sum += sample * sample;
    return std::sqrt(sum / static_cast<double>(samples.size()));
}

double Crest(const Samples& samples)
{
    const auto [lowest, highest] = std::minmax_element(samples.begin(), samples.end());
    return std::max(-*lowest, *highest) / Rms(samples);
}

double Quantile(Samples samples, double percent)
{
    const auto place =
        static_cast<std::ptrdiff_t>(percent / 100.0 * static_cast<double>(samples.size()));
    std::nth_element(samples.begin(), samples.begin() + place, samples.end());
    return samples[static_cast<std::size_t>(place)];
}

// A transform of a power of two, in place.
void Transform(std::vector<std::complex<double>>& values)
{
    const std::size_t length = values.size();
    for (std::size_t i = 1, j = 0; i < length; ++i) {
        std::size_t bit = length >> 1;
        for (; (j & bit) != 0; bit >>= 1) j ^= bit;
        j ^= bit;
        if (i < j) std::swap(values[i], values[j]);
    }
    for (std::size_t half = 1; half < length; half *= 2) {
        for (std::size_t k = 0; k < half; ++k) {
            const auto turn =
                std::polar(1.0, -M_PI * static_cast<double>(k) / static_cast<double>(half));
            for (std::size_t i = k; i < length; i += 2 * half) {
                const std::complex<double> a = values[i];
                const std::complex<double> b = values[i + half] * turn;
                values[i] = a + b;
                values[i + half] = a - b;
            }
        }
    }
}

// dB of the third octaves from 0.05 to 160 Hz, by their number (centre 10^(number / 10) Hz). The
// samples are followed by zeros up to a power of two.
std::map<int, double> ThirdOctaveLevels(const Samples& samples)
{
    double mean = 0.0;
    for (const double sample : samples) mean += sample / static_cast<double>(samples.size());
    std::vector<std::complex<double>> values(1 << 20);
    for (std::size_t i = 0; i < samples.size(); ++i) values[i] = samples[i] - mean;
    Transform(values);
    std::map<int, double> energies;
    for (std::size_t k = 1; k < values.size() / 2; ++k) {
        const double hz = static_cast<double>(k) * kRateHz / static_cast<double>(values.size());
        const int band = static_cast<int>(std::lround(10.0 * std::log10(hz)));
        if (band >= -13 && band <= 22) energies[band] += std::norm(values[k]);
    }
    for (auto& [band, energy] : energies) energy = 10.0 * std::log10(energy);
    return energies;
}

class NoiseLikeness : public testing::TestWithParam<const char*> {
protected:
    static NoiseDescription Description()
    {
        for (NoiseDescription& noise : ReadNoiseDescriptions(VRAX_DESCRIPTIONS_DIR "/noise.txt")) {
            if (noise.name == GetParam()) return std::move(noise);
        }
        ADD_FAILURE() << GetParam() << " is not described";
        return {};
    }

    // The highest magnitude of the record over its RMS.
    static double RecordCrest(const NoiseDescription& noise)
    {
        const Samples record = PublicNoiseRecord(GetParam());
        if (!record.empty()) return Crest(record);
        return std::max(-noise.quantiles.front().y, noise.quantiles.back().y) / noise.rms;
    }
};
INSTANTIATE_TEST_SUITE_P(EveryRecord, NoiseLikeness, testing::Values("ma", "em", "bw"));

TEST_P(NoiseLikeness, HasTheLengthTheRmsAndTheCrestOfTheRecord)
{
    const NoiseDescription noise = Description();
    const Samples samples = MakeNoise(noise);
    ASSERT_EQ(samples.size(), 650000U);
    const Samples record = PublicNoiseRecord(GetParam());
    const double rms = record.empty() ? noise.rms : Rms(record);
    EXPECT_NEAR(Rms(samples) / rms, 1.0, 0.01);
    EXPECT_NEAR(Crest(samples) / RecordCrest(noise), 1.0, 0.05);
}

TEST_P(NoiseLikeness, IsDistributedAsTheRecordOnBothSides)
{
    const NoiseDescription noise = Description();
    const Samples samples = MakeNoise(noise);
    const Samples record = PublicNoiseRecord(GetParam());
    int compared = 0;
    for (const CurvePoint& point : noise.quantiles) {
        if (point.x < 0.1 || point.x > 99.9) continue;
        const double expected = record.empty() ? point.y : Quantile(record, point.x);
        EXPECT_NEAR(Quantile(samples, point.x), expected, 0.02 * noise.rms + 5.0) << point.x;
        ++compared;
    }
    EXPECT_GE(compared, 20);
}

TEST_P(NoiseLikeness, HasTheThirdOctaveLevelsOfTheRecord)
{
    const NoiseDescription noise = Description();
    const std::map<int, double> levels = ThirdOctaveLevels(MakeNoise(noise));
    ASSERT_EQ(levels.size(), 36U);
    const Samples record = PublicNoiseRecord(GetParam());
    std::map<int, double> expected;
    if (!record.empty()) {
        expected = ThirdOctaveLevels(record);
    } else {
        // A mean square counts as that of 650000 samples in a one-sided spectrum of 2^20 lines.
        const double scale = 10.0 * std::log10(650000.0 * (1 << 20) / 2.0);
        for (const NoiseBand& band : noise.bands) {
            if (band.number >= -13) {
                expected[band.number] = 20.0 * std::log10(band.level) + scale;
            }
        }
    }
    for (const auto& [band, level] : levels) {
        // Half an hour has some 25 lines in a band below 0.1 Hz: the level of one noise scatters.
        const double most = record.empty() && band < -10 ? 3.0 : kMostDb;
        EXPECT_NEAR(level, expected.at(band), most) << std::pow(10.0, band / 10.0) << " Hz";
    }
}

TEST(NoiseSeed, DecidesTheSamples)
{
    NoiseDescription noise = ReadNoiseDescriptions(VRAX_DESCRIPTIONS_DIR "/noise.txt").at(0);
    const Samples first = MakeNoise(noise);
    EXPECT_TRUE(first == MakeNoise(noise));
    ++noise.seed;
    EXPECT_FALSE(first == MakeNoise(noise));
}

TEST(NoiseText, ReadsBackAsItWasWritten)
{
    const auto noise = ReadNoiseDescriptions(VRAX_DESCRIPTIONS_DIR "/noise.txt");
    EXPECT_EQ(NoiseDescriptionText(noise), ReadWholeFile(VRAX_DESCRIPTIONS_DIR "/noise.txt"));
    EXPECT_EQ(noise.at(0).name, "ma");
}

TEST(NoiseText, IsRefusedWithAReason)
{
    TempDir folder;
    const std::string path = folder.File("noise.txt");
    const auto refusal = [&](const std::string& text) {
        std::ofstream(path) << text;
        try {
            ReadNoiseDescriptions(path);
        } catch (const TableError& error) {
            return std::string(error.what()).substr(path.size());
        }
        return std::string("accepted");
    };
    EXPECT_EQ(refusal("record ma em\nseed 1\n"), ":2: needs 3 words, has 2");
    EXPECT_EQ(refusal("record ma\nband 1000 1 1\n"), ":2: no band of the table");
    EXPECT_EQ(refusal("record ma\ncolour 1\n"), ":2: 'colour' is not expected here");
    EXPECT_EQ(refusal("record ma\nseed 1\n"), ": ma: a band is missing");
}
}  // namespace
