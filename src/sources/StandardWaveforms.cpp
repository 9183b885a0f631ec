#include "sources/StandardWaveforms.h"

#include <cstddef>

namespace {
// IEC 60601-2-27 / AAMI EC13, lengths of the records in s.
constexpr double IEC227WL[] = {
    59.834722222222226, 59.919444444444444, 59.922222222222224,
    47.93194444444445,  90.57083333333334,  90.575,
    90.56527777777778,  90.60833333333333,  90.60972222222222,
    90.60694444444445,
};
// IEC 60601-2-47, lengths of the patterns in ms.
constexpr int hrvperiod[] = {60000, 3996, 9972, 29874, 3599521};
constexpr double kMsPerSecond = 1000.0;
constexpr double kNoWaveformPeriod = 1.0;

template <class T, std::size_t N>
const T* Entry(const T (&table)[N], int number)
{
    return number >= 0 && static_cast<std::size_t>(number) < N ? &table[number] : nullptr;
}
}  // namespace

double GetIEC227Period(int number)
{
    const double* length = Entry(IEC227WL, number);
    return length != nullptr ? *length : kNoWaveformPeriod;
}

double GetIEC247Period(int number)
{
    const int* length = Entry(hrvperiod, number);
    return length != nullptr ? *length / kMsPerSecond : kNoWaveformPeriod;
}

double IEC227Voltage(int, double) { return 0.0; }
double IEC251Voltage(int, double) { return 0.0; }
double IEC247Voltage(int, double) { return 0.0; }
double ANE20000Voltage(int, double) { return 0.0; }
