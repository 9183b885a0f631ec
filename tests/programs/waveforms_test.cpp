// vrax waveforms: what it lists is what the library has.

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

#include "support/Command.h"
#include "support/TempDir.h"
#include "vrax.h"

using Json = nlohmann::json;

namespace {

Json Listed()
{
    const CommandOutcome run = RunCommand(VRAX_PROGRAM " waveforms --json");
    EXPECT_EQ(run.status, 0) << run.output;
    return Json::parse(run.output)["families"];
}

const Json Family(const Json& families, const std::string& standard)
{
    for (const Json& family : families) {
        if (family["standard"] == standard) return family;
    }
    ADD_FAILURE() << standard << " is not listed";
    return {};
}

// Line 4 of a dump is the name of the waveform.
std::string DumpedName(int (*dump)(unsigned, const char*), unsigned number, const TempDir& dir)
{
    const std::string path = dir.File("dump.txt");
    EXPECT_EQ(dump(number, path.c_str()), 0);
    std::ifstream file(path);
    std::string line;
    for (int i = 0; i < 4; ++i) std::getline(file, line);
    return line;
}

}  // namespace

TEST(Waveforms, HaveTheNamesThatTheLibraryWrites)
{
    const TempDir dir;
    const Json families = Listed();
    const struct {
        const char* standard;
        int (*dump)(unsigned, const char*);
        std::size_t count;
    } dumped[] = {{"IEC 60601-2-27 / AAMI EC13", DumpIEC227Waveform, 10},
                  {"IEC 60601-2-51 / 60601-2-25", DumpIEC251Waveform, 16}};
    for (const auto& each : dumped) {
        const Json waveforms = Family(families, each.standard)["waveforms"];
        ASSERT_EQ(waveforms.size(), each.count);
        for (unsigned i = 0; i < each.count; ++i) {
            EXPECT_EQ(waveforms[i]["number"], i);
            EXPECT_EQ(waveforms[i]["name"], DumpedName(each.dump, i, dir));
        }
    }
}

TEST(Waveforms, TellRatesLengthsAndHeights)
{
    const Json families = Listed();
    const Json pattern = Family(families, "IEC 60601-2-47")["waveforms"][1];
    EXPECT_EQ(pattern["rate"], 1000.0);
    EXPECT_DOUBLE_EQ(pattern["seconds"], 3.996);
    const Json cal = Family(families, "IEC 60601-2-51 / 60601-2-25")["waveforms"][0];
    EXPECT_EQ(cal["name"], "CAL05000");
    EXPECT_EQ(cal["lowest_mv"], -0.5);
    EXPECT_EQ(cal["highest_mv"], 0.5);
    EXPECT_EQ(Family(families, "ANE20000")["waveforms"].size(), 9U);
    const Json noise = Family(families, "Noise stress")["waveforms"];
    ASSERT_EQ(noise.size(), 3U);
    for (const Json& record : noise) EXPECT_LT(record["lowest_mv"], record["highest_mv"]);
}

TEST(Waveforms, TellTheTablesOfThisBuild)
{
    const std::string identity = VRAX_TABLES_IDENTITY;  // "EC13 likeness, noise likeness, ..."
    const Json families = Listed();
    const struct {
        const char* standard;
        const char* table;
    } tables[] = {{"IEC 60601-2-27 / AAMI EC13", "EC13 "},
                  {"IEC 60601-2-51 / 60601-2-25", "CAL "},
                  {"ANE20000", "ANE20000 "},
                  {"Noise stress", "noise "}};
    for (const auto& each : tables) {
        const auto told = Family(families, each.standard)["table"].get<std::string>();
        EXPECT_NE(identity.find(each.table + told), std::string::npos) << told;
    }
    EXPECT_EQ(Family(families, "IEC 60601-2-47")["table"], "computed");
}

TEST(Waveforms, AreNamedWithTheirCommandsThatTheProgramTakes)
{
    const std::string help = RunCommand(VRAX_PROGRAM " play --help").output;
    const std::string functions = RunCommand(VRAX_PROGRAM " play --list-functions").output;
    for (const Json& family : Listed()) {
        const auto command = family["command"].get<std::string>();
        const auto option = command.find("--");
        ASSERT_EQ(command.find("vrax play "), 0U);
        const std::string function = command.substr(10, option - 10);
        EXPECT_NE(("\n" + functions).find("\n" + function), std::string::npos) << function;
        const std::string name = command.substr(option, command.rfind(' ') - option + 1);
        EXPECT_NE(help.find(name), std::string::npos) << name;
    }
}
