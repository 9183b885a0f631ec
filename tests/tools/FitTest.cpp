// The parts of the fitting tool, and that it writes the committed descriptions again.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

#include "support/Slowdown.h"
#include "support/TempDir.h"
#include "tools/fit/DescriptionText.h"
#include "tools/fit/Ec13.h"
#include "tools/fit/Extremes.h"
#include "tools/fit/Repeats.h"
#include "tools/fit/Report.h"
#include "tools/fit/TurningPoints.h"
#include "tools/fit/Wander.h"

namespace {
namespace fs = std::filesystem;
using Curve = std::vector<double>;

void ExpectPoints(const std::vector<CurvePoint>& points, const std::vector<CurvePoint>& expected)
{
    ASSERT_EQ(points.size(), expected.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_EQ(points[i].x, expected[i].x) << i;
        EXPECT_EQ(points[i].y, expected[i].y) << i;
    }
}

TEST(FindExtremes, FindsPeaksAndTroughsInTurn)
{
    const auto extremes = FindExtremes({0, 5, 30, 25, 28, -10, -4, -9, 20}, 10.0);
    ASSERT_EQ(extremes.size(), 4u);
    const std::vector<Extreme> expected = {{0, 0.0, false},
                                           {2, 30.0, true},
                                           {5, -10.0, false},
                                           {8, 20.0, true}};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(extremes[i].index, expected[i].index) << i;
        EXPECT_EQ(extremes[i].value, expected[i].value) << i;
        EXPECT_EQ(extremes[i].isPeak, expected[i].isPeak) << i;
    }
}

TEST(FindExtremes, FindsNoneInACurveThatSwingsTooLittle)
{
    EXPECT_TRUE(FindExtremes({0, 5, -4, 5, 0}, 10.0).empty());
    EXPECT_TRUE(FindExtremes({}, 10.0).empty());
}

TEST(ExtremeDifferences, CompareTheHighestSampleBetweenTheNeighbours)
{
    const auto extremes = FindExtremes({0, 5, 30, 25, 28, -10, -4, -9, 20}, 10.0);
    const Curve other = {1, 5, 20, 33, 28, 0, -4, -12, 19};
    EXPECT_EQ(ExtremeDifferences(extremes, other), (Curve{1, 3, -2, -1}));
}

TEST(TurningPoints, OfABrokenLineAreItsCorners)
{
    Curve curve;
    for (int i = 0; i <= 20; ++i) curve.push_back(i <= 5 ? 20.0 * i : i <= 9 ? 225 - 25 * i : 0);
    ExpectPoints(ChooseTurningPoints(curve, 2.0, Join::kLines, 0.5),
                 {{0, 0}, {10, 100}, {18, 0}, {40, 0}});
}

TEST(TurningPoints, KeepTheCurveWithinTheBound)
{
    constexpr double kMsPerSample = 1000.0 / 720.0;
    Curve curve;
    for (int i = 0; i < 500; ++i) curve.push_back(700.0 * std::sin(i * 0.03) + 50 * std::cos(i));
    for (const Join join : {Join::kLines, Join::kSmooth}) {
        const Shape shape(join, ChooseTurningPoints(curve, kMsPerSample, join, 9.0));
        for (std::size_t i = 0; i < curve.size(); ++i) {
            EXPECT_NEAR(shape.At(static_cast<double>(i) * kMsPerSample), curve[i], 9.0 + 2.0);
        }
    }
}

// A smooth beat of 200 samples, zero at its ends.
double Beat(double position)
{
    if (position < 0.0 || position > 200.0) return 0.0;
    const double turn = 2.0 * std::numbers::pi * position / 200.0;
    return 500.0 * (1.0 - std::cos(turn)) * std::sin(3.0 * turn);
}

TEST(FindRepeats, FindsTheStartOfEachRepeatAndTheirAverage)
{
    const Curve starts = {0.0, 251.0, 500.6, 750.9, 1001.3, 1251.0};
    Curve signal;
    for (int i = 0; i < 1500; ++i) {
        double value = 0.0;
        for (const double start : starts) value += Beat(i - start);
        signal.push_back(value);
    }
    const Repeats repeats = FindRepeats(signal, 249.5);
    ASSERT_EQ(repeats.starts.size(), starts.size());
    for (std::size_t i = 0; i < starts.size(); ++i) {
        EXPECT_NEAR(repeats.starts[i], starts[i], 0.02) << i;
    }
    ASSERT_GE(repeats.average.size(), 251u);
    for (std::size_t i = 0; i < 251; ++i) {
        EXPECT_NEAR(repeats.average[i], Beat(static_cast<double>(i)), 2.0) << i;
    }
}

Curve Zigzag()  // corners at 0, 20, 35, 36 and 60
{
    const Shape shape(Join::kLines, {{0, 0}, {20, 40}, {35, -10}, {36, 50}, {60, 20}});
    Curve curve;
    for (int i = 0; i <= 60; ++i) curve.push_back(shape.At(i));
    return curve;
}

TEST(FitWander, FindsTheCornersOfABrokenLine)
{
    const Curve curve = Zigzag();
    ExpectPoints(FitWander(curve, Curve(curve.size(), 1.0), {1.0, 10.0, 5.0}),
                 {{0, 0}, {20, 40}, {35, -10}, {36, 50}, {60, 20}});
}

TEST(FitWander, BuysNoPointThatCostsMoreThanItSaves)
{
    const Curve flat(61, 3.0);  // from 0 on the grid, 9 uV^2 a sample
    ExpectPoints(FitWander(flat, Curve(61, 1.0), {1.0, 10.0, 1e6}), {{0, 0}, {60, 0}});
}

