#include "draw_ecg/EcgPaper.h"

#include <fontconfig/fontconfig.h>

#include <cairo-pdf.h>
#include <cairo-svg.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace ecg {

namespace {

constexpr Colour kFineLine{0.965, 0.835, 0.825};
constexpr Colour kStrongLine{0.915, 0.655, 0.640};
constexpr double kFineWidth = 0.125;  // mm
constexpr double kStrongWidth = 0.2;
constexpr double kHaloWidth = 0.9;
constexpr double kArrowHead = 1.3;
constexpr double kCurveStep = 0.06;  // the values of so many mm become one stroke
constexpr double kMarkMv = 1.0;
constexpr double kMarkSeconds = 0.2;
constexpr double kMarkFoot = 2.5;
constexpr double kPointsPerMm = 72.0 / 25.4;

void SetColour(cairo_t* cairo, const Colour& colour)
{
    cairo_set_source_rgb(cairo, colour.red, colour.green, colour.blue);
}

bool IsVector(const std::string& path) { return path.ends_with(".svg") || path.ends_with(".pdf"); }

cairo_surface_t* MakePixels(double width, double height, double pixelsPerMm)
{
    return cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                      static_cast<int>(std::lround(width * pixelsPerMm)),
                                      static_cast<int>(std::lround(height * pixelsPerMm)));
}

cairo_surface_t* MakeVectors(double width, double height, const std::string& path)
{
    const auto make = path.ends_with(".svg") ? cairo_svg_surface_create : cairo_pdf_surface_create;
    return make(path.c_str(), width * kPointsPerMm, height * kPointsPerMm);
}

}  // namespace

void ReleaseFonts()
{
    cairo_debug_reset_static_data();
    FcFini();
}

EcgPaper::EcgPaper(double width, double height, double pixelsPerMm)
    : EcgPaper(MakePixels(width, height, pixelsPerMm), pixelsPerMm, pixelsPerMm)
{}

EcgPaper::EcgPaper(double width, double height, double pixelsPerMm, const std::string& path)
    : EcgPaper(IsVector(path) ? MakeVectors(width, height, path)
                              : MakePixels(width, height, pixelsPerMm),
               IsVector(path) ? kPointsPerMm : pixelsPerMm, pixelsPerMm)
{}

EcgPaper::EcgPaper(cairo_surface_t* surface, double unitsPerMm, double pixelsPerMm)
    : surface_(surface), cairo_(cairo_create(surface)), pixel_(1.0 / pixelsPerMm)
{
    cairo_scale(cairo_, unitsPerMm, unitsPerMm);
    cairo_set_source_rgb(cairo_, 1.0, 1.0, 1.0);
    cairo_paint(cairo_);
}

EcgPaper::~EcgPaper()
{
    cairo_destroy(cairo_);
    cairo_surface_destroy(surface_);
}

void EcgPaper::GridLines(double x, double y, double width, double height, double step,
                         const Colour& colour, double lineWidth)
{
    for (int i = 0; i * step <= width; ++i) {
        MoveTo(x + i * step, y);
        LineTo(x + i * step, y + height);
    }
    for (int i = 0; i * step <= height; ++i) {
        MoveTo(x, y + i * step);
        LineTo(x + width, y + i * step);
    }
    Stroke(colour, lineWidth);
}

void EcgPaper::Grid(double x, double y, double width, double height)
{
    Bar(x, y, width, height, kPaper);
    // Whole pixels, at least one: sharp lines, and a file of half the size.
    cairo_set_antialias(cairo_, CAIRO_ANTIALIAS_NONE);
    GridLines(x, y, width, height, 1.0, kFineLine, std::max(kFineWidth, pixel_));
    GridLines(x, y, width, height, 5.0, kStrongLine, std::max(kStrongWidth, pixel_));
    cairo_set_antialias(cairo_, CAIRO_ANTIALIAS_DEFAULT);
}

void EcgPaper::SetFont(const TextStyle& style)
{
    cairo_select_font_face(cairo_, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                           style.isBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo_, style.size);
}

double EcgPaper::TextWidth(const std::string& text, const TextStyle& style)
{
    SetFont(style);
    cairo_text_extents_t extents;
    cairo_text_extents(cairo_, text.c_str(), &extents);
    return extents.x_advance;
}

