// vrax play: what the instrument receives.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <numbers>
#include <sstream>

#include "programs/PlayedSignal.h"

namespace {

constexpr double kCodeMv = 1.0 / 1600.0;  // one step of the converter

std::string Play(const std::string& arguments) { return VRAX_PROGRAM " play " + arguments; }

}  // namespace

TEST(Play, SendsASineOfTheAskedHeightAndFrequency)
{
    const PlayedSignal played(Play("sine --amplitude 2 --frequency 5 --for 1s"));
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    ASSERT_GE(played.samples.size(), 20000U);
    for (std::size_t i = 0; i < 20000; ++i) {
        const double time = static_cast<double>(i) / 20000.0;
        ASSERT_NEAR(played.samples[i].acMv, std::sin(2.0 * std::numbers::pi * 5.0 * time),
                    1.5 * kCodeMv)
            << time;
    }
}

TEST(Play, TakesAParameterInBothForms)
{
    const PlayedSignal played(Play("square --set amplitude=3 --rate 120 --for 500ms"));
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    ASSERT_GE(played.samples.size(), 10000U);
    EXPECT_NEAR(played.samples[1000].acMv, 1.5, kCodeMv);   // 0.05 s of a period of 0.5 s
    EXPECT_NEAR(played.samples[6000].acMv, -1.5, kCodeMv);  // 0.3 s
}

TEST(Play, MarksAPulseOfTheAskedHeightInEachBeat)
{
    const PlayedSignal played(Play("ecg --rate 120 --pacing 10 --pacing-duration 1 --for 2s"));
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    ASSERT_GE(played.samples.size(), 40000U);
    int marks = 0;
    double highest = 0.0;
    for (std::size_t i = 0; i < 40000; ++i) {
        marks += played.samples[i].marker;
        highest = std::max(highest, played.samples[i].pulseMv);
    }
    EXPECT_EQ(marks, 4);  // two a second
    EXPECT_NEAR(highest, 10.0, 1.0);
}

TEST(Play, PlaysTheChannelOfAFile)
{
    const TempDir folder;
    std::ofstream(folder.File("steps.txt")) << "100\n4\n2\nA,B\n0,1\n0,-1\n0,2\n0,0.5\n";
    const PlayedSignal played(Play(folder.File("steps.txt") + " --channel 1 --for 200ms"));
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    ASSERT_GE(played.samples.size(), 4000U);
    const double expected[] = {1.0, -1.0, 2.0, 0.5};
    for (std::size_t i = 0; i < 4; ++i) {  // in the middle of each hundredth of a second
        EXPECT_NEAR(played.samples[200 * i + 100].acMv, expected[i], kCodeMv) << i;
    }
}

TEST(Play, SendsAPulseToTheModule)
{
    const PlayedSignal played(
        Play("ecg --timeout 60 --ppg1 sine --ppg1-dc 1000 --ppg1-ac 12 --for 1500ms"),
        "--ppg 3407");
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    ASSERT_GE(played.samples.size(), 15000U);  // 10000 a second
    double lowest = 1e9;
    double highest = -1e9;
    for (const ReceivedSample& sample : played.samples) {
        ASSERT_GE(sample.more.size(), 2U);
        lowest = std::min(lowest, sample.more[1]);
        highest = std::max(highest, sample.more[1]);
    }
    EXPECT_NEAR(highest - lowest, 12.0, 0.1);
}

TEST(Play, StopsTheOutputAndEndsTheConnectionWhenItIsTerminated)
{
    for (const char* name : {"INT", "TERM"}) {
        const PlayedSignal played(std::string("sh -c 'timeout --preserve-status -s ") + name +
                                  " 4 " VRAX_PROGRAM " play sine; s=$?; ls /var/lock; exit $s'");
        EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
        EXPECT_TRUE(Has(played.outcome.output, "stopped after")) << played.outcome.output;
        EXPECT_TRUE(played.outcome.output.ends_with("output off\n")) << played.outcome.output;
        EXPECT_FALSE(played.samples.empty());
    }
}

