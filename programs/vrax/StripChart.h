// Strips of ECG paper, one below the other, each with its scale.
#pragma once

#include <string>
#include <vector>

namespace vrax {

enum class Scaling {
    Paper,  // 10 mm/mV
    Pulse,  // of its own, with 0 in it
    Level,  // of its own, from the lowest value to the highest
};

struct Strip {
    std::string name;
    double rate = 0.0;  // samples a second
    std::vector<double> mv;
    std::vector<double> pacingMv = {};  // drawn as spikes, not to scale
    Scaling scaling = Scaling::Paper;
};

struct Chart {
    std::string title;
    std::vector<Strip> strips;
    double pixelsPerMm = 8.0;
};

// Writes .png, .svg or .pdf, as `path` ends. Throws std::runtime_error when that fails.
void DrawChart(const Chart& chart, const std::string& path);

}  // namespace vrax
