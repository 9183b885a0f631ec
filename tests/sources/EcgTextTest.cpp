// The text format: what is read, what is refused with which code, what is left behind.

#include <sys/stat.h>

#include <cmath>
#include <cstdlib>
#include <thread>

#include "support/CommaLocale.h"
#include "support/Descriptors.h"
#include "support/RecordFiles.h"

namespace {
class TextFile : public RecordFiles {
protected:
    int Load(const std::string& text, int channel = 0) const
    {
        return VRAXLoadECGtxt(Write("record.txt", text).c_str(), channel);
    }
    static TextRecord OneColumn(std::vector<std::string> lines)
    {
        TextRecord record;
        record.count = std::to_string(lines.size());
        record.channels = "1";
        record.names = "I";
        record.lines = std::move(lines);
        return record;
    }
};

TEST_F(TextFile, GivesOneChannelInMillivoltsWithItsRate)
{
    HandOver();
    ASSERT_EQ(Load(TextRecord().Text(), 0), 3);
    EXPECT_EQ(Record(), (std::vector<double>{0.5, 1.0, -0.3}));
    ASSERT_EQ(Load(TextRecord().Text(), 1), 3);
    EXPECT_EQ(Record(), (std::vector<double>{-1.25, 2.0, 19.5}));
    EXPECT_EQ(g_nECGRawSampleRate, 360.0);
    EXPECT_EQ(ECGFileUnitMV, 1);
    unsigned count = 0;
    unsigned rate = 0;
    EXPECT_NE(GetFileArray(&count, &rate), nullptr);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(rate, 360u);
}

TEST_F(TextFile, TakesRatesFrom100To40000WithFractions)
{
    TextRecord record;
    for (const char* rate : {"100", "40000", "128.5", " 1e3", "250 Hz"}) {
        record.rate = rate;
        EXPECT_EQ(Load(record.Text()), 3) << rate;
        EXPECT_EQ(g_nECGRawSampleRate, std::atof(rate));
    }
    for (const char* rate : {"99", "99.99", "40000.01", "-360", "inf", "0", "0.0", "", "abc"}) {
        record.rate = rate;
        EXPECT_EQ(Load(record.Text()), -2) << rate;
    }
}

TEST_F(TextFile, LetsARateThroughThatIsNoNumber)
{
    TextRecord record;
    record.rate = "nan";
    EXPECT_EQ(Load(record.Text()), 3);
    EXPECT_EQ(RawArrayVoltage(0.0), 0.0);
    unsigned count = 0;
    unsigned rate = 1;
    EXPECT_NE(GetFileArray(&count, &rate), nullptr);
    EXPECT_EQ(rate, 0u);
}

TEST_F(TextFile, TellsWhichHeaderLineIsMissing)
{
    EXPECT_EQ(VRAXLoadECGtxt(dir_.File("missing").c_str(), 0), -1);
    EXPECT_EQ(VRAXLoadECGtxt(nullptr, 0), -1);
    EXPECT_EQ(VRAXLoadECGtxt(dir_.Path().c_str(), 0), -2);
    EXPECT_EQ(Load(""), -2);
    EXPECT_EQ(Load("360"), -3);
    EXPECT_EQ(Load("360\n0\n"), -3);
    EXPECT_EQ(Load("360\nx\n"), -3);
    EXPECT_EQ(Load("360\n3\n"), -4);
    EXPECT_EQ(Load("360\n3\n0\nI\n"), -4);
    EXPECT_EQ(Load("360\n3\n1"), -5);
    EXPECT_EQ(Load("360\n3\n1\n"), -5);
    EXPECT_EQ(Load("360\n3\n1\nI"), 0);
}

TEST_F(TextFile, TestsTheHeaderInTheOrderOfItsLines)
{
    TextRecord record;
    record.channels = "0";
    EXPECT_EQ(Load(record.Text(), 5), -4);
    record.count = "0";
    EXPECT_EQ(Load(record.Text(), 5), -3);
    record.rate = "99";
    EXPECT_EQ(Load(record.Text(), 5), -2);
    EXPECT_EQ(Load("360\n3\n2", 5), -7);  // before the names
}

TEST_F(TextFile, HasNoChannelBelowZeroOrFromTheirNumberOn)
{
    for (const int channel : {-1, 2, 3, -2147483647 - 1, 2147483647}) {
        EXPECT_EQ(Load(TextRecord().Text(), channel), -7) << channel;
    }
    TextRecord record;
    record.channels = "-2";
    EXPECT_EQ(Load(record.Text()), -7);
}

TEST_F(TextFile, LeavesTheOldRecordWhenItsHeaderIsRefused)
{
    HandOver();
    for (const char* text : {"", "99\n", "360\n0\n", "360\n3\n0\n", "360\n3\n2\n"}) {
        EXPECT_LT(Load(text), 0) << text;
        EXPECT_TRUE(HoldsWhatWasHandedOver()) << text;
    }
    EXPECT_EQ(Load(TextRecord().Text(), 2), -7);
    EXPECT_TRUE(HoldsWhatWasHandedOver());
}

TEST_F(TextFile, StaysOpenAfterARateOutOfRangeAndAMissingChannel)
{
    const auto before = CountDescriptors();
    EXPECT_EQ(Load("99\n3\n2\nI,II\n"), -2);
    EXPECT_EQ(CountDescriptors(), before + 1);
    EXPECT_EQ(Load(TextRecord().Text(), 2), -7);
    EXPECT_EQ(CountDescriptors(), before + 2);
}

TEST_F(TextFile, IsClosedAfterEverythingElse)
{
    TextRecord missingField;
    missingField.lines[1] = "1";
    TextRecord negative;
    negative.count = "-1";
    const auto before = CountDescriptors();
    for (const std::string& text :
         {std::string(), std::string("0\n"), std::string("360\n"), std::string("360\n3\n"),
          std::string("360\n3\n2\n"), missingField.Text(), negative.Text(), TextRecord().Text()}) {
        Load(text, 1);
        EXPECT_EQ(CountDescriptors(), before) << text;
    }
}

TEST_F(TextFile, EndsWithTheFileOrWithTheNumberOfSamples)
{
    TextRecord record = OneColumn(std::vector<std::string>(600, "0.25"));
    record.count = "1000";
    EXPECT_EQ(Load(record.Text()), 600);
    EXPECT_EQ(Record(), std::vector<double>(600, 0.25));
    record.count = "599";
    EXPECT_EQ(Load(record.Text()), 599);
    record.lines.back() = "no line end";
    record.count = "600";
    record.lineEnd = "\r\n";
    EXPECT_EQ(Load(record.Text()), 600);
    EXPECT_EQ(Record()[599], 0.0);
    const std::string text = record.Text();
    EXPECT_EQ(Load(text.substr(0, text.size() - 2)), 600);
}

TEST_F(TextFile, WithAHeaderAloneGivesNoSamplesAndNoRecord)
{
    HandOver();
    EXPECT_EQ(Load(TextRecord().Header()), 0);
    EXPECT_TRUE(IsEmpty());
    EXPECT_EQ(g_nECGRawSize, 0);
    EXPECT_EQ(g_nECGRawSampleRate, 360.0);
}

TEST_F(TextFile, HoldsValuesWithin20Millivolts)
{
    const TextRecord record = OneColumn(
        {"25.0", "20", "20.0001", "-19.999", "-20", "-25", "1e400", "-inf", "1e-400", "-0x1p10"});
    ASSERT_EQ(Load(record.Text()), 10);
    EXPECT_EQ(Record(), (std::vector<double>{20, 20, 20, -19.999, -20, -20, 20, -20, 0, -20}));
    ASSERT_EQ(Load(OneColumn({"nan"}).Text()), 1);
    EXPECT_TRUE(std::isnan(Record()[0]));
}

TEST_F(TextFile, ReadsTheStartOfAFieldAsANumberAndAnythingElseAsZero)
{
    const TextRecord record =
        OneColumn({" \t1.5", "+2", "-.5", "3mV", "1e1", "1e", "abc", "", "--1", "0x10", "1;2"});
    ASSERT_EQ(Load(record.Text()), 11);
    EXPECT_EQ(Record(), (std::vector<double>{1.5, 2, -0.5, 3, 10, 1, 0, 0, 0, 16, 1}));
}

TEST_F(TextFile, CountsEmptyFields)
{
    TextRecord record;
    record.lines = {",1", "2,", ",,3"};
    ASSERT_EQ(Load(record.Text(), 1), 3);
    EXPECT_EQ(Record(), (std::vector<double>{1, 0, 0}));
}

TEST_F(TextFile, IsRefusedAtALineWithoutTheChannel)
{
    HandOver();
    TextRecord record;
    for (const char* line : {"1", "", "1;2"}) {  // exactly as many fields as the channel's number
        record.lines[1] = line;
        EXPECT_EQ(Load(record.Text(), 1), -7) << line;
        EXPECT_TRUE(IsEmpty());
        EXPECT_EQ(g_nECGRawSize, -7);
        EXPECT_EQ(g_nECGRawSampleRate, 360.0);
        EXPECT_EQ(ECGFileUnitMV, 1);
    }
    record.channels = "4";
    record.lines[1] = "1,2";
    EXPECT_EQ(Load(record.Text(), 3), -7);
}

TEST_F(TextFile, RefusedAtALineIsPlayedAsNothing)
{
    TextRecord record;
    record.lines[1] = "1";
    ASSERT_EQ(Load(record.Text(), 1), -7);
    EXPECT_EQ(GetRawArrayPeriod(), 0.0);
    EXPECT_EQ(RawArrayVoltage(0.0), 0.0);
    double out[200];
    EXPECT_EQ(GetRawDataArrayEx(OUTPUT_ECG_FILE, out, 200, 200), 200);
    for (const double value : out) EXPECT_EQ(value, 0.0);
    ASSERT_EQ(Load(TextRecord().Text(), 1), 3);  // and replaced
    EXPECT_EQ(g_nECGRawSize, 3);
}

TEST_F(TextFile, DoesNotLookAtLinesBehindTheLastSample)
{
    TextRecord record;
    record.lines.emplace_back("1");
    EXPECT_EQ(Load(record.Text(), 1), 3);
}

TEST_F(TextFile, WithANegativeNumberOfSamplesFailsLikeAllocation)
{
    HandOver();
    TextRecord record;
    record.count = "-1";
    EXPECT_EQ(Load(record.Text()), -6);
    EXPECT_TRUE(IsEmpty());
    EXPECT_EQ(g_nECGRawSize, 0);
}

TEST_F(TextFile, ThatPromisesAbsurdlyMuchFailsLikeAllocation)
{
    HandOver();
    TextRecord record;
    record.count = "99999999999";
    EXPECT_EQ(Load(record.Text()), -6);
    EXPECT_TRUE(IsEmpty());
    record.count = "1000001";
    EXPECT_EQ(Load(record.Text()), -6);
    record.count = "1000000";  // believed, and costs nothing
    EXPECT_EQ(Load(record.Text()), 3);
}

TEST_F(TextFile, HasLinesOf127Characters)
{
    const std::string pad(120, ' ');
    // 127 characters end with their line; from 128 on the rest is the next line.
    TextRecord record = OneColumn({pad + "1234567", pad + "12345678", "4"});
    record.count = "9";
    ASSERT_EQ(Load(record.Text()), 4);
    EXPECT_EQ(Record(), (std::vector<double>{20, 20, 8, 4}));
    record.channels = "3";
    record.lines = {std::string(126, '1') + ",2,3"};  // "1...1," and "2,3"
    ASSERT_EQ(Load(record.Text(), 1), 2);
    EXPECT_EQ(Record(), (std::vector<double>{0, 3}));
    EXPECT_EQ(Load(record.Text(), 2), -7);
}

TEST_F(TextFile, TakesTheRestOfALongNamesLineAsASample)
{
    TextRecord record = OneColumn({"2"});
    record.count = "9";
    record.names = std::string(127, 'n') + "1";
    ASSERT_EQ(Load(record.Text()), 2);
    EXPECT_EQ(Record(), (std::vector<double>{1, 2}));
}

TEST_F(TextFile, DoesNotCountWhatFollowsANulInALine)
{
    TextRecord record;
    record.lines[1] = std::string("1\0,2", 4);
    EXPECT_EQ(Load(record.Text(), 1), -7);
    record.lines[1] = std::string("1,\0002", 4);
    ASSERT_EQ(Load(record.Text(), 1), 3);
    EXPECT_EQ(Record()[1], 0.0);
    record.rate = std::string("\000360", 4);
    EXPECT_EQ(Load(record.Text()), -2);
}

TEST_F(TextFile, IsTheSameInBlocksAsInOnePiece)
{
    // Lines of every length lie across the ends of the blocks in which the file is read.
    std::vector<std::string> lines;
    std::vector<double> expected;
    for (int i = 0; i < 40000; ++i) {
        lines.push_back(std::string(static_cast<std::size_t>(i * 7 % 20), ' ') +
                        std::to_string(i % 16) + "," + std::to_string(i % 20));
        expected.push_back(i % 20);
    }
    TextRecord record;
    record.count = "40000";
    record.lines = lines;
    ASSERT_EQ(Load(record.Text(), 1), 40000);
    EXPECT_TRUE(Record() == expected);
}

TEST_F(TextFile, IsReadFromWhatIsNoRegularFile)
{
    const std::string fifo = dir_.File("pipe.txt");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string text = TextRecord().Text();
    std::thread writer([&] { std::ofstream(fifo, std::ios::binary) << text; });
    EXPECT_EQ(VRAXLoadECGtxt(fifo.c_str(), 1), 3);
    writer.join();
    EXPECT_EQ(Record(), (std::vector<double>{-1.25, 2.0, 19.5}));
    EXPECT_EQ(VRAXLoadECGtxt("/dev/zero", 0), -2);
}

TEST_F(TextFile, WrittenFromABuiltInWaveformIsReadBack)
{
    const std::string path = dir_.File("dump.txt");
    ASSERT_EQ(DumpIEC247Waveform(1, path.c_str()), 0);
    unsigned count = 0;
    unsigned rate = 0;
    const double* pattern = GetSpecialWave247Array(1, &count, &rate);
    ASSERT_EQ(VRAXLoadECGtxt(path.c_str(), 0), static_cast<int>(count));
    EXPECT_EQ(g_nECGRawSampleRate, rate);
    for (unsigned i = 0; i < count; ++i) ASSERT_NEAR(Record()[i], pattern[i], 0.001);
}

class TextNames : public TextFile {
protected:
    ~TextNames() override
    {
        for (char* name : names_) std::free(name);
    }
    int Check(const std::string& text)
    {
        return CheckECGTxtChannel(Write("record.txt", text).c_str(), names_);
    }
    char* names_[200] = {};
};

TEST_F(TextNames, AreCopiedIntoBuffersOf128Bytes)
{
    ASSERT_EQ(Check("360\n3\n3\nI, lead II,\n"), 3);
    EXPECT_STREQ(names_[0], "I");
    EXPECT_STREQ(names_[1], " lead II");
    EXPECT_STREQ(names_[2], "");
    EXPECT_EQ(names_[3], nullptr);
    EXPECT_EQ(std::string(names_[0] + 1, 127), std::string(127, '\0'));
    names_[1][127] = 'x';  // theirs
}

TEST_F(TextNames, EndWithTheirLineWhateverEndsIt)
{
    ASSERT_EQ(Check("360\r\n3\r\n2\r\nI,II\r\n1,2\r\n"), 2);
    EXPECT_STREQ(names_[1], "II");
}

TEST_F(TextNames, AreEmptyWhereTheLineHasFewer)
{
    ASSERT_EQ(Check("360\n3\n3\nI"), 3);
    EXPECT_STREQ(names_[0], "I");
    EXPECT_STREQ(names_[1], "");
    EXPECT_STREQ(names_[2], "");
}

TEST_F(TextNames, AreNoMoreThanTheChannels)
{
    ASSERT_EQ(Check("360\n3\n1\nI,II,III\n"), 1);
    EXPECT_STREQ(names_[0], "I");
    EXPECT_EQ(names_[1], nullptr);
}

TEST_F(TextNames, AreAtMost128)
{
    ASSERT_EQ(Check("360\n3\n1000000\nI,II\n"), 1000000);
    EXPECT_STREQ(names_[127], "");
    EXPECT_EQ(names_[128], nullptr);
}

TEST_F(TextNames, HaveTheCodesOfTheHeader)
{
    EXPECT_EQ(CheckECGTxtChannel(dir_.File("missing").c_str(), names_), -1);
    EXPECT_EQ(CheckECGTxtChannel(nullptr, names_), -1);
    EXPECT_EQ(CheckECGTxtChannel(Write("x", TextRecord().Text()).c_str(), nullptr), -1);
    EXPECT_EQ(Check(""), -2);
    EXPECT_EQ(Check("0\n3\n2\nI,II\n"), -2);
    EXPECT_EQ(Check("360\n"), -3);
    EXPECT_EQ(Check("360\n0\n2\nI,II\n"), -3);
    EXPECT_EQ(Check("360\n3\n"), -4);
    EXPECT_EQ(Check("360\n3\n0\nI,II\n"), -4);
    EXPECT_EQ(Check("360\n3\n-2\nI,II\n"), -4);
    EXPECT_EQ(Check("360\n3\n2\n"), -5);
    EXPECT_EQ(names_[0], nullptr);
}

TEST_F(TextNames, SetTheRateWhateverItsRangeAndLeaveTheRecord)
{
    HandOver();
    ASSERT_EQ(Check("99\n3\n1\nI\n"), 1);
    EXPECT_EQ(g_nECGRawSampleRate, 99.0);
    EXPECT_EQ(Record(), (std::vector<double>{7.0, 8.0, 9.0}));
}

TEST_F(TextNames, LeaveTheFileOpenWhenTheyAreRead)
{
    const auto before = CountDescriptors();
    Check("360\n3\n2\n");
    EXPECT_EQ(CountDescriptors(), before);
    ASSERT_EQ(Check(TextRecord().Text()), 2);
    EXPECT_EQ(CountDescriptors(), before + 1);
}

class TextFileUnderACommaLocale : public CommaLocale {};

TEST_F(TextFileUnderACommaLocale, HasPointsAllTheSame)
{
    ASSERT_EQ(HalfByPrintf(), "0,5");
    const std::string path = dir_.File("record.txt");
    std::ofstream(path) << "128.5\n2\n2\nI,II\n0.25,1.5\n0x1.8p0,-2.5e-1\n";
    ASSERT_EQ(VRAXLoadECGtxt(path.c_str(), 1), 2);
    EXPECT_EQ(g_nECGRawSampleRate, 128.5);
    EXPECT_EQ(g_pECGRawData[1], -0.25);
    ASSERT_EQ(VRAXLoadECGtxt(path.c_str(), 0), 2);
    EXPECT_EQ(g_pECGRawData[1], 1.5);
    EXPECT_EQ(HalfByPrintf(), "0,5");
}
}  // namespace
