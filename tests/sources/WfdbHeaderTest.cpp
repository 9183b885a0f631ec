// The header of a WFDB record as a table: which lines and fields it takes, and what it refuses.

#include <gtest/gtest.h>

#include <climits>

#include "sources/Wfdb.h"
#include "support/CommaLocale.h"
#include "support/Descriptors.h"
#include "support/EdfWriter.h"
#include "support/TempDir.h"
#include "support/WfdbWriter.h"

namespace {
const std::string kRecordLine = "rec 1 360 650000\n";

class WfdbHeader : public testing::Test {
protected:
    bool Open(const std::string& text)
    {
        WriteRecordFile(path_, text);
        return header_.OpenFile(path_.c_str());
    }

    // The usual record line, and this line for the signal.
    bool OpenSignal(const std::string& line) { return Open(kRecordLine + line); }

    TempDir dir_;
    std::string path_ = dir_.File("rec.hea");
    HeaFile header_;
};

// `count` fields, the first of them as given.
std::string Line(int count, std::vector<std::string> first = {})
{
    std::string line;
    for (int i = 0; i < count; ++i) {
        if (i > 0) line += ' ';
        line += i < static_cast<int>(first.size()) ? first[static_cast<std::size_t>(i)] : "9";
    }
    return line;
}

TEST_F(WfdbHeader, TellsTheFieldsOfTheRecordAndItsSignals)
{
    ASSERT_TRUE(
        Open("100 2 360 650000\n100.dat 212 200 11 1024 995 -22131 0 MLII\n"
             "100.dat 212 150.5 11 512 1011 20052 0 V5\n"));
    EXPECT_EQ(header_.GetWavformlNum(), 2);
    EXPECT_EQ(header_.GetSampleRate(), 360);
    EXPECT_EQ(header_.GetSampleNum(), 650000);
    EXPECT_EQ(header_.GetFormat(), 212);
    EXPECT_EQ(header_.GetADCOffset(), 1024);
    EXPECT_EQ(header_.GetADCGain(1), 200.0);
    EXPECT_EQ(header_.GetADCGain(2), 150.5);
    EXPECT_STREQ(header_.GetSignalName(1), "MLII");
    EXPECT_STREQ(header_.GetSignalName(2), "V5");
}

TEST_F(WfdbHeader, HasNothingBeforeItIsOpened)
{
    EXPECT_EQ(header_.GetWavformlNum(), 0);
    EXPECT_EQ(header_.GetSampleRate(), 0);
    EXPECT_EQ(header_.GetSampleNum(), 0);
    EXPECT_EQ(header_.GetFormat(), 0);
    EXPECT_EQ(header_.GetADCOffset(), 0);
    EXPECT_EQ(header_.GetADCGain(1), 200.0);
    EXPECT_EQ(header_.GetSignalName(1), nullptr);
}

TEST_F(WfdbHeader, HasNothingOutsideItsRows)
{
    ASSERT_TRUE(Open(WfdbHeaderText(1, 10, "212", "50")));
    for (const int row : {2, 19, 20, 1000, INT_MAX, -1, INT_MIN}) {
        EXPECT_EQ(header_.GetADCGain(row), 200.0) << row;
        EXPECT_EQ(header_.GetSignalName(row), nullptr) << row;
    }
}

TEST_F(WfdbHeader, CutsAFieldAtItsLastSlash)
{
    ASSERT_TRUE(Open("rec/12 1 360/1 10/20/30\nrec.dat 212 200/mV 12 0\n"));
    EXPECT_EQ(header_.GetSampleRate(), 360);
    EXPECT_EQ(header_.GetSampleNum(), 10);  // "10/20"
    EXPECT_EQ(header_.GetADCGain(1), 200.0);
}

TEST_F(WfdbHeader, TakesTheOffsetFromTheBracketsOfTheGain)
{
    ASSERT_TRUE(OpenSignal("rec.dat 212 100(-12)/mV 12 1024"));
    EXPECT_EQ(header_.GetADCGain(1), 100.0);
    EXPECT_EQ(header_.GetADCOffset(), -12);
    ASSERT_TRUE(OpenSignal("rec.dat 212 (7) 12 1024"));  // an empty gain
    EXPECT_EQ(header_.GetADCGain(1), 200.0);
    EXPECT_EQ(header_.GetADCOffset(), 7);
}

TEST_F(WfdbHeader, TakesTheOffsetFromTheBracketsOfAnyField)
{
    ASSERT_TRUE(OpenSignal("rec.dat 212 100 12 1024 0 0 0 V5(33)"));
    EXPECT_EQ(header_.GetADCOffset(), 33);
    EXPECT_STREQ(header_.GetSignalName(1), "V5");
    ASSERT_TRUE(OpenSignal("rec.dat 212 100(1) 12(2) 1024"));  // the later ones count
    EXPECT_EQ(header_.GetADCOffset(), 2);
    ASSERT_TRUE(OpenSignal("rec.dat 212 100() 12 1024"));  // set, and empty
    EXPECT_EQ(header_.GetADCOffset(), 0);
}

TEST_F(WfdbHeader, TakesTheTextFromTheFirstBracketToTheLast)
{
    ASSERT_TRUE(OpenSignal("rec.dat 212 100(5)6) 12 1024"));
    EXPECT_EQ(header_.GetADCOffset(), 5);  // "5)6"
    ASSERT_TRUE(OpenSignal("rec.dat 212 100((5) 12 1024"));
    EXPECT_EQ(header_.GetADCOffset(), 0);  // "(5"
    ASSERT_TRUE(OpenSignal("rec.dat 212 100(8/2) 12 1024"));
    EXPECT_EQ(header_.GetADCOffset(), 8);  // cut at the slash first, so never closed
    ASSERT_TRUE(OpenSignal("rec.dat 212 1)00(8 12 1024"));
    EXPECT_EQ(header_.GetADCOffset(), 8);
    EXPECT_EQ(header_.GetADCGain(1), 1.0);
}

TEST_F(WfdbHeader, SharesTheColumnOfTheBracketsWithTheFourteenthField)
{
    std::vector<std::string> fields = {"rec.dat", "212", "100(5)", "12", "1024", "0", "0",
                                       "0",       "V5",  "0",      "0",  "0",    "0", "77"};
    ASSERT_TRUE(OpenSignal(Line(13, fields)));
    EXPECT_EQ(header_.GetADCOffset(), 5);
    ASSERT_TRUE(OpenSignal(Line(14, fields)));
    EXPECT_EQ(header_.GetADCOffset(), 77);  // it comes after the brackets
    fields.push_back("0(6)");
    ASSERT_TRUE(OpenSignal(Line(15, fields)));
    EXPECT_EQ(header_.GetADCOffset(), 6);  // it comes before them
    fields[13] = "88(9)";
    ASSERT_TRUE(OpenSignal(Line(14, fields)));
    EXPECT_EQ(header_.GetADCOffset(), 88);  // its own brackets are stored before the field itself
}

TEST_F(WfdbHeader, HasAGainOf200WhenThereIsNone)
{
    for (const char* gain : {"0", "", "0.0", "/mV", "none", "-0"}) {
        ASSERT_TRUE(OpenSignal("rec.dat 212 " + std::string(gain) + " 12")) << gain;
        EXPECT_EQ(header_.GetADCGain(1), 200.0) << gain;
    }
    ASSERT_TRUE(OpenSignal("rec.dat 212 -1.5e2 12"));
    EXPECT_EQ(header_.GetADCGain(1), -150.0);
}

TEST_F(WfdbHeader, TruncatesNumbersAndKeepsThemWithinAnInteger)
{
    ASSERT_TRUE(Open("rec +2x 128.9 99999999999999999999\nrec.dat 16x2 0 0 -99999999999\n"));
    EXPECT_EQ(header_.GetWavformlNum(), 2);
    EXPECT_EQ(header_.GetSampleRate(), 128);
    EXPECT_EQ(header_.GetSampleNum(), INT_MAX);
    EXPECT_EQ(header_.GetFormat(), 16);
    EXPECT_EQ(header_.GetADCOffset(), INT_MIN);
}

TEST_F(WfdbHeader, SkipsCommentsAndEmptyLines)
{
    ASSERT_TRUE(Open("# first\r\n\n\r\n" + kRecordLine + "#\nrec.dat 212 50 12\r\r\n\n# 69 M\n"));
    EXPECT_EQ(header_.GetWavformlNum(), 1);
    EXPECT_EQ(header_.GetADCGain(1), 50.0);
    EXPECT_EQ(header_.GetADCGain(2), 200.0);
}

TEST_F(WfdbHeader, TakesConsecutiveSpacesAsEmptyFields)
{
    ASSERT_TRUE(Open("rec  1 360 10\n 212 50 12\n"));
    EXPECT_EQ(header_.GetWavformlNum(), 0);  // the empty one
    EXPECT_EQ(header_.GetSampleRate(), 1);
    EXPECT_EQ(header_.GetFormat(), 212);
    EXPECT_EQ(header_.GetADCGain(1), 50.0);
    ASSERT_TRUE(Open("rec 1 360 \nrec.dat 212 50 \n"));  // the empty field is the fourth
    EXPECT_EQ(header_.GetSampleNum(), 0);
}

TEST_F(WfdbHeader, SplitsAtSpacesAlone) { EXPECT_FALSE(OpenSignal("rec.dat\t212\t200\t12\t0")); }

TEST_F(WfdbHeader, NeedsFourToNineteenFieldsInEveryLine)
{
    EXPECT_FALSE(Open("rec 1 360\nrec.dat 212 200 12\n"));  // no number of samples
    for (const int fields : {1, 2, 3, 20, 21, 100})
        EXPECT_FALSE(OpenSignal(Line(fields))) << fields;
    for (const int fields : {4, 19}) EXPECT_TRUE(OpenSignal(Line(fields))) << fields;
    EXPECT_FALSE(OpenSignal("rec.dat 212 200 12\nbad\n"));  // an additional line is one of them
}

TEST_F(WfdbHeader, NeedsARecordLineAndASignalLine)
{
    EXPECT_FALSE(Open(""));
    EXPECT_FALSE(Open("# nothing\n"));
    EXPECT_FALSE(Open(kRecordLine));
    EXPECT_TRUE(OpenSignal("a b c d"));
}

TEST_F(WfdbHeader, HasAtMostNineteenLines)
{
    EXPECT_TRUE(Open(WfdbHeaderText(18, 10, "212")));
    EXPECT_STREQ(header_.GetSignalName(18), "S17");
    EXPECT_TRUE(Open(WfdbHeaderText(18, 10, "212") + "# and a comment\n"));
    EXPECT_FALSE(Open(WfdbHeaderText(19, 10, "212")));
    EXPECT_FALSE(Open(WfdbHeaderText(200, 10, "212")));
}

TEST_F(WfdbHeader, ForgetsAHeaderThatItRefuses)
{
    ASSERT_TRUE(Open(WfdbHeaderText(2, 10, "212", "50")));
    ASSERT_TRUE(Open(WfdbHeaderText(1, 10, "212", "60")));
    EXPECT_EQ(header_.GetADCGain(2), 200.0);
    EXPECT_FALSE(Open(kRecordLine + "short\n"));
    EXPECT_EQ(header_.GetWavformlNum(), 0);
    EXPECT_EQ(header_.GetADCGain(1), 200.0);
}

// 255 characters are a line: the rest of a longer one is a line of its own.
TEST_F(WfdbHeader, GoesOnWithALongLineAsTheNextOne)
{
    const std::string longName(255 - std::string("rec.dat 212 50 ").size(), 'n');
    EXPECT_TRUE(OpenSignal("rec.dat 212 50 " + longName + "\n"));
    EXPECT_FALSE(OpenSignal("rec.dat 212 50 " + longName + "n\n"));  // one field is left over
    ASSERT_TRUE(OpenSignal("rec.dat 212 50 " + longName + "a b 70 d\n"));
    EXPECT_EQ(header_.GetADCGain(1), 50.0);
    EXPECT_EQ(header_.GetADCGain(2), 70.0);
    EXPECT_TRUE(OpenSignal("rec.dat 212 50 " + longName + "#" + std::string(254, 'x') + "\n"));
}

TEST_F(WfdbHeader, EndsALineAtANul)
{
    std::string line = "rec.dat 212 50 12 0 0 0 0 V1\n";
    line[12] = '\0';  // in the gain
    EXPECT_FALSE(OpenSignal(line));
    line = "rec.dat 212 50 12 7 0\n";
    line[18] = '\0';  // behind the fourth field
    ASSERT_TRUE(OpenSignal(line));
    EXPECT_EQ(header_.GetADCOffset(), 0);
}

TEST_F(WfdbHeader, IsNotOpenedWhenItIsNotThere)
{
    EXPECT_FALSE(header_.OpenFile(nullptr));
    EXPECT_FALSE(header_.OpenFile(""));
    EXPECT_FALSE(header_.OpenFile(dir_.File("absent.hea").c_str()));
    EXPECT_FALSE(header_.OpenFile(dir_.Path().c_str()));
}

TEST_F(WfdbHeader, IsClosedOnceItIsRead)
{
    const auto before = CountDescriptors();
    ASSERT_TRUE(Open(WfdbHeaderText(1, 10, "212")));
    EXPECT_FALSE(Open("refused\n"));
    EXPECT_EQ(CountDescriptors(), before);
}

class WfdbHeaderInCommaLocale : public CommaLocale {};

TEST_F(WfdbHeaderInCommaLocale, ReadsNumbersWithAPoint)
{
    ASSERT_EQ(HalfByPrintf(), "0,5");
    const std::string path = dir_.File("rec.hea");
    WriteRecordFile(path, WfdbHeaderText(2, 10, "212", "150.5"));
    HeaFile header;
    ASSERT_TRUE(header.OpenFile(path.c_str()));
    EXPECT_EQ(header.GetADCGain(1), 150.5);
}
}  // namespace
