// The waveforms of IEC 60601-2-27, IEC 60601-2-25 and ANE20000: what the arrays hold, and which
// sample belongs to a time.

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>

#include "sources/StandardWaveforms.h"
#include "sources/Tables.h"
#include "support/OfflineRun.h"
#include "support/WaveformFacts.h"
#include "synthesis/BeatModel.h"
#include "synthesis/MainFunction.h"
#include "vrax.h"

namespace {
constexpr unsigned kUntouched = 4711;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using ArrayGetter = const int* (*)(int, unsigned*, unsigned*);
constexpr ArrayGetter kGetters[] = {GetSpecialWave227Array, GetSpecialWave251Array};

// The permissions of the mapping that holds `address`, and the file behind it.
std::string MappingOf(const void* address)
{
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::uintptr_t from = 0;
        std::uintptr_t to = 0;
        std::string permissions;
        std::string offset;
        std::string device;
        std::string node;
        std::string file;
        char dash = 0;
        fields >> std::hex >> from >> dash >> to >> permissions >> offset >> device >> node >> file;
        if (wanted >= from && wanted < to) return permissions + " " + file;
    }
    return "";
}

// In a file's own pages, which no process writes: "r--p /some/file".
void ExpectConstantData(const void* address)
{
    const std::string mapping = MappingOf(address);
    EXPECT_EQ(mapping.substr(0, 6), "r--p /") << mapping;
}

TEST(Iec227, HasTenWaveformsOfTheirLengthsAt720SamplesASecond)
{
    for (int n = 0; n < kIec227Count; ++n) {
        unsigned count = 0;
        unsigned rate = 0;
        EXPECT_EQ(GetSpecialWave227Array(n, &count, &rate), IEC227W[n]) << n;
        EXPECT_EQ(count, kIec227Facts[n].samples) << n;
        EXPECT_EQ(rate, 720u) << n;
        EXPECT_EQ(GetIEC227(n).name, std::string(kIec227Facts[n].name));
        EXPECT_EQ(GetIEC227Period(n), kIec227Facts[n].seconds);
    }
}

TEST(Iec227, RowIsZeroFromTheEndOfTheRecordOn)
{
    for (int n = 0; n < kIec227Count; ++n) {
        unsigned count = 0;
        unsigned rate = 0;
        const int* samples = GetSpecialWave227Array(n, &count, &rate);
        ASSERT_NE(samples, nullptr);
        for (unsigned i = count; i < kIec227Row; ++i) ASSERT_EQ(samples[i], 0) << n << " " << i;
        unsigned signal = 0;
        for (unsigned i = 0; i < count; ++i) signal += samples[i] != 0 ? 1u : 0u;
        EXPECT_GT(signal, count / 20) << n;  // not an empty row
    }
}

TEST(Iec227, RowsFollowEachOtherInOneTable)
{
    unsigned count = 0;
    unsigned rate = 0;
    const int* first = GetSpecialWave227Array(0, &count, &rate);
    for (int n = 1; n < kIec227Count; ++n) {
        EXPECT_EQ(GetSpecialWave227Array(n, &count, &rate) - first,
                  n * static_cast<std::ptrdiff_t>(kIec227Row));
    }
}

TEST(Iec251, HasSixteenWaveformsOfOneSecondAt1000SamplesASecond)
{
    for (int n = 0; n < kIec251Count; ++n) {
        unsigned count = 0;
        unsigned rate = 0;
        const int* samples = GetSpecialWave251Array(n, &count, &rate);
        ASSERT_EQ(samples, IEC251W[n]) << n;
        EXPECT_EQ(count, 1000u) << n;
        EXPECT_EQ(rate, 1000u) << n;
        EXPECT_EQ(GetIEC251(n).name, std::string(kIec251Names[n]));
        int highest = 0;
        for (unsigned i = 0; i < count; ++i) highest = std::max(highest, std::abs(samples[i]));
        EXPECT_GT(highest, 0) << n;
    }
}

TEST(WaveformArrays, AreConstantDataOfTheLibrary)
{
    unsigned count = 0;
    unsigned rate = 0;
    ExpectConstantData(GetSpecialWave227Array(0, &count, &rate));
    ExpectConstantData(GetSpecialWave227Array(9, &count, &rate) + count - 1);
    ExpectConstantData(GetSpecialWave251Array(15, &count, &rate) + count - 1);
    ExpectConstantData(&ANE20000[8][999]);
    ExpectConstantData(&g_NoiseRecords[3 * 650000]);
}

