// A signal that repeats: its period, where each repeat starts, and the average repeat.
#pragma once

#include <vector>

struct Repeats {
    std::vector<double> starts;   // samples, the first is 0; the last repeat may be cut short
    std::vector<double> average;  // one value a sample, as long as the longest repeat
};

// `period` is a first estimate in samples, right within one sample. The starts are fitted one by
// one, since a tape's speed wavers.
Repeats FindRepeats(const std::vector<double>& signal, double period);
