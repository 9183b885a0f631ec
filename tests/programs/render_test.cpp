// vrax render: its files, read by the library's own loaders where there is one.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
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

TEST_F(Render, LeavesAFileThatIsThereUnlessItIsForced)
{
    const std::string path = folder_.File("kept.hea");
    std::ofstream(path) << "mine";
    const std::string arguments = "render sine --for 1s -o " + folder_.File("kept.dat");
    const ProgramOutcome refused = RunVrax(arguments);
    EXPECT_EQ(refused.status, 2);
    EXPECT_TRUE(Has(refused.errors, "kept.hea is there already")) << refused.errors;
    EXPECT_EQ(ReadWholeFile(path), "mine");
    EXPECT_FALSE(std::filesystem::exists(folder_.File("kept.dat")));
    EXPECT_EQ(RunVrax(arguments + " --force").status, 0);
    EXPECT_TRUE(ReadWholeFile(path).starts_with("kept 1 20000 20000\n"));
}

TEST_F(Render, NeverWritesOverTheRecordingThatItPlays)
{
    const std::string data = ReadWholeFile(Run("sine --for 1s", "own.dat"));
    for (const char* file : {"own.hea", "own.dat"}) {
        const ProgramOutcome run = RunVrax("render " + folder_.File(file) +
                                           " --for 500ms --force -o " + folder_.File("own.dat"));
        EXPECT_EQ(run.status, 2);
        EXPECT_TRUE(Has(run.errors, "is the recording itself")) << run.errors;
    }
    EXPECT_EQ(ReadWholeFile(folder_.File("own.dat")), data);
}

TEST_F(Render, KeepsTheOldFileAndNoPartOfTheNewOneWhenItIsInterrupted)
{
    std::ofstream(folder_.File("x.csv")) << "mine";
    const ProgramOutcome run =
        RunApart("cd " + folder_.Path() +
                 "\nsetsid " VRAX_PROGRAM
                 " render ecg --for 3600s --force -o x.csv & p=$!\n"
                 "until ls -A | grep -q '^.vrax-'; do sleep 0.02; done\nkill -TERM -$p; wait $p");
    EXPECT_EQ(run.status, 130) << run.errors;
    EXPECT_EQ(run.errors, "vrax: interrupted\n");
    EXPECT_EQ(ReadWholeFile(folder_.File("x.csv")), "mine");
    const std::filesystem::directory_iterator files(folder_.Path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

TEST_F(Render, TellsOfAMissingFolderWithAdvice)
{
    const ProgramOutcome run = RunVrax("render sine -o " + folder_.File("none/x.csv"));
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(Has(run.errors, "cannot be written; is the folder there")) << run.errors;
}

TEST_F(Render, NeedsNoPortAndTakesAny) { Run("sine --for 100ms --port 5", "x.csv"); }

TEST_F(Render, ListsTheSignalsWithoutAnInstrumentOrAFile)
{
    std::filesystem::copy(VRAX_PROGRAM, folder_.File("vrax"));
    for (const char* command : {"play", "render", "plot"}) {
        const ProgramOutcome run = RunApart("PATH=/nowhere " + folder_.File("vrax") + " " +
                                            command + " --list-functions --json");
        EXPECT_EQ(run.status, 0) << run.errors;
        const auto list = JsonOf(run);
        ASSERT_TRUE(list.is_array()) << run.output;
        ASSERT_FALSE(list.empty());
        EXPECT_EQ(list[0].value("name", ""), "sine");
    }
}

TEST_F(Render, TellsTheFrequencyAtWhichASignalIsCut)
{
    const std::string path = folder_.File("x.csv");
    const ProgramOutcome run =
        RunVrax("render rect-pulse --frequency 10 --pulse-width 50 --for 1s -o " + path);
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(Has(run.output, "rect-pulse, frequency 5 Hz")) << run.output;
    EXPECT_TRUE(Has(run.errors, "plays at 5 Hz instead of 10 Hz")) << run.errors;
    const auto rows = ReadTable(path);
    int pulses = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i][1] > 0.5 && (i == 0 || rows[i - 1][1] <= 0.5)) ++pulses;
    }
    EXPECT_EQ(pulses, 5);
}
