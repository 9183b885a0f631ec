// vrax render: its files, read by the library's own loaders where there is one.

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "programs/PlayedSignal.h"
#include "vrax.h"

namespace {

constexpr double kStepMv = 0.000625;  // of the formats with 16 bits

// The square wave of 1 Hz and 1 mV that was rendered for 1.5 s.
void ExpectSquare(unsigned expectedCount, double tolerance)
{
    unsigned count = 0;
    unsigned rate = 0;
    const double* const samples = GetFileArray(&count, &rate);
    ASSERT_EQ(rate, 20000U);
    ASSERT_EQ(count, expectedCount);
    for (unsigned i = 100; i < 30000; ++i) {
        const unsigned phase = i % 20000;
        if (phase % 10000 < 100) continue;  // the edges
        ASSERT_NEAR(samples[i], phase < 10000 ? 0.5 : -0.5, tolerance) << i;
    }
}

class Render : public testing::Test {
protected:
    std::string Run(const std::string& arguments, const std::string& name) const
    {
        const std::string path = folder_.File(name);
        const ProgramOutcome run = RunVrax("render " + arguments + " -o " + path);
        EXPECT_EQ(run.status, 0) << run.errors;
        return path;
    }
    TempDir folder_;
};

}  // namespace

TEST_F(Render, WritesTheSineAsATable)
{
    const std::string path = Run("sine --amplitude 2 --frequency 3 --for 1s", "x.csv");
    EXPECT_TRUE(ReadWholeFile(path).starts_with("time_s,ecg_mv\n"));
    const auto rows = ReadTable(path);
    ASSERT_EQ(rows.size(), 20000U);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const double time = static_cast<double>(i) / 20000.0;
        ASSERT_NEAR(rows[i][0], time, 1e-9);
        ASSERT_NEAR(rows[i][1], std::sin(2.0 * std::numbers::pi * 3.0 * time), 1e-6);
    }
}

TEST_F(Render, HasAColumnForEachPart)
{
    const std::string path =
        Run("ecg --pacing 10 --pacing-duration 3 --dc-offset 100 --ppg0 sine --ppg0-ac 8 --for 3s",
            "x.csv");
    EXPECT_TRUE(ReadWholeFile(path).starts_with("time_s,ecg_mv,dc_mv,pacing_mv,ppg0_mv\n"));
    const auto rows = ReadTable(path);
    ASSERT_EQ(rows.size(), 30000U);  // 10000 a second with a PPG
    int pulses = 0;
    double highest = 0.0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i][2], 100.0);
        if (rows[i][3] != 0.0 && (i == 0 || rows[i - 1][3] == 0.0)) ++pulses;
        highest = std::max(highest, rows[i][4]);
    }
    EXPECT_EQ(pulses, 3);  // one a beat
    EXPECT_NEAR(highest, 8.0, 0.01);
}

TEST_F(Render, WritesTextThatLoads)
{
    const std::string path = Run("square --for 1500ms", "x.txt");
    ASSERT_EQ(VRAXLoadECGtxt(path.c_str(), 0), 30000);
    ExpectSquare(30000, 1e-6);
}

TEST_F(Render, WritesEdfOfWholeSecondsThatLoads)
{
    const std::string path = Run("square --for 1500ms", "x.edf");
    EXPECT_EQ(ReadWholeFile(path).size(), 512U + 2 * 40000U);
    ASSERT_EQ(VRAXLoadECGedf(path.c_str(), 0), 40000);
    ExpectSquare(40000, kStepMv);
}

TEST_F(Render, WritesARecordWithAHeaderThatLoads)
{
    const std::string path = Run("square --for 1500ms", "x.dat");
    ASSERT_EQ(VRAXLoadECGdat(folder_.File("x.hea").c_str(), path.c_str(), 0), 30000);
    ExpectSquare(30000, kStepMv);
}

TEST_F(Render, WritesTheChannelsOfAFileSideBySide)
{
    const std::string both = Run("ane20000 --channel 0,1 --for 1s", "both.csv");
    EXPECT_TRUE(ReadWholeFile(both).starts_with("time_s,ecg0_mv,ecg1_mv\n"));
    const auto rows = ReadTable(both);
    const auto one = ReadTable(Run("ane20000 --ane-lead 1 --for 1s", "one.csv"));
    ASSERT_EQ(rows.size(), one.size());
    for (std::size_t i = 0; i < rows.size(); ++i) ASSERT_EQ(rows[i][2], one[i][1]) << i;
}

TEST_F(Render, RefusesANameWithoutAFormat)
{
    const ProgramOutcome run = RunVrax("render sine -o x.mp3");
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(Has(run.errors, ".csv, .txt, .edf or .dat")) << run.errors;
}
