// The tables that this build holds, against what it says that they are: a table of public records
// has every sample of them, a table of likenesses is what its description expands to.

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>

#include "sources/Tables.h"
#include "support/PublicRecords.h"
#include "tools/tables/Families.h"

namespace {
struct Ec13Record {
    std::size_t row;
    const char* name;
    int unitsPerMv;
    std::size_t samples;
};

constexpr Ec13Record kEc13Records[] = {
    {0, "aami3a", 130, 43081},   {1, "aami3b", 130, 43142}, {2, "aami3c", 130, 43144},
    {3, "aami3d", 130, 34511},   {4, "aami4a", 80, 65211},  {5, "aami4a_d", 40, 65214},
    {6, "aami4a_h", 160, 65207}, {7, "aami4b", 80, 65238},  {8, "aami4b_d", 40, 65239},
    {9, "aami4b_h", 160, 65237},
};

struct Noise {
    std::size_t place;
    const char* name;
};

constexpr Noise kNoise[] = {{0, "ma"}, {1, "em"}, {2, "bw"}};

std::ostream& operator<<(std::ostream& out, const Ec13Record& record) { return out << record.name; }
std::ostream& operator<<(std::ostream& out, const Noise& noise) { return out << noise.name; }

bool Holds(const std::string& tables)
{
    return std::string(g_TablesIdentity).find(tables) != std::string::npos;
}

// The first sample that differs; `samples.size()` when none does.
std::size_t FirstDifference(const RecordSamples& samples, const std::int32_t* table)
{
    const auto found = std::mismatch(samples.begin(), samples.end(), table).first;
    return static_cast<std::size_t>(found - samples.begin());
}

const std::int32_t* NoiseTable(std::size_t place)
{
    return g_NoiseRecords + place * kNoiseRecordSamples;
}

TEST(Tables, TellWhatTheyHold)
{
    EXPECT_STREQ(g_TablesIdentity, "@(#)vrax tables: " VRAX_TABLES_IDENTITY);
}

TEST(Tables, HoldOneZeroBehindTheNoise) { EXPECT_EQ(g_NoiseRecords[3 * 650000], 0); }

class Ec13Table : public testing::TestWithParam<Ec13Record> {};
INSTANTIATE_TEST_SUITE_P(EveryRecord, Ec13Table, testing::ValuesIn(kEc13Records));

TEST_P(Ec13Table, IsZeroFromTheEndOfTheRecordOn)
{
    const std::int32_t* const row = IEC227W[GetParam().row];
    EXPECT_TRUE(std::all_of(row + GetParam().samples, row + 66000,
                            [](std::int32_t sample) { return sample == 0; }));
    EXPECT_FALSE(std::all_of(row, row + 720, [](std::int32_t sample) { return sample == 0; }));
}

TEST_P(Ec13Table, HasEverySampleOfThePublicRecord)
{
    if (!Holds("EC13 public record")) GTEST_SKIP() << "this build holds EC13 likenesses";
    const RecordSamples record = PublicEc13Record(GetParam().name, GetParam().unitsPerMv);
    if (record.empty()) GTEST_SKIP() << "no public records in " << PublicRecordsFolder();
    ASSERT_EQ(record.size(), GetParam().samples);
    EXPECT_EQ(FirstDifference(record, IEC227W[GetParam().row]), record.size());
}

TEST_P(Ec13Table, IsWhatItsDescriptionExpandsTo)
{
    if (!Holds("EC13 likeness")) GTEST_SKIP() << "this build holds EC13 public records";
    const auto rows = Ec13FromDescriptions(VRAX_DESCRIPTIONS_DIR "/ec13");
    const RecordSamples& samples = rows.at(GetParam().row).microvolts;
    EXPECT_EQ(FirstDifference(samples, IEC227W[GetParam().row]), samples.size());
}

class NoiseTables : public testing::TestWithParam<Noise> {};
INSTANTIATE_TEST_SUITE_P(EveryRecord, NoiseTables, testing::ValuesIn(kNoise));

TEST_P(NoiseTables, HaveEverySampleOfThePublicRecord)
{
    if (!Holds("noise public record")) GTEST_SKIP() << "this build holds noise likenesses";
    const RecordSamples record = PublicNoiseRecord(GetParam().name);
    if (record.empty()) GTEST_SKIP() << "no public records in " << PublicRecordsFolder();
    ASSERT_EQ(record.size(), kNoiseRecordSamples);
    EXPECT_EQ(FirstDifference(record, NoiseTable(GetParam().place)), record.size());
}

// Made once more, by a program with other compiler flags: the seed alone decides.
TEST_P(NoiseTables, AreWhatTheirDescriptionExpandsToEveryTime)
{
    if (!Holds("noise likeness")) GTEST_SKIP() << "this build holds noise public records";
    const auto records = NoiseFromDescription(VRAX_DESCRIPTIONS_DIR "/noise.txt");
    const RecordSamples& samples = records.at(GetParam().place).microvolts;
    ASSERT_EQ(samples.size(), kNoiseRecordSamples);
    EXPECT_EQ(FirstDifference(samples, NoiseTable(GetParam().place)), samples.size());
}

TEST(CalTables, AreWhatTheirDescriptionExpandsTo)
{
    const auto rows = CalFromDescription(VRAX_DESCRIPTIONS_DIR "/cal.txt");
    ASSERT_EQ(rows.size(), kIec251Waveforms);
    for (std::size_t n = 0; n < rows.size(); ++n) {
        ASSERT_EQ(rows[n].microvolts.size(), kIec251RowSamples);
        EXPECT_EQ(FirstDifference(rows[n].microvolts, IEC251W[n]), kIec251RowSamples);
    }
}

TEST(AneTables, AreWhatTheirDescriptionExpandsTo)
{
    const auto rows = AneFromDescription(VRAX_DESCRIPTIONS_DIR "/ane20000.txt");
    ASSERT_EQ(rows.size(), kAne20000Leads);
    for (std::size_t n = 0; n < rows.size(); ++n) {
        ASSERT_EQ(rows[n].microvolts.size(), kAne20000RowSamples);
        EXPECT_EQ(FirstDifference(rows[n].microvolts, ANE20000[n]), kAne20000RowSamples);
    }
}
}  // namespace
