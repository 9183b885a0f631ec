// vrax replay: what the instrument receives, and what is told of wrong logs.

#include <gtest/gtest.h>

#include <fstream>

#include "programs/PlayedSignal.h"

namespace {

class Replay : public testing::Test {
protected:
    std::string Write(const std::string& text) const
    {
        std::ofstream(folder_.File("calls.log")) << text;
        return folder_.File("calls.log");
    }

private:
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
