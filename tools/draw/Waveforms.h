// The built-in waveforms and noise records by family and number, as the library gives them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

enum class Family { kIec227, kIec251, kAne20000, kIec247, kNoise };

struct FamilyFacts {
    Family family;
    std::string key;  // on the command line and in file names
    std::vector<std::string> names;
};

// All families; `names` in the order of the numbers that the setters take. Noise records start at 1
// there, so their first name is number 1.
const std::vector<FamilyFacts>& AllFamilies();
const FamilyFacts& FactsOf(Family family);
// What the setter takes for the name at `index`.
int NumberOf(Family family, std::size_t index);

struct Waveform {
    std::string name;
    int number = 0;
    double rate = 0;         // samples a second
    double seconds = 0;      // after which it repeats
    std::vector<double> mv;  // all of it; of a noise record its beginning
};

// Switches the output function off for the leads and the noise, which the library computes for it.
// Throws std::runtime_error when the library refuses, as it does while a signal plays.
Waveform LoadWaveform(Family family, std::size_t index);
