// vrax calibration: files, the instrument's own table, and the question before it is changed.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "programs/ProgramRun.h"

namespace {

constexpr std::size_t kCodes = 4001;
constexpr std::size_t kZeroMv = 2000;
using Codes = std::vector<std::uint16_t>;

// 17 codes a millivolt around 32000 in the middle, without 255 and 65535.
Codes MakeCodes()
{
    Codes codes(kCodes);
    for (std::size_t i = 0; i < kCodes; ++i) {
        const int code = 32000 + 17 * (static_cast<int>(i) - static_cast<int>(kZeroMv));
        codes[i] = static_cast<std::uint16_t>(code < 0 ? 0 : code > 65000 ? 65000 : code);
    }
    return codes;
}

std::string WriteCodes(const TempDir& folder, const Codes& codes)
{
    std::ofstream file(folder.File("table.dat"), std::ios::binary);
    for (const std::uint16_t code : codes) {
        file.put(static_cast<char>(code & 0xFF));
        file.put(static_cast<char>(code >> 8));
    }
    return folder.File("table.dat");
}

// Commands of vrax one after the other on one instrument.
ProgramOutcome RunBeside(const std::string& script)
{
    return RunApart(VRAX_INSTRUMENT_PROGRAM " -- sh -c 'vrax=" VRAX_PROGRAM "; " + script + "'");
}

}  // namespace

// 32.7675 codes a millivolt from -1000 mV on: 32767 in the middle.
TEST(VraxCalibration, ShowsTheStraightLineOfAnInstrumentWithoutATable)
{
    const auto json = JsonOf(RunVrax("--simulated calibration show --json"));
    EXPECT_EQ(json.value("source", ""), "straight line");
    ASSERT_EQ(json.at("codes").size(), kCodes);
    EXPECT_EQ(json["codes"][kZeroMv], 32767);
    EXPECT_EQ(json["codes"][0], 0);
    EXPECT_EQ(json["codes"][kCodes - 1], 65535);
}

TEST(VraxCalibration, ShowsAFileWithoutAnInstrument)
{
    const TempDir folder;
    const std::string file = WriteCodes(folder, MakeCodes());
    const auto json = JsonOf(RunVrax("calibration show --json " + file));
    EXPECT_EQ(json.value("source", ""), file);
    EXPECT_EQ(json.value("valid", false), true);
    EXPECT_EQ(json.at("codes"), nlohmann::json(MakeCodes()));
    const ProgramOutcome outcome = RunVrax("calibration show " + file);
    EXPECT_TRUE(Has(outcome.output, "      0   32000        17.000\n")) << outcome.output;
}

TEST(VraxCalibration, RefusesAFileOfAnotherLength)
{
    const TempDir folder;
    for (const std::size_t count : {kCodes - 1, kCodes + 1}) {
        const ProgramOutcome outcome =
            RunVrax("calibration show " + WriteCodes(folder, Codes(count)));
        EXPECT_EQ(outcome.status, 1) << count;
        EXPECT_TRUE(Has(outcome.errors, "it has not 8002 bytes")) << outcome.errors;
    }
    const ProgramOutcome missing = RunVrax("calibration show " + folder.File("none"));
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(Has(missing.errors, "cannot be opened")) << missing.errors;
}

TEST(VraxCalibration, WritesNoTableThatTheLibraryWouldNotUse)
{
    const TempDir folder;
    struct Case {
        std::size_t index;
        std::uint16_t code;
        const char* text;
    };
    for (const Case& bad : {Case{1500, 0xFFFF, "has no code for -500 mV"},
                            Case{2500, 0xFFFF, "has no code for 500 mV"}}) {
        Codes codes = MakeCodes();
        codes[bad.index] = bad.code;
        const ProgramOutcome outcome =
            RunVrax("calibration write --yes " + WriteCodes(folder, codes));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_TRUE(Has(outcome.errors, "nothing was written")) << outcome.errors;
        EXPECT_TRUE(Has(outcome.errors, bad.text)) << outcome.errors;
    }
}

// An instrument may well have it: only files of that kind are refused.
TEST(VraxCalibration, WritesATableWithTheCodeThatFilesMayNotHave)
{
    const TempDir folder;
    Codes codes = MakeCodes();
    codes[1000] = 255;
    const ProgramOutcome outcome = RunBeside(
        "$vrax calibration write --yes " + WriteCodes(folder, codes) +
        " && $vrax doctor --json >&2; $vrax calibration save " + folder.File("saved.dat"));
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(Has(outcome.errors, "has the code 255 for -1000 mV")) << outcome.errors;
    EXPECT_TRUE(Has(outcome.errors, "\"result\": \"warning\"")) << outcome.errors;
    EXPECT_FALSE(Has(outcome.errors, "\"result\": \"failure\"")) << outcome.errors;
    EXPECT_EQ(ReadWholeFile(folder.File("saved.dat")), ReadWholeFile(folder.File("table.dat")));
}

