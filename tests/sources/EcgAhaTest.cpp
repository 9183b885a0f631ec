// The AHA formats, text and binary.

#include <cmath>

#include "support/CommaLocale.h"
#include "support/Descriptors.h"
#include "support/PeakMemory.h"
#include "support/RecordFiles.h"

namespace {
class AhaFile : public RecordFiles {
protected:
    int LoadText(const std::string& text, int channel = 0) const
    {
        return LoadECGAHA(Write("record.txt", text).c_str(), channel);
    }
    int LoadBinary(const std::string& bytes, int channel = 0) const
    {
        return LoadECGAHA(Write("record.ecg", bytes).c_str(), channel);
    }
};

TEST_F(AhaFile, IsToldByTheLastFourCharactersInLowerCase)
{
    const std::string text = "400 800\n";
    const std::string bytes = AhaGroup(400, 800);
    EXPECT_EQ(LoadECGAHA(Write("a.txt", text).c_str(), 0), 1);
    EXPECT_EQ(LoadECGAHA(Write("a.ecg", bytes).c_str(), 0), 1);
    for (const char* name :
         {"a.TXT", "a.ECG", "a.Ecg", "a.dat", "atxt.", "a.txt ", "a.ecgx", "a.e"}) {
        EXPECT_EQ(LoadECGAHA(Write(name, text).c_str(), 0), -1) << name;
    }
    EXPECT_EQ(LoadECGAHA(nullptr, 0), -1);
    EXPECT_EQ(LoadECGAHA("", 0), -1);
    EXPECT_EQ(LoadECGAHA("ecg", 0), -1);
}

TEST_F(AhaFile, TestsExtensionChannelAndFileInThisOrder)
{
    EXPECT_EQ(LoadECGAHA(dir_.File("missing.dat").c_str(), 2), -1);
    for (const char* name : {"missing.txt", "missing.ecg"}) {
        const std::string path = dir_.File(name);
        for (const int channel : {-1, 2, 2147483647}) {
            EXPECT_EQ(LoadECGAHA(path.c_str(), channel), -3) << name;
        }
        EXPECT_EQ(LoadECGAHA(path.c_str(), 1), -2) << name;
        ASSERT_TRUE(std::filesystem::create_directory(path));
        EXPECT_EQ(LoadECGAHA(path.c_str(), 1), -2) << name;
    }
    EXPECT_EQ(LoadECGAHA(".txt", 0), -2);  // four characters are enough
}

TEST_F(AhaFile, LeavesTheOldRecordUntilItWasRead)
{
    HandOver();
    LoadECGAHA(dir_.File("missing.txt").c_str(), 0);
    LoadECGAHA(dir_.File("missing.ecg").c_str(), 0);
    LoadText("400 800\n", 2);
    LoadECGAHA(dir_.File("a.dat").c_str(), 0);
    EXPECT_TRUE(HoldsWhatWasHandedOver());
}

TEST_F(AhaFile, OfTextHasBothChannelsInALine)
{
    const std::string text = "400,-400\n200, 100\n  -1   8  9\n";
    ASSERT_EQ(LoadText(text, 0), 3);
    EXPECT_EQ(Record(), (std::vector<double>{1.0, 0.5, -0.0025}));
    EXPECT_EQ(g_nECGRawSampleRate, 250.0);
    ASSERT_EQ(LoadText(text, 1), 3);
    EXPECT_EQ(Record(), (std::vector<double>{-1.0, 0.25, 0.02}));
}

TEST_F(AhaFile, LeavesTheUnitOfTheRecordAlone)
{
    for (const int unit : {0, 1}) {
        ECGFileUnitMV = unit;
        ASSERT_EQ(LoadText("1 2\n"), 1);
        EXPECT_EQ(ECGFileUnitMV, unit);
        ASSERT_EQ(LoadBinary(AhaGroup(1, 2)), 1);
        EXPECT_EQ(ECGFileUnitMV, unit);
    }
}

TEST_F(AhaFile, OfTextTakesEveryLineEndAndLeavesOutBlankLines)
{
    ASSERT_EQ(LoadText("\r\n400 1\r\n\n \t \r800 2\r\r1200 3"), 3);
    EXPECT_EQ(Record(), (std::vector<double>{1.0, 2.0, 3.0}));
}

TEST_F(AhaFile, OfTextTakesNoMemoryForBlankLines)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's own memory hides that of the library";
#endif
    const std::string path = Write("record.txt", std::string(10000000, '\n') + "400,800\n");
    const long before = PeakMemoryBytes();
    EXPECT_EQ(LoadECGAHA(path.c_str(), 0), 1);
    EXPECT_LT(PeakMemoryBytes() - before, 1000000L);
}