TEST(WaveformArrays, GiveNullAndZeroForANumberWithoutAWaveform)
{
    const int last[] = {kIec227Count, kIec251Count};
    for (std::size_t family = 0; family < 2; ++family) {
        for (const int n : {-1, last[family], INT_MIN, INT_MAX}) {
            unsigned count = kUntouched;
            unsigned rate = kUntouched;
            EXPECT_EQ(kGetters[family](n, &count, &rate), nullptr) << n;
            EXPECT_EQ(count, 0u) << n;
            EXPECT_EQ(rate, 0u) << n;
        }
    }
}

TEST(WaveformArrays, GiveNullForANullPointer)
{
    for (const ArrayGetter get : kGetters) {
        unsigned word = kUntouched;
        EXPECT_EQ(get(0, nullptr, &word), nullptr);
        EXPECT_EQ(get(0, &word, nullptr), nullptr);
        EXPECT_EQ(get(0, nullptr, nullptr), nullptr);
        EXPECT_EQ(get(-1, nullptr, nullptr), nullptr);
    }
}

// A family as the output functions play it.
struct Family {
    const char* name;
    int function;
    int waveforms;
    double rate;
    Shared<int>& selection;
    double period;  // s, 0: that of the facts
    int (*sample)(int row, int index);
};
const Family kFamilies[] = {
    {"Iec227", OUTPUT_IEC227, kIec227Count, 720.0, SpecialWaveFormNo, 0.0,
     [](int row, int index) { return static_cast<int>(IEC227W[row][index]); }},
    {"Iec251", OUTPUT_IEC251, kIec251Count, 1000.0, SpecialWaveFormNo, 1.0,
     [](int row, int index) { return static_cast<int>(IEC251W[row][index]); }},
    {"Ane20000", OUTPUT_ANE20000, 9, 1000.0, ANE20000ChannelNo, 1.0,
     [](int row, int index) { return static_cast<int>(ANE20000[row][index]); }},
};
void PrintTo(const Family& family, std::ostream* out) { *out << family.name; }

class WaveformVoltage : public testing::TestWithParam<Family> {
protected:
    static double PeriodOf(int row)
    {
        return GetParam().period != 0.0 ? GetParam().period : kIec227Facts[row].seconds;
    }
};

TEST_P(WaveformVoltage, IsTheSampleThatTheTimeFallsInto)
{
    const Family& family = GetParam();
    for (int row = 0; row < family.waveforms; ++row) {
        family.selection = row;
        OfflineRun run(family.function);
        const int count = static_cast<int>(std::lround(PeriodOf(row) * family.rate));
        for (int i = 0; i < count; ++i) {
            const double mv = family.sample(row, i) / 1000.0;
            // From just after its start to just before its end, nothing in between.
            for (const double part : {0.0001, 0.5, 0.9999}) {
                ASSERT_EQ(_GetMainFunctionVoltage((i + part) / family.rate), mv) << row << " " << i;
            }
        }
    }
}

TEST_P(WaveformVoltage, StartsWithTheFirstSample)
{
    const Family& family = GetParam();
    family.selection = 0;
    OfflineRun run(family.function);
    EXPECT_EQ(_GetMainFunctionVoltage(0.0), family.sample(0, 0) / 1000.0);
}

TEST_P(WaveformVoltage, HasItsPeriod)
{
    const Family& family = GetParam();
    for (int row = 0; row < family.waveforms; ++row) {
        family.selection = row;
        OfflineRun run(family.function);
        EXPECT_EQ(g_Cycle.Read().s_tp, PeriodOf(row)) << row;
        EXPECT_EQ(s_tp, PeriodOf(row)) << row;
    }
}

TEST_P(WaveformVoltage, IsZeroForANumberWithoutAWaveformWhichLastsOneSecond)
{
    const Family& family = GetParam();
    for (const int number : {-1, family.waveforms, INT_MIN, INT_MAX}) {
        family.selection = number;
        OfflineRun run(family.function);
        EXPECT_EQ(g_Cycle.Read().s_tp, 1.0) << number;
        for (const double t : {0.0, 0.25, 0.5, 0.9999}) EXPECT_EQ(_GetMainFunctionVoltage(t), 0.0);
    }
}

TEST_P(WaveformVoltage, IsZeroOutsideTheTable)
{
    const Family& family = GetParam();
    family.selection = 0;
    OfflineRun run(family.function);
    for (const double t : {-1.0, -1e300, 1e6, 1e300, kNaN, kInfinity, -kInfinity}) {
        EXPECT_EQ(_GetMainFunctionVoltage(t), 0.0) << t;
    }
}

INSTANTIATE_TEST_SUITE_P(Families, WaveformVoltage, testing::ValuesIn(kFamilies),
                         [](const auto& test) { return std::string(test.param.name); });
}  // namespace
