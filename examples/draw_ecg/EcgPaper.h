// A picture in millimetres of ECG paper: grid, text and lines on a PNG, SVG or PDF.
#pragma once

#include <span>
#include <string>

#include <cairo.h>

namespace ecg {

constexpr double kMmPerSecond = 25.0;
constexpr double kMmPerMv = 10.0;
constexpr double kTraceWidth = 0.36;  // mm

struct Colour {
    double red;
    double green;
    double blue;
};
constexpr Colour kInk{0.10, 0.10, 0.12};
constexpr Colour kGrey{0.42, 0.40, 0.41};
constexpr Colour kPaper{1.0, 0.965, 0.955};
constexpr Colour kPassed{0.06, 0.45, 0.22};
constexpr Colour kFailed{0.78, 0.08, 0.08};
constexpr Colour kRequestColour{0.05, 0.30, 0.62};

enum class Anchor { Left, Centre, Right };

struct TextStyle {
    double size = 2.6;  // mm
    Colour colour = kInk;
    Anchor anchor = Anchor::Left;
    bool isBold = false;
    bool hasHalo = false;  // legible on the grid
};

// Where evenly spaced values stand: the first at `x`, the value 0 at `y`.
struct CurveScale {
    double x;
    double y;
    double mmPerSample;
    double mmPerUnit = kMmPerMv;
};

// Gives back what drawing text keeps for the life of the process. No paper may be left.
void ReleaseFonts();

class EcgPaper {
public:
    // All lengths are mm, from the upper left corner.
    EcgPaper(double width, double height, double pixelsPerMm);
    // Of lines instead of pixels where `path` ends in .svg or .pdf. Save() takes the same path.
    EcgPaper(double width, double height, double pixelsPerMm, const std::string& path);
    ~EcgPaper();
    EcgPaper(const EcgPaper&) = delete;
    EcgPaper& operator=(const EcgPaper&) = delete;

    // Lines every millimetre, strong ones every five.
    void Grid(double x, double y, double width, double height);
    // `y` is the baseline.
    void Text(double x, double y, const std::string& text, const TextStyle& style);
    double TextWidth(const std::string& text, const TextStyle& style);
    void Line(double x1, double y1, double x2, double y2, const Colour& colour, double width,
              bool isDashed = false);
    void Arrow(double x1, double x2, double y, const Colour& colour);
    void Bar(double x, double y, double width, double height, const Colour& colour);

    // Between the two, nothing is drawn outside the rectangle.
    void Clip(double x, double y, double width, double height);
    void Unclip() { cairo_reset_clip(cairo_); }

    // A curve: MoveTo, LineTo, ..., Stroke.
    void MoveTo(double x, double y) { cairo_move_to(cairo_, x, y); }
    void LineTo(double x, double y) { cairo_line_to(cairo_, x, y); }
    void Stroke(const Colour& colour, double width);

    // Through all values; where they are dense, through the lowest and highest of each short piece.
    void Curve(std::span<const double> values, const CurveScale& scale, const Colour& colour,
               double width);
    // The mark of 1 mV and 0.2 s that stands in front of a row of an ECG, on its baseline `y`.
    void CalibrationMark(double x, double y);

    int PixelWidth() const { return cairo_image_surface_get_width(surface_); }
    int PixelHeight() const { return cairo_image_surface_get_height(surface_); }
    // Throws std::runtime_error when the file cannot be written.
    void Save(const std::string& path);

private:
    void SetFont(const TextStyle& style);
    void GridLines(double x, double y, double width, double height, double step,
                   const Colour& colour, double lineWidth);

    EcgPaper(cairo_surface_t* surface, double unitsPerMm, double pixelsPerMm);

    cairo_surface_t* surface_;
    cairo_t* cairo_;
    double pixel_;  // mm
};

}  // namespace ecg
