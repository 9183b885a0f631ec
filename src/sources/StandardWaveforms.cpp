#include "sources/StandardWaveforms.h"

#include <cstddef>

#include "sources/Tables.h"

namespace {
constexpr double kMicrovoltsPerMv = 1000.0;

struct Iec227Entry {
    const char* name;
    double length;  // s
};
constexpr Iec227Entry kIec227[kIec227Waveforms] = {
    {"AAMI 3A / IEC A1", 59.834722222222226},   {"AAMI 3B / IEC A2", 59.919444444444444},
    {"AAMI 3C / IEC A3", 59.922222222222224},   {"AAMI 3D / IEC A4", 47.93194444444445},
    {"AAMI 4A / IEC B1", 90.57083333333334},    {"AAMI 4A / IEC B1 x2", 90.575},
    {"AAMI 4A / IEC B1 /2", 90.56527777777778}, {"AAMI 4B / IEC B2", 90.60833333333333},
    {"AAMI 4B / IEC B2 x2", 90.60972222222222}, {"AAMI 4B / IEC B2 /2", 90.60694444444445},
};
constexpr const char* s225NameArray[kIec251Waveforms] = {
    "CAL05000", "CAL10000", "CAL15000", "CAL20000", "CAL30000", "CAL50000", "CAL20002", "CAL20100",
    "CAL20110", "CAL20160", "CAL20200", "CAL20210", "CAL20260", "CAL20500", "CAL20502", "CAL40000",
};

bool IsIndex(int number, std::size_t count)
{
    return number >= 0 && static_cast<std::size_t>(number) < count;
}

template <std::size_t Rows, std::size_t Samples>
double SampleAt(const std::int32_t (&table)[Rows][Samples], int row, int rate, double t)
{
    const double position = rate * t;
    // Also false for a position that is no number.
    const bool inside = position > -1.0 && position < static_cast<double>(Samples);
    if (!IsIndex(row, Rows) || !inside) return 0.0;
    return table[row][static_cast<int>(position)] / kMicrovoltsPerMv;
}
}  // namespace

double GetIEC227Period(int number)
{
    return IsIndex(number, kIec227Waveforms) ? kIec227[number].length : kNoWaveformPeriod;
}

double IEC227Voltage(int number, double t) { return SampleAt(IEC227W, number, kIec227Rate, t); }
double IEC251Voltage(int number, double t) { return SampleAt(IEC251W, number, kIec251Rate, t); }
double ANE20000Voltage(int lead, double t) { return SampleAt(ANE20000, lead, kAne20000Rate, t); }

StandardWaveform GetIEC227(int number)
{
    if (!IsIndex(number, kIec227Waveforms)) return {};
    const Iec227Entry& entry = kIec227[number];
    const int count = static_cast<int>(0.5 + entry.length * kIec227Rate);
    return {IEC227W[number], count, kIec227Rate, entry.name};
}

StandardWaveform GetIEC251(int number)
{
    if (!IsIndex(number, kIec251Waveforms)) return {};
    return {IEC251W[number], static_cast<int>(kIec251RowSamples), kIec251Rate,
            s225NameArray[number]};
}
