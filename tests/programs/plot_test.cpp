// vrax plot: the paper, its scale and what is drawn on it, read from the files.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <vector>

#include "programs/ProgramRun.h"

namespace {

// The paper of a row of 10 s: 15 mm for the mark, 25 mm/s, 7 mm of margin on both sides.
constexpr double kWidthMm = 15.0 + 250.0 + 14.0;
// 22 mm of head, 7 mm of margin, and for 1 mV peak to peak around 0: 10 mm for the mark or the
// curve and 10 mm for the name above the baseline, 5 mm for the curve and 5 mm for the time below.
constexpr double kHeightMm = 22.0 + 30.0 + 7.0;
constexpr double kPointsPerMm = 72.0 / 25.4;
constexpr double kStepMm = 0.01;  // of the coordinates in an .svg

struct Style {
    const char* width;
    const char* colour;
};
constexpr Style kCurve{"stroke-width:0.36;", "stroke:rgb(10%,10%,12%)"};
constexpr Style kSpike{"stroke-width:0.36;", "stroke:rgb(80%,20%,2%)"};
constexpr Style kStrongGrid{"stroke-width:0.2;", "stroke:rgb(91.5%,65.5%,64%)"};  // one a row

struct Point {
    double x;
    double y;
};
using Path = std::vector<Point>;

// The corners of the paths whose style has both parts, in mm.
std::vector<Path> PathsOf(const std::string& svg, const Style& style)
{
    std::vector<Path> paths;
    const std::string element = "<path style=\"";
    for (std::size_t at = svg.find(element); at != svg.npos; at = svg.find(element, at + 1)) {
        const std::size_t styleEnd = svg.find('"', at + element.size());
        const std::string found = svg.substr(at, styleEnd - at);
        if (!Has(found, style.width) || !Has(found, style.colour)) continue;
        const std::size_t start = svg.find('"', styleEnd + 1) + 1;
        std::istringstream corners(svg.substr(start, svg.find('"', start) - start));
        Path path;
        std::string letter;
        for (Point point{}; corners >> letter >> point.x >> point.y;) path.push_back(point);
        paths.push_back(path);
    }
    return paths;
}

unsigned BigEndian(const std::string& bytes, std::size_t at)
{
    unsigned value = 0;
    for (std::size_t i = at; i < at + 4; ++i) {
        value = value << 8 | static_cast<unsigned char>(bytes.at(i));
    }
    return value;
}

class Plot : public testing::Test {
protected:
    // The bytes of the picture.
    std::string Draw(const std::string& arguments, const std::string& name) const
    {
        const ProgramOutcome run = RunVrax("plot " + arguments + " -o " + folder_.File(name));
        EXPECT_EQ(run.status, 0) << run.errors;
        return ReadWholeFile(folder_.File(name));
    }
    TempDir folder_;
};

}  // namespace

TEST_F(Plot, WritesPixelsOfTheAskedResolution)
{
    for (const double dpi : {100.0, 200.0}) {
        const std::string png = Draw("square --force --dpi " + std::to_string(dpi), "x.png");
        ASSERT_TRUE(png.starts_with("\x89PNG\r\n\x1a\n"));
        EXPECT_NEAR(BigEndian(png, 16), kWidthMm / 25.4 * dpi, 0.5);
        EXPECT_NEAR(BigEndian(png, 20), kHeightMm / 25.4 * dpi, 0.5);
    }
}

TEST_F(Plot, WritesPaperOfItsSizeAsSvgAndPdf)
{
    const std::string svg = Draw("square", "x.svg");
    ASSERT_TRUE(svg.starts_with("<?xml"));
    std::smatch size;
    ASSERT_TRUE(std::regex_search(svg, size,
                                  std::regex("width=\"([0-9.]+)p?t?\" "
                                             "height=\"([0-9.]+)p?t?\"")));
    EXPECT_NEAR(std::stod(size[1]), kWidthMm * kPointsPerMm, 0.01);
    EXPECT_NEAR(std::stod(size[2]), kHeightMm * kPointsPerMm, 0.01);

    const std::string pdf = Draw("square", "x.pdf");
    ASSERT_TRUE(pdf.starts_with("%PDF-"));
    const std::size_t box = pdf.find("/MediaBox [ 0 0 ");
    ASSERT_NE(box, std::string::npos);
    EXPECT_NEAR(std::stod(pdf.substr(box + 16)), kWidthMm * kPointsPerMm, 0.01);
}

