// vrax firmware: image files, and burns that end well, are cancelled or are cut off.

#include <gtest/gtest.h>

#include "programs/ProgramRun.h"
#include "support/Firmware.h"

namespace {

// The version of MakeImage() with the seed 4.
constexpr char kVersion[] = "1.2.03.04";

std::string Fpga(const TempDir& folder) { return WriteImageFile(folder, "fpga.bin", FpgaImage()); }
std::string Mcu(const TempDir& folder) { return WriteImageFile(folder, "mcu.bin", McuImage()); }

// A burn in the background; `then` runs once standard error has `word`, with its process as $p.
std::string BurnThen(const std::string& arguments, const TempDir& folder, const std::string& word,
                     const std::string& then)
{
    const std::string errors = folder.File("burn-errors");
    return ": >" + errors + "; " VRAX_PROGRAM " firmware burn --yes " + arguments + " 2>" + errors +
           " & p=$!; until grep -q " + word + " " + errors + "; do sleep 0.02; done; " + then +
           "; wait $p; status=$?; cat " + errors + " >&2; exit $status";
}

ProgramOutcome RunBeside(const std::string& fittings, const std::string& script)
{
    return RunApart(VRAX_INSTRUMENT_PROGRAM " " + fittings + " -- sh -c '" + script + "'");
}

}  // namespace

TEST(VraxFirmware, ShowsWhatAnImageIs)
{
    const TempDir folder;
    const auto fpga = JsonOf(RunVrax("firmware show --json " + Fpga(folder)));
    EXPECT_EQ(fpga.value("kind", ""), "FPGA");
    EXPECT_EQ(fpga.value("version", ""), kVersion);
    EXPECT_EQ(fpga.value("tag", ""), "VRAX");
    EXPECT_EQ(fpga.value("bytes", 0), 122880);
    const std::string mcu = Mcu(folder);
    const ProgramOutcome outcome = RunVrax("firmware show " + mcu);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "kind     MCU\nversion  1.2.03.04\ntag      2TF2\nbytes    118785\n");
}

TEST(VraxFirmware, SaysWhatIsNoImage)
{
    const TempDir folder;
    const std::string other =
        WriteImageFile(folder, "other.bin", MakeImage(kFpgaBytes, {'A', 'B', 'C', '\0'}, 4));
    const std::string cut = WriteImageFile(folder, "cut.bin", FpgaImage(4, kFpgaBytes - 1));
    for (const std::string& file : {other, cut}) {
        const ProgramOutcome outcome = RunVrax("firmware show --json " + file);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_TRUE(Has(JsonOf(outcome).value("failure", ""), "is no image"));
    }
    EXPECT_TRUE(Has(RunVrax("firmware show " + other).errors, "\"ABC\\x00\""));
    const ProgramOutcome missing = RunVrax("firmware show " + folder.File("none"));
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(Has(missing.errors, "cannot be read; check its name")) << missing.errors;
}

TEST(VraxFirmware, BurnsNothingIntoTheOtherProgram)
{
    const TempDir folder;
    for (const std::string& arguments : {"--mcu " + Fpga(folder), "--fpga " + Mcu(folder)}) {
        const ProgramOutcome outcome = RunVrax("--simulated firmware burn --yes " + arguments);
        EXPECT_EQ(outcome.status, 1) << arguments;
        EXPECT_TRUE(Has(outcome.errors, "is no image of the")) << outcome.errors;
    }
    EXPECT_EQ(RunVrax("firmware burn --yes " + Fpga(folder)).status, 2);
    EXPECT_EQ(RunVrax("firmware burn --yes --fpga --mcu " + Fpga(folder)).status, 2);
}

TEST(VraxFirmware, ATagThatFitsPartlyNeedsForce)
{
    const TempDir folder;
    const std::string file =
        WriteImageFile(folder, "partly.bin", MakeImage(kMcuBytes, {'2', 'A', 'B', 'C'}, 4));
    const ProgramOutcome refused = RunVrax("firmware burn --yes --mcu " + file);
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(Has(refused.errors, "is \"2ABC\", only partly 2TF2; add --force"))
        << refused.errors;
    // Taken with it: what is missing then is the instrument.
    EXPECT_EQ(RunVrax("firmware burn --yes --mcu --force --timeout 0.1 " + file).status, 3);
}

