// vrax check on EDF and WFDB recordings.

#include "CheckRun.h"
#include "support/WfdbWriter.h"

namespace {

// Two seconds at 100 samples/s, all of them 1000 steps of 0.1 uV.
EdfWriter GoodEdf()
{
    EdfWriter edf;
    edf.headerBytes = "512";
    edf.signals[0].samplesPerRecord = "100";
    for (int i = 0; i < 200; ++i) edf.AddSample(1000);
    return edf;
}

// A field of the only signal stands at its offset behind the fixed header.
constexpr long kSignalFields = 256;

}  // namespace

class CheckWfdb : public CheckTest {
protected:
    // The path of the header; the signal file is beside it.
    std::string WriteRecord(const std::string& header, const std::string& data) const
    {
        Write("rec.dat", data);
        return Write("rec.hea", header);
    }
    static std::string Data(int samples)
    {
        return PackFormat212(std::vector<int>(static_cast<std::size_t>(samples), 200));
    }
};

TEST_F(CheckTest, TellsTheFieldsOfAnEdfFile)
{
    const Json told = Run(Write("a.edf", GoodEdf().Bytes()));
    EXPECT_EQ(told["kind"], "edf");
    EXPECT_TRUE(told["taken"]);
    EXPECT_EQ(Field(told, "recording")["offset"], 88);
    EXPECT_EQ(Field(told, "number of data records")["value"], "2");
    EXPECT_EQ(Field(told, "signal 0: samples in a data record")["offset"], kSignalFields + 216);
    EXPECT_EQ(Field(told, "signal 0: samples in a data record")["note"], "100 samples/s");
    EXPECT_EQ(Field(told, "data")["offset"], 512);
    EXPECT_EQ(told["loads"][0]["code"], 200);
    EXPECT_EQ(told["loads"][0]["seconds"], 2.0);
    EXPECT_NEAR(told["loads"][0]["highest_mv"], 0.1, 1e-6);
}

TEST_F(CheckTest, TellsTheFieldOfTheEdfHeaderThatIsNotAccepted)
{
    const struct {
        std::string EdfWriter::*field;
        const char* text;
        int code;
        const char* name;
        long offset;
    } defects[] = {
        {&EdfWriter::patient, "Harry", -2, "patient", 8},
        {&EdfWriter::recording, "Study of 2002 in ward seven", -2, "recording", 88},
        {&EdfWriter::recording, "Startdate 02-MAR-2002 X X", -2, "recording", 88},
        {&EdfWriter::headerBytes, "", -2, "bytes of the header", 184},
        {&EdfWriter::records, "0", -2, "number of data records", 236},
        {&EdfWriter::records, "-1", -3, "number of data records", 236},
        {&EdfWriter::duration, "0.5", -2, "seconds of a data record", 244},
        {&EdfWriter::signalCount, "0", -2, "number of signals", 252},
        {&EdfWriter::signalCount, "257", -2, "number of signals", 252},
    };
    for (const auto& defect : defects) {
        EdfWriter edf = GoodEdf();
        edf.*defect.field = defect.text;
        ExpectRefused(Write("bad.edf", edf.Bytes()), defect.code, defect.name, defect.offset);
    }
}

TEST_F(CheckTest, TellsTheFieldOfAnEdfSignalThatIsNotAccepted)
{
    const struct {
        const char* text;
        int code;
    } defects[] = {{"many", -2}, {"-1", -3}, {"99", -5}, {"40001", -5}};
    for (const auto& defect : defects) {
        EdfWriter edf = GoodEdf();
        edf.signals[0].samplesPerRecord = defect.text;
        edf.data.resize(200000, '\0');
        ExpectRefused(Write("bad.edf", edf.Bytes()), defect.code,
                      "signal 0: samples in a data record", kSignalFields + 216);
    }
}

TEST_F(CheckTest, TellsWhereAnEdfHeaderEnds)
{
    const std::string bytes = GoodEdf().Bytes();
    // Byte 240 is within the number of data records, byte 400 within the prefiltering.
    Json told = Run(Write("cut.edf", bytes.substr(0, 238)));
    EXPECT_EQ(told["loads"][0]["code"], -2);
    EXPECT_TRUE(Field(told, "number of data records").contains("rule"));
    told = Run(Write("cut.edf", bytes.substr(0, 400)));
    EXPECT_EQ(told["loads"][0]["code"], -2);
    EXPECT_TRUE(Field(told, "signal 0: samples in a data record").contains("rule"));
}

