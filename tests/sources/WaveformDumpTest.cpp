// The text files of the built-in waveforms, byte by byte.

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "support/CommaLocale.h"
#include "support/Descriptors.h"
#include "support/ReferencePattern.h"
#include "support/TempDir.h"
#include "support/WaveformFacts.h"
#include "vrax.h"

namespace {
using Dump = int (*)(unsigned, const char*);

class WaveformDump : public testing::Test {
protected:
    std::string Path() const { return dir_.File("waveform.txt"); }
    std::string Text() const { return ReadWholeFile(Path()); }
    std::vector<std::string> FileLines() const
    {
        std::istringstream text(Text());
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);) lines.push_back(line);
        return lines;
    }

    // In whole numbers: the sign, the millivolts, three digits of microvolts.
    static std::string LineOf(int microvolts)
    {
        const long size = std::labs(microvolts);
        const std::string thousandths = std::to_string(1000 + size % 1000).substr(1);
        const std::string sign = microvolts < 0 ? "-" : "";
        return sign + std::to_string(size / 1000) + "." + thousandths;
    }

    TempDir dir_;
};

TEST_F(WaveformDump, HasAHeaderOfFourLinesAndThreeDecimals)
{
    const int samples[] = {0, 1, -1, 12, -345, 1000, -1000, 65432, -20480};
    ASSERT_EQ(DumpStandardWaveform(samples, 9, 720, "A name / with x2", Path().c_str()), 0);
    EXPECT_EQ(Text(),
              "720\n9\n1\nA name / with x2\n0.000\n0.001\n-0.001\n0.012\n-0.345\n1.000\n-1.000\n"
              "65.432\n-20.480\n");
}

TEST_F(WaveformDump, WritesTheWholeRangeOfASample)
{
    const int samples[] = {INT_MAX, INT_MIN};
    ASSERT_EQ(DumpStandardWaveform(samples, 2, 1, "", Path().c_str()), 0);
    EXPECT_EQ(Text(), "1\n2\n1\n\n2147483.647\n-2147483.648\n");
}

TEST_F(WaveformDump, WithoutSamplesHasTheHeaderAlone)
{
    ASSERT_EQ(DumpStandardWaveform(nullptr, 0, 1000, "none", Path().c_str()), 0);
    EXPECT_EQ(Text(), "1000\n0\n1\nnone\n");
}

TEST_F(WaveformDump, TakesNoFormatFromTheName)
{
    const int sample = 5;
    ASSERT_EQ(DumpStandardWaveform(&sample, 1, 10, "100%s %n %d", Path().c_str()), 0);
    EXPECT_EQ(Text(), "10\n1\n1\n100%s %n %d\n0.005\n");
}

TEST_F(WaveformDump, ReplacesAFileThatIsLonger)
{
    const std::vector<int> many(5000, 1234);
    ASSERT_EQ(DumpStandardWaveform(many.data(), 5000, 10, "long", Path().c_str()), 0);
    ASSERT_EQ(DumpStandardWaveform(many.data(), 1, 10, "short", Path().c_str()), 0);
    EXPECT_EQ(Text(), "10\n1\n1\nshort\n1.234\n");
}

TEST_F(WaveformDump, TakesAUtf8Path)
{
    const std::string path = dir_.File("Kurve \xC3\xA4\xE6\xB3\xA2.txt");
    ASSERT_EQ(DumpIEC251Waveform(3, path.c_str()), 0);
    EXPECT_EQ(ReadWholeFile(path).substr(0, 21), "1000\n1000\n1\nCAL20000\n");
}

TEST_F(WaveformDump, OfCal20000HasAThousandAndFourLines)
{
    ASSERT_EQ(DumpIEC251Waveform(3, Path().c_str()), 0);
    const std::vector<std::string> lines = FileLines();
    ASSERT_EQ(lines.size(), 1004u);
    EXPECT_EQ(lines[0], "1000");
    EXPECT_EQ(lines[1], "1000");
    EXPECT_EQ(lines[2], "1");
    EXPECT_EQ(lines[3], "CAL20000");
}

TEST_F(WaveformDump, OfA2_27WaveformHoldsItsRecordWithoutTheRestOfTheRow)
{
    for (int n = 0; n < kIec227Count; ++n) {
        ASSERT_EQ(DumpIEC227Waveform(static_cast<unsigned>(n), Path().c_str()), 0);
        unsigned count = 0;
        unsigned rate = 0;
        const int* samples = GetSpecialWave227Array(n, &count, &rate);
        std::string expected = "720\n" + std::to_string(kIec227Facts[n].samples) + "\n1\n" +
                               kIec227Facts[n].name + "\n";
        for (unsigned i = 0; i < count; ++i) expected += LineOf(samples[i]) + "\n";
        EXPECT_TRUE(Text() == expected) << kIec227Facts[n].name;
    }
}

TEST_F(WaveformDump, OfACalWaveformHoldsItsSecond)
{
    for (int n = 0; n < kIec251Count; ++n) {
        ASSERT_EQ(DumpIEC251Waveform(static_cast<unsigned>(n), Path().c_str()), 0);
        unsigned count = 0;
        unsigned rate = 0;
        const int* samples = GetSpecialWave251Array(n, &count, &rate);
        std::string expected = std::string("1000\n1000\n1\n") + kIec251Names[n] + "\n";
        for (unsigned i = 0; i < count; ++i) expected += LineOf(samples[i]) + "\n";
        EXPECT_TRUE(Text() == expected) << kIec251Names[n];
    }
}

