// The external respiration module from the outside: its calibration, and the resistance that its
// three codes make.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "instrument/SimulatedInstrument.h"

struct ModuleNetwork {
    double first = 60.5;  // in series with the programmable resistances, ohms
    double second = 61.5;
    double correction = 80.0;
    std::array<double, 96> third{};

    ModuleNetwork()
    {
        for (unsigned i = 0; i < 96; ++i) third[i] = 50.0 + 0.25 * i;
    }

    // What the flash of an instrument holds.
    explicit ModuleNetwork(const instrument::SimulatedInstrument& instrument)
    {
        const auto coefficients = Doubles(instrument.ReadFlash(19, 5248 + 8, 24));
        first = coefficients[0];
        second = coefficients[1];
        correction = coefficients[2];
        const auto ohms = Doubles(instrument.ReadFlash(19, 5376, 768));
        std::copy(ohms.begin(), ohms.end(), third.begin());
    }

    // Three branches in parallel: two of 1024 steps of 20000 ohms behind a fixed resistance.
    double Ohms(unsigned code0, unsigned code1, unsigned code2) const
    {
        const double branch0 = first + 20000.0 * code0 / 1024.0;
        const double branch1 = second + 20000.0 * code1 / 1024.0;
        return 1.0 / (1.0 / branch0 + 1.0 / branch1 + 1.0 / third.at(code2));
    }

    static std::vector<double> Doubles(const instrument::Bytes& bytes)
    {
        std::vector<double> values(bytes.size() / sizeof(double));
        std::memcpy(values.data(), bytes.data(), values.size() * sizeof(double));
        return values;
    }
};

inline instrument::Options WithRespirationModule()
{
    instrument::Options options;
    options.respirationModule = true;
    return options;
}

// The resistance of a breath, by cosines from trough to crest and back.
inline double BreathOhms(double variation, double period, int ratio, double t)
{
    constexpr double kPi = 3.14159265358979323846;
    const double inhale = period / (1 + ratio);
    const double phase = t - period * static_cast<long>(t / period);
    const double depth = variation / 1000.0;
    const double part = phase < inhale
                            ? (1.0 - std::cos(kPi * phase / inhale)) / 2.0
                            : (1.0 + std::cos(kPi * (phase - inhale) / (period - inhale))) / 2.0;
    return 50.0 + depth * part;
}