TEST_F(CheckTest, TellsAnEdfFileThatPromisesTooMuch)
{
    EdfWriter edf = GoodEdf();
    edf.records = "10003";
    // 1000300 promised, 200 there, 1000100 missing: more than half and more than a million.
    ExpectRefused(Write("far.edf", edf.Bytes()), -4, "data", 512);
    edf.records = "10002";  // a million missing are forgiven
    const Json told = Run(Write("near.edf", edf.Bytes()));
    EXPECT_EQ(told["loads"][0]["code"], 1000200);
    EXPECT_TRUE(Field(told, "data").contains("note"));
}

TEST_F(CheckTest, DoesNotCountAnnotationsAgainstAnEdfFile)
{
    EdfWriter edf = GoodEdf();
    edf.signals.push_back({});
    edf.signals[1].label = "EDF Annotations";
    edf.signals[1].samplesPerRecord = "1";
    edf.data += std::string(4, '\0');
    const Json told = Run(Write("plus.edf", edf.Bytes()));
    EXPECT_TRUE(told["taken"]);
    EXPECT_EQ(told["loads"][1]["code"], -3);
}

TEST_F(CheckTest, WarnsOfUnitsThatAreNotLookedAt)
{
    EdfWriter edf = GoodEdf();
    edf.signals[0].dimension = "mV";
    EXPECT_EQ(Field(Run(Write("mv.edf", edf.Bytes())), "signal 0: physical dimension")["note"],
              "not looked at: the values are taken as microvolts");
}

TEST_F(CheckWfdb, TellsTheFieldsOfBothFiles)
{
    const std::string header = WriteRecord(WfdbHeaderText(2, 100, "212"), Data(200));
    for (const std::string& path : {header, dir_.File("rec.dat")}) {
        const Json told = Run(path);
        EXPECT_EQ(told["kind"], "wfdb");
        EXPECT_TRUE(told["taken"]);
        EXPECT_EQ(told["file"], header);
        EXPECT_EQ(told["signal_file"], dir_.File("rec.dat"));
        // "rec 2 360 100\n" has 14 bytes, "rec.dat " 8.
        EXPECT_EQ(Field(told, "record line: samples a second")["offset"], 6);
        EXPECT_EQ(Field(told, "signal 0: format")["offset"], 14 + 8);
        EXPECT_EQ(Field(told, "signal 1: name")["value"], "S1");
        EXPECT_EQ(told["loads"][1]["code"], 100);
        EXPECT_EQ(told["loads"][1]["highest_mv"], 1.0);  // 200 steps, 200 to the millivolt
    }
}

TEST_F(CheckWfdb, TellsWhyARecordIsRefused)
{
    const std::string good = WfdbHeaderText(1, 100, "212");
    const auto refuse = [&](const std::string& header, int code, const char* field, long offset) {
        ExpectRefused(WriteRecord(header, Data(100)), code, field, offset);
    };
    refuse(WfdbHeaderText(1, 100, "80"), -2, "signal 0: format", 14 + 8);
    refuse(good + "rec.dat 212 200\n", -1, "signal 1", static_cast<long>(good.size()));
    refuse("rec 1 360 100\n", -1, "signal lines", 14);
    refuse("rec 0 360 100\n" + good.substr(14), -3, "record line: number of signals", 4);
    refuse("rec 1 099 100\n" + good.substr(14), -5, "record line: samples a second", 6);
    refuse("rec 1 360 000\n" + good.substr(14), -4, "record line: number of samples", 10);
    // 2000000 promised, 100 there.
    refuse(WfdbHeaderText(1, 2000000, "212"), -4, "samples", 0);
}

TEST_F(CheckWfdb, RefusesAHeaderOfTwentyLines)
{
    const std::string header = WfdbHeaderText(19, 10, "212");
    const Json told = Run(WriteRecord(header, Data(190)));
    EXPECT_EQ(told["loads"][0]["code"], -1);
    EXPECT_EQ(Field(told, "lines")["rule"], "a header has at most 19");
}

TEST_F(CheckWfdb, TellsASignalFileThatIsMissing)
{
    const std::string header = Write("alone.hea", WfdbHeaderText(1, 100, "212"));
    ExpectRefused(header, -2, "samples", 0);
}

TEST_F(CheckWfdb, TellsWhichOffsetIsTaken)
{
    const Json told = Run(WriteRecord(WfdbHeaderText(1, 100, "212", "200(-12)/mV", 7), Data(100)));
    EXPECT_EQ(Field(told, "signal 0: offset")["note"], "taken as -12, from brackets or field 13");
    EXPECT_DOUBLE_EQ(told["loads"][0]["highest_mv"], 212.0 / 200.0);
}