TEST(Play, EndsWithAFileThatIsPlayedOnce)
{
    const TempDir folder;
    std::ofstream(folder.File("once.txt")) << "100\n20\n1\nA\n"
                                           << [] {
                                                  std::string lines;
                                                  for (int i = 0; i < 20; ++i) lines += "1\n";
                                                  return lines;
                                              }();
    const PlayedSignal played(Play(folder.File("once.txt") + " --loop off"));
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    EXPECT_TRUE(Has(played.outcome.output, "the signal has ended")) << played.outcome.output;
}

TEST(Play, TellsAnObjectASecondInJson)
{
    const PlayedSignal played(VRAX_PROGRAM " --json play ecg --rate 90 --for 2s");
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    std::istringstream lines(played.outcome.output);
    std::vector<nlohmann::json> told;
    for (std::string line; std::getline(lines, line);) told.push_back(nlohmann::json::parse(line));
    ASSERT_GE(told.size(), 3U);
    EXPECT_EQ(told[0]["signal"], "ecg");
    EXPECT_EQ(told[0]["frequency_hz"], 1.5);
    const nlohmann::json rate = {{"value", 90.0}, {"unit", "1/min"}};
    EXPECT_EQ(told[0]["parameters"]["rate"], rate);
    EXPECT_GE(told[1]["elapsed_s"].get<double>(), told[0]["elapsed_s"].get<double>() + 0.9);
    EXPECT_EQ(told.back()["ended"], "done");
}

TEST(Play, RefusesATimeThatIsNoneAndAboveAll)
{
    for (const char* time : {"0", "0s", "-3s", "nan", "inf", "10000h"}) {
        const ProgramOutcome run = RunVrax(std::string("play sine --for ") + time);
        EXPECT_EQ(run.status, 2) << time;
        EXPECT_TRUE(Has(run.errors, "--for: ")) << run.errors;
    }
    EXPECT_EQ(RunVrax("info --timeout nan").status, 2);
}

TEST(Play, RefusesALeadThatIsNotThereAndALevelWithoutACode)
{
    EXPECT_TRUE(Has(RunVrax("play ane20000 --channel 9").errors, "--channel takes 0 to 8"));
    EXPECT_EQ(RunVrax("play ane20000 --channel 1 --ane-lead 2").status, 2);
    EXPECT_TRUE(Has(RunVrax("play fixed-dc").errors, "give --dc-code"));
}

TEST(Play, SaysWhichModuleIsMissing)
{
    struct Case {
        const char* arguments;
        const char* module;
    };
    for (const Case& refused :
         {Case{"--ambient-light 3", "a PPG module"},
          Case{"--impedance-baseline 3000", "the external respiration module"}}) {
        const ProgramOutcome run =
            RunVrax(std::string("--simulated play ecg --for 1s ") + refused.arguments);
        EXPECT_EQ(run.status, 1);
        EXPECT_TRUE(Has(run.errors, std::string("it needs ") + refused.module)) << run.errors;
        EXPECT_FALSE(Has(run.errors, "takes")) << run.errors;
    }
    EXPECT_EQ(RunVrax("play ecg --impedance-baseline 700").status, 2);
}

TEST(Play, SetsTheElectrodesAgainWhenTheInstrumentComesBackAndTellsIt)
{
    const TempDir folder;
    const ProgramOutcome run = RunApart(
        "cd " + folder.Path() +
        " && " VRAX_INSTRUMENT_PROGRAM " --control ctl --trace trace -- sh -c '" VRAX_PROGRAM
        " play ecg --lead-off 2 --for 4s --timeout 60 >out 2>err & p=$!\n"
        "until grep -q plays out; do sleep 0.05; done; echo unplug >ctl\n"
        "until grep -q lost err; do sleep 0.05; done; echo plug >ctl; wait $p'");
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_TRUE(Has(ReadWholeFile(folder.File("out")), "the instrument was away once"));
    EXPECT_TRUE(Has(ReadWholeFile(folder.File("err")), "the instrument is back after"));
    const std::string trace = ReadWholeFile(folder.File("trace"));
    const std::size_t first = trace.find("> lead-off relays: ");
    EXPECT_NE(first, std::string::npos);
    EXPECT_NE(trace.find("> lead-off relays: ", first + 1), std::string::npos);
}

