// The QRS of the calibration waveforms. Every division truncates toward zero: that is the rule by
// which the waveforms are defined, and integers keep it exact.

#include "tools/tables/CalWaveforms.h"

#include <cstddef>

namespace {
using Samples = std::vector<std::int32_t>;

constexpr int kFootSamples = 7;  // to the end of the quadratic foot
constexpr int kFootSquare = kFootSamples * kFootSamples;

// `steps` samples from the value after `from` to `to`.
void AddLine(Samples& samples, std::int32_t from, std::int32_t to, int steps)
{
    for (int j = 1; j <= steps; ++j) samples.push_back(from + (to - from) * j / steps);
}

// From 0 by a foot and two slopes to the amplitude, which is held, and back to nine tenths of it.
Samples RiseAndPlateau(std::int32_t amplitude)
{
    Samples samples;
    for (int k = 0; k <= kFootSamples; ++k) {
        samples.push_back(9 * amplitude * k * k / (100 * kFootSquare));
    }
    const std::int32_t foot = 9 * amplitude / 100;
    const std::int32_t edge = 9 * amplitude / 10;
    AddLine(samples, foot, edge, 9);
    AddLine(samples, edge, amplitude, 8);
    AddLine(samples, amplitude, amplitude, 8);
    AddLine(samples, amplitude, edge, 8);
    return samples;
}

Samples MakeRs100(std::int32_t amplitude)
{
    Samples samples = RiseAndPlateau(amplitude);
    const std::int32_t foot = 9 * amplitude / 100;
    const std::int32_t edge = 9 * amplitude / 10;
    AddLine(samples, edge, 0, 10);
    AddLine(samples, 0, -edge, 10);
    AddLine(samples, -edge, -amplitude, 8);
    AddLine(samples, -amplitude, -amplitude, 8);
    AddLine(samples, -amplitude, -edge, 8);
    AddLine(samples, -edge, -foot, 9);
    for (int m = kFootSamples - 1; m >= 0; --m) {
        samples.push_back(-(9 * amplitude * m * m / (100 * kFootSquare)));
    }
    return samples;
}

Samples MakeR56(std::int32_t amplitude, std::int32_t st)
{
    Samples samples = RiseAndPlateau(amplitude);
    const std::int32_t foot = (90 * st + 9 * amplitude) / 100;  // a tenth of the way above the ST
    AddLine(samples, 9 * amplitude / 10, foot, 9);
    for (int m = kFootSamples - 1; m >= 0; --m) {
        samples.push_back(st + (foot - st) * m * m / kFootSquare);
    }
    return samples;
}

Samples MakeRs36(std::int32_t amplitude)
{
    Samples samples;
    for (int k = 0; k <= kFootSamples; ++k) {
        samples.push_back(45 * amplitude * k * k / (100 * kFootSquare));
    }
    for (const int percent : {90, 95, 100, 100, 100, 100, 100, 95, 90, 45, 0}) {
        samples.push_back(percent * amplitude / 100);
    }
    for (std::size_t k = samples.size() - 1; k > 0; --k) samples.push_back(-samples[k - 1]);
    return samples;
}
}  // namespace

Samples MakeQrs(QrsShape shape, std::int32_t microvolts, std::int32_t st)
{
    switch (shape) {
        case QrsShape::kRs100: return MakeRs100(microvolts);
        case QrsShape::kR56: return MakeR56(microvolts, st);
        case QrsShape::kRs36: return MakeRs36(microvolts);
        case QrsShape::kQ56: break;
    }
    Samples samples = MakeR56(microvolts, -st);
    for (std::int32_t& sample : samples) sample = -sample;
    return samples;
}
