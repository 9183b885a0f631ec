#include "tools/tables/Noise.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "tools/tables/Fourier.h"
#include "tools/tables/TextFile.h"
#include "tools/tables/Turn.h"

namespace {
constexpr std::size_t kBands = kHighestBand - kRestBand + 1;
constexpr int kFitPasses = 24;
constexpr double kFitPower = 0.8;  // part of a level's error that a pass takes away

// SplitMix64: the random numbers of C libraries differ.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    // 0 to 1, 1 not included.
    double Next()
    {
        state_ += 0x9e3779b97f4a7c15;
        std::uint64_t bits = state_;
        bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9;
        bits = (bits ^ (bits >> 27)) * 0x94d049bb133111eb;
        return static_cast<double>((bits ^ (bits >> 31)) >> 11) * 0x1p-53;
    }

private:
    std::uint64_t state_;
};

const Fourier& Transform()
{
    static const Fourier transform(kNoiseSamples);
    return transform;
}

// The first spectral line of a band; that of the band above the highest ends it.
std::size_t FirstLine(int band)
{
    if (band == kRestBand) return 1;  // line 0 is the mean
    const double edge = std::pow(10.0, (band - 0.5) / 10.0);
    return static_cast<std::size_t>(std::ceil(edge * kNoiseSamples / kNoiseRateHz));
}

std::vector<double> GaussianNoise(const NoiseDescription& description)
{
    std::vector<Complex> spectrum(kNoiseSamples);
    Random random(description.seed);
    for (const NoiseBand& band : description.bands) {
        const std::size_t first = FirstLine(band.number);
        const std::size_t end = FirstLine(band.number + 1);
        const double height = band.drive * std::sqrt(2.0 / static_cast<double>(end - first));
        for (std::size_t line = first; line < end; ++line) {
            const TurnPoint phase = PointAtTurn(random.Next());
            spectrum[line] = {height * phase.cosine, height * phase.sine};
        }
    }
    const std::vector<Complex> values = Transform().ToSamples(std::move(spectrum));
    std::vector<double> noise;
    noise.reserve(values.size());
    for (const Complex& value : values) noise.push_back(value.real);
    return noise;
}

// Gives the samples, in the order of their size, the values of the distribution.
std::vector<std::int32_t> Bend(const std::vector<double>& noise, const MonotoneCurve& quantiles)
{
    std::vector<std::uint32_t> order(noise.size());
    std::iota(order.begin(), order.end(), 0U);
    std::ranges::sort(order, [&](std::uint32_t a, std::uint32_t b) {
        return noise[a] != noise[b] ? noise[a] < noise[b] : a < b;
    });
    std::vector<std::int32_t> bent(noise.size());
    const double last = static_cast<double>(noise.size() - 1);
    for (std::size_t rank = 0; rank < order.size(); ++rank) {
        const double percent = 100.0 * static_cast<double>(rank) / last;
        bent[order[rank]] = static_cast<std::int32_t>(std::lround(quantiles.At(percent)));
    }
    return bent;
}

double Rms(const std::vector<std::int32_t>& samples)
{
    double sum = 0.0;
    for (const double sample : samples) sum += sample * sample;
    return std::sqrt(sum / static_cast<double>(samples.size()));
}
}  // namespace

std::vector<std::int32_t> MakeNoise(const NoiseDescription& description)
{
    return Bend(GaussianNoise(description), MonotoneCurve(description.quantiles));
}

std::vector<double> BandLevels(const std::vector<std::int32_t>& samples)
{
    const std::vector<double> energies =
        LineEnergies(Transform(), std::vector<double>(samples.begin(), samples.end()));
    std::vector<double> levels;
    for (int band = kRestBand; band <= kHighestBand; ++band) {
        double sum = 0.0;
        for (std::size_t line = FirstLine(band); line < FirstLine(band + 1); ++line) {
            sum += energies[line];
        }
        levels.push_back(std::sqrt(sum));
    }
    return levels;
}

NoiseDescription FitNoise(const std::string& name, std::uint64_t seed,
                          const std::vector<std::int32_t>& record)
{
    NoiseDescription description{name, seed, Rms(record), {}, {}};
    std::vector<std::int32_t> sorted = record;
    std::ranges::sort(sorted);
    for (const double percent :
         {0.0,  0.002, 0.005, 0.01, 0.02, 0.05, 0.1,  0.2,   0.5,   1.0,   2.0,    3.0,    5.0,
          7.0,  10.0,  15.0,  20.0, 30.0, 40.0, 50.0, 60.0,  70.0,  80.0,  85.0,   90.0,   93.0,
          95.0, 97.0,  98.0,  99.0, 99.5, 99.8, 99.9, 99.95, 99.98, 99.99, 99.995, 99.998, 100.0}) {
        const double rank = percent / 100.0 * static_cast<double>(sorted.size() - 1);
        description.quantiles.push_back(
            {percent, static_cast<double>(sorted[static_cast<std::size_t>(std::lround(rank))])});
    }
    const std::vector<double> levels = BandLevels(record);
    for (std::size_t i = 0; i < kBands; ++i) {
        description.bands.push_back({kRestBand + static_cast<int>(i), levels[i], levels[i]});
    }
    for (int pass = 0; pass < kFitPasses; ++pass) {
        const std::vector<double> reached = BandLevels(MakeNoise(description));
        for (std::size_t i = 0; i < kBands; ++i) {
            description.bands[i].drive *= std::pow(levels[i] / reached[i], kFitPower);
        }
    }
    return description;
}
