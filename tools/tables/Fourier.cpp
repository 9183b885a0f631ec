#include "tools/tables/Fourier.h"

#include <utility>

#include "tools/tables/Turn.h"

namespace {
Complex Product(const Complex& a, const Complex& b)
{
    return {a.real * b.real - a.imaginary * b.imaginary,
            a.real * b.imaginary + a.imaginary * b.real};
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

// The self-sorting form: each pass takes one factor and combines transforms of length `done` into
// transforms of length `done * factor`.
std::vector<Complex> Fourier::ToSamples(std::vector<Complex> values) const
{
    const std::size_t length = turns_.size();
    std::vector<Complex> next(length);
    std::size_t done = 1;
    for (const std::size_t factor : factors_) {
        const std::size_t blocks = length / (done * factor);
        for (std::size_t q = 0; q < factor; ++q) {
            for (std::size_t j = 0; j < done; ++j) {
                const std::size_t turn = (j + q * done) * blocks;  // exp(2 pi i turn / length)
                Complex* const out = &next[(j + q * done) * blocks];
                for (std::size_t b = 0; b < blocks; ++b) out[b] = values[j * factor * blocks + b];
                for (std::size_t p = 1; p < factor; ++p) {
                    const Complex weight = turns_[turn * p % length];
                    const Complex* const in = &values[(j * factor + p) * blocks];
                    for (std::size_t b = 0; b < blocks; ++b) {
                        const Complex term = Product(in[b], weight);
                        out[b].real += term.real;
                        out[b].imaginary += term.imaginary;
                    }
                }
            }
        }
        std::swap(values, next);
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