TEST_F(WaveformDump, OfAPatternIsCutToWholeMicrovoltsTowardZero)
{
    for (int n = 0; n < kIec247Count; ++n) {
        ASSERT_EQ(DumpIEC247Waveform(static_cast<unsigned>(n), Path().c_str()), 0);
        unsigned count = 0;
        unsigned rate = 0;
        const double* samples = GetSpecialWave247Array(n, &count, &rate);
        std::string expected = "1000\n" + std::to_string(kIec247Facts[n].samples) + "\n1\n" +
                               kIec247Facts[n].name + "\n";
        for (unsigned i = 0; i < count; ++i) {
            expected += LineOf(static_cast<int>(std::trunc(1000.0 * samples[i]))) + "\n";
        }
        EXPECT_TRUE(Text() == expected) << kIec247Facts[n].name;
    }
}

TEST_F(WaveformDump, OfAPatternRoundsNeitherDownNorToTheNearest)
{
    ASSERT_EQ(DumpIEC247Waveform(1, Path().c_str()), 0);
    const std::vector<std::string> lines = FileLines();
    ASSERT_EQ(lines.size(), 4u + 3996u);
    // The return of the QRS, in sevenths of 125 uV: -71.43, -53.57, -35.71.
    EXPECT_EQ(lines[4 + 106], "-0.071");
    EXPECT_EQ(lines[4 + 107], "-0.053");
    EXPECT_EQ(lines[4 + 108], "-0.035");
    // Its rise, in 43rds of 875 uV: 61.05, 81.40, 630.81.
    EXPECT_EQ(lines[4 + 13], "0.061");
    EXPECT_EQ(lines[4 + 41], "0.630");
    EXPECT_EQ(lines[4 + 53], "0.875");
}

TEST_F(WaveformDump, GivesMinus3WhenTheFileCannotBeOpened)
{
    const int sample = 1;
    const std::string missing = dir_.File("no folder/file");
    for (const std::string& path : {dir_.Path(), missing, std::string()}) {
        EXPECT_EQ(DumpStandardWaveform(&sample, 1, 1, "", path.c_str()), -3) << path;
        for (const Dump dump : {DumpIEC227Waveform, DumpIEC251Waveform, DumpIEC247Waveform}) {
            EXPECT_EQ(dump(0, path.c_str()), -3) << path;
        }
    }
}

TEST_F(WaveformDump, GivesMinus3ForANullPointerAndTouchesNoFile)
{
    const int sample = 1;
    EXPECT_EQ(DumpStandardWaveform(nullptr, 1, 1, "", Path().c_str()), -3);
    EXPECT_EQ(DumpStandardWaveform(&sample, 1, 1, nullptr, Path().c_str()), -3);
    EXPECT_FALSE(std::filesystem::exists(Path()));
    EXPECT_EQ(DumpStandardWaveform(&sample, 1, 1, "", nullptr), -3);
    for (const Dump dump : {DumpIEC227Waveform, DumpIEC251Waveform, DumpIEC247Waveform}) {
        EXPECT_EQ(dump(0, nullptr), -3);
    }
}

TEST_F(WaveformDump, GivesMinus3ForANumberWithoutAWaveformAndTouchesNoFile)
{
    for (const unsigned beyond : {0u, 1u, 1000u, 2147483648u - 16u, 4294967295u - 16u}) {
        EXPECT_EQ(DumpIEC227Waveform(10 + beyond, Path().c_str()), -3) << beyond;
        EXPECT_EQ(DumpIEC251Waveform(16 + beyond, Path().c_str()), -3) << beyond;
        EXPECT_EQ(DumpIEC247Waveform(5 + beyond, Path().c_str()), -3) << beyond;
    }
    EXPECT_FALSE(std::filesystem::exists(Path()));
}

TEST_F(WaveformDump, GivesMinus6WhenALineCannotBeWritten)
{
    const int sample = 1;
    EXPECT_EQ(DumpStandardWaveform(&sample, 1, 1, "short", "/dev/full"), -6);
    EXPECT_EQ(DumpStandardWaveform(nullptr, 0, 1, "short", "/dev/full"), -6);
    EXPECT_EQ(DumpIEC227Waveform(0, "/dev/full"), -6);
    EXPECT_EQ(DumpIEC251Waveform(0, "/dev/full"), -6);
    EXPECT_EQ(DumpIEC247Waveform(1, "/dev/full"), -6);
}

TEST_F(WaveformDump, LeavesTheFileOpenOnlyWhenALineCannotBeWritten)
{
    const std::ptrdiff_t before = CountDescriptors();
    ASSERT_EQ(DumpIEC251Waveform(0, Path().c_str()), 0);
    ASSERT_EQ(DumpIEC251Waveform(16, Path().c_str()), -3);
    EXPECT_EQ(CountDescriptors(), before);
    ASSERT_EQ(DumpIEC251Waveform(0, "/dev/full"), -6);
    EXPECT_EQ(CountDescriptors(), before + 1);
}

class WaveformDumpUnderACommaLocale : public CommaLocale {};

TEST_F(WaveformDumpUnderACommaLocale, IsWrittenWithAPoint)
{
    ASSERT_EQ(HalfByPrintf(), "0,5");
    const int samples[] = {1500, -1};
    const std::string path = dir_.File("dump");
    ASSERT_EQ(DumpStandardWaveform(samples, 2, 1000, "CAL", path.c_str()), 0);
    EXPECT_EQ(ReadWholeFile(path), "1000\n2\n1\nCAL\n1.500\n-0.001\n");
    EXPECT_EQ(HalfByPrintf(), "0,5");
    ASSERT_EQ(DumpIEC247Waveform(1, path.c_str()), 0);
    const std::string text = ReadWholeFile(path);
    EXPECT_EQ(text.find(','), std::string::npos);
    EXPECT_NE(text.find("\n0.875\n"), std::string::npos);
    EXPECT_EQ(HalfByPrintf(), "0,5");
}
}  // namespace
