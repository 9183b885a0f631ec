// vrax check on the library's own formats, on AHA recordings and on images.

#include "CheckRun.h"

namespace {

constexpr char kText[] = "360\n3\n2\nI,II\n0.5,-1.25\n1,25\n-0.3,-19.5\n";

// Two bytes of the rate, four of the count, high byte first, then microvolts.
std::string Binary(unsigned rate, unsigned count, const std::string& words)
{
    std::string bytes;
    for (const int shift : {8, 0}) bytes += static_cast<char>(rate >> shift & 0xFF);
    for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(count >> shift & 0xFF);
    return bytes + words;
}

std::string Image(std::size_t size, const std::string& letters)
{
    std::string bytes(size, '\xA5');
    return bytes.replace(118772, 8, letters + std::string("\1\2\3\4", 4));
}

}  // namespace

TEST_F(CheckTest, TellsTheFieldsOfATextRecordWithTheirPlaces)
{
    const Json told = Run(Write("a.txt", kText));
    EXPECT_EQ(told["kind"], "text");
    EXPECT_EQ(told["fields"][0],
              Json({{"field", "line 1: rate, samples/s"}, {"offset", 0}, {"value", "360"}}));
    EXPECT_EQ(Field(told, "line 2: number of samples")["offset"], 4);
    EXPECT_EQ(Field(told, "line 3: number of channels")["offset"], 6);
    EXPECT_EQ(Field(told, "line 4: names of the channels")["offset"], 8);
    EXPECT_EQ(Field(told, "samples")["offset"], 13);
}

TEST_F(CheckTest, TellsLengthExtremesAndWhatIsHeldAtTwentyMillivolts)
{
    const Json told = Run(Write("a.txt", kText));
    ASSERT_EQ(told["loads"].size(), 2U);
    const Json& first = told["loads"][0];
    EXPECT_EQ(first["name"], "I");
    EXPECT_EQ(first["code"], 3);
    EXPECT_EQ(first["samples"], 3);
    EXPECT_DOUBLE_EQ(first["seconds"], 3.0 / 360.0);
    EXPECT_EQ(first["lowest_mv"], -0.3);
    EXPECT_EQ(first["highest_mv"], 1.0);
    EXPECT_EQ(first["samples_at_limit"], 0);
    const Json& second = told["loads"][1];
    EXPECT_EQ(second["lowest_mv"], -19.5);
    EXPECT_EQ(second["highest_mv"], 20.0);
    EXPECT_EQ(second["samples_at_limit"], 1);
    EXPECT_EQ(second["first_at_limit"], 1);
}

TEST_F(CheckTest, LoadsOneChannelAloneWhenAskedTo)
{
    const std::string path = Write("a.txt", kText);
    const Json told = Run(path + " --channel 1");
    ASSERT_EQ(told["loads"].size(), 1U);
    EXPECT_EQ(told["loads"][0]["channel"], 1);
    const Json missing = Run(path + " --channel 2");
    EXPECT_EQ(missing["loads"][0]["code"], -7);
    EXPECT_FALSE(missing["taken"]);
}

TEST_F(CheckTest, TellsWhyATextRecordIsRefused)
{
    const struct {
        const char* text;
        int code;
        const char* field;
        long offset;
    } defects[] = {
        {"x\n3\n1\nI\n1\n", -2, "line 1: rate, samples/s", 0},
        {"99\n3\n1\nI\n1\n", -2, "line 1: rate, samples/s", 0},
        {"40001\n3\n1\nI\n1\n", -2, "line 1: rate, samples/s", 0},
        {"360\n0\n1\nI\n1\n", -3, "line 2: number of samples", 4},
        {"360\n-3\n1\nI\n1\n", -6, "line 2: number of samples", 4},
        {"360\n3\n0\nI\n1\n", -4, "line 3: number of channels", 6},
        {"360\n3\n-1\nI\n1\n", -7, "line 3: number of channels", 6},
        {"360\n9000000\n1\nI\n1\n", -6, "samples", 16},
        {"360\n2\n2\nI,II\n1,2\n3\n", -7, "line 6", 17},
    };
    for (const auto& defect : defects) {
        ExpectRefused(Write("bad.txt", defect.text) + " --as text", defect.code, defect.field,
                      defect.offset);
    }
}

TEST_F(CheckTest, TellsEachLineThatATextHeaderLacks)
{
    const struct {
        const char* text;
        int code;
        const char* field;
    } headers[] = {{"", -2, "line 1: rate, samples/s"},
                   {"360\n", -3, "line 2: number of samples"},
                   {"360\n3\n", -4, "line 3: number of channels"},
                   {"360\n3\n1\n", -5, "line 4: names of the channels"}};
    for (const auto& header : headers) {
        const Json told = Run(Write("short.txt", header.text));
        EXPECT_EQ(told["loads"][0]["code"], header.code);
        EXPECT_TRUE(Field(told, header.field).contains("rule")) << told.dump(1);
    }
}

TEST_F(CheckTest, TakesFewerSamplesThanAnnouncedAndSaysSo)
{
    const Json told = Run(Write("few.txt", "360\n1000\n1\nI\n1\n2\n"));
    EXPECT_TRUE(told["taken"]);
    EXPECT_EQ(told["loads"][0]["code"], 2);
    EXPECT_EQ(Field(told, "samples")["note"], "the header announces 1000");
}

