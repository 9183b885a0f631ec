// vrax doctor as a whole, beside a simulated instrument.

#include <gtest/gtest.h>

#include "programs/ProgramRun.h"

namespace {

// The finding of one check; null when it is not there.
nlohmann::json FindCheck(const nlohmann::json& report, const std::string& check)
{
    for (const auto& finding : report.at("checks")) {
        if (finding.at("check") == check) return finding;
    }
    return nullptr;
}

}  // namespace

TEST(VraxDoctor, FindsNothingButTheMissingCalibrationOnAFreshInstrument)
{
    const ProgramOutcome outcome = RunVrax("doctor --simulated --ppg 3407 --json");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    const auto report = JsonOf(outcome);
    EXPECT_EQ(report.value("result", ""), "warning");
    for (const auto& finding : report.at("checks")) {
        const bool isCalibration = finding.at("check") == "calibration";
        EXPECT_EQ(finding.at("result"), isCalibration ? "warning" : "ok") << finding;
        EXPECT_EQ(finding.at("advice") == "", !isCalibration) << finding;
    }
    EXPECT_EQ(FindCheck(report, "identity").value("text", ""), "TEC1020-250042 on /dev/ttyACM0");
    EXPECT_EQ(FindCheck(report, "module").value("text", ""),
              "PPG, TAP3407-240007, firmware 3.0.02.05");
}

TEST(VraxDoctor, WritesALineForEachCheckWithTheAdviceBelow)
{
    const ProgramOutcome outcome = RunVrax("doctor --simulated");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(Has(outcome.output, "\nok       ports        /dev/ttyACM0\n")) << outcome.output;
    EXPECT_TRUE(Has(outcome.output,
                    "\nwarning  calibration  the instrument is not calibrated: DC offsets follow a "
                    "straight line\n                      calibrate it"))
        << outcome.output;
}

TEST(VraxDoctor, WithoutAPortIsStatus3AndDoesNotWait)
{
    const ProgramOutcome outcome = RunVrax("doctor --json --timeout 600");
    EXPECT_EQ(outcome.status, 3);
    const auto report = JsonOf(outcome);
    EXPECT_EQ(report.value("result", ""), "failure");
    EXPECT_TRUE(Has(FindCheck(report, "ports").value("advice", ""), "plug the instrument in"));
    EXPECT_TRUE(FindCheck(report, "connection").is_null());
}

// The four bytes of a lock file are the process id of its holder: here of the shell.
TEST(VraxDoctor, NamesTheProcessThatHoldsThePort)
{
    const ProgramOutcome outcome = RunApart(
        VRAX_INSTRUMENT_PROGRAM
        " -- sh -c 'for s in 0 8 16 24; do printf "
        "\"\\\\$(printf %03o $(($$ >> s & 255)))\"; done "
        ">/var/lock/tessarin.ACM0.lock; echo $$ >&2; " VRAX_PROGRAM " doctor --json --timeout 1'");
    EXPECT_EQ(outcome.status, 3) << outcome.errors;
    const auto lock = FindCheck(JsonOf(outcome), "lock");
    ASSERT_FALSE(lock.is_null()) << outcome.output;
    const std::string shell = outcome.errors.substr(0, outcome.errors.find('\n'));
    EXPECT_EQ(lock.value("text", ""), "port 0 is in use by process " + shell + " (sh)");
    EXPECT_EQ(lock.value("result", ""), "failure");
    EXPECT_EQ(FindCheck(JsonOf(outcome), "connection").value("result", ""), "failure");
}

TEST(VraxDoctor, APortThatIsNotWantedMayBeInUse)
{
    const ProgramOutcome outcome = RunApart(
        VRAX_INSTRUMENT_PROGRAM
        " --port 1 -- sh -c 'printf \"\\1\\0\\0\\0\" >/var/lock/tessarin.ACM0.lock; " VRAX_PROGRAM
        " doctor --json --port 1'");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(FindCheck(JsonOf(outcome), "lock").value("result", ""), "warning") << outcome.output;
}

TEST(VraxDoctor, WarnsOfFirmwareThatKnowsNoModules)
{
    const ProgramOutcome outcome =
        RunApart(VRAX_INSTRUMENT_PROGRAM " --firmware 1.2.9.9 -- " VRAX_PROGRAM " doctor --json");
    EXPECT_EQ(outcome.status, 0);
    const auto firmware = FindCheck(JsonOf(outcome), "firmware");
    EXPECT_EQ(firmware.value("result", ""), "warning") << firmware;
    EXPECT_TRUE(Has(firmware.value("advice", ""), "1.3 or later"));
}
