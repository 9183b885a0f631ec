#include "tools/tables/Fourier.h"

#include <algorithm>
#include <utility>

#include "tools/tables/Turn.h"

namespace {
void AddProducts(const Complex* values, const Complex& weight, std::size_t count, Complex* sums)
{
    for (std::size_t i = 0; i < count; ++i) {
        const Complex& value = values[i];
        sums[i].real += value.real * weight.real - value.imaginary * weight.imaginary;
        sums[i].imaginary += value.real * weight.imaginary + value.imaginary * weight.real;
    }
}

std::vector<std::size_t> Factors(std::size_t length)
{
    std::vector<std::size_t> factors;
    for (; length % 4 == 0; length /= 4) factors.push_back(4);
    for (std::size_t factor = 2; length > 1; ++factor) {
        for (; length % factor == 0; length /= factor) factors.push_back(factor);
    }
    return factors;
}
}  // namespace

Fourier::Fourier(std::size_t length) : factors_(Factors(length))
{
    turns_.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        const TurnPoint point = PointAtTurn(static_cast<double>(i) / static_cast<double>(length));
        turns_.push_back({point.cosine, point.sine});
    }
}

// The self-sorting form: each pass takes one factor and joins transforms of length `done` to
// transforms of length `done * factor`.
std::vector<Complex> Fourier::ToSamples(std::vector<Complex> values) const
{
    const std::size_t length = turns_.size();
    std::vector<Complex> joined(length);
    std::size_t done = 1;
    for (const std::size_t factor : factors_) {
        const std::size_t blocks = length / (done * factor);
        for (std::size_t row = 0; row < done * factor; ++row) {
            Complex* const out = &joined[row * blocks];
            const Complex* const in = &values[row % done * factor * blocks];
            std::copy(in, in + blocks, out);
            for (std::size_t part = 1; part < factor; ++part) {
                const Complex& weight = turns_[row * blocks * part % length];
                AddProducts(in + part * blocks, weight, blocks, out);
            }
        }
        std::swap(values, joined);
        done *= factor;
    }
    return values;
}

std::vector<double> LineEnergies(const Fourier& fourier, const std::vector<double>& samples)
{
    const std::size_t length = samples.size();
    std::vector<Complex> values(length);
    for (std::size_t i = 0; i < length; ++i) values[i].real = samples[i];
    values = fourier.ToSamples(std::move(values));  // the sign of the angle changes no energy
    const double scale = 1.0 / static_cast<double>(length) / static_cast<double>(length);
    std::vector<double> energies(length / 2 + 1);
    for (std::size_t k = 0; k < energies.size(); ++k) {
        const Complex& value = values[k];
        const bool isSingle = k == 0 || 2 * k == length;  // the others have a mirror image
        energies[k] = (value.real * value.real + value.imaginary * value.imaginary) * scale *
                      (isSingle ? 1.0 : 2.0);
    }
    return energies;
}
