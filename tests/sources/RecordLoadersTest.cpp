// What the loaders of all formats have in common, the two loaders over a reader of their own, and
// whole files.

#include <sys/stat.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <thread>

#include "device/LineState.h"
#include "platform/File.h"
#include "streaming/Change.h"
#include "support/Descriptors.h"
#include "support/EdfWriter.h"
#include "support/EveryCall.h"
#include "support/OfflineRun.h"
#include "support/RecordFiles.h"
#include "support/Slowdown.h"
#include "support/WfdbWriter.h"
#include "synthesis/BeatModel.h"

namespace {
class EdfLoader : public RecordFiles {
protected:
    int Load(const EdfWriter& edf, int channel = 0) const
    {
        return VRAXLoadECGedf(Write("record.edf", edf.Bytes()).c_str(), channel);
    }
    // Two records of a second with 200 samples of one signal, a tenth of a microvolt a step.
    static EdfWriter Recording()
    {
        EdfWriter edf;
        edf.headerBytes = "512";
        edf.signals[0].samplesPerRecord = "200";
        for (int i = 0; i < 400; ++i) edf.AddSample(i * 100 - 20000);
        return edf;
    }
};

TEST_F(EdfLoader, GivesMillivoltsFromMicrovoltsWithTheRateOfTheSignal)
{
    HandOver();
    ASSERT_EQ(Load(Recording()), 400);
    const std::vector<double> record = Record();
    // The values are kept as floats of microvolts on the way.
    for (int i = 0; i < 400; ++i) {
        ASSERT_NEAR(record[static_cast<std::size_t>(i)], (i * 100 - 20000) * 1e-4, 1e-6) << i;
    }
    EXPECT_EQ(g_nECGRawSampleRate, 200.0);
    EXPECT_EQ(ECGFileUnitMV, 1);
}

TEST_F(EdfLoader, HoldsValuesWithin20Millivolts)
{
    EdfWriter edf = Recording();
    edf.signals[0].physicalMinimum = "-32768";
    edf.signals[0].physicalMaximum = "32767";
    edf.data.clear();
    for (int i = 0; i < 400; ++i) edf.AddSample(i % 2 == 0 ? 32767 : -32768);
    ASSERT_EQ(Load(edf), 400);
    EXPECT_EQ(Record()[0], 20.0);
    EXPECT_EQ(Record()[1], -20.0);
}

TEST_F(EdfLoader, DividesTheRateInWholeNumbers)
{
    EdfWriter edf = Recording();
    edf.signals[0].samplesPerRecord = "401";
    edf.records = "1";
    edf.duration = "2";
    edf.AddSample(0);
    EXPECT_EQ(Load(edf), 401);
    EXPECT_EQ(g_nECGRawSampleRate, 200.0);
}

TEST_F(EdfLoader, KeepsTheDataWithARateThatCannotBePlayed)
{
    HandOver();
    EdfWriter edf = Recording();
    edf.duration = "4";  // 50 Hz
    EXPECT_EQ(Load(edf), -5);
    EXPECT_EQ(Record().size(), 400u);
    EXPECT_EQ(g_nECGRawSampleRate, 50.0);
    EXPECT_EQ(ECGFileUnitMV, 1);
    edf.duration = "1000";  // 0 Hz
    EXPECT_EQ(Load(edf), -5);
    double out[1000];
    EXPECT_EQ(GetRawDataArrayEx(OUTPUT_ECG_FILE, out, 1000, 1000), 1000);
    edf.duration = "2";
    EXPECT_EQ(Load(edf), 400);
}

TEST_F(EdfLoader, PassesTheReadersCodesOnAndKeepsTheOldRecord)
{
    HandOver();
    EXPECT_EQ(VRAXLoadECGedf(dir_.File("missing").c_str(), 0), -1);
    EXPECT_EQ(VRAXLoadECGedf(nullptr, 0), -1);
    EXPECT_EQ(VRAXLoadECGedf(Write("short.edf", "0").c_str(), 0), -2);
    EdfWriter plain = Recording();
    plain.recording = "some free text";
    EXPECT_EQ(Load(plain), -2);
    EXPECT_TRUE(HoldsWhatWasHandedOver());
}

TEST_F(EdfLoader, HasNoSignalBelowZeroOrFromTheirNumberOn)
{
    HandOver();
    for (const int channel : {-1, 1, 2, -2147483647 - 1, 2147483647}) {
        EXPECT_EQ(Load(Recording(), channel), -3) << channel;
    }
    EdfWriter annotations = Recording();
    annotations.signals[0].label = "EDF Annotations";
    EXPECT_EQ(Load(annotations), -3);
    EdfWriter unknown = Recording();
    unknown.records = "-1";
    EXPECT_EQ(Load(unknown), -3);
    EXPECT_TRUE(HoldsWhatWasHandedOver());
}

TEST_F(EdfLoader, FailsLikeAllocationWhenAbsurdlyMuchIsPromised)
{
    HandOver();
    EdfWriter edf = Recording();
    edf.records = "9999999";
    EXPECT_EQ(Load(edf), -4);
    EXPECT_TRUE(IsEmpty());
    EXPECT_EQ(g_nECGRawSize, 0);
}

class WfdbLoader : public RecordFiles {
protected:
    int Load(const std::string& header, const std::string& data, int channel = 0) const
    {
        return VRAXLoadECGdat(Write("rec.hea", header).c_str(), Write("rec.dat", data).c_str(),
                              channel);
    }
    static std::vector<int> Codes(int count)
    {
        std::vector<int> codes;
        for (int i = 0; i < count; ++i) codes.push_back(i * 37 % 2000 - 1000);
        return codes;
    }
};

TEST_F(WfdbLoader, GivesOneSignalInTheUnitsOfItsHeader)
{
    HandOver();
    const std::vector<int> codes = Codes(2000);
    for (const int channel : {0, 1}) {
        ASSERT_EQ(Load(WfdbHeaderText(2, 1000, "212"), PackFormat212(codes), channel), 1000);
        std::vector<double> expected;
        for (std::size_t i = static_cast<std::size_t>(channel); i < codes.size(); i += 2) {
            expected.push_back(codes[i] / 200.0);
        }
        EXPECT_EQ(Record(), expected);
        EXPECT_EQ(g_nECGRawSampleRate, 360.0);
        EXPECT_EQ(ECGFileUnitMV, 1);
    }
}

TEST_F(WfdbLoader, TakesValuesAsTheyAre)
{
    ASSERT_EQ(Load(WfdbHeaderText(1, 2, "16", "1"), PackFormat16({-32768, 32767})), 2);
    EXPECT_EQ(Record(), (std::vector<double>{-32768.0, 32767.0}));
}

TEST_F(WfdbLoader, TellsWhichPartIsMissingAndKeepsTheOldRecord)
{
    HandOver();
    const std::string header = Write("rec.hea", WfdbHeaderText(1, 2, "16"));
    const std::string data = Write("rec.dat", PackFormat16({1, 2}));
    const std::string missing = dir_.File("missing");
    EXPECT_EQ(VRAXLoadECGdat(missing.c_str(), data.c_str(), 0), -1);
    EXPECT_EQ(VRAXLoadECGdat(nullptr, data.c_str(), 0), -1);
    EXPECT_EQ(VRAXLoadECGdat(Write("x.hea", "one\n").c_str(), data.c_str(), 0), -1);
    EXPECT_EQ(VRAXLoadECGdat(header.c_str(), missing.c_str(), 0), -2);
    EXPECT_EQ(VRAXLoadECGdat(header.c_str(), nullptr, 0), -2);
    EXPECT_EQ(Load(WfdbHeaderText(1, 2, "80"), "1234"), -2);
    for (const int channel : {-1, 1, 2, -2147483647 - 1, 2147483647}) {
        EXPECT_EQ(Load(WfdbHeaderText(1, 2, "16"), PackFormat16({1, 2}), channel), -3) << channel;
    }
    EXPECT_TRUE(HoldsWhatWasHandedOver());
}

TEST_F(WfdbLoader, WithoutSamplesIsRefusedAndTheOldRecordGone)
{
    HandOver();
    EXPECT_EQ(Load(WfdbHeaderText(1, 0, "16"), PackFormat16({1, 2})), -4);
    EXPECT_TRUE(IsEmpty());
    HandOver();
    EXPECT_EQ(Load(WfdbHeaderText(1, 2000000000, "16"), PackFormat16({1, 2})), -4);
    EXPECT_TRUE(IsEmpty());
}

TEST_F(WfdbLoader, KeepsTheDataWithARateThatCannotBePlayed)
{
    for (const char* rate : {"99", "40001", "0", "-360"}) {
        HandOver();
        const std::string header = std::string("rec 1 ") + rate + " 2\nrec.dat 16 200 12 0\n";
        EXPECT_EQ(Load(header, PackFormat16({200, -400})), -5) << rate;
        EXPECT_EQ(Record(), (std::vector<double>{1.0, -2.0})) << rate;
        EXPECT_EQ(g_nECGRawSampleRate, std::atof(rate));
        EXPECT_EQ(ECGFileUnitMV, 1);
        double out[500];
        EXPECT_EQ(GetRawDataArrayEx(OUTPUT_ECG_FILE, out, 500, 500), 500);
    }
}

// Every loader once: a file of 1000 samples at 500 Hz, or the 250 Hz of its format.
struct Format {
    const char* name;
    int rate;
    std::function<int(const TempDir&, double mv)> load;
};

void Store(const std::string& path, const std::string& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

constexpr int kSamples = 1000;

int LoadTextOf(const TempDir& dir, double mv)
{
    TextRecord record;
    record.rate = "500";
    record.count = std::to_string(kSamples);
    record.lines.assign(kSamples, "0," + std::to_string(mv));
    Store(dir.File("a.txt"), record.Text());
    return VRAXLoadECGtxt(dir.File("a.txt").c_str(), 1);
}

int LoadBinaryOf(const TempDir& dir, double mv)
{
    BinaryRecord record;
    record.count = kSamples;
    record.microvolts.assign(kSamples, static_cast<int>(mv * 1000.0));
    Store(dir.File("a.bin"), record.Bytes());
    return LoadECGBin(dir.File("a.bin").c_str());
}

int LoadAhaTextOf(const TempDir& dir, double mv)
{
    std::string text;
    for (int i = 0; i < kSamples; ++i) text += "0 " + std::to_string(400.0 * mv) + "\n";
    Store(dir.File("aha.txt"), text);
    return LoadECGAHA(dir.File("aha.txt").c_str(), 1);
}

int LoadAhaBinaryOf(const TempDir& dir, double mv)
{
    std::string bytes;
    for (int i = 0; i < kSamples; ++i) bytes += AhaGroup(0, static_cast<int>(400.0 * mv));
    Store(dir.File("a.ecg"), bytes);
    return LoadECGAHA(dir.File("a.ecg").c_str(), 1);
}

int LoadEdfOf(const TempDir& dir, double mv)
{
    EdfWriter edf;
    edf.headerBytes = "512";
    edf.signals[0].physicalMinimum = "-32768";
    edf.signals[0].physicalMaximum = "32767";
    edf.signals[0].samplesPerRecord = "500";
    for (int i = 0; i < kSamples; ++i) edf.AddSample(static_cast<int>(mv * 1000.0));
    Store(dir.File("a.edf"), edf.Bytes());
    return VRAXLoadECGedf(dir.File("a.edf").c_str(), 0);
}

int LoadWfdbOf(const TempDir& dir, double mv)
{
    std::string header = WfdbHeaderText(1, kSamples, "212");
    header.replace(header.find("360"), 3, "500");
    Store(dir.File("a.hea"), header);
    Store(dir.File("a.dat"),
          PackFormat212(std::vector<int>(kSamples, static_cast<int>(200.0 * mv))));
    return VRAXLoadECGdat(dir.File("a.hea").c_str(), dir.File("a.dat").c_str(), 0);
}

const Format kFormats[] = {
    {"Text", 500, LoadTextOf},       {"Binary", 500, LoadBinaryOf},
    {"AhaText", 250, LoadAhaTextOf}, {"AhaBinary", 250, LoadAhaBinaryOf},
    {"Edf", 500, LoadEdfOf},         {"Wfdb", 500, LoadWfdbOf},
};

void PrintTo(const Format& format, std::ostream* out) { *out << format.name; }

class EveryFormat : public testing::TestWithParam<Format> {
protected:
    TempDir dir_;
};

TEST_P(EveryFormat, IsPlayedBySampleAndHold)
{
    ASSERT_EQ(GetParam().load(dir_, 1.5), kSamples);
    OfflineRun run(OUTPUT_ECG_FILE, 20000);
    for (const auto& sample : run.NextSamples(10000)) ASSERT_NEAR(sample.ac, 2400, 1);
    EXPECT_DOUBLE_EQ(s_tp, static_cast<double>(kSamples) / GetParam().rate);
}

TEST_P(EveryFormat, ReplacesTheRecordOfALongerFile)
{
    const std::vector<double> longer(5000, 3.0);
    ASSERT_EQ(SetRawArray(5000, longer.data(), 20000), 0);
    ASSERT_EQ(GetParam().load(dir_, -0.5), kSamples);
    unsigned count = 0;
    unsigned rate = 0;
    const double* record = GetFileArray(&count, &rate);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(count, static_cast<unsigned>(kSamples));
    EXPECT_EQ(rate, static_cast<unsigned>(GetParam().rate));
    for (int i = 0; i < kSamples; ++i) ASSERT_NEAR(record[i], -0.5, 1e-6);
    ClearRawArray();
    EXPECT_EQ(GetFileArray(&count, &rate), nullptr);
    EXPECT_EQ(count, 0u);
}

TEST_P(EveryFormat, LeavesNoDescriptorBehind)
{
    const auto before = CountDescriptors();
    for (int i = 0; i < 10; ++i) ASSERT_EQ(GetParam().load(dir_, 1.0), kSamples);
    EXPECT_EQ(CountDescriptors(), before);
}

// A sample belongs to the record before, to the new one, or to none in between.
TEST_P(EveryFormat, NeverTearsARecordThatPlays)
{
    ASSERT_EQ(GetParam().load(dir_, 1.0), kSamples);
    std::atomic<bool> isLoading{true};
    std::thread loader([&] {
        for (int i = 0; i < 40; ++i) {
            const double other = 9.0;
            if (i % 4 == 3) SetRawArray(1, &other, 1);
            EXPECT_EQ(GetParam().load(dir_, i % 2 == 0 ? 2.0 : 1.0), kSamples);
        }
        isLoading = false;
    });
    OfflineRun run(OUTPUT_ECG_FILE, 2000);
    while (isLoading) {
        CAutoCriticalSection building(g_PacketCriticalSection);  // as the run holds it
        for (const auto& sample : run.NextSamples(1)) {
            const bool isWhole = sample.ac == 0 || std::abs(sample.ac - 1600) <= 1 ||
                                 std::abs(sample.ac - 3200) <= 1 || sample.ac == 14400;
            EXPECT_TRUE(isWhole) << sample.ac;
        }
    }
    loader.join();
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat, testing::ValuesIn(kFormats),
                         [](const auto& test) { return std::string(test.param.name); });

class Loaders : public RecordFiles {
protected:
    // Address space that was ever in use, in bytes.
    static std::int64_t PeakBytes()
    {
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("VmPeak:")) return std::atoll(line.c_str() + 7) * 1024;
        }
        return -1;
    }
};

