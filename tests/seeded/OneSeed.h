// One seed: a scenario over failing calls, then without faults, in this process.
#pragma once

#include <cstdint>

#include "Scenarios.h"

inline const Scenario& ScenarioOf(std::uint64_t seed) { return kScenarios[seed % kScenarioCount]; }

// The exit status. Tells the steps, the faults and what is wrong on the standard output. The
// environment has switched the faults on when the process began.
int RunSeed(std::uint64_t seed);
