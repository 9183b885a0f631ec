// Descriptions of waveforms: what they say and the samples that they stand for.

#include "tools/tables/Description.h"

#include <gtest/gtest.h>

#include <clocale>
#include <fstream>
#include <locale>
#include <string>
#include <vector>

#include "support/TempDir.h"

namespace {
using Samples = std::vector<std::int32_t>;

class Descriptions : public testing::Test {
protected:
    std::string Write(const std::string& name, const std::string& text)
    {
        const std::string path = dir_.File(name);
        std::ofstream(path) << text;
        return path;
    }

    // The text after a heading of four lines: a sample each millisecond.
    Samples Expand(int samples, const std::string& text)
    {
        return ReadDescription(Write("waveform.txt", Heading(samples) + text)).microvolts;
    }

    static std::string Heading(int samples)
    {
        return "# Four lines.\nname A waveform\nrate 1000\nsamples " + std::to_string(samples) +
               "\n";
    }

    std::string ErrorOf(const std::string& text)
    {
        const std::string path = Write("wrong.txt", text);
        try {
            ReadDescription(path);
        } catch (const DescriptionError& error) {
            const std::string what = error.what();
            EXPECT_EQ(what.find(dir_.Path() + "/"), 0u) << what;
            return what.substr(dir_.Path().size() + 1);
        }
        return "no error";
    }