TEST_F(AhaFile, OfTextLeavesOutLinesWithoutTheNumber)
{
    const std::string text =
        "400\n"        // one field
        "400,\n"       // no second one
        "a 400\n"      // no number
        "400x 400\n"   // more than a number
        "400\t400\n"   // a tab is no separator
        "800 b\n"      // the other field is not looked at
        "1200\t 1\n";  // white space behind the number
    ASSERT_EQ(LoadText(text, 0), 2);
    EXPECT_EQ(Record(), (std::vector<double>{2.0, 3.0}));
    ASSERT_EQ(LoadText(text, 1), 3);
    EXPECT_EQ(Record(), (std::vector<double>{1.0, 1.0, 0.0025}));
}

TEST_F(AhaFile, TakesValuesAsTheyAre)
{
    ASSERT_EQ(LoadText("40000 0\n1e400,0\n-0x10 0\nnan 0\n"), 4);
    const std::vector<double> record = Record();
    EXPECT_EQ(record[0], 100.0);
    EXPECT_EQ(record[1], INFINITY);
    EXPECT_EQ(record[2], -0.04);
    EXPECT_TRUE(std::isnan(record[3]));
    ASSERT_EQ(LoadBinary(AhaGroup(32767, -32768), 1), 1);
    EXPECT_EQ(Record(), (std::vector<double>{-81.92}));
}

TEST_F(AhaFile, WithoutASampleIsRefusedAndTheOldRecordGone)
{
    for (const char* text : {"", "\n", "a b\n", "1\n2\n"}) {
        HandOver();
        EXPECT_EQ(LoadText(text), -4) << text;
        EXPECT_TRUE(IsEmpty()) << text;
    }
    for (const std::size_t length : {0u, 1u, 4u}) {
        HandOver();
        EXPECT_EQ(LoadBinary(AhaGroup(1, 2).substr(0, length)), -4) << length;
        EXPECT_TRUE(IsEmpty()) << length;
    }
}

TEST_F(AhaFile, OfTextLooksAtTheStartOfALongLine)
{
    const std::string tail(200000, '7');
    ASSERT_EQ(LoadText("400 800 " + tail + "\n1200 1600\n" + "2000 2400 " + tail), 3);
    EXPECT_EQ(Record(), (std::vector<double>{1.0, 3.0, 5.0}));
}

TEST_F(AhaFile, OfTextDoesNotCountWhatFollowsANulInALine)
{
    ASSERT_EQ(LoadText(std::string("400\0 800\n1200 1600\n\0001 2\n", 24)), 1);
    EXPECT_EQ(Record(), (std::vector<double>{3.0}));
}

TEST_F(AhaFile, OfFiveByteGroupsHasBothChannelsAndAByteMore)
{
    const std::string bytes = AhaGroup(400, -400) + AhaGroup(-32768, 32767) + AhaGroup(1, 256);
    ASSERT_EQ(LoadBinary(bytes, 0), 3);
    EXPECT_EQ(Record(), (std::vector<double>{1.0, -81.92, 0.0025}));
    EXPECT_EQ(g_nECGRawSampleRate, 250.0);
    ASSERT_EQ(LoadBinary(bytes + "1234", 1), 3);  // a cut group is none
    EXPECT_EQ(Record(), (std::vector<double>{-1.0, 81.9175, 0.64}));
}

TEST_F(AhaFile, IsTheSameInBlocksAsInOnePiece)
{
    std::string text;
    std::string bytes;
    std::vector<double> expected;
    for (int i = 0; i < 30000; ++i) {
        const int value = i % 8000 - 4000;
        text += std::string(static_cast<std::size_t>(i * 7 % 20), ' ') + std::to_string(-value) +
                "," + std::to_string(value) + "\r\n";
        bytes += AhaGroup(-value, value);
        expected.push_back(value / 400.0);
    }
    ASSERT_EQ(LoadText(text, 1), 30000);
    EXPECT_TRUE(Record() == expected);
    ASSERT_EQ(LoadBinary(bytes, 1), 30000);
    EXPECT_TRUE(Record() == expected);
}

TEST_F(AhaFile, LeavesNoDescriptorBehind)
{
    const auto before = CountDescriptors();
    LoadText("1 2\n");
    LoadText("");
    LoadBinary(AhaGroup(1, 2));
    LoadBinary("");
    EXPECT_EQ(CountDescriptors(), before);
}

class AhaFileUnderACommaLocale : public CommaLocale {};

TEST_F(AhaFileUnderACommaLocale, HasPointsAllTheSame)
{
    ASSERT_EQ(HalfByPrintf(), "0,5");
    const std::string path = dir_.File("record.txt");
    std::ofstream(path) << "0.5,1.5\n";
    ASSERT_EQ(LoadECGAHA(path.c_str(), 1), 1);
    EXPECT_EQ(g_pECGRawData[0], 1.5 / 400.0);
}
}  // namespace