void EcgPaper::Text(double x, double y, const std::string& text, const TextStyle& style)
{
    const double width = TextWidth(text, style);
    if (style.anchor == Anchor::Centre) x -= width / 2.0;
    if (style.anchor == Anchor::Right) x -= width;
    if (style.hasHalo) {
        MoveTo(x, y);
        cairo_text_path(cairo_, text.c_str());
        Stroke(kPaper, kHaloWidth);
    }
    MoveTo(x, y);
    SetColour(cairo_, style.colour);
    cairo_show_text(cairo_, text.c_str());
    cairo_new_path(cairo_);
}

void EcgPaper::Line(double x1, double y1, double x2, double y2, const Colour& colour, double width,
                    bool isDashed)
{
    const double dashes[] = {1.2, 0.8};
    if (isDashed) cairo_set_dash(cairo_, dashes, 2, 0);
    MoveTo(x1, y1);
    LineTo(x2, y2);
    Stroke(colour, width);
    cairo_set_dash(cairo_, nullptr, 0, 0);
}

void EcgPaper::Arrow(double x1, double x2, double y, const Colour& colour)
{
    Line(x1, y, x2 - kArrowHead / 2.0, y, colour, 0.3);
    MoveTo(x2, y);
    LineTo(x2 - kArrowHead, y - kArrowHead / 2.0);
    LineTo(x2 - kArrowHead, y + kArrowHead / 2.0);
    cairo_close_path(cairo_);
    SetColour(cairo_, colour);
    cairo_fill(cairo_);
}

void EcgPaper::Bar(double x, double y, double width, double height, const Colour& colour)
{
    SetColour(cairo_, colour);
    cairo_rectangle(cairo_, x, y, width, height);
    cairo_fill(cairo_);
}

void EcgPaper::Clip(double x, double y, double width, double height)
{
    cairo_rectangle(cairo_, x, y, width, height);
    cairo_clip(cairo_);
}

void EcgPaper::Stroke(const Colour& colour, double width)
{
    SetColour(cairo_, colour);
    cairo_set_line_width(cairo_, width);
    cairo_set_line_join(cairo_, CAIRO_LINE_JOIN_ROUND);
    cairo_stroke(cairo_);
}

// The lowest and the highest value of a piece, in the order in which they come.
void EcgPaper::Curve(std::span<const double> values, const CurveScale& scale, const Colour& colour,
                     double width)
{
    const auto step = static_cast<std::ptrdiff_t>(std::max(1.0, kCurveStep / scale.mmPerSample));
    const auto point = [&](std::span<const double>::iterator value) {
        LineTo(scale.x + static_cast<double>(value - values.begin()) * scale.mmPerSample,
               scale.y - *value * scale.mmPerUnit);
    };
    for (auto at = values.begin(); at != values.end();) {
        const auto next = values.end() - at > step ? at + step : values.end();
        const auto [lowest, highest] = std::minmax_element(at, next);
        point(std::min(lowest, highest));
        point(std::max(lowest, highest));
        at = next;
    }
    Stroke(colour, width);
}

void EcgPaper::CalibrationMark(double x, double y)
{
    const double left = x + kMarkFoot;
    const double right = left + kMarkSeconds * kMmPerSecond;
    const double top = y - kMarkMv * kMmPerMv;
    MoveTo(x, y);
    LineTo(left, y);
    LineTo(left, top);
    LineTo(right, top);
    LineTo(right, y);
    LineTo(right + kMarkFoot, y);
    Stroke(kInk, kTraceWidth);
    Text((left + right) / 2.0, top - 1.2, "1 mV",
         {.size = 2.2, .colour = kGrey, .anchor = Anchor::Centre, .hasHalo = true});
}

void EcgPaper::Save(const std::string& path)
{
    cairo_status_t status = CAIRO_STATUS_SUCCESS;
    if (cairo_surface_get_type(surface_) == CAIRO_SURFACE_TYPE_IMAGE) {
        status = cairo_surface_write_to_png(surface_, path.c_str());
    } else {
        cairo_surface_finish(surface_);
        status = cairo_surface_status(surface_);
    }
    if (status != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error(path + ": " + cairo_status_to_string(status));
    }
}

}  // namespace ecg