TEST(Play, EndsWithStatus3WhenTheInstrumentStaysAway)
{
    const TempDir folder;
    const ProgramOutcome run =
        RunApart("cd " + folder.Path() +
                 " && " VRAX_INSTRUMENT_PROGRAM " --control ctl -- sh -c '" VRAX_PROGRAM
                 " play ecg --for 4s --timeout 3 >out & p=$!\n"
                 "until grep -q plays out; do sleep 0.05; done; echo unplug >ctl; wait $p'");
    EXPECT_EQ(run.status, 3) << run.errors;
    EXPECT_TRUE(Has(run.errors, "plug it in again")) << run.errors;
}

TEST(Play, TellsTheRangeOfAValueThatItRefuses)
{
    for (const char* arguments : {"--amplitude 40.5", "--amplitude nan", "--set amplitude=x"}) {
        const ProgramOutcome run = RunVrax(std::string("play ecg ") + arguments);
        EXPECT_EQ(run.status, 2);
        EXPECT_TRUE(Has(run.errors, "amplitude takes -40 to 40 mV")) << run.errors;
    }
    EXPECT_TRUE(Has(RunVrax("play ecg --noise 55").errors, "none, 50, 60, 100"));
    EXPECT_TRUE(Has(RunVrax("play ecg --set colour=1").errors, "no parameter \"colour\""));
    EXPECT_EQ(RunVrax("play no-such-signal").status, 2);
}

TEST(Play, TellsParametersToMachinesByTheirKind)
{
    const PlayedSignal played(VRAX_PROGRAM
                              " --json play ecg --for 200ms --leads 0,3 --dc-common on --noise 50 "
                              "--impedance-baseline 1000 --overshoot-time 20");
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    const std::string first = played.outcome.output.substr(0, played.outcome.output.find('\n'));
    const nlohmann::json expected = {{"leads", {{"value", {0, 3}}}},
                                     {"dc_common", {{"value", true}}},
                                     {"noise", {{"value", "50"}}},
                                     {"impedance_baseline", {{"value", 1000}, {"unit", "Ohm"}}},
                                     {"overshoot_time", {{"value", 20}, {"unit", "ms"}}}};
    EXPECT_EQ(nlohmann::json::parse(first)["parameters"], expected);
}

// The simulated instrument measures 512 and 256 of 1023 steps of 3.3 V.
TEST(Play, TellsTheRightLegDriveWhileItIsMeasured)
{
    const PlayedSignal played(VRAX_PROGRAM " --json play ecg --rld on --for 200ms");
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    const std::string first = played.outcome.output.substr(0, played.outcome.output.find('\n'));
    const auto volts = nlohmann::json::parse(first)["rld_v"];
    ASSERT_EQ(volts.size(), 2U) << first;
    EXPECT_NEAR(volts[0].get<double>(), 512.0 * 3.3 / 1023.0, 1e-6);
    EXPECT_NEAR(volts[1].get<double>(), 256.0 * 3.3 / 1023.0, 1e-6);
    const PlayedSignal without(VRAX_PROGRAM " --json play ecg --for 200ms");
    EXPECT_FALSE(Has(without.outcome.output, "rld_v"));
    const CommandOutcome terminal =
        RunVraxOnTerminal("--simulated play ecg --rld on --for 500ms", "");
    EXPECT_TRUE(Has(terminal.output, "right-leg drive 1.65 V, 0.83 V")) << terminal.output;
}

