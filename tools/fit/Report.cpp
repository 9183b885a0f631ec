#include "tools/fit/Report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <fstream>

#include "tools/fit/Extremes.h"
#include "tools/tables/Description.h"

namespace {
constexpr double kSwing = 200.0;  // uV
constexpr const char* kBegin = "<!-- table of vrax-fit-waveforms -->\n";
constexpr const char* kEnd = "<!-- end of the table -->\n";

double LargestOf(const std::vector<double>& values)
{
    double largest = 0.0;
    for (const double value : values) largest = std::max(largest, std::abs(value));
    return largest;
}
}  // namespace

FitQuality MeasureFit(const std::filesystem::path& description, const std::string& record,
                      const std::vector<double>& microvolts)
{
    const Waveform waveform = ReadDescription(description);
    const std::vector<double> fitted(waveform.microvolts.begin(), waveform.microvolts.end());
    if (fitted.size() != microvolts.size()) {
        throw TableError(description.string() + ": is not as long as its record");
    }
    double squares = 0.0;
    std::vector<double> differences;
    for (std::size_t i = 0; i < fitted.size(); ++i) {
        differences.push_back(fitted[i] - microvolts[i]);
        squares += differences.back() * differences.back();
    }
    const std::vector<Extreme> extremes = FindExtremes(microvolts, kSwing);
    const auto [lowest, highest] = std::ranges::minmax(microvolts);
    const auto [fittedLowest, fittedHighest] = std::ranges::minmax(fitted);
    return {waveform.name,
            record,
            fitted.size(),
            std::sqrt(squares / static_cast<double>(fitted.size())),
            LargestOf(differences),
            lowest,
            highest,
            fittedLowest - lowest,
            fittedHighest - highest,
            extremes.size(),
            LargestOf(ExtremeDifferences(extremes, fitted)),
            static_cast<std::size_t>(std::filesystem::file_size(description))};
}

std::string ReportTable(const std::vector<FitQuality>& qualities)
{
    std::string table =
        "| waveform | record | samples | RMS | largest | lowest (off by) | highest (off by) | "
        "extremes | farthest extreme | text, bytes |\n"
        "|---|---|---|---|---|---|---|---|---|---|\n";
    for (const FitQuality& fit : qualities) {
        table += fmt::format(
            "| {} | {} | {} | {:.1f} | {:.0f} | {:.0f} ({:+.0f}) | {:.0f} ({:+.0f}) | {} | {:.0f} "
            "| {} |\n",
            fit.name, fit.record, fit.samples, fit.rms, fit.largest, fit.lowest,
            fit.lowestDifference, fit.highest, fit.highestDifference, fit.extremes,
            fit.extremeDifference, fit.bytes);
    }
    return table;
}

void WriteReport(const std::filesystem::path& document, const std::string& table)
{
    std::string text = std::string(kBegin) + kEnd;
    if (std::filesystem::exists(document)) text = ReadBytes(document);
    const std::size_t begin = text.find(kBegin), end = text.find(kEnd);
    if (begin == std::string::npos || end == std::string::npos || end < begin) {
        throw TableError(document.string() + ": lacks the lines between which the table stands");
    }
    const std::size_t first = begin + std::string(kBegin).size();
    text.replace(first, end - first, table);
    std::ofstream file(document, std::ios::binary);
    if (!(file << text << std::flush)) throw TableError(document.string() + ": cannot be written");
}
