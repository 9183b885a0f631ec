// Samples for the modules from a text file in the layout of recordings: lines with the samples a
// second, their number, the number of channels and its names, then a line for each sample.
#pragma once

#include <string>
#include <vector>

namespace vrax {

struct RawSamples {
    double rate = 0.0;                          // samples a second
    std::vector<std::vector<double>> channels;  // all of one length, at least 1
};

// Throws Failure with the line where the file is not such a one, or has another number of channels.
RawSamples ReadRawSamples(const std::string& path, std::size_t channels);

}  // namespace vrax
