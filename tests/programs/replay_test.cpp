// vrax replay: what the instrument receives, and what is told of wrong logs.

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <vector>

#include "programs/PlayedSignal.h"

namespace {

class Replay : public testing::Test {
protected:
    std::string Write(const std::string& text) const
    {
        std::ofstream(folder_.File("calls.log")) << text;
        return folder_.File("calls.log");
    }

    // A shell line in the folder, beside an instrument that takes "unplug" from ctl.
    ProgramOutcome RunBeside(const std::string& line) const
    {
        return RunApart("cd " + folder_.Path() +
                        " && " VRAX_INSTRUMENT_PROGRAM " --control ctl -- sh -c '" + line + "'");
    }
    std::string Told(const std::string& name) const { return ReadWholeFile(folder_.File(name)); }

    TempDir folder_;
};

}  // namespace

TEST_F(Replay, PlaysWhatTheLogHas)
{
    const std::string log = Write(
        "VRAXReset();\nVRAXSetAmplitude(3.00);\nVRAXSetFrequency(2.00);\n\n"
        "VRAXSetOutputFunction(3);\nVRAXSetLeadOff(2);\n");
    const PlayedSignal played(VRAX_PROGRAM " replay --fast --for 1s " + log);
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    EXPECT_TRUE(Has(played.outcome.output, "6  VRAXSetLeadOff(2);  done")) << played.outcome.output;
    ASSERT_GE(played.samples.size(), 8000U);
    EXPECT_NEAR(played.samples[2000].acMv, 1.5, 0.001);   // 0.1 s of a period of 0.5 s
    EXPECT_NEAR(played.samples[7000].acMv, -1.5, 0.001);  // 0.35 s
}

TEST_F(Replay, TellsTheNumberOfAWrongLineBeforeItCallsAnything)
{
    const std::string log = Write("VRAXSetAmplitude(1.00);\n\nVRAXSetColour(2);\n");
    const ProgramOutcome run = RunVrax("replay " + log);
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(Has(run.errors, "line 3: \"VRAXSetColour\"")) << run.errors;
    EXPECT_EQ(run.output, "");
}

TEST_F(Replay, ListsTheCallsWithoutAnInstrument)
{
    const std::string log = Write("VRAXSetAmplitude(1.00);\nno call\nVRAXReset();\n");
    const ProgramOutcome run = RunVrax("replay --dry-run --skip " + log);
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output,
              "    1  VRAXSetAmplitude(1.00);\n    3  VRAXReset();\n2 calls, 1 lines left out\n");
}

TEST_F(Replay, FailsWhenACallIsRefused)
{
    const std::string log = Write("VRAXSetAmplitude(41.00);\nVRAXSetAmplitude(2.00);\n");
    const PlayedSignal all(VRAX_PROGRAM " replay --fast " + log);
    EXPECT_EQ(all.outcome.status, 1);
    EXPECT_TRUE(Has(all.outcome.output, "VRAXSetAmplitude(41.00);  refused (-2)"));
    EXPECT_TRUE(Has(all.outcome.output, "VRAXSetAmplitude(2.00);  done"));
    const PlayedSignal first(VRAX_PROGRAM " replay --fast --stop " + log);
    EXPECT_EQ(first.outcome.status, 1);
    EXPECT_TRUE(Has(first.outcome.output, "VRAXSetAmplitude(41.00);  refused (-2)"));
    EXPECT_FALSE(Has(first.outcome.output, "VRAXSetAmplitude(2.00)"));
}

TEST_F(Replay, EndsWithAnObjectInJson)
{
    const std::string log = Write("VRAXSetAmplitude(41.00);\nno call\nVRAXSetAmplitude(2.00);\n");
    const PlayedSignal played(VRAX_PROGRAM " --json replay --fast --skip " + log);
    EXPECT_EQ(played.outcome.status, 1);
    EXPECT_TRUE(Has(played.outcome.output,
                    "\n{\"ended\":\"done\",\"calls\":2,\"refused\":1,\"left_out\":1}\n"))
        << played.outcome.output;
    const PlayedSignal empty(VRAX_PROGRAM " --json replay " + Write(""));
    EXPECT_EQ(JsonOf(empty.outcome).value("calls", -1), 0) << empty.outcome.output;
}

TEST_F(Replay, RefusesARecordThatIsNoneBeforeItConnects)
{
    const std::string log = Write("VRAXReset();\n");
    EXPECT_EQ(RunVrax("replay --record ecg " + log).status, 2);
    EXPECT_EQ(RunVrax("replay --record no-such-file " + log).status, 2);
}

