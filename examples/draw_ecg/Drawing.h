// The page: the received ECG in rows with its pacing pulses, each change where it was asked for and
// where it took effect, and what was measured.
#pragma once

#include <string>
#include <vector>

#include "draw_ecg/Measurement.h"
#include "draw_ecg/Pulses.h"
#include "draw_ecg/Recording.h"

namespace ecg {

struct Page {
    const Recording& recording;
    const std::vector<Phase>& phases;
    const Pacing& pacing;
    const Statistics& statistics;
    double pixelsPerMm = 8.0;
};

// Writes a PNG; throws std::runtime_error when that fails.
void DrawPage(const Page& page, const std::string& path);

}  // namespace ecg
