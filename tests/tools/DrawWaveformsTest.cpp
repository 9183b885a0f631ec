// The program that draws the built-in waveforms: its pictures, pixel by pixel, and its command line.

#include <gtest/gtest.h>

#include <cairo.h>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include <vrax.h>

#include "support/Command.h"
#include "support/TempDir.h"
#include "support/WaveformFacts.h"
#include "tools/draw/Sheets.h"

namespace {
namespace fs = std::filesystem;

constexpr double kMmPerSecond = 25.0;
constexpr double kMmPerMv = 10.0;
constexpr double kNearPixels = 2.0;  // half the line and the rounding to a pixel

CommandOutcome Draw(const std::string& arguments)
{
    return RunCommand(VRAX_DRAW_PROGRAM " " + arguments);
}

class Picture {
public:
    explicit Picture(const std::string& path)
        : surface_(cairo_image_surface_create_from_png(path.c_str()))
    {
        EXPECT_EQ(cairo_surface_status(surface_), CAIRO_STATUS_SUCCESS) << path;
    }
    ~Picture() { cairo_surface_destroy(surface_); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    int Width() const { return cairo_image_surface_get_width(surface_); }
    int Height() const { return cairo_image_surface_get_height(surface_); }
    // Darker than grid, labels and their edges: curves, dots, calibration marks and titles alone.
    bool IsInk(int x, int y) const
    {
        const unsigned char* pixel = cairo_image_surface_get_data(surface_) +
                                     cairo_image_surface_get_stride(surface_) * y + 4 * x;
        return std::all_of(pixel, pixel + 3, [](unsigned char channel) { return channel < 95; });
    }
    // The rows of ink in a column, within a band.
    std::vector<int> Ink(int x, double top, double bottom) const
    {
        std::vector<int> rows;
        for (int y = static_cast<int>(top); y < std::min(static_cast<int>(bottom), Height()); ++y) {
            if (IsInk(x, y)) rows.push_back(y);
        }
        return rows;
    }

private:
    cairo_surface_t* surface_;
};

struct Samples {
    double rate;
    std::vector<double> mv;
};

// The samples that a strip must show, from the library without the program's code.
Samples Demanded(Family family, int number, double start, double seconds)
{
    unsigned count = 0;
    unsigned rate = 0;
    std::vector<double> whole;
    if (family == Family::kIec247) {
        const double* mv = GetSpecialWave247Array(number, &count, &rate);
        whole.assign(mv, mv + count);
    } else if (family == Family::kIec227 || family == Family::kIec251) {
        const int* uv = family == Family::kIec227 ? GetSpecialWave227Array(number, &count, &rate)
                                                  : GetSpecialWave251Array(number, &count, &rate);
        for (unsigned i = 0; i < count; ++i) whole.push_back(uv[i] / 1000.0);
    } else {
        const bool isLead = family == Family::kAne20000;
        EXPECT_EQ(isLead ? VRAXSetANE20000Lead(number) : VRAXSetNSTNoise(number, 1.0), 0);
        rate = isLead ? 1000 : 360;
        count = static_cast<unsigned>(seconds * rate);
        whole.resize(count);
        // A number without a function plays 0 mV, to which the noise is added.
        const unsigned function = isLead ? static_cast<unsigned>(OUTPUT_ANE20000) : 9999U;
        EXPECT_EQ(GetRawDataArrayEx(function, whole.data(), static_cast<int>(count),
                                    static_cast<int>(rate)),
                  static_cast<int>(count));
        VRAXSetNSTNoise(0, 1.0);
    }
    Samples samples{static_cast<double>(rate), {}};
    const auto first = static_cast<std::size_t>(std::lround(start * rate));
    for (std::size_t i = 0; i < static_cast<std::size_t>(std::lround(seconds * rate)); ++i) {
        samples.mv.push_back(whole[(first + i) % whole.size()]);
    }
    return samples;
}

// Pixels at which a strip's curve must be found.
struct Trace {
    double left;
    double right;
    double top;  // of the paper of its row
    double bottom;
    std::vector<double> x;
    std::vector<double> y;
};

Trace TraceOf(const Samples& samples, const SheetLayout& layout, std::size_t row,
              std::size_t column)
{
    const RowPlace& place = layout.rows[row];
    const double scale = layout.pixelsPerMm;
    const double x0 = place.strips[column] * scale;
    const double duration = static_cast<double>(samples.mv.size() - 1) / samples.rate;
    Trace trace{x0,
                x0 + duration * kMmPerSecond * scale,
                place.top * scale,
                (place.top + place.height) * scale,
                {},
                {}};
    for (std::size_t i = 0; i < samples.mv.size(); ++i) {
        trace.x.push_back(x0 + static_cast<double>(i) / samples.rate * kMmPerSecond * scale);
        trace.y.push_back((place.baseline - samples.mv[i] * kMmPerMv) * scale);
    }
    return trace;
}

// Each column of pixels holds ink where the samples around it are, and none elsewhere.
void ExpectCurve(const Picture& picture, const Trace& trace)
{
    std::size_t from = 0;
    int wrong = 0;
    for (int x = static_cast<int>(trace.left) + 2; x < static_cast<int>(trace.right) - 2; ++x) {
        while (trace.x[from] < x - 1.5) ++from;
        double highest = trace.y[from];
        double lowest = trace.y[from];
        for (std::size_t i = from; i < trace.x.size() && trace.x[i] < x + 2.5; ++i) {
            highest = std::min(highest, trace.y[i]);
            lowest = std::max(lowest, trace.y[i]);
        }
        const std::vector<int> ink = picture.Ink(x, trace.top, trace.bottom);
        const bool isRight = !ink.empty() && ink.front() + 0.5 > highest - kNearPixels &&
                             ink.back() + 0.5 < lowest + kNearPixels;
        if (!isRight) ++wrong;
    }
    EXPECT_EQ(wrong, 0) << "columns of pixels with no curve, or with ink beside it";
}

// The first and the last row of ink around the sample at `index`.
std::pair<double, double> InkNear(const Picture& picture, const Trace& trace, std::size_t index)
{
    std::pair<double, double> rows(trace.bottom, trace.top);
    const int x = static_cast<int>(trace.x[index]);
    for (int column = x - 1; column <= x + 1; ++column) {
        for (const int y : picture.Ink(column, trace.top, trace.bottom)) {
            rows.first = std::min(rows.first, y + 0.5);
            rows.second = std::max(rows.second, y + 0.5);
        }
    }
    return rows;
}

void ExpectPeaks(const Picture& picture, const Trace& trace)
{
    const auto [top, bottom] = std::minmax_element(trace.y.begin(), trace.y.end());
    const auto highest = static_cast<std::size_t>(top - trace.y.begin());
    const auto lowest = static_cast<std::size_t>(bottom - trace.y.begin());
    EXPECT_NEAR(InkNear(picture, trace, highest).first, *top, kNearPixels);
    EXPECT_NEAR(InkNear(picture, trace, lowest).second, *bottom, kNearPixels);
}

struct Expected {
    const char* file;
    double start;
    double seconds;
    std::vector<std::vector<int>> numbers;  // rows of strips
};

void ExpectSheets(Family family, const std::string& key, const std::vector<Expected>& expected)
{
    TempDir out;
    const CommandOutcome outcome = Draw("--family " + key + " --out " + out.Path());
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    const std::vector<Sheet> sheets = SheetsOf(family);
    ASSERT_EQ(sheets.size(), expected.size());
    std::string announced;
    for (std::size_t s = 0; s < sheets.size(); ++s) {
        SCOPED_TRACE(expected[s].file);
        const std::string path = out.File(expected[s].file);
        ASSERT_TRUE(fs::exists(path));
        const Picture picture(path);
        announced += path + "  " + std::to_string(picture.Width()) + " x " +
                     std::to_string(picture.Height()) + " pixels\n";
        const SheetLayout layout = LayOut(sheets[s]);
        ASSERT_EQ(layout.rows.size(), expected[s].numbers.size());
        for (std::size_t row = 0; row < layout.rows.size(); ++row) {
            const std::vector<int>& numbers = expected[s].numbers[row];
            ASSERT_EQ(layout.rows[row].strips.size(), numbers.size());
            for (std::size_t column = 0; column < numbers.size(); ++column) {
                SCOPED_TRACE(numbers[column]);
                const Trace trace = TraceOf(Demanded(family, numbers[column], expected[s].start,
                                                     expected[s].seconds),
                                            layout, row, column);
                ExpectCurve(picture, trace);
                ExpectPeaks(picture, trace);
            }
        }
    }
    EXPECT_EQ(outcome.output, announced);
    EXPECT_EQ(std::distance(fs::directory_iterator(out.Path()), {}),
              static_cast<std::ptrdiff_t>(expected.size()));
}

TEST(DrawWaveforms, DrawsTheSamplesOfIec227)
{
    ExpectSheets(Family::kIec227, "iec227",
                 {{"iec227-a.png", 0.0, 10.0, {{0}, {1}, {2}, {3}}},
                  {"iec227-b.png", 27.0, 10.0, {{4}, {5}, {6}}},
                  {"iec227-c.png", 27.0, 10.0, {{7}, {8}, {9}}}});
}

TEST(DrawWaveforms, DrawsTheSamplesOfIec251)
{
    ExpectSheets(
        Family::kIec251, "iec251",
        {{"iec251.png", 0.0, 1.0, {{0, 1, 2, 3, 6}, {4, 15, 5, 13, 14}, {7, 8, 9, 10, 11, 12}}}});
}

TEST(DrawWaveforms, DrawsTheSamplesOfAne20000)
{
    ExpectSheets(Family::kAne20000, "ane20000",
                 {{"ane20000.png", 0.0, 1.0, {{0, 3, 6}, {1, 4, 7}, {2, 5, 8}}}});
}

TEST(DrawWaveforms, DrawsTheSamplesOfIec247AsTheyRepeat)
{
    ExpectSheets(Family::kIec247, "iec247", {{"iec247.png", 0.0, 10.0, {{0}, {1}, {2}, {3}, {4}}}});
}

TEST(DrawWaveforms, DrawsTheNoiseWithoutASignal)
{
    ExpectSheets(Family::kNoise, "noise", {{"noise.png", 0.0, 10.0, {{1}, {2}, {3}}}});
}

// The quarter with the longest interval comes first, the one with the shortest third.
TEST(DrawWaveforms, DrawsTheIntervalsOverTheWholePattern)
{
    TempDir out;
    ASSERT_EQ(Draw("--family iec247 --out " + out.Path()).status, 0);
    const Picture picture(out.File("iec247.png"));
    const SheetLayout layout = LayOut(SheetsOf(Family::kIec247).front());
    const RowPlace& last = layout.rows.back();
    const double scale = layout.pixelsPerMm;
    const double left = last.strips.front() * scale;
    const double width = (layout.width - kMargin) * scale - left;
    const double top = (last.top + last.height) * scale;
    std::vector<double> heights;  // of the dots, for each hundredth of the pattern
    for (int i = 0; i <= 100; ++i) {
        const int x = std::min(static_cast<int>(left + width * i / 100.0), picture.Width() - 1);
        const auto ink = picture.Ink(i == 100 ? x - 1 : x, top, top + kTachogramHeight * scale);
        ASSERT_FALSE(ink.empty()) << i;
        heights.push_back((ink.front() + ink.back() + 1) / 2.0);
    }
    const double middle = (heights[25] + heights[75]) / 2.0;
    const double swing = (heights[75] - heights[25]) / 2.0;
    EXPECT_GT(swing, 20.0);
    for (std::size_t i = 0; i <= 100; ++i) {
        const double phase = 2.0 * std::numbers::pi * static_cast<double>(i) / 100.0;
        EXPECT_NEAR(heights[i], middle - swing * std::sin(phase), 2.0) << i;
    }
}

TEST(MeasureTachogram, FindsTheIntervalsThatThePatternsAreMadeOf)
{
    constexpr double kRiseSeconds = 0.053;  // from the start of a beat to its R wave
    for (int n = 0; n < kIec247Count; ++n) {
        SCOPED_TRACE(n);
        const Iec247Facts& facts = kIec247Facts[n];
        const Tachogram tachogram =
            MeasureTachogram(LoadWaveform(Family::kIec247, static_cast<std::size_t>(n)));
        EXPECT_EQ(tachogram.mean, facts.mean);
        EXPECT_EQ(tachogram.deviation, facts.deviation);
        EXPECT_EQ(tachogram.intervals.size(), tachogram.times.size());
        double sum = 0.0;
        int wrong = 0;
        for (std::size_t i = 0; i < tachogram.intervals.size(); ++i) {
            sum += tachogram.intervals[i];
            const double turn =
                2.0 * std::numbers::pi * facts.frequency * (tachogram.times[i] - kRiseSeconds);
            const double interval = facts.mean + facts.deviation * std::sin(turn);
            // Beats start on whole milliseconds, cut off.
            if (std::fabs(tachogram.intervals[i] - interval) > 0.0011) ++wrong;
        }
        EXPECT_EQ(wrong, 0);
        EXPECT_NEAR(sum, facts.samples / 1000.0, 1e-6);
    }
}

TEST(DrawWaveforms, ListsEveryWaveform)
{
    std::vector<std::string> names;
    for (const Iec227Facts& facts : kIec227Facts) names.push_back(facts.name);
    names.insert(names.end(), std::begin(kIec251Names), std::end(kIec251Names));
    for (const char* lead : {"I", "II", "III", "V1", "V2", "V3", "V4", "V5", "V6"}) {
        names.push_back(lead);
    }
    for (const Iec247Facts& facts : kIec247Facts) names.push_back(facts.name);
    for (const char* noise : {"electrode motion", "baseline wander", "muscle artefact"}) {
        names.push_back(noise);
    }
    ASSERT_EQ(names.size(), 43U);

    const CommandOutcome outcome = Draw("--list");
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    std::istringstream lines(outcome.output);
    std::size_t listed = 0;
    for (std::string line; std::getline(lines, line); ++listed) {
        ASSERT_LT(listed, names.size());
        EXPECT_NE(line.find("  " + names[listed] + " "), std::string::npos) << line;
    }
    EXPECT_EQ(listed, names.size());
}

TEST(DrawWaveforms, RefusesWrongArgumentsWithStatusTwo)
{
    for (const char* arguments :
         {"", "--family iec227", "--list --family iec226", "--list --out x", "--nothing"}) {
        const CommandOutcome outcome = Draw(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_FALSE(outcome.output.empty()) << arguments;
    }
    EXPECT_EQ(Draw("--help").status, 0);
}

TEST(DrawWaveforms, NamesTheFileThatCannotBeWritten)
{
    TempDir out;
    std::ofstream(out.File("file")) << "in the way";
    const CommandOutcome folder = Draw("--family noise --out " + out.File("file/folder"));
    EXPECT_EQ(folder.status, 1);
    EXPECT_NE(folder.output.find(out.File("file/folder") + ": "), std::string::npos)
        << folder.output;

    fs::create_directory(out.File("noise.png"));
    const CommandOutcome file = Draw("--family noise --out " + out.Path());
    EXPECT_EQ(file.status, 1);
    EXPECT_NE(file.output.find(out.File("noise.png") + ": "), std::string::npos) << file.output;
}

}  // namespace
