// vrax play beside modules: what is not logged shows in the samples that the instrument receives.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <set>
#include <sstream>

#include "programs/PlayedSignal.h"

namespace {

using Clock = std::chrono::steady_clock;

std::string Play(const std::string& arguments)
{
    return VRAX_PROGRAM " play ecg --timeout 60 " + arguments;
}

struct Spread {
    double lowest;
    double highest;
    double Range() const { return highest - lowest; }
};

// Of a column of the modules: 0 and 1 are DC and AC of the first pulse, 2 and 3 of the second.
Spread SpreadOf(const PlayedSignal& played, std::size_t column)
{
    Spread spread{INFINITY, -INFINITY};
    for (const ReceivedSample& sample : played.samples) {
        spread.lowest = std::min(spread.lowest, sample.more.at(column));
        spread.highest = std::max(spread.highest, sample.more.at(column));
    }
    return spread;
}

// The times at which the first pulse rises through the middle of its height, s.
std::vector<double> RisesOf(const PlayedSignal& played)
{
    const double middle = SpreadOf(played, 1).highest / 2.0;
    std::vector<double> times;
    for (std::size_t i = 1; i < played.samples.size(); ++i) {
        if (played.samples[i - 1].more[1] < middle && played.samples[i].more[1] >= middle) {
            times.push_back(played.samples[i].time);
        }
    }
    return times;
}

std::set<std::string> SettingsOf(const std::string& trace)
{
    std::istringstream lines(ReadWholeFile(trace));
    std::set<std::string> settings;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t at = line.find("> setting write: ");
        if (at != line.npos) settings.insert(line.substr(at));
    }
    return settings;
}

class PlayModules : public testing::Test {
protected:
    std::string Write(const std::string& name, const std::string& text) const
    {
        std::ofstream(folder_.File(name)) << text;
        return folder_.File(name);
    }
    // The columns of a rendered signal.
    std::vector<std::vector<double>> Render(const std::string& arguments) const
    {
        const std::string path = folder_.File("rendered.csv");
        const ProgramOutcome run =
            RunVrax("render ecg --for 1s --force -o " + path + " " + arguments);
        EXPECT_EQ(run.status, 0) << run.errors;
        return ReadTable(path);
    }
    TempDir folder_;
};

}  // namespace

TEST_F(PlayModules, GetThePartsOfAStandardPulse)
{
    std::string arguments;
    for (const char* ppg : {"ppg0", "ppg1", "ppg2"}) {
        const std::string option = std::string(" --") + ppg;
        arguments += option + " pulse" + option + "-ac 10" + option + "-notch 4" + option +
                     "-dicrotic 5" + option + "-peak-time 200" + option + "-notch-time 400" +
                     option + "-dicrotic-time 500";
    }
    const auto rows = Render(arguments);
    ASSERT_EQ(rows.size(), 10000U);
    for (std::size_t column = 2; column < 5; ++column) {  // behind time and ECG
        EXPECT_NEAR(rows[2000].at(column), 10.0, 0.01);
        EXPECT_NEAR(rows[4000].at(column), 4.0, 0.01);
        EXPECT_NEAR(rows[5000].at(column), 5.0, 0.01);
    }
}

TEST_F(PlayModules, PlayThePeriodOfAFile)
{
    const std::string file =
        Write("steps.txt", "10\n4\n2\nDC,AC\n900,0\n900, 5\n1000,10\n900,2.5\n");
    const double heights[] = {0.0, 5.0, 10.0, 2.5};  // mV, 0.1 s each
    for (const char* ppg : {"ppg0", "ppg1", "ppg2"}) {
        const auto rows = Render(std::string("--") + ppg + "-file " + file);
        ASSERT_EQ(rows.size(), 10000U);
        for (std::size_t i = 0; i < rows.size(); i += 1000) {
            EXPECT_NEAR(rows[i + 500].at(2), heights[i / 1000 % 4], 0.01) << ppg << " " << i;
        }
    }
    const PlayedSignal played(Play("--for 1s --ppg1-file " + file), "--ppg 3407");
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    ASSERT_GE(played.samples.size(), 4000U);
    EXPECT_NEAR(played.samples[500].more[0], 900.0, 0.1);
    EXPECT_NEAR(played.samples[2500].more[0], 1000.0, 0.1);
    EXPECT_NEAR(played.samples[2500].more[1], 10.0, 0.01);
}

