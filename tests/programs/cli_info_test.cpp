// vrax info against simulated instruments that are fitted differently.

#include <gtest/gtest.h>

#include "programs/ProgramRun.h"

namespace {

ProgramOutcome Info(const std::string& fittings, const std::string& options = "")
{
    return RunApart(VRAX_INSTRUMENT_PROGRAM " " + fittings + " -- " VRAX_PROGRAM " info " +
                    options);
}

}  // namespace

TEST(VraxInfo, TellsTheMainUnit)
{
    const auto json = JsonOf(Info("--serial TXY2a33-191234 --firmware 1.3.4.56", "--json"));
    EXPECT_EQ(json.value("model", ""), "TXY2a33");
    EXPECT_EQ(json.value("serial", ""), "TXY2a33-191234");
    EXPECT_EQ(json.value("firmware", ""), "1.3.04.56");
    EXPECT_EQ(json.value("simulated", true), false);
    EXPECT_EQ(json.value("usb_bus_voltage", 0), 250);
    EXPECT_EQ(json.value("calibration", ""), "straight line");
    EXPECT_EQ(json.value("library", ""), "1.2.5.5");
    ASSERT_TRUE(json.contains("module"));
    EXPECT_TRUE(json["module"].is_null());
}

TEST(VraxInfo, TellsAPpgModuleAndItsRanges)
{
    const auto json = JsonOf(Info("--ppg 3407", "--json"));
    const nlohmann::json expected = {{"kind", "PPG"},
                                     {"model", "TAP3407"},
                                     {"serial", "TAP3407-240007"},
                                     {"firmware", "3.0.02.05"},
                                     {"hardware", "1.2"},
                                     {"leds", {1, 2, 0}},
                                     {"photodiode_channels", 2},
                                     {"ac_mv", {0.75, 300.0}},
                                     {"dc_mv", {100.0, 3000.0}}};
    EXPECT_EQ(json.at("module"), expected);
}

TEST(VraxInfo, TellsTheRespirationModule)
{
    const auto module = JsonOf(Info("--respiration", "--json")).at("module");
    EXPECT_EQ(module.value("kind", ""), "external respiration");
    EXPECT_EQ(module.value("model", ""), "TER4501");
    EXPECT_FALSE(module.contains("ac_mv"));
}

TEST(VraxInfo, IsATableForPeople)
{
    const ProgramOutcome outcome = Info("--ppg 3407");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    for (const char* line : {"model         TEC1020\n", "serial        TEC1020-250042\n",
                             "port          /dev/ttyACM0\n", "firmware      2.1.00.07\n",
                             "module        PPG, TAP3407, serial TAP3407-240007\n",
                             "              AC 0.75 to 300 mV, DC 100 to 3000 mV\n",
                             "calibration   none: a straight line is used\n"}) {
        EXPECT_TRUE(Has(outcome.output, line)) << line << outcome.output;
    }
}