TEST_F(Plot, DrawsAMillivoltTenMillimetresHighAndASecondTwentyFiveWide)
{
    const auto curves = PathsOf(Draw("square --for 2s", "x.svg"), kCurve);
    ASSERT_EQ(curves.size(), 2U);  // the mark, then the row
    const Path& mark = curves[0];
    ASSERT_EQ(mark.size(), 6U);
    EXPECT_NEAR(mark[1].y - mark[2].y, 10.0, kStepMm);  // 1 mV
    EXPECT_NEAR(mark[3].x - mark[2].x, 5.0, kStepMm);   // 0.2 s
    const double baseline = mark[0].y;
    std::vector<double> rises;
    double before = baseline;
    for (const Point& point : curves[1]) {
        ASSERT_NEAR(std::abs(point.y - baseline), 5.0, 2.0 * kStepMm);  // 1 mV around 0
        if (point.y < baseline && before > baseline) rises.push_back(point.x);
        before = point.y;
    }
    ASSERT_EQ(rises.size(), 1U);  // in the middle of two periods
    EXPECT_NEAR(rises[0] - curves[1].front().x, 25.0, 0.1);
}

TEST_F(Plot, BeginsARowEveryTenSecondsAndOneForEachChannel)
{
    EXPECT_EQ(PathsOf(Draw("ecg --for 10s", "one.svg"), kStrongGrid).size(), 1U);
    const auto curves = PathsOf(Draw("ecg --for 25s", "three.svg"), kCurve);
    ASSERT_EQ(curves.size(), 6U);  // a mark and a curve each
    const auto width = [](const Path& path) { return path.back().x - path.front().x; };
    EXPECT_NEAR(width(curves[1]), 250.0, 0.1);
    EXPECT_NEAR(width(curves[3]), 250.0, 0.1);
    EXPECT_NEAR(width(curves[5]), 125.0, 0.1);
    EXPECT_LT(curves[1][0].y, curves[3][0].y);
    EXPECT_LT(curves[3][0].y, curves[5][0].y);

    const ProgramOutcome run = RunVrax(
        "--json plot ane20000 --channel 0,1 --ppg1 sine --for 2s -o " + folder_.File("strips.svg"));
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(JsonOf(run).value("strips", 0), 3);
    EXPECT_EQ(JsonOf(run).value("file", ""), folder_.File("strips.svg"));
    EXPECT_EQ(PathsOf(ReadWholeFile(folder_.File("strips.svg")), kStrongGrid).size(), 3U);
}

TEST_F(Plot, DrawsASpikeForEachPulseInItsDirection)
{
    for (const int sign : {1, -1}) {
        const auto spikes =
            PathsOf(Draw("ecg --rate 120 --for 3s --force --pacing " + std::to_string(10 * sign),
                         "x.svg"),
                    kSpike);
        ASSERT_EQ(spikes.size(), 6U);
        for (std::size_t i = 0; i < spikes.size(); ++i) {
            ASSERT_EQ(spikes[i].size(), 2U);
            EXPECT_GT((spikes[i][0].y - spikes[i][1].y) * sign, 0.0);
        }
        for (std::size_t i = 1; i < spikes.size(); ++i) {
            EXPECT_NEAR(spikes[i][0].x - spikes[i - 1][0].x, 12.5, 0.1);  // 0.5 s
        }
    }
}

// The letters stand in the file as references to their shapes.
TEST_F(Plot, HasATitleWithTheParametersThatFitsThePaper)
{
    const std::string arguments =
        "ecg --for 1s --amplitude 2 --rate 90 --noise 50 --noise-amplitude 0.05 --qrs-duration 80";
    const ProgramOutcome run = RunVrax("plot " + arguments + " -o " + folder_.File("x.svg"));
    const std::string title =
        "ecg, amplitude 2 mV, rate 90 1/min, qrs-duration 80 ms, noise 50, noise-amplitude 0.05 mV";
    EXPECT_TRUE(Has(run.output, ": " + title)) << run.output;
    const std::string svg = ReadWholeFile(folder_.File("x.svg"));
    const std::size_t text = svg.find("</defs>");
    const std::string head = svg.substr(text, svg.find("<path style=", text) - text);
    const std::regex letter("<use [^>]*x=\"([0-9.]+)\" y=\"([0-9.]+)\"");
    std::vector<Point> letters;
    for (std::sregex_iterator at(head.begin(), head.end(), letter), end; at != end; ++at) {
        letters.push_back({std::stod((*at)[1]), std::stod((*at)[2])});
    }
    std::size_t count = 0;
    const double paperEnd = (7.0 + 15.0 + 25.0) * kPointsPerMm;
    for (const Point& point : letters) {
        if (point.y != letters.front().y) break;  // the line below
        EXPECT_LT(point.x, paperEnd);
        ++count;
    }
    EXPECT_EQ(count, title.size());
}

