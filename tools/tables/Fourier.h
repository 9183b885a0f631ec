// The discrete Fourier transform of any length that is a product of small primes.
#pragma once

#include <cstddef>
#include <vector>

struct Complex {
    double real = 0.0;
    double imaginary = 0.0;
};

class Fourier {
public:
    // Prepares the transforms of one length.
    explicit Fourier(std::size_t length);

    // result[n] = sum over k of values[k] exp(2 pi i n k / length): from a spectrum to samples.
    std::vector<Complex> ToSamples(std::vector<Complex> spectrum) const;

private:
    std::vector<Complex> turns_;  // exp(2 pi i n / length)
    std::vector<std::size_t> factors_;
};

// The energy of real samples at the frequencies 0 to half the rate: mean square per line, so that
// the sum over the lines is the mean square of the samples.
std::vector<double> LineEnergies(const Fourier& fourier, const std::vector<double>& samples);
