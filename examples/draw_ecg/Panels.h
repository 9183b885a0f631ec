// A page of panels, one below the other over a common time axis, and beside them the same panels
// enlarged around one moment.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "draw_ecg/EcgPaper.h"

namespace ecg {

// As many values as the recording has samples.
struct PanelCurve {
    const std::vector<double>* values;
    Colour colour = kInk;
    double width = 0.3;  // mm
};

// A distance in time that the enlargement shows.
struct TimeArrow {
    double from;  // s
    double to;
    double value;  // where it stands on the panel's axis
    std::string text;
};

struct Panel {
    std::string title;
    Colour colour = kInk;
    std::array<std::string, 2> figures = {};  // lines; what was asked and what was measured
    bool agrees = true;
    double low = 0;  // of the axis
    double high = 1;
    double step = 1;     // from one line of the axis to the next
    double height = 24;  // mm
    std::vector<PanelCurve> curves = {};
    std::optional<TimeArrow> arrow = std::nullopt;
};

// A coloured background over all panels.
struct TimeSpan {
    double from;  // s
    double to;
    std::string text;
    Colour colour;
};

struct PanelPage {
    std::string title;
    std::string figures;  // of the stream
    bool agrees = true;
    double start = 0;  // s, of the first sample
    double rate = 0;   // samples a second
    double end = 0;    // s
    double tickSeconds = 5;
    std::vector<TimeSpan> spans;
    double zoomFrom = 0;  // s
    double zoomTo = 0;
    double zoomTick = 0.5;
    std::string zoomTitle;
    std::vector<double> zoomLines;  // s; through all panels
    std::vector<Panel> panels;
    double pixelsPerMm = 8.0;
};

// Writes a PNG; throws std::runtime_error when that fails.
void DrawPanels(const PanelPage& page, const std::string& path);

}  // namespace ecg
