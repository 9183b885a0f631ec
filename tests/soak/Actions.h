// What the application does at random while a signal plays.
#pragma once

#include <random>

namespace soak {

using Generator = std::mt19937;

struct Action {
    const char* name;
    bool (*run)(Generator& random);  // false: the call did not give what it should
};

// Sets a parameter to a random value within its range.
const Action& RandomChange(Generator& random);
// Asks the instrument, or tells it something.
const Action& RandomCommand(Generator& random);

// One of the signals that never end by themselves, mostly an ECG.
int RandomSignal(Generator& random);

}  // namespace soak