TEST_F(Loaders, KeepTheOldRecordWithoutAFile)
{
    HandOver();
    CallAll(RecordLoaders(nullptr));
    CallAll(RecordLoaders(""));
    CallAll(RecordLoaders(dir_.File("missing.txt").c_str()));
    EXPECT_TRUE(HoldsWhatWasHandedOver());
}

constexpr std::int64_t kMegabyte = 1048576;

TEST_F(Loaders, TakeNoMemoryForSamplesThatTheFileCannotHold)
{
    BinaryRecord binary;
    binary.count = 20000000;
    const std::string binaryPath = Write("a.bin", binary.Bytes());
    TextRecord text;
    text.count = "1000000";
    const std::string textPath = Write("a.txt", text.Text());
    text.count = "2000000000";
    const std::string absurdPath = Write("b.txt", text.Text());
    LoadECGBin(binaryPath.c_str());  // what is made once
    VRAXLoadECGtxt(textPath.c_str(), 0);
    const std::int64_t before = PeakBytes();
    ASSERT_GT(before, 0);
    EXPECT_EQ(LoadECGBin(binaryPath.c_str()), 4);
    EXPECT_EQ(VRAXLoadECGtxt(textPath.c_str(), 0), 3);
    EXPECT_EQ(VRAXLoadECGtxt(absurdPath.c_str(), 0), -6);
    EXPECT_LE(PeakBytes() - before, kMegabyte);
}