TEST_F(CheckTest, DoesNotTakeAHeaderWithoutSamples)
{
    const Json told = Run(Write("none.txt", "360\n3\n1\nI\n"));
    EXPECT_EQ(told["loads"][0]["code"], 0);
    EXPECT_FALSE(told["taken"]);
}

TEST_F(CheckTest, TellsTheFieldsOfABinaryRecord)
{
    // 20001 uV is held at 20 mV, 0x4E21.
    const Json told = Run(Write("a.bin", Binary(500, 2, std::string("\x00\x00\x4E\x21", 4))));
    EXPECT_EQ(told["kind"], "binary");
    EXPECT_EQ(Field(told, "rate, samples/s")["value"], "500");
    EXPECT_EQ(Field(told, "number of samples")["offset"], 2);
    EXPECT_EQ(told["loads"][0]["highest_mv"], 20.0);
    EXPECT_EQ(told["loads"][0]["samples_at_limit"], 1);
}

TEST_F(CheckTest, TellsWhyABinaryRecordIsRefused)
{
    const std::string words("\0\1\0\2", 4);
    const auto refuse = [&](const std::string& bytes, int code, const char* field, long offset) {
        ExpectRefused(Write("bad.bin", bytes) + " --as binary", code, field, offset);
    };
    refuse(Binary(29, 2, words), -2, "rate, samples/s", 0);
    refuse(Binary(5001, 2, words), -2, "rate, samples/s", 0);
    refuse(Binary(500, 0, words), -3, "number of samples", 2);
    refuse(Binary(500, 20000001, words), -3, "number of samples", 2);
    refuse(Binary(500, 2, "").substr(0, 4), -3, "number of samples", 2);
}

TEST_F(CheckTest, TellsAnAhaTextFromATextRecordByItsFields)
{
    const Json told = Run(Write("aha.txt", "400 -800\n12,7\n5\n"));
    EXPECT_EQ(told["kind"], "aha-text");
    EXPECT_EQ(told["loads"][0]["code"], 2);
    EXPECT_EQ(told["loads"][0]["highest_mv"], 1.0);
    EXPECT_EQ(told["loads"][1]["lowest_mv"], -2.0);
    EXPECT_EQ(Field(told, "left out")["note"], "has one field: left out");
    EXPECT_EQ(Field(told, "left out")["offset"], 14);
}

TEST_F(CheckTest, TellsWhatTheOutputCannotReachOfWhatIsTakenAsItIs)
{
    // 8192 units are 20.48 mV, the end of the output; 8193 are above it.
    const Json told = Run(Write("aha.txt", "8192 0\n8193 0\n"));
    EXPECT_EQ(told["loads"][0]["limit_mv"], 20.48);
    EXPECT_EQ(told["loads"][0]["samples_at_limit"], 1);
    EXPECT_EQ(told["loads"][0]["first_at_limit"], 1);
}

TEST_F(CheckTest, TellsWhyAnAhaRecordingIsRefused)
{
    ExpectRefused(Write("A.ECG", std::string(10, '\0')), -1, "name of the file", 0);
    ExpectRefused(Write("a.ecg", "1234"), -4, "samples", 0);
    ExpectRefused(Write("half.txt", "1 x\n2 y\n") + " --as aha", -4, "samples of channel 1", 0);
}

TEST_F(CheckTest, TellsVersionAndDefectsOfImages)
{
    const Json fpga = Run(Write("fpga.bin", Image(122880, "VRAX")));
    EXPECT_EQ(fpga["kind"], "fpga");
    EXPECT_EQ(fpga["loads"][0]["code"], 122880);
    EXPECT_EQ(Field(fpga, "version")["value"], "1.2.3.4");
    EXPECT_EQ(Field(fpga, "letters")["offset"], 118772);
    EXPECT_EQ(Run(Write("mcu.bin", Image(120000, "2TF2")))["loads"][0]["code"], 120000);
    ExpectRefused(Write("cut.bin", Image(122879, "VRAX")), -6, "size of the file", 0);
    ExpectRefused(Write("x.bin", Image(122880, "VRAY")) + " --as fpga", -6, "letters", 118772);
    ExpectRefused(Write("y.bin", Image(122880, "VRAX")) + " --as mcu", -6, "letters", 118772);
}

TEST_F(CheckTest, ShowsTheBrokenRuleToPeopleToo)
{
    const CommandOutcome run =
        RunCommand(VRAX_PROGRAM " check " + Write("bad.txt", "99\n1\n1\nI\n0\n"));
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("refused: must lie within 100 to 40000"), std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find("returned -2: the rate is missing, 0 or outside 100 to 40000"),
              std::string::npos)
        << run.output;
}

TEST_F(CheckTest, FailsWithASentenceOnAFileThatIsNotThere)
{
    const CommandOutcome run = RunCommand(VRAX_PROGRAM " check " + dir_.File("no.edf"));
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "vrax: " + dir_.File("no.edf") +
                              " cannot be read: No such file or directory; check the "
                              "name and its permissions\n");
}
