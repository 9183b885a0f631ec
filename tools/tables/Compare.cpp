#include "tools/tables/Compare.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tools/tables/TextFile.h"

namespace {
Samples ReadTable(const std::filesystem::path& file)
{
    const std::string bytes = ReadBytes(file);
    Samples samples(bytes.size() / sizeof(Samples::value_type));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(Samples::value_type));
    return samples;
}

double Rms(double sum, std::size_t count) { return std::sqrt(sum / static_cast<double>(count)); }

Difference CompareRow(const std::int32_t* row, std::size_t rowSamples, const NamedSamples& record)
{
    const std::size_t count = record.microvolts.size();
    Difference difference{record.name, count, 0, 0.0, 0.0, 0.0, true};
    double sum = 0.0;
    double tableSum = 0.0;
    double recordSum = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        const double table = row[i];
        const double original = record.microvolts[i];
        sum += (table - original) * (table - original);
        tableSum += table * table;
        recordSum += original * original;
        difference.largest = std::max(difference.largest, std::abs(row[i] - record.microvolts[i]));
    }
    difference.rms = Rms(sum, count);
    difference.tableRms = Rms(tableSum, count);
    difference.recordRms = Rms(recordSum, count);
    difference.hasZerosBehind =
        std::all_of(row + count, row + rowSamples, [](std::int32_t value) { return value == 0; });
    return difference;
}
}  // namespace

std::vector<Difference> CompareTable(const std::filesystem::path& table, std::size_t rowSamples,
                                     const std::vector<NamedSamples>& records)
{
    const Samples samples = ReadTable(table);
    if (samples.size() < records.size() * rowSamples) {
        throw TableError(table.string() + ": is too short for its rows");
    }
    std::vector<Difference> differences;
    for (std::size_t i = 0; i < records.size(); ++i) {
        differences.push_back(CompareRow(&samples[i * rowSamples], rowSamples, records[i]));
    }
    return differences;
}

std::string DifferencesText(const std::vector<Difference>& differences)
{
    std::string text =
        "                    difference, uV       rms, uV\n"
        "record    samples   largest     rms     table    record\n";
    for (const Difference& d : differences) {
        char line[160];
        std::snprintf(line, sizeof line, "%-9s %7zu  %8d %7.1f  %8.1f  %8.1f%s\n", d.name.c_str(),
                      d.samples, d.largest, d.rms, d.tableRms, d.recordRms,
                      d.hasZerosBehind ? "" : "  (not 0 behind the end)");
        text += line;
    }
    return text;
}

bool AreExact(const std::vector<Difference>& differences)
{
    return std::ranges::all_of(differences, [](const Difference& difference) {
        return difference.largest == 0 && difference.hasZerosBehind;
    });
}
