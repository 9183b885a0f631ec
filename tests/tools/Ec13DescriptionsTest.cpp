// The descriptions of the IEC 60601-2-27 / AAMI EC13 waveforms, against the public records where
// those are at hand.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "support/TempDir.h"
#include "tools/tables/Description.h"

namespace {
namespace fs = std::filesystem;

constexpr double kMostRms = 15.0;             // uV
constexpr double kMostAtAnExtreme = 40.0;     // uV
constexpr int kProminence = 200;              // uV
constexpr std::uintmax_t kMostText = 200000;  // bytes, of all files

struct Expected {
    const char* record;
    const char* name;
    std::size_t samples;
    int unitsPerMv;  // in the record
};

constexpr Expected kExpected[] = {
    {"aami3a", "AAMI 3A / IEC A1", 43081, 130},
    {"aami3b", "AAMI 3B / IEC A2", 43142, 130},
    {"aami3c", "AAMI 3C / IEC A3", 43144, 130},
    {"aami3d", "AAMI 3D / IEC A4", 34511, 130},
    {"aami4a", "AAMI 4A / IEC B1", 65211, 80},
    {"aami4a_d", "AAMI 4A / IEC B1 x2", 65214, 40},
    {"aami4a_h", "AAMI 4A / IEC B1 /2", 65207, 160},
    {"aami4b", "AAMI 4B / IEC B2", 65238, 80},
    {"aami4b_d", "AAMI 4B / IEC B2 x2", 65239, 40},
    {"aami4b_h", "AAMI 4B / IEC B2 /2", 65237, 160},
};

std::ostream& operator<<(std::ostream& out, const Expected& expected)
{
    return out << expected.record;
}

using Samples = std::vector<std::int32_t>;

class Ec13 : public testing::TestWithParam<Expected> {
protected:
    static Waveform Description()
    {
        return ReadDescription(fs::path(VRAX_DESCRIPTIONS_DIR) / "ec13" /
                               (std::string(GetParam().record) + ".txt"));
    }
};

// Two bytes a sample, the low one first; 2048 stands for 0 mV. Empty where there is no record.
Samples Record()
{
    const char* directory = std::getenv("VRAX_REFERENCE_DATA");
    const fs::path folder = fs::path(directory ? directory : VRAX_REFERENCE_DATA_DIR) / "aami-ec13";
    const std::string bytes =
        ReadWholeFile((folder / (std::string(Ec13::GetParam().record) + ".dat")).string());
    Samples samples;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const int low = static_cast<unsigned char>(bytes[i]);
        const int high = static_cast<signed char>(bytes[i + 1]);
        const int scaled = (256 * high + low - 2048) * 2000;  // half microvolts times the gain
        const int gain = Ec13::GetParam().unitsPerMv;
        samples.push_back((scaled + (scaled < 0 ? -gain : gain)) / (2 * gain));
    }
    return samples;
}

// From `peak` on in one direction: the last sample before one that is higher than the peak, or
// lower than it by the prominence.
std::size_t Walk(const Samples& samples, std::size_t peak, int step)
{
    std::size_t at = peak;
    for (;;) {
        const bool isEnd = step < 0 ? at == 0 : at + 1 == samples.size();
        if (isEnd) return at;
        const std::size_t next = step < 0 ? at - 1 : at + 1;
        if (samples[next] > samples[peak] || samples[peak] - samples[next] >= kProminence)
            return at;
        at = next;
    }
}

bool FallsAfter(const Samples& samples, std::size_t peak, std::size_t last, int step)
{
    const bool isEnd = step < 0 ? last == 0 : last + 1 == samples.size();
    return !isEnd && samples[step < 0 ? last - 1 : last + 1] <= samples[peak] - kProminence;
}

// How far the other curve's highest sample is off, at every peak that stands out on both sides.
std::vector<int> PeakDifferences(const Samples& record, const Samples& other)
{
    std::vector<int> differences;
    for (std::size_t i = 1; i + 1 < record.size(); ++i) {
        if (record[i] <= record[i - 1] || record[i] < record[i + 1]) continue;
        const std::size_t first = Walk(record, i, -1), last = Walk(record, i, 1);
        if (!FallsAfter(record, i, first, -1) || !FallsAfter(record, i, last, 1)) continue;
        int highest = other[first];
        for (std::size_t k = first; k <= last; ++k) highest = std::max(highest, other[k]);
        differences.push_back(highest - record[i]);
    }
    return differences;
}