TEST(Play, StartsWithALineWhereItIsToldToWait)
{
    const TempDir folder;
    const ProgramOutcome run = RunApart(
        "cd " + folder.Path() +
        " && mkfifo lines && " VRAX_INSTRUMENT_PROGRAM " --trace trace -- sh -c '" VRAX_PROGRAM
        " play ecg --wait-for-line --for 300ms <lines >out & p=$!\n"
        "exec 3>lines; until grep -q ready out; do sleep 0.05; done\n"
        "echo waiting; grep -c stream trace; echo >&3; wait $p'");
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "waiting\n0\n");
    const std::string told = ReadWholeFile(folder.File("out"));
    EXPECT_LT(told.find("ready"), told.find("plays ecg"));
    EXPECT_TRUE(Has(told, "done after 0.")) << told;
    EXPECT_TRUE(Has(ReadWholeFile(folder.File("trace")), "stream packet"));
}

TEST(Play, EndsWhileItWaitsForALineThatDoesNotCome)
{
    const ProgramOutcome end = RunVrax("--simulated play ecg --wait-for-line");
    EXPECT_EQ(end.status, 2);
    EXPECT_TRUE(Has(end.errors, "standard input ended")) << end.errors;
    const TempDir folder;
    const ProgramOutcome stopped =
        RunApart("cd " + folder.Path() +
                 " && mkfifo lines && " VRAX_INSTRUMENT_PROGRAM " -- sh -c '" VRAX_PROGRAM
                 " play ecg --wait-for-line <lines >out & p=$!\n"
                 "exec 3>lines; until grep -q ready out; do sleep 0.05; done\n"
                 "kill -INT $p; wait $p'");
    EXPECT_EQ(stopped.status, 130) << stopped.errors;
}

TEST(Play, WritesALogThatReplayTakes)
{
    const TempDir folder;
    const std::string log = folder.File("calls.log");
    const PlayedSignal played(Play("square --amplitude 3 --rate 120 --for 300ms --log " + log));
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    EXPECT_EQ(ReadWholeFile(log),
              "VRAXSetAmplitude(3.00);\nVRAXSetFrequency(2.00);\nVRAXSetOutputFunction(3);\n\n");
    const PlayedSignal again(VRAX_PROGRAM " replay --fast --for 300ms " + log);
    EXPECT_EQ(again.outcome.status, 0) << again.outcome.errors;
    ASSERT_GE(again.samples.size(), 4000U);
    EXPECT_NEAR(again.samples[1000].acMv, 1.5, kCodeMv);
    EXPECT_EQ(RunVrax("play ecg --log " + folder.File("none/calls.log")).status, 1);
}

// 20 mV either side of zero hold a signal of 36 mV and a sine of 4 mV.
TEST(Play, SaysWhereARangeTestCutsTheAmplitude)
{
    const PlayedSignal cut(
        Play("range-square --amplitude 40 --range-amplitude 4 --range-frequency 1 --for 500ms"));
    EXPECT_EQ(cut.outcome.status, 0) << cut.outcome.errors;
    EXPECT_TRUE(Has(cut.outcome.errors, "an amplitude of 36 mV instead of 40 mV"))
        << cut.outcome.errors;
    EXPECT_TRUE(Has(cut.outcome.output, "amplitude 36 mV")) << cut.outcome.output;
    ASSERT_GE(cut.samples.size(), 6000U);
    EXPECT_NEAR(cut.samples[5000].acMv, 18.0 + 2.0, 0.01);  // 0.25 s: the top of the sine
    const PlayedSignal held(Play("range-triangle --amplitude 12 --for 300ms"));
    EXPECT_TRUE(Has(held.outcome.errors, "reaches 6.5 mV and is cut off at 5 mV"))
        << held.outcome.errors;
    const PlayedSignal whole(Play("range-square --amplitude 36 --range-amplitude 4 --for 100ms"));
    EXPECT_EQ(whole.outcome.errors, "");
}

TEST(Play, RefusesTheNumberOfAnotherStandardsWaveform)
{
    const ProgramOutcome run = RunVrax("play iec227 --wave251 3");
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(Has(run.errors, "--wave251 is for iec251")) << run.errors;
}
