// What every command of vrax does alike: options, failures, exit statuses, colours.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "programs/ProgramRun.h"
#include "vrax.h"

namespace {

constexpr char kEscape[] = "\x1b[";

// A copy of vrax that has no simulated instrument beside it.
std::string CopyProgram(const TempDir& folder)
{
    std::filesystem::copy(VRAX_PROGRAM, folder.File("vrax"));
    return folder.File("vrax");
}

}  // namespace

TEST(Vrax, TellsTheVersionOfTheLibrary)
{
    const ProgramOutcome outcome = RunVrax("--version");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, std::string("vrax ") + VRAXGetSDKVersion() + "\n");
}

TEST(Vrax, HelpNamesTheExitStatuses)
{
    const ProgramOutcome outcome = RunVrax("--help");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(
        Has(outcome.output, "0 done, 1 failed, 2 wrong usage, 3 no instrument, 130 interrupted"))
        << outcome.output;
}

TEST(Vrax, WrongUsageIsStatus2AndNamesTheHelp)
{
    for (const char* arguments : {"", "inform", "info --port 128", "info --port x",
                                  "info --ppg 3407", "info --simulated --ppg 3407 --respiration",
                                  "info surplus", "--color blue info", "info --timeout -1"}) {
        const ProgramOutcome outcome = RunVrax(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_EQ(outcome.output, "") << arguments;
        EXPECT_EQ(outcome.errors.rfind("vrax: ", 0), 0U) << outcome.errors;
        EXPECT_TRUE(Has(outcome.errors, "; see vrax")) << outcome.errors;
    }
    EXPECT_TRUE(Has(RunVrax("firmware burn").errors, "see vrax firmware burn --help"));
}

TEST(Vrax, WrongUsageInJsonModeIsAnObject)
{
    const ProgramOutcome outcome = RunVrax("inform --json");
    EXPECT_EQ(outcome.status, 2);
    const auto json = JsonOf(outcome);
    EXPECT_EQ(json.value("status", 0), 2);
    EXPECT_EQ(json.value("advice", ""), "see vrax --help");
}

TEST(Vrax, NoInstrumentIsStatus3WithAdvice)
{
    const ProgramOutcome outcome = RunVrax("info --timeout 0.3");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors,
              "vrax: no instrument was found within 0.3 s: there is no /dev/ttyACM*; "
              "plug one in and switch it on, or try --simulated\n");
}

TEST(Vrax, NoInstrumentInJsonModeIsAnObject)
{
    const ProgramOutcome outcome = RunVrax("--json --port 7 --timeout 0.3 info");
    EXPECT_EQ(outcome.status, 3);
    const auto json = JsonOf(outcome);
    EXPECT_EQ(json.value("status", 0), 3);
    EXPECT_TRUE(Has(json.value("failure", ""), "there is no /dev/ttyACM7"));
    EXPECT_TRUE(Has(json.value("advice", ""), "plug one in"));
}

TEST(Vrax, APortWithoutAnAnswerPointsToTheDoctor)
{
    const ProgramOutcome outcome =
        RunApart("ln -s null /dev/ttyACM3; " VRAX_PROGRAM " info --port 3 --timeout 1");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.errors,
              "vrax: no instrument on /dev/ttyACM3 answered within 1 s; vrax doctor tells why\n");
}

TEST(Vrax, OptionsMayStandBeforeAndBehindTheCommand)
{
    EXPECT_EQ(JsonOf(RunVrax("--simulated --json info")),
              JsonOf(RunVrax("info --json --simulated")));
}

TEST(Vrax, ASimulatedInstrumentHasTheFittingsAndThePort)
{
    const auto json = JsonOf(RunVrax("--simulated --ppg 3307 --port 5 info --json"));
    EXPECT_EQ(json.value("port", ""), "/dev/ttyACM5");
    EXPECT_EQ(json.value("simulated", false), true);
    EXPECT_EQ(json.at("module").value("model", ""), "TAP3307");
}

TEST(Vrax, TheSimulatedInstrumentIsFoundThroughPathToo)
{
    const TempDir folder;
    const std::string program = CopyProgram(folder);
    const ProgramOutcome outcome = RunApart("PATH=$(dirname " VRAX_INSTRUMENT_PROGRAM "):$PATH " +
                                            program + " info --simulated");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(Has(outcome.output, "TEC1020-250042")) << outcome.output;
}

TEST(Vrax, AMissingSimulatedInstrumentIsAFailureWithAdvice)
{
    const TempDir folder;
    const std::string program = CopyProgram(folder);
    const ProgramOutcome outcome =
        RunApart("PATH=/nowhere " + program + " info --simulated --json");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors,
              "vrax: vrax-instrument cannot be run: No such file or directory; "
              "install it beside vrax, or leave out --simulated\n");
    EXPECT_EQ(JsonOf(outcome).value("status", 0), 1);
}

TEST(Vrax, ColoursAreOnATerminalOnly)
{
    EXPECT_FALSE(Has(RunVrax("info --simulated").output, kEscape));
    EXPECT_TRUE(Has(RunVrax("info --simulated --color always").output, kEscape));
    EXPECT_TRUE(Has(RunVraxOnTerminal("doctor --simulated", "").output, kEscape));
    EXPECT_FALSE(Has(RunVraxOnTerminal("doctor --simulated --color never", "").output, kEscape));
}

TEST(Vrax, ATerminalIsToldThatItWaits)
{
    const CommandOutcome outcome = RunVraxOnTerminal("info --timeout 2", "");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_TRUE(Has(outcome.output, "waiting for an instrument")) << outcome.output;
}

TEST(Vrax, AFullDiskIsAFailure)
{
    for (const char* mode : {"", "--json "}) {
        const ProgramOutcome outcome =
            RunApart(std::string(VRAX_PROGRAM " info --simulated ") + mode + ">/dev/full");
        EXPECT_EQ(outcome.status, 1) << mode;
        EXPECT_TRUE(Has(outcome.errors, "vrax: ")) << outcome.errors;
    }
}

// Bit 14 of the caught signals is SIGTERM: from then on it is noted, and does not kill.
TEST(Vrax, AnInterruptedWaitIsStatus130)
{
    const ProgramOutcome outcome =
        RunApart(VRAX_PROGRAM
                 " info --timeout 600 & p=$!\n"
                 "until grep -q '^SigCgt:.*[4-7c-f]...$' /proc/$p/status; do sleep 0.02; done\n"
                 "kill -TERM $p; wait $p");
    EXPECT_EQ(outcome.status, 130);
    EXPECT_EQ(outcome.errors, "vrax: interrupted\n");
}

TEST(Vrax, LeavesNoCalibrationFileInTheWorkingDirectory)
{
    const TempDir folder;
    const ProgramOutcome outcome =
        RunApart("cd " + folder.Path() + " && " VRAX_PROGRAM " info --simulated");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}