Samples Negative(Samples samples)
{
    for (std::int32_t& sample : samples) sample = -sample;
    return samples;
}

TEST_P(Ec13, DescriptionHasTheNameRateAndLengthOfItsWaveform)
{
    const Waveform waveform = Description();
    EXPECT_EQ(waveform.name, GetParam().name);
    EXPECT_EQ(waveform.rate, 720.0);
    EXPECT_EQ(waveform.microvolts.size(), GetParam().samples);
}

TEST_P(Ec13, DescriptionIsNearItsRecordInTheMean)
{
    const Samples record = Record(), ours = Description().microvolts;
    if (record.empty()) GTEST_SKIP() << "the public records are not here";
    ASSERT_EQ(record.size(), ours.size());
    double squares = 0.0;
    for (std::size_t i = 0; i < ours.size(); ++i) squares += std::pow(ours[i] - record[i], 2);
    EXPECT_LE(std::sqrt(squares / static_cast<double>(ours.size())), kMostRms);
}

TEST_P(Ec13, DescriptionReachesEveryExtremeOfItsRecord)
{
    const Samples record = Record(), ours = Description().microvolts;
    if (record.empty()) GTEST_SKIP() << "the public records are not here";
    ASSERT_EQ(record.size(), ours.size());
    const std::vector<int> peaks = PeakDifferences(record, ours);
    const std::vector<int> troughs = PeakDifferences(Negative(record), Negative(ours));
    EXPECT_GT(peaks.size(), 60u);  // at least one a second
    EXPECT_GT(troughs.size(), 25u);
    for (const int off : peaks) EXPECT_LE(std::abs(off), kMostAtAnExtreme);
    for (const int off : troughs) EXPECT_LE(std::abs(off), kMostAtAnExtreme);
    const auto [lowest, highest] = std::ranges::minmax(record);
    const auto [ourLowest, ourHighest] = std::ranges::minmax(ours);
    EXPECT_LE(std::abs(ourLowest - lowest), kMostAtAnExtreme);
    EXPECT_LE(std::abs(ourHighest - highest), kMostAtAnExtreme);
}

TEST_P(Ec13, DescriptionHasNoPeakThatItsRecordLacks)
{
    const Samples record = Record(), ours = Description().microvolts;
    if (record.empty()) GTEST_SKIP() << "the public records are not here";
    for (const int off : PeakDifferences(ours, record)) EXPECT_LE(std::abs(off), kMostAtAnExtreme);
    for (const int off : PeakDifferences(Negative(ours), Negative(record))) {
        EXPECT_LE(std::abs(off), kMostAtAnExtreme);
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, Ec13, testing::ValuesIn(kExpected),
                         [](const auto& row) { return row.param.record; });

TEST(Ec13Texts, AreSmall)
{
    std::uintmax_t bytes = 0;
    for (const auto& entry :
         fs::recursive_directory_iterator(fs::path(VRAX_DESCRIPTIONS_DIR) / "ec13")) {
        if (entry.is_regular_file()) bytes += entry.file_size();
    }
    EXPECT_GT(bytes, 0u);
    EXPECT_LE(bytes, kMostText);
}

TEST(Ec13Texts, TrainOfTheTachycardiasPeaksEvery540Samples)
{
    for (const char* record :
         {"aami4a", "aami4a_d", "aami4a_h", "aami4b", "aami4b_d", "aami4b_h"}) {
        const Samples samples = ReadDescription(fs::path(VRAX_DESCRIPTIONS_DIR) / "ec13" /
                                                (std::string(record) + ".txt"))
                                    .microvolts;
        for (std::size_t peak = 31; peak <= 21631; peak += 540) {
            const int baseline = samples[peak + 400];
            EXPECT_NEAR(samples[peak] - baseline, 875, 2) << record << " " << peak;
            EXPECT_NEAR(*std::min_element(&samples[peak], &samples[peak + 400]) - baseline, -100, 5)
                << record << " " << peak;
        }
    }
}
}  // namespace