// Of 20 mV and 10 mV the smaller comes to 15 mV, where the range of the greater begins: all levels
// by 1.5. Alone each stays what it is.
TEST_F(PlayModules, BringTwoPulsesIntoOneRangeOfTheModule)
{
    const std::string first = "--ppg1 square --ppg1-dc 1000 --ppg1-ac 20 ";
    const std::string second = "--ppg2 square --ppg2-dc 800 --ppg2-ac 10 ";
    const PlayedSignal both(Play("--for 1s --ppg-above-dc on " + first + second), "--ppg 3407");
    EXPECT_EQ(both.outcome.status, 0) << both.outcome.errors;
    EXPECT_NEAR(SpreadOf(both, 0).highest, 1500.0, 0.1);
    EXPECT_NEAR(SpreadOf(both, 1).Range(), 30.0, 0.01);
    EXPECT_NEAR(SpreadOf(both, 2).highest, 1200.0, 0.1);
    EXPECT_NEAR(SpreadOf(both, 3).Range(), 15.0, 0.01);
    const PlayedSignal alone(Play("--for 1s --ppg-above-dc on " + first), "--ppg 3407");
    EXPECT_NEAR(SpreadOf(alone, 1).Range(), 20.0, 0.01);
    const PlayedSignal below(Play("--for 1s " + first), "--ppg 3407");
    EXPECT_NEAR(SpreadOf(alone, 0).highest - SpreadOf(below, 0).highest, 20.0, 0.1);
}

// One breath a second. The baseline moves by 50 % of the pulse of 10 mV either way, the amplitude
// the whole level of 1000 mV, the frequency neither.
TEST_F(PlayModules, BreatheInTheAskedWay)
{
    const auto played = [](const char* option) {
        return PlayedSignal(Play("--for 3s --ppg-above-dc on --ppg1 square --ppg1-frequency 1 "
                                 "--breathing-rate 60 --ppg-breathing-" +
                                 std::string(option) + " 50"),
                            "--ppg 3407");
    };
    const PlayedSignal baseline = played("baseline");
    EXPECT_EQ(baseline.outcome.status, 0) << baseline.outcome.errors;
    EXPECT_NEAR(SpreadOf(baseline, 0).Range(), 10.0, 2.0);
    EXPECT_NEAR(SpreadOf(played("amplitude"), 0).Range(), 1000.0, 2.0);
    const PlayedSignal frequency = played("frequency");
    EXPECT_NEAR(SpreadOf(frequency, 0).Range(), 0.0, 0.1);
    EXPECT_LT(RisesOf(frequency).size(), RisesOf(baseline).size());
}

TEST_F(PlayModules, HoldTheImpedanceOrPlayItFromAFile)
{
    const PlayedSignal held(Play("--for 1s --impedance-hold on --impedance 2000"), "--respiration");
    EXPECT_EQ(held.outcome.status, 0) << held.outcome.errors;
    ASSERT_GE(held.samples.size(), 5000U);
    EXPECT_NEAR(SpreadOf(held, 0).lowest, 52.0, 0.01);
    EXPECT_NEAR(SpreadOf(held, 0).highest, 52.0, 0.01);

    const std::string file = Write("ohms.txt", "5\n3\n1\nR\n1\n3.5\n2\n");
    const PlayedSignal steps(Play("--for 1s --impedance-file " + file), "--respiration");
    EXPECT_EQ(steps.outcome.status, 0) << steps.outcome.errors;
    ASSERT_GE(steps.samples.size(), 3000U);
    const double ohms[] = {51.0, 53.5, 52.0};  // 0.2 s each, 5000 samples a second
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(steps.samples[1000 * i + 500].more[0], ohms[i], 0.01) << i;
    }
}