TEST_F(Loaders, TakeAMegabyteAtMostAboveTheSamplesThemselves)
{
    if (kSlowdown > 1) GTEST_SKIP() << "a sanitizer keeps freed memory";
    constexpr int kCount = 2000000;
    constexpr std::int64_t kArrayBytes = kCount * std::int64_t{sizeof(double)};
    std::string lines;
    lines.reserve(12 * kCount);
    for (int i = 0; i < kCount; ++i) lines += "400 -800\n";
    const std::string text = Write("a.txt", "500\n2000000\n1\nI\n" + lines);
    const std::string aha = Write("aha.txt", lines);
    LoadECGAHA(Write("small.txt", "1 2\n").c_str(), 0);
    ClearRawArray();
    lines = std::string();
    // Freed memory is used again, so a load is seen as far as it goes above everything before.
    const std::vector<char> ballast(32 * kMegabyte, 'x');
    const std::int64_t before = PeakBytes();
    EXPECT_EQ(VRAXLoadECGtxt(text.c_str(), 0), kCount);
    EXPECT_EQ(LoadECGAHA(aha.c_str(), 1), kCount);
    EXPECT_LE(PeakBytes() - before, kArrayBytes + kMegabyte);
    EXPECT_EQ(ballast.back(), 'x');
}