TEST_F(Replay, EndsWithCtrlCBetweenTwoCallsAndAfterTheLast)
{
    const std::string log = Write("VRAXSetAmplitude(1.00);\nVRAXSetOutputFunction(1);\n");
    const std::string stop =
        " >out 2>err & p=$!\nuntil grep -q \"$last\" out; do sleep 0.05; done\n"
        "kill -INT $p; wait $p; s=$?; ls /var/lock; exit $s";
    const ProgramOutcome between =
        RunBeside("last=Amplitude\n" VRAX_PROGRAM " replay --pause 1h " + log + stop);
    EXPECT_EQ(between.status, 130) << Told("err");
    EXPECT_EQ(between.output, "");  // no lock is left
    EXPECT_TRUE(Has(Told("err"), "interrupted after 1 of 2 calls")) << Told("err");
    EXPECT_FALSE(Has(Told("out"), "VRAXSetOutputFunction"));

    const ProgramOutcome after = RunBeside(
        "last=OutputFunction\n" VRAX_PROGRAM " --json replay --fast --for 1h " + log + stop);
    EXPECT_EQ(after.status, 130) << Told("err");
    EXPECT_EQ(after.output, "");
    EXPECT_TRUE(
        Has(Told("out"), "\n{\"ended\":\"stopped\",\"calls\":2,\"refused\":0,\"left_out\":0}\n"))
        << Told("out");
}

TEST_F(Replay, TellsEachCallInJson)
{
    const std::string log = Write("VRAXSetAmplitude(1.00);\n\nVRAXSetAmplitude(41.00);\n");
    const PlayedSignal played(VRAX_PROGRAM " --json replay --fast " + log);
    EXPECT_EQ(played.outcome.status, 1);
    std::istringstream lines(played.outcome.output);
    std::vector<nlohmann::json> told;
    for (std::string line; std::getline(lines, line);) told.push_back(nlohmann::json::parse(line));
    ASSERT_EQ(told.size(), 4U) << played.outcome.output;
    const nlohmann::json first = {{"line", 1},
                                  {"call", "VRAXSetAmplitude(1.00);"},
                                  {"code", 0},
                                  {"done", true}};
    const nlohmann::json second = {{"line", 3},
                                   {"call", "VRAXSetAmplitude(41.00);"},
                                   {"code", -2},
                                   {"done", false}};
    EXPECT_EQ(told[0], first);
    EXPECT_EQ(told[1], second);
    EXPECT_EQ(told[2]["refused"], 1);
    EXPECT_EQ(told[3]["status"], 1);
}

TEST_F(Replay, PlaysTheChannelOfTheRecordThatTheLoggedRunHad)
{
    std::ofstream(folder_.File("steps.txt")) << "100\n4\n2\nA,B\n0,1\n0,-1\n0,2\n0,0.5\n";
    const std::string log = Write("VRAXSetOutputFunction(13);\n");
    const PlayedSignal played(VRAX_PROGRAM " replay --fast --for 300ms --channel 1 --record " +
                              folder_.File("steps.txt") + " " + log);
    EXPECT_EQ(played.outcome.status, 0) << played.outcome.errors;
    ASSERT_GE(played.samples.size(), 4000U);
    const double expected[] = {1.0, -1.0, 2.0, 0.5};
    for (std::size_t i = 0; i < 4; ++i) {  // in the middle of each hundredth of a second
        EXPECT_NEAR(played.samples[200 * i + 100].acMv, expected[i], 0.001) << i;
    }
}

TEST_F(Replay, EndsWithStatus3WhereTheInstrumentIsLost)
{
    const std::string log = Write("VRAXSetAmplitude(1.00);\nVRAXSetAmplitude(2.00);\n");
    const ProgramOutcome run = RunBeside(VRAX_PROGRAM " replay --pause 3s " + log +
                                         " >out 2>err & p=$!\n"
                                         "until grep -q Amplitude out; do sleep 0.05; done\n"
                                         "echo unplug >ctl; wait $p");
    EXPECT_EQ(run.status, 3) << Told("err");
    EXPECT_TRUE(Has(Told("err"), "line 2: the instrument was lost")) << Told("err");
    EXPECT_FALSE(Has(Told("out"), "VRAXSetAmplitude(2.00)"));
}