TEST(VraxFirmware, WithoutATerminalAndYesNothingIsWritten)
{
    const TempDir folder;
    const ProgramOutcome outcome = RunVrax("--simulated firmware burn --fpga " + Fpga(folder));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_TRUE(Has(outcome.errors, "nothing was written: there is no terminal")) << outcome.errors;
    EXPECT_TRUE(Has(outcome.errors, "add --yes")) << outcome.errors;
}

TEST(VraxFirmware, AnAnswerOtherThanYesBurnsNothing)
{
    const TempDir folder;
    const CommandOutcome outcome =
        RunVraxOnTerminal("--simulated firmware burn --fpga " + Fpga(folder), "no\\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(Has(outcome.output, "(version 1.2.03.04) into the FPGA of TEC1020-250042"))
        << outcome.output;
    EXPECT_FALSE(Has(outcome.output, "erasing")) << outcome.output;
}

TEST(VraxFirmware, BurnsTheFpgaAndNamesTheStages)
{
    const TempDir folder;
    const std::string control = folder.File("control");
    const ProgramOutcome outcome =
        RunBeside("--strict --control " + control, VRAX_PROGRAM " firmware burn --yes --fpga " +
                                                       Fpga(folder) + " && echo status >" +
                                                       control + " && sleep 0.5");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(Has(outcome.errors, "erasing\nwriting\nverifying\nrestarting\nsearching\n"))
        << outcome.errors;
    EXPECT_EQ(outcome.output,
              "burnt the FPGA of TEC1020-250042 with version 1.2.03.04 and verified it\n");
    EXPECT_TRUE(Has(outcome.errors, "VRAX 1.2.3.4")) << outcome.errors;
}

TEST(VraxFirmware, BurnsTheMcuInJsonModeWithoutAWordBeside)
{
    const TempDir folder;
    const ProgramOutcome outcome =
        RunVrax("--simulated --json firmware burn --yes --mcu " + Mcu(folder));
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    const auto json = JsonOf(outcome);
    EXPECT_EQ(json.value("kind", ""), "MCU");
    EXPECT_EQ(json.value("version", ""), kVersion);
    EXPECT_EQ(json.value("burnt", false), true);
}

TEST(VraxFirmware, ATerminalHasABarWithTheTimeLeft)
{
    const TempDir folder;
    const CommandOutcome outcome =
        RunVraxOnTerminal("--simulated firmware burn --fpga " + Fpga(folder), "y\\n");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_TRUE(Has(outcome.output, "verifying  [##############################] 100 %"))
        << outcome.output;
    EXPECT_TRUE(Has(outcome.output, " left")) << outcome.output;
}

TEST(VraxFirmware, ACancelledFpgaBurnSaysWhatIsLeft)
{
    const TempDir folder;
    const ProgramOutcome outcome =
        RunBeside("", BurnThen("--fpga " + Fpga(folder), folder, "writing", "kill -TERM $p"));
    EXPECT_EQ(outcome.status, 130);
    EXPECT_TRUE(Has(outcome.errors,
                    "cancelled: the instrument runs its old program until it is switched off"))
        << outcome.errors;
    EXPECT_TRUE(Has(outcome.errors, "; repeat the burn before it is switched off\n"))
        << outcome.errors;
    EXPECT_FALSE(Has(outcome.errors, "restarting")) << outcome.errors;
}

TEST(VraxFirmware, ACancelledMcuBurnSaysWhatIsLeft)
{
    const TempDir folder;
    const ProgramOutcome outcome =
        RunBeside("", BurnThen("--mcu " + Mcu(folder), folder, "writing", "kill -TERM $p"));
    EXPECT_EQ(outcome.status, 130);
    EXPECT_TRUE(Has(outcome.errors,
                    "cancelled: the MCU has no whole program and cannot run; keep "
                    "the instrument supplied and repeat the burn\n"))
        << outcome.errors;
}

TEST(VraxFirmware, AnUnpluggedInstrumentFailsTheBurnWithAdvice)
{
    const TempDir folder;
    const std::string control = folder.File("control");
    const ProgramOutcome outcome =
        RunBeside("--control " + control,
                  BurnThen("--fpga " + Fpga(folder), folder, "writing", "echo unplug >" + control));
    EXPECT_EQ(outcome.status, 1) << outcome.errors;
    EXPECT_TRUE(Has(outcome.errors, " while writing: the instrument runs its old program"))
        << outcome.errors;
}