    TempDir dir_;
};

TEST_F(Descriptions, TellTheNameAndTheRate)
{
    const Waveform waveform =
        ReadDescription(Write("w.txt",
                              "name  AAMI 3A / IEC A1  # and more\nrate 720.5\nsamples 3\n"
                              "shape flat lines\n0 -7\nplay flat\n"));
    EXPECT_EQ(waveform.name, "AAMI 3A / IEC A1");
    EXPECT_EQ(waveform.rate, 720.5);
    EXPECT_EQ(waveform.microvolts, (Samples{-7, -7, -7}));
}

TEST_F(Descriptions, LinesRunStraightFromPointToPointAndKeepTheEndValues)
{
    EXPECT_EQ(Expand(9, "shape s lines\n1 10  3 30\n5 -10  # a comment\n6 -5\nplay s\n"),
              (Samples{10, 10, 20, 30, 10, -10, -5, -5, -5}));
}

TEST_F(Descriptions, SmoothCurveBetweenLevelPointsIsTheCubicStep)
{
    const Samples samples = Expand(11, "shape s smooth\n0 0  10 10000\nplay s\n");
    for (int i = 0; i <= 10; ++i) {  // 3u^2 - 2u^3 with u = i / 10, times 10000
        EXPECT_EQ(samples[static_cast<std::size_t>(i)], 300 * i * i - 20 * i * i * i) << i;
    }
}

TEST_F(Descriptions, SmoothCurvePassesAPointOnTheWayWithTheHarmonicMeanOfItsSlopes)
{
    // Slopes 100 and 50 uV/ms over 10 and 20 ms: (50 + 40) / (50 / 100 + 40 / 50) = 900 / 13 uV/ms.
    // In the middle of each interval stands the mean of the ends, and an eighth of its length times
    // the difference of the slopes at its ends.
    const Samples samples = Expand(31, "shape s smooth\n0 0  10 1000  30 2000\nplay s\n");
    EXPECT_EQ(samples[10], 1000);
    EXPECT_EQ(samples[5], 413);    // 500 - 900 / 13 * 10 / 8
    EXPECT_EQ(samples[20], 1673);  // 1500 + 900 / 13 * 20 / 8
    EXPECT_EQ(samples[30], 2000);
}

TEST_F(Descriptions, SmoothCurveStaysBetweenItsPoints)
{
    const std::vector<int> times = {0, 7, 9, 30, 31, 50};
    const Samples values = {0, 900, 880, -400, -410, 300};
    const Samples samples =
        Expand(51, "shape s smooth\n0 0  7 900  9 880  30 -400  31 -410  50 300\nplay s\n");
    for (std::size_t k = 0; k + 1 < times.size(); ++k) {
        const bool rises = values[k + 1] > values[k];
        EXPECT_EQ(samples[static_cast<std::size_t>(times[k])], values[k]);
        for (int i = times[k]; i < times[k + 1]; ++i) {
            const auto here = static_cast<std::size_t>(i);
            EXPECT_EQ(samples[here + 1] >= samples[here], rises) << i;
        }
    }
    EXPECT_EQ(samples[50], 300);
}

TEST_F(Descriptions, OneShapeOfASequenceRunsUntilTheNextStarts)
{
    EXPECT_EQ(Expand(9,
                     "shape a lines\n0 1  9 10\nshape b lines\n0 -1\n"
                     "sequence s\n2 a\n5 b\n6.5 a\nplay s\n"),
              (Samples{0, 0, 1, 2, 3, -1, -1, 2, 3}));  // 1.5 and 2.5 are rounded up
}

TEST_F(Descriptions, RepeatsStartAtEqualDistances)
{
    EXPECT_EQ(Expand(10, "shape a lines\n0 5  2 25\nsequence s\n1 a repeat 3 every 2.5\nplay s\n"),
              (Samples{0, 5, 15, 25, 10, 20, 5, 15, 25, 25}));
}

TEST_F(Descriptions, WaveformIsTheSumOfWhatIsPlayed)
{
    EXPECT_EQ(Expand(6,
                     "shape ramp lines\n0 0  10 100\nshape level lines\n0 1000\n"
                     "play ramp\nplay level from 2 until 4\nplay ramp at 1 gain -2\n"),
              (Samples{0, 10, 1000, 990, -20, -30}));
}

TEST_F(Descriptions, HalvesAreRoundedAwayFromZero)
{
    EXPECT_EQ(Expand(4, "shape s lines\n0 0.5  1 -0.5  2 1.5  3 -2.5\nplay s\n"),
              (Samples{1, -1, 2, -3}));
}

TEST_F(Descriptions, IncludedFileLiesBesideTheOneThatNamesIt)
{
    std::filesystem::create_directory(dir_.File("pieces"));
    Write("pieces/a.txt", "include b.txt\nsequence s\n0 level\n");
    Write("pieces/b.txt", "shape level lines\n0 42\n");
    EXPECT_EQ(Expand(2, "include pieces/a.txt\nplay s\n"), (Samples{42, 42}));
}

TEST_F(Descriptions, ErrorsTellFileAndLine)
{
    const std::string start = Heading(3), shape = "shape s lines\n0 1\n";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {start + "colour red\n", "wrong.txt:5: 'colour' is no keyword"},
        {start + "1 2\n", "wrong.txt:5: numbers outside a shape or sequence"},
        {start + "shape s curly\n", "wrong.txt:5: 'curly' is neither lines nor smooth"},
        {start + "shape s lines\nplay s\n", "wrong.txt:5: 's' is empty"},
        {start + shape + "shape s lines\n", "wrong.txt:7: 's' is there already"},
        {start + shape + "2\n", "wrong.txt:7: a time has no value"},
        {start + shape + "0 2\n", "wrong.txt:7: the time 0 does not come after the one before"},
        {start + shape + "2 1e10\n", "wrong.txt:7: '1e10' is out of range"},
        {start + shape + "2 nan\n", "wrong.txt:7: 'nan' is out of range"},
        {start + shape + "2 1,5\n", "wrong.txt:7: '1,5' is not a number"},
        {start + "sequence q\n0 s\n", "wrong.txt:6: no shape 's' above"},
        {start + shape + "sequence q\n1 s\n0 s\n",
         "wrong.txt:9: the time 0 does not come after the one before"},
        {start + shape + "sequence q\n1 s repeat 1.5 every 3\n",
         "wrong.txt:8: '1.5' is not a whole number"},
        {start + shape + "sequence q\n1 s repeat 2 each 3\n",
         "wrong.txt:8: expected: TIME SHAPE repeat N every MS"},
        {start + "play s\n", "wrong.txt:5: no shape or sequence 's' above"},
        {start + shape + "play s by 3\n", "wrong.txt:7: 'by' is none of at, from, until, gain"},
        {"samples 0\n", "wrong.txt:1: '0' is out of range"},
        {"name n\nsamples 3\n" + shape + "play s\n", "wrong.txt: has no 'rate'"},
        {start + shape, "wrong.txt: has no 'play'"},
        {start + "shape s lines\n0 1e9\nplay s\nplay s\n",
         "wrong.txt: the sum of what is played is out of range"},
    };
    for (const auto& [text, error] : cases) EXPECT_EQ(ErrorOf(text), error) << text;
}

TEST_F(Descriptions, ErrorsInAnIncludedFileTellThatFile)
{
    Write("piece.txt", "\n\nplay s\n");
    EXPECT_EQ(ErrorOf("include piece.txt\n"),
              "piece.txt:3: an included file holds shapes and sequences only");
    EXPECT_EQ(ErrorOf("include wrong.txt\n"), "wrong.txt:1: files include each other too deeply");
    EXPECT_EQ(ErrorOf("include none.txt\n"), "none.txt: cannot be read, or is empty");
}

struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(Descriptions, NumbersAreReadTheSameInALocaleWithADecimalComma)
{
    std::setlocale(LC_ALL, "de_DE.UTF-8");  // for the C library, where the machine has it
    const std::locale before = std::locale::global(std::locale(std::locale(), new Comma));
    const Samples samples = Expand(3, "shape s lines\n0 1000.4  1.5 1015.4  2 1234.5\nplay s\n");
    std::locale::global(before);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(samples, (Samples{1000, 1010, 1235}));
}
}  // namespace
