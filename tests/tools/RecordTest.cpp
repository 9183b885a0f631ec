// Records in WFDB form: both formats, the scale to microvolts, and what is refused.

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/PublicRecords.h"
#include "support/TempDir.h"
#include "tools/tables/Families.h"
#include "tools/tables/Record.h"
#include "tools/tables/TextFile.h"

namespace {
class RecordFiles : public testing::Test {
protected:
    void Write(const std::string& name, const std::string& bytes)
    {
        std::ofstream(folder_.File(name), std::ios::binary) << bytes;
    }
    Record Read() { return ReadRecord(folder_.File("r.hea")); }
    std::string Refusal()
    {
        try {
            Read();
        } catch (const TableError& error) {
            return std::string(error.what()).substr(folder_.Path().size() + 1);
        }
        return "accepted";
    }

private:
    TempDir folder_;
};

using Values = std::vector<std::int16_t>;

TEST_F(RecordFiles, OfFormat16HoldTwoBytesAValueTheLowOneFirst)
{
    Write("r.hea", "r 1 720 4\nr.dat 16 100 12 0 1 -254 0 ECG\n# a remark\n");
    Write("r.dat", std::string("\x01\x00\xff\xff\x02\x01\x00\xfe", 8));
    const Record record = Read();
    EXPECT_EQ(record.rate, 720.0);
    EXPECT_EQ(record.signals.at(0).values, (Values{1, -1, 258, -512}));
}

TEST_F(RecordFiles, OfFormat212HoldTwoValuesInThreeBytes)
{
    // 0x7ff, -0x800, 0x123, -1 of two signals
    Write("r.hea",
          "r 2 360 2\r\nr.dat 212 0 12 0 2047 2338 0 a\r\n"
          "r.dat 212 0 12 0 -2048 -2049 0 b\r\n");
    Write("r.dat", std::string("\xff\x87\x00\x23\xf1\xff", 6));
    const Record record = Read();
    ASSERT_EQ(record.signals.size(), 2U);
    EXPECT_EQ(record.signals[0].values, (Values{2047, 291}));
    EXPECT_EQ(record.signals[1].values, (Values{-2048, -1}));
}

TEST_F(RecordFiles, WithAGainOf0Have200UnitsAMillivolt)
{
    Write("r.hea", "r 1 360 2\nr.dat 16 0 12 0 3 -4 0 a\n");
    Write("r.dat", std::string("\x03\x00\xf9\xff", 4));
    EXPECT_EQ(Microvolts(Read().signals.at(0)), (std::vector<std::int32_t>{15, -35}));
}

TEST(Microvolts, CountFromTheZeroAndRoundHalvesAwayFromIt)
{
    EXPECT_EQ(Microvolts({80.0, 2048, {2048, 2049, 2047, 2050, 2051}}),
              (std::vector<std::int32_t>{0, 13, -13, 25, 38}));  // 12.5 uV a unit
    EXPECT_EQ(Microvolts({130.0, 2048, {2049, 2047, 2061}}),
              (std::vector<std::int32_t>{8, -8, 100}));  // 7.69 uV a unit
    EXPECT_EQ(Microvolts({160.0, 0, {1, 2, -2}}),
              (std::vector<std::int32_t>{6, 13, -13}));  // 6.25 uV a unit
}

TEST_F(RecordFiles, AreRefusedWhenTheSamplesAreNotTheHeaders)
{
    const std::string header = "r 1 720 2\nr.dat 16 100 12 0 1 3 0 ECG\n";
    const std::string samples("\x01\x00\x02\x00", 4);
    Write("r.hea", header);
    Write("r.dat", samples);
    EXPECT_EQ(Refusal(), "accepted");
    Write("r.dat", std::string("\x01\x00\x03\x00", 4));
    EXPECT_EQ(Refusal(), "r.dat: the checksum is not the header's");
    Write("r.dat", std::string("\x02\x00\x01\x00", 4));
    EXPECT_EQ(Refusal(), "r.dat: the first value is not the header's");
    Write("r.dat", samples.substr(0, 3));
    EXPECT_EQ(Refusal(), "r.dat: has 3 bytes, the header promises 4");
    Write("r.dat", samples + samples);
    EXPECT_EQ(Refusal(), "r.dat: has 8 bytes, the header promises 4");
}

TEST_F(RecordFiles, AreRefusedForTheChecksumOfAnySignal)
{
    Write("r.dat", std::string("\x01\x00\x02\x00", 4));
    Write("r.hea", "r 2 720 1\nr.dat 16 100 12 0 1 1 0 a\nr.dat 16 100 12 0 2 1 0 b\n");
    EXPECT_EQ(Refusal(), "r.dat: the checksum is not the header's");
}

TEST_F(RecordFiles, AreRefusedWithTheLineOfTheHeader)
{
    Write("r.hea", "r 1 720 2\nr.dat 80 100 12 0 1 3 0 ECG\n");
    EXPECT_EQ(Refusal(), "r.hea:2: the format is not 16 or 212");
    Write("r.hea", "r 2 720 2\nr.dat 16 100 12 0 1 3 0 ECG\n");
    EXPECT_EQ(Refusal(), "r.hea: a signal line is missing");
    Write("r.hea", "r 1 720\n");
    EXPECT_EQ(Refusal(), "r.hea:1: the line ends too early");
    Write("r.hea", "r 1 720 -5\nr.dat 16 100 12 0 1 3 0 ECG\n");
    EXPECT_EQ(Refusal(), "r.hea:1: the number of samples is out of range");
    Write("r.hea", "r 1 720 2\nother.dat 16 100 12 0 1 3 0 ECG\n");
    EXPECT_EQ(Refusal(), "other.dat: cannot be read, or is empty");
}

TEST(PublicRecords, AreDecodedToTheSameSamplesASecondTime)
{
    const RecordSamples noise = PublicNoiseRecord("em");
    if (noise.empty()) GTEST_SKIP() << "no public records in " << PublicRecordsFolder();
    const auto records = NoiseFromRecords(PublicRecordsFolder() + "/nstdb");
    ASSERT_EQ(records.size(), 3U);
    EXPECT_TRUE(records[1].microvolts == noise);
    const auto rows = Ec13FromRecords(PublicRecordsFolder() + "/aami-ec13");
    ASSERT_EQ(rows.size(), 10U);
    EXPECT_TRUE(rows[0].microvolts == PublicEc13Record("aami3a", 130));
    EXPECT_TRUE(rows[6].microvolts == PublicEc13Record("aami4a_h", 160));
}
}  // namespace
