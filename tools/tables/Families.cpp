#include "tools/tables/Families.h"

#include <algorithm>
#include <utility>

#include "tools/tables/AneWaveforms.h"
#include "tools/tables/CalWaveforms.h"
#include "tools/tables/Description.h"
#include "tools/tables/Noise.h"
#include "tools/tables/Record.h"
#include "tools/tables/TextFile.h"

namespace {
constexpr double kNoiseUnitsPerMv = 200.0;

const char* const kCalNames[] = {
    "CAL05000", "CAL10000", "CAL15000", "CAL20000", "CAL30000", "CAL50000", "CAL20002", "CAL20100",
    "CAL20110", "CAL20160", "CAL20200", "CAL20210", "CAL20260", "CAL20500", "CAL20502", "CAL40000",
};

void Require(const std::filesystem::path& file, std::size_t samples, std::size_t neededSamples,
             double rate, double neededRate)
{
    if (rate != neededRate) {
        throw TableError(file.string() + ": has another rate than " + std::to_string(neededRate));
    }
    if (samples != neededSamples) {
        throw TableError(file.string() + ": has " + std::to_string(samples) +
                         " samples, needed are " + std::to_string(neededSamples));
    }
}

// What the published header says of the first signal.
struct Published {
    std::size_t samples;
    double rate;
    double unitsPerMv;
    int zero;
};

// The first signal.
NamedSamples FromRecord(const std::filesystem::path& folder, const std::string& name,
                        const Published& published)
{
    const std::filesystem::path header = folder / (name + ".hea");
    const Record record = ReadRecord(header);
    const RecordSignal& signal = record.signals[0];
    Require(header, signal.values.size(), published.samples, record.rate, published.rate);
    if (signal.unitsPerMv != published.unitsPerMv || signal.zero != published.zero) {
        throw TableError(header.string() + ": the gain or the zero is not that of the record");
    }
    return {name, Microvolts(signal)};
}
}  // namespace

std::vector<NamedSamples> Ec13FromRecords(const std::filesystem::path& folder)
{
    std::vector<NamedSamples> rows;
    for (const Ec13Row& row : kEc13Rows) {
        rows.push_back(
            FromRecord(folder, row.record, {row.samples, kEc13RateHz, row.unitsPerMv, kEc13Zero}));
    }
    return rows;
}

std::vector<NamedSamples> Ec13FromDescriptions(const std::filesystem::path& folder)
{
    std::vector<NamedSamples> rows;
    for (const Ec13Row& row : kEc13Rows) {
        const std::filesystem::path file = folder / (std::string(row.record) + ".txt");
        Waveform waveform = ReadDescription(file);
        Require(file, waveform.microvolts.size(), row.samples, waveform.rate, kEc13RateHz);
        rows.push_back({row.record, std::move(waveform.microvolts)});
    }
    return rows;
}

std::vector<NamedSamples> NoiseFromRecords(const std::filesystem::path& folder)
{
    std::vector<NamedSamples> records;
    for (const char* name : kNoiseRecordNames) {
        records.push_back(
            FromRecord(folder, name, {kNoiseSamples, kNoiseRateHz, kNoiseUnitsPerMv, 0}));
    }
    return records;
}

std::vector<NamedSamples> NoiseFromDescription(const std::filesystem::path& file)
{
    const std::vector<NoiseDescription> descriptions = ReadNoiseDescriptions(file);
    std::vector<NamedSamples> records;
    for (const char* name : kNoiseRecordNames) {
        const auto found = std::ranges::find(descriptions, name, &NoiseDescription::name);
        if (found == descriptions.end()) {
            throw TableError(file.string() + ": record " + name + " is missing");
        }
        records.push_back({name, MakeNoise(*found)});
    }
    return records;
}

std::vector<NamedSamples> CalFromDescription(const std::filesystem::path& file)
{
    const std::vector<CalWaveform> waveforms = ReadCalWaveforms(file);
    if (!std::ranges::equal(waveforms, kCalNames, {}, &CalWaveform::name)) {
        throw TableError(file.string() + ": does not hold the sixteen waveforms in their order");
    }
    std::vector<NamedSamples> rows;
    for (const CalWaveform& waveform : waveforms) {
        rows.push_back({waveform.name, MakeCalWaveform(waveform)});
    }
    return rows;
}

std::vector<NamedSamples> AneFromDescription(const std::filesystem::path& file)
{
    std::vector<NamedSamples> rows;
    for (AneLead& lead : ReadAneLeads(file)) {
        rows.push_back({lead.name, std::move(lead.microvolts)});
    }
    return rows;
}

Samples JoinRows(const std::vector<NamedSamples>& rows, std::size_t rowSamples)
{
    Samples joined;
    for (const NamedSamples& row : rows) {
        joined.insert(joined.end(), row.microvolts.begin(), row.microvolts.end());
        joined.resize(joined.size() + rowSamples - row.microvolts.size());
    }
    return joined;
}