class WholeFiles : public RecordFiles {};

TEST_F(WholeFiles, AreWrittenAndReadByteByByte)
{
    const std::string path = dir_.File("Datei \xC3\xA4.bin");
    const std::string bytes("a\0b\r\n\xFF", 6);
    ASSERT_TRUE(WriteFileBinaryData(path.c_str(), bytes.data(), bytes.size()));
    EXPECT_EQ(ReadWholeFile(path), bytes);
    EXPECT_EQ(GetFileSizeUtf8(path.c_str()), 6);
    std::unique_ptr<std::uint8_t[]> data;
    std::size_t size = 0;
    ASSERT_TRUE(ReadFileBinaryData(path.c_str(), data, size));
    ASSERT_EQ(size, 6u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(data.get()), size), bytes);
    ASSERT_TRUE(WriteFileBinaryData(path.c_str(), nullptr, 0));  // replaces
    EXPECT_EQ(GetFileSizeUtf8(path.c_str()), 0);
    ASSERT_TRUE(ReadFileBinaryData(path.c_str(), data, size));
    EXPECT_EQ(size, 0u);
}

TEST_F(WholeFiles, ThatCannotBeOpenedAreToldAndNothingIsStored)
{
    std::unique_ptr<std::uint8_t[]> data;
    std::size_t size = 77;
    const std::string missing = dir_.File("missing/file");
    EXPECT_EQ(GetFileSizeUtf8(nullptr), -1);
    EXPECT_EQ(GetFileSizeUtf8(missing.c_str()), -1);
    for (const char* path :
         {static_cast<const char*>(nullptr), missing.c_str(), dir_.Path().c_str()}) {
        EXPECT_FALSE(ReadFileBinaryData(path, data, size));
        EXPECT_FALSE(WriteFileBinaryData(path, "x", 1));
    }
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 77u);
    EXPECT_FALSE(WriteFileBinaryData(dir_.File("a").c_str(), nullptr, 1));
    EXPECT_FALSE(WriteFileBinaryData("/dev/full", "x", 1));
}
}  // namespace
