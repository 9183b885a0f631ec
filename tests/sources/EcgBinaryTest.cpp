// The binary format, big-endian.

#include "support/Descriptors.h"
#include "support/RecordFiles.h"

namespace {
class BinaryFile : public RecordFiles {
protected:
    int Load(const std::string& bytes) const
    {
        return LoadECGBin(Write("record.bin", bytes).c_str());
    }
};

TEST_F(BinaryFile, HoldsMicrovoltsWithASign)
{
    HandOver();
    ASSERT_EQ(Load(BinaryRecord().Bytes()), 4);
    EXPECT_EQ(Record(), (std::vector<double>{0.0, 1.0, -0.001, 12.345}));
    EXPECT_EQ(g_nECGRawSampleRate, 500.0);
    EXPECT_EQ(ECGFileUnitMV, 1);
}

TEST_F(BinaryFile, IsReadByteByByteAsDescribed)
{
    const std::string bytes("\x01\x68\x00\x00\x00\x02\xFF\x38\x01\x02", 10);
    ASSERT_EQ(Load(bytes), 2);
    EXPECT_EQ(g_nECGRawSampleRate, 360.0);
    EXPECT_EQ(Record(), (std::vector<double>{-0.2, 0.258}));
}

TEST_F(BinaryFile, HoldsValuesWithin20Millivolts)
{
    BinaryRecord record;
    record.microvolts = {32767, -32768, 20001, 20000, -20000, -20001};
    record.count = 6;
    ASSERT_EQ(Load(record.Bytes()), 6);
    EXPECT_EQ(Record(), (std::vector<double>{20, -20, 20, 20, -20, -20}));
}

TEST_F(BinaryFile, TakesRatesFrom30To5000)
{
    BinaryRecord record;
    for (const unsigned rate : {30u, 31u, 4999u, 5000u}) {
        record.rate = rate;
        EXPECT_EQ(Load(record.Bytes()), 4) << rate;
        EXPECT_EQ(g_nECGRawSampleRate, rate);
    }
    for (const unsigned rate : {0u, 1u, 29u, 5001u, 32768u, 65535u}) {
        record.rate = rate;
        EXPECT_EQ(Load(record.Bytes()), -2) << rate;
    }
}

TEST_F(BinaryFile, TakesUpTo20MillionSamples)
{
    BinaryRecord record;
    record.count = 20000000;
    EXPECT_EQ(Load(record.Bytes()), 4);
    for (const std::uint64_t count :
         {0ull, 20000001ull, 0x7FFFFFFFull, 0x80000000ull, 0xFFFFFFFFull}) {
        record.count = count;
        EXPECT_EQ(Load(record.Bytes()), -3) << count;
    }
}

TEST_F(BinaryFile, EndsWithTheFileOrWithTheNumberOfSamples)
{
    BinaryRecord record;
    record.count = 1000;
    const std::string bytes = record.Bytes();
    EXPECT_EQ(Load(bytes), 4);
    EXPECT_EQ(Load(bytes.substr(0, bytes.size() - 1)), 3);  // half a word is none
    record.count = 2;
    EXPECT_EQ(Load(record.Bytes()), 2);
    EXPECT_EQ(Record(), (std::vector<double>{0.0, 1.0}));
}

TEST_F(BinaryFile, WithAHeaderAloneGivesNoSamplesAndNoRecord)
{
    HandOver();
    EXPECT_EQ(Load(BinaryRecord().Bytes().substr(0, 6)), 0);
    EXPECT_TRUE(IsEmpty());
    EXPECT_EQ(g_nECGRawSize, 0);
    EXPECT_EQ(g_nECGRawSampleRate, 500.0);
}

TEST_F(BinaryFile, TellsHowFarItsHeaderGoes)
{
    const std::string bytes = BinaryRecord().Bytes();
    EXPECT_EQ(LoadECGBin(dir_.File("missing").c_str()), -1);
    EXPECT_EQ(LoadECGBin(nullptr), -1);
    EXPECT_EQ(LoadECGBin(dir_.Path().c_str()), -2);
    EXPECT_EQ(Load(""), -2);
    EXPECT_EQ(Load(bytes.substr(0, 1)), -2);
    for (const std::size_t length : {2u, 3u, 5u}) EXPECT_EQ(Load(bytes.substr(0, length)), -3);
}

TEST_F(BinaryFile, LeavesTheOldRecordWhenItsHeaderIsRefused)
{
    HandOver();
    BinaryRecord record;
    record.count = 0;
    EXPECT_EQ(Load(record.Bytes()), -3);
    record.rate = 29;
    EXPECT_EQ(Load(record.Bytes()), -2);
    LoadECGBin(nullptr);
    EXPECT_TRUE(HoldsWhatWasHandedOver());
}

TEST_F(BinaryFile, LeavesNoDescriptorBehind)
{
    const auto before = CountDescriptors();
    Load(BinaryRecord().Bytes());
    Load("");
    Load("\1\1");
    EXPECT_EQ(CountDescriptors(), before);
}

TEST_F(BinaryFile, IsTheSameInBlocksAsInOnePiece)
{
    BinaryRecord record;
    record.microvolts.clear();
    std::vector<double> expected;
    for (int i = 0; i < 50000; ++i) {
        record.microvolts.push_back(i % 20000 - 10000);
        expected.push_back((i % 20000 - 10000) / 1000.0);
    }
    record.count = 50000;
    ASSERT_EQ(Load(record.Bytes()), 50000);
    EXPECT_TRUE(Record() == expected);
}
}  // namespace