TEST_F(Plot, RefusesWhatCannotBeDrawn)
{
    struct Case {
        const char* arguments;
        int status;
        const char* text;
    };
    for (const Case& bad :
         {Case{"-o x.jpg", 2, ".png, .svg or .pdf"}, Case{"", 2, "the file is missing"},
          Case{"-o x.svg --for 121s", 2, "up to 120 s"}, Case{"-o x.svg --for 0", 2, "above 0 s"},
          Case{"-o x.svg --for nan", 2, "--for"}, Case{"-o x.png --dpi 49", 2, "from 50 to 600"},
          Case{"-o x.png --dpi nan", 2, "from 50 to 600"},
          Case{"-o none/x.svg", 1, "cannot be written; is the folder there"}}) {
        const ProgramOutcome run =
            RunApart("cd " + folder_.Path() + " && " VRAX_PROGRAM " plot ecg " + bad.arguments);
        EXPECT_EQ(run.status, bad.status) << bad.arguments;
        EXPECT_TRUE(Has(run.errors, bad.text)) << run.errors;
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(Plot, LeavesAFileThatIsThereUnlessItIsForced)
{
    std::ofstream(folder_.File("x.svg")) << "mine";
    const std::string arguments = "plot ecg --for 1s -o " + folder_.File("x.svg");
    const ProgramOutcome refused = RunVrax(arguments);
    EXPECT_EQ(refused.status, 2);
    EXPECT_TRUE(Has(refused.errors, "is there already")) << refused.errors;
    EXPECT_EQ(ReadWholeFile(folder_.File("x.svg")), "mine");
    EXPECT_EQ(RunVrax(arguments + " --force").status, 0);
    EXPECT_TRUE(ReadWholeFile(folder_.File("x.svg")).starts_with("<?xml"));
}

// 100 Hz of 500 mV: 20 mm between its ends, and the ECG part above it.
TEST_F(Plot, DrawsAMovingDcPartOnAScaleOfItsOwn)
{
    const auto curves = PathsOf(Draw("baseline-reset --overload 100 --for 1s", "x.svg"), kCurve);
    ASSERT_EQ(curves.size(), 4U);  // the mark and the ECG, the bar and the DC part
    const Path& bar = curves[2];
    ASSERT_EQ(bar.size(), 2U);
    EXPECT_NEAR(bar[0].y - bar[1].y, 20.0, kStepMm);
    double top = INFINITY;
    double bottom = 0.0;
    for (const Point& point : curves[3]) {
        top = std::min(top, point.y);
        bottom = std::max(bottom, point.y);
    }
    EXPECT_NEAR(bottom - top, 20.0, 2.0 * kStepMm);
    EXPECT_NEAR(top, bar[1].y, 2.0 * kStepMm);
    EXPECT_GT(top, curves[1].front().y);
}

TEST_F(Plot, DrawsALevelAloneAtItsDistanceFromZero)
{
    // Code 0 is below zero: the line is at the foot of the bar, whose top is 0 mV.
    const auto low = PathsOf(Draw("fixed-dc --dc-code 0 --for 1s", "low.svg"), kCurve);
    ASSERT_EQ(low.size(), 2U);
    EXPECT_NEAR(low[1].front().y, low[0][0].y, kStepMm);
    EXPECT_NEAR(low[1].back().y, low[0][0].y, kStepMm);
    const auto high = PathsOf(Draw("fixed-dc --dc-code 65535 --for 1s", "high.svg"), kCurve);
    ASSERT_EQ(high.size(), 2U);
    EXPECT_NEAR(high[1].front().y, high[0][1].y, kStepMm);
}

TEST_F(Plot, HasAStripForTheDcPartOfEveryTestThatMovesIt)
{
    struct Case {
        const char* arguments;
        int strips;
    };
    for (const Case& each :
         {Case{"yy1079 --for 3s", 2}, Case{"input-dynamic-range --for 21s", 2},
          Case{"input-dynamic-range --for 3s", 1}, Case{"ecg --dc-offset 300 --for 1s", 1}}) {
        const ProgramOutcome run = RunVrax(std::string("--json plot --force ") + each.arguments +
                                           " -o " + folder_.File("x.svg"));
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_EQ(JsonOf(run).value("strips", 0), each.strips) << each.arguments;
    }
}