TEST(FitWander, MeetsAHeavySample)
{
    Curve curve(61, 0.0), weights(61, 1.0);
    curve[30] = 20.0;  // 400 uV^2, less than the three points that it takes
    ExpectPoints(FitWander(curve, weights, {1.0, 10.0, 300.0}), {{0, 0}, {60, 0}});
    weights[30] = 100.0;
    const auto points = FitWander(curve, weights, {1.0, 10.0, 300.0});
    EXPECT_NEAR(Shape(Join::kLines, points).At(30.0), 20.0, 1e-9);
}

TEST(FitWander, PointsLieOnWholeMillisecondsAndSteps)
{
    Curve curve;
    for (int i = 0; i < 400; ++i) curve.push_back(100.0 * std::sin(i * 0.05));
    for (const CurvePoint& point :
         FitWander(curve, Curve(curve.size(), 1.0), {1000.0 / 720.0, 10.0, 50.0})) {
        EXPECT_EQ(point.x, std::round(point.x));
        EXPECT_EQ(std::fmod(point.y, 10.0), 0.0);
    }
}

TEST(NumberText, HasTwoDecimalsAtMostAndNoTrailingZeros)
{
    EXPECT_EQ(NumberText(1495.97), "1495.97");
    EXPECT_EQ(NumberText(12.5), "12.5");
    EXPECT_EQ(NumberText(-130.0), "-130");
    EXPECT_EQ(NumberText(0.0), "0");
    EXPECT_EQ(NumberText(-0.001), "0");
}

TEST(DescriptionText, IsReadAsWhatItWasMadeOf)
{
    DescriptionText text;
    text.Comment("A comment.");
    for (const char* line : {"name n", "rate 100", "samples 4"}) text.Line(line);
    text.AddShape("s", Join::kLines, {{0, -5}, {20, 15}});
    text.AddSequence("q", "s", {0, 20});
    text.Line("play q");
    TempDir dir;
    std::ofstream(dir.File("n.txt")) << text.Text();
    EXPECT_EQ(ReadDescription(dir.File("n.txt")).microvolts,
              (std::vector<std::int32_t>{-5, 5, -5, 5}));
}

TEST(MeasureFit, TellsTheDifferencesToTheRecord)
{
    TempDir dir;
    std::ofstream(dir.File("n.txt")) << "name n\nrate 1000\nsamples 4\nshape s lines\n"
                                        "0 0 1 1000 2 -500 3 0\nplay s\n";
    const FitQuality fit = MeasureFit(dir.File("n.txt"), "r", {3, 1004, -500, -12});
    EXPECT_EQ(fit.samples, 4u);
    EXPECT_DOUBLE_EQ(fit.rms, 6.5);  // root of (9 + 16 + 0 + 144) / 4
    EXPECT_EQ(fit.largest, 12.0);
    EXPECT_EQ(fit.lowest, -500.0);
    EXPECT_EQ(fit.highest, 1004.0);
    EXPECT_EQ(fit.lowestDifference, 0.0);
    EXPECT_EQ(fit.highestDifference, -4.0);
    EXPECT_EQ(fit.extremes, 4u);  // both ends are troughs and peaks too
    EXPECT_EQ(fit.extremeDifference, 12.0);
    EXPECT_THROW(MeasureFit(dir.File("n.txt"), "r", {0, 1000, -500}), TableError);
}

TEST(Report, ReplacesTheTableAndNothingElse)
{
    TempDir dir;
    const std::string file = dir.File("report.md"),
                      begin = "<!-- table of vrax-fit-waveforms -->\n",
                      end = "<!-- end of the table -->\n";
    std::ofstream(file) << "before\n" << begin << "old\n" << end << "after\n";
    WriteReport(file, "new\n");
    EXPECT_EQ(ReadWholeFile(file), "before\n" + begin + "new\n" + end + "after\n");
    std::ofstream(dir.File("other.md")) << "no markers\n";
    EXPECT_THROW(WriteReport(dir.File("other.md"), "new\n"), TableError);
    EXPECT_EQ(ReadWholeFile(dir.File("other.md")), "no markers\n");
}

TEST(FitEc13, NamesTheRecordThatIsMissing)
{
    TempDir dir;
    try {
        FitEc13(dir.Path(), [](const std::string&) {});
        FAIL() << "no error";
    } catch (const TableError& error) {
        EXPECT_NE(std::string(error.what()).find("aami3a.hea"), std::string::npos) << error.what();
    }
}

TEST(FitEc13, WritesTheCommittedDescriptionsAgain)
{
    const char* directory = std::getenv("VRAX_REFERENCE_DATA");
    const fs::path records =
        fs::path(directory ? directory : VRAX_REFERENCE_DATA_DIR) / "aami-ec13";
    if (!fs::exists(records / "aami3a.dat")) GTEST_SKIP() << "the public records are not here";
#ifndef __OPTIMIZE__
    GTEST_SKIP() << "takes minutes when it is not optimised";
#endif
    if (kSlowdown > 1) GTEST_SKIP() << "takes minutes under a sanitizer";
    const auto files = FitEc13(records, [](const std::string&) {});
    EXPECT_EQ(files.size(), 13u);
    for (const FittedFile& file : files) {
        const fs::path committed = fs::path(VRAX_DESCRIPTIONS_DIR) / "ec13" / file.path;
        EXPECT_TRUE(ReadWholeFile(committed.string()) == file.text) << file.path;
    }
}
}  // namespace
