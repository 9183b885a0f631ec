#include "Quantities.h"

#include <charconv>
#include <cmath>
#include <map>

#include <fmt/format.h>

namespace vrax {

namespace {

constexpr double kMostSeconds = 366.0 * 24.0 * 3600.0;

// NaN for what is no number.
double NumberOf(const std::string& text)
{
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end ? value : std::nan("");
}

}  // namespace

CLI::Validator FiniteRange(double low, double high)
{
    const auto check = [low, high](const std::string& text) -> std::string {
        const double value = NumberOf(text);
        if (value >= low && value <= high) return "";
        return fmt::format("\"{}\" is no number from {:g} to {:g}", text, low, high);
    };
    return {check, fmt::format("FLOAT in [{:g} - {:g}]", low, high)};
}

void AddDuration(CLI::App& command, const std::string& name, double& seconds,
                 const std::string& help, Least least)
{
    const auto check = [least](const std::string& text) -> std::string {
        const double value = NumberOf(text);
        const bool isLongEnough = least == Least::Zero ? value >= 0.0 : value > 0.0;
        if (isLongEnough && value <= kMostSeconds) return "";
        return fmt::format("{} s is no time {} and up to a year", text,
                           least == Least::Zero ? "from 0 s" : "above 0 s");
    };
    command.add_option(name, seconds, help)
        ->transform(CLI::AsNumberWithUnit(
            std::map<std::string, double>{{"ms", 0.001}, {"s", 1.0}, {"min", 60.0}, {"h", 3600.0}},
            CLI::AsNumberWithUnit::CASE_SENSITIVE, "TIME"))
        ->check(CLI::Validator(check, ""));
}

}  // namespace vrax