// The third element has six steps an ohm.
TEST_F(PlayModules, SetTheResistanceOfTheModule)
{
    const auto thirdCode = [this](const char* ohms) {
        const std::string trace = folder_.File("trace");
        RunApart(VRAX_INSTRUMENT_PROGRAM " --respiration --trace " + trace + " -- " +
                 Play(std::string("--for 300ms --module-resistance ") + ohms));
        const std::string text = ReadWholeFile(trace);
        const std::string request = "respiration module write: CC FF 0D 00 ";
        const std::size_t at = text.find(request);
        if (at == text.npos) return -1;
        unsigned bytes[6] = {};
        std::istringstream words(text.substr(at + request.size(), 3 * 6));
        for (unsigned& byte : bytes) words >> std::hex >> byte;
        return static_cast<int>(bytes[4] << 8 | bytes[5]);
    };
    const int low = thirdCode("51");
    EXPECT_GT(low, 0);
    EXPECT_EQ(thirdCode("59") - low, 8 * 6);
}

TEST_F(PlayModules, WriteTheTransmissionRate)
{
    const auto settings = [this](const std::string& option) {
        const std::string trace = folder_.File("trace");
        RunApart(VRAX_INSTRUMENT_PROGRAM " --ppg 3407 --trace " + trace + " -- " +
                 Play("--for 200ms " + option));
        return SettingsOf(trace);
    };
    const auto initial = settings("");
    const auto first = settings("--transmission-rate 1");
    EXPECT_GT(first.size(), initial.size());
    EXPECT_NE(settings("--transmission-rate 2"), first);
}

// Once it is told the time, the library waits as long for the port, which has nothing to say.
TEST_F(PlayModules, WaitOnThePortAsLongAsAsked)
{
    const auto start = Clock::now();
    const PlayedSignal played(Play("--for 200ms --read-timeout 2500 --write-timeout 300"));
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(2500));
}

// The instrument has its own way from the code to the level.
TEST_F(PlayModules, PlayTheLevelOfACodeAsItIsRendered)
{
    const PlayedSignal played(VRAX_PROGRAM " play fixed-dc --dc-code 20000 --for 300ms");
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    ASSERT_FALSE(played.samples.empty());
    const std::string path = folder_.File("level.csv");
    const ProgramOutcome run = RunVrax("render fixed-dc --dc-code 20000 --for 300ms -o " + path);
    EXPECT_EQ(run.status, 0) << run.errors;
    const auto rows = ReadTable(path);
    ASSERT_EQ(rows.front().size(), 3U);  // time, ECG, DC
    EXPECT_LT(rows.front()[2], -100.0);
    for (const auto& row : rows) ASSERT_NEAR(row[2], played.samples.front().dcMv, 0.1);
}

TEST_F(PlayModules, RefuseAFileThatDoesNotFitBeforeTheyConnect)
{
    struct Case {
        const char* text;
        const char* told;
    };
    for (const Case& bad : {Case{"10\n2\n1\nAC\n1\n2\n", "line 3: the number of channels is 1"},
                            Case{"10\n2\n2\nDC,AC\n1,2\n", "line 6: is missing"},
                            Case{"10\n1\n2\nDC,AC\n1,x\n", "line 5: \"x\" is no number"},
                            Case{"10\n1\n2\nDC,AC\n1\n", "line 5: has 1 of 2 values"},
                            Case{"0\n1\n2\nDC,AC\n1,2\n", "line 1: the samples a second"}}) {
        const ProgramOutcome run = RunVrax("play ecg --ppg1-file " + Write("bad.txt", bad.text));
        EXPECT_EQ(run.status, 1);
        EXPECT_TRUE(Has(run.errors, bad.told)) << run.errors;
    }
    const std::string good = Write("good.txt", "10\n1\n2\nDC,AC\n1000,2\n");
    const ProgramOutcome run = RunVrax("play ecg --ppg1-ac 5 --ppg1-file " + good);
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(Has(run.errors, "ppg1-ac has no effect")) << run.errors;
    EXPECT_EQ(RunVrax("play ecg --impedance-file " + good).status, 1);
    EXPECT_EQ(RunVrax("play ecg --ppg1 sine --ppg1-notch 3").status, 2);
    EXPECT_EQ(RunVrax("play ecg --pulse-group-word 1").status, 2);
    EXPECT_EQ(RunVrax("play ecg --pulse-groups 1,2,3").status, 2);
    EXPECT_EQ(RunVrax("play ecg --pulse-groups 1,2,3,4,0,0,0,0").status, 2);
}
