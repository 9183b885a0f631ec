#include "tools/fit/DescriptionText.h"

#include <fmt/format.h>

#include <cstddef>
#include <iterator>

namespace {
constexpr std::size_t kPointsPerLine = 8;
}  // namespace

std::string NumberText(double value)
{
    std::string text = fmt::format("{:.2f}", value);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text == "-0" ? "0" : text;
}

void DescriptionText::Comment(std::string_view text)
{
    fmt::format_to(std::back_inserter(text_), "# {}\n", text);
}

void DescriptionText::Line(std::string_view text)
{
    fmt::format_to(std::back_inserter(text_), "{}\n", text);
}

void DescriptionText::AddShape(std::string_view name, Join join,
                               const std::vector<CurvePoint>& points)
{
    Line(fmt::format("shape {} {}", name, join == Join::kSmooth ? "smooth" : "lines"));
    for (std::size_t i = 0; i < points.size(); ++i) {
        text_ += i % kPointsPerLine == 0 ? "" : "  ";
        text_ += NumberText(points[i].x) + " " + NumberText(points[i].y);
        if ((i + 1) % kPointsPerLine == 0 || i + 1 == points.size()) text_ += "\n";
    }
}

void DescriptionText::AddSequence(std::string_view name, std::string_view shape,
                                  const std::vector<double>& starts)
{
    Line(fmt::format("sequence {}", name));
    for (const double start : starts) Line(fmt::format("{} {}", NumberText(start), shape));
}