TEST(VraxCalibration, LeavesASavedTableUnlessItIsForced)
{
    const TempDir folder;
    const std::string file = WriteCodes(folder, MakeCodes());
    std::ofstream(folder.File("saved.dat")) << "mine";
    const std::string save = "$vrax calibration save " + folder.File("saved.dat");
    const ProgramOutcome outcome =
        RunBeside("$vrax calibration write --yes " + file + "; " + save + "; echo status $?; cat " +
                  folder.File("saved.dat") + "; echo; " + save + " --force");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(Has(outcome.output, "status 2\nmine\n")) << outcome.output;
    EXPECT_TRUE(Has(outcome.errors, "saved.dat is there already")) << outcome.errors;
    EXPECT_EQ(ReadWholeFile(folder.File("saved.dat")), ReadWholeFile(file));
}

TEST(VraxCalibration, RemovesNoFileOfACalibrationDirectory)
{
    const TempDir folder;
    const std::string file = WriteCodes(folder, MakeCodes());
    for (const std::string& command : {"write " + file, std::string("clear")}) {
        const ProgramOutcome outcome = RunVrax("--simulated calibration " + command +
                                               " --yes --calibration-dir " + folder.Path());
        EXPECT_EQ(outcome.status, 2) << command;
        EXPECT_TRUE(Has(outcome.errors, "leave out --calibration-dir")) << outcome.errors;
    }
}

TEST(VraxCalibration, WritesSavesAndClearsTheTableOfTheInstrument)
{
    const TempDir folder;
    const std::string file = WriteCodes(folder, MakeCodes());
    const std::string saved = folder.File("saved.dat");
    const ProgramOutcome outcome =
        RunBeside("set -e; $vrax calibration write --yes " + file + "; $vrax calibration save " +
                  saved + "; $vrax info; $vrax calibration clear --yes; $vrax info");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(ReadWholeFile(saved), ReadWholeFile(file));
    EXPECT_TRUE(Has(outcome.output, "to TEC1020-250042 and read it back\n")) << outcome.output;
    const std::size_t cleared = outcome.output.find("erased the calibration of TEC1020-250042");
    const std::size_t before = outcome.output.find("calibration   from the instrument");
    const std::size_t after = outcome.output.find("calibration   none");
    EXPECT_LT(before, cleared);
    EXPECT_LT(cleared, after);
    EXPECT_NE(after, std::string::npos) << outcome.output;
}

TEST(VraxCalibration, SavesNothingOfAnInstrumentWithoutATable)
{
    const TempDir folder;
    const ProgramOutcome outcome =
        RunVrax("--simulated calibration save --json " + folder.File("saved.dat"));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(Has(JsonOf(outcome).value("failure", ""), "is not calibrated"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(VraxCalibration, WithoutATerminalAndYesNothingIsWritten)
{
    const TempDir folder;
    const std::string file = WriteCodes(folder, MakeCodes());
    for (const std::string& command : {"write " + file, std::string("clear")}) {
        const ProgramOutcome outcome = RunVrax("--simulated calibration " + command);
        EXPECT_EQ(outcome.status, 2) << command;
        EXPECT_EQ(outcome.errors,
                  "vrax: nothing was written: there is no terminal to ask for confirmation on; "
                  "add --yes to go on without the question\n");
    }
}

TEST(VraxCalibration, AnAnswerOtherThanYesWritesNothing)
{
    const TempDir folder;
    const std::string file = WriteCodes(folder, MakeCodes());
    const CommandOutcome outcome =
        RunVraxOnTerminal("--simulated calibration write " + file, "n\\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(
        Has(outcome.output, "Replace the calibration of TEC1020-250042 by " + file + "? [y/N]"))
        << outcome.output;
    EXPECT_TRUE(Has(outcome.output, "nothing was written: the answer was not yes"))
        << outcome.output;
}

TEST(VraxCalibration, YesOnATerminalErases)
{
    const CommandOutcome outcome = RunVraxOnTerminal("--simulated calibration clear", "y\\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(Has(outcome.output, "erased the calibration of TEC1020-250042")) << outcome.output;
}

TEST(VraxCalibration, AFileInTheGivenDirectoryIsUsedInstead)
{
    const TempDir folder;
    const std::string file = WriteCodes(folder, MakeCodes());
    std::filesystem::rename(file, folder.File("calibration.dat"));
    const auto json =
        JsonOf(RunVrax("--simulated calibration show --json --calibration-dir " + folder.Path()));
    EXPECT_EQ(json.value("source", ""), "file");
    EXPECT_EQ(json.at("codes"), nlohmann::json(MakeCodes()));
}
