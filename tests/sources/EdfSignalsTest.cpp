// The samples of EDF recordings: against a second decoder, and what recordings get that hold fewer
// than they promise.

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>

#include "sources/edfFile.h"
#include "support/EdfModel.h"
#include "support/EdfWriter.h"
#include "support/PeakMemory.h"
#include "support/Slowdown.h"
#include "support/TempDir.h"

namespace {
struct Freer {
    void operator()(void* memory) const { std::free(memory); }
};

class EdfSignals : public testing::Test {
protected:
    // What the call returns; the values are in values_.
    int Retrieve(const std::string& bytes, int signal)
    {
        WriteRecordFile(path_, bytes);
        EdfFile file;
        if (file.readFile(path_.c_str()) != 0) return -1000;
        float* values = nullptr;
        const int count = file.retrieveSignalSampleValues(signal, values);
        memory_.reset(values);
        values_.assign(values, values + (count > 0 ? count : 0));
        return count;
    }

    void ExpectEqualsModel(const std::string& bytes, int signal)
    {
        const auto expected = EdfModel(bytes).Values(static_cast<std::size_t>(signal));
        ASSERT_EQ(Retrieve(bytes, signal), static_cast<int>(expected.size()));
        ASSERT_EQ(values_.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            ASSERT_EQ(values_[i], expected[i]) << "signal " << signal << ", sample " << i;
        }
    }

    TempDir dir_;
    std::string path_ = dir_.File("recording.edf");
    std::unique_ptr<float, Freer> memory_;
    std::vector<float> values_;
};

EdfWriter OneSignal(int records, int samplesPerRecord)
{
    EdfWriter writer;
    writer.records = std::to_string(records);
    writer.signals[0].samplesPerRecord = std::to_string(samplesPerRecord);
    return writer;
}

TEST(EdfScaling, IsByTheTwoRanges)
{
    EdfSignal signal;
    signal.physicalMinimum = -3276.8F;
    signal.physicalMaximum = 3276.7F;
    signal.digitalMinimum = -32768.0F;
    signal.digitalMaximum = 32767.0F;
    EXPECT_FLOAT_EQ(signal.AmplifierGain(), 0.1F);
    EXPECT_EQ(signal.Offset(), 3276.7F / signal.AmplifierGain() - 32767.0F);
    EXPECT_NEAR((1000.0F + signal.Offset()) * signal.AmplifierGain(), 100.0F, 0.001F);
}

// What a division by zero gives in floating-point arithmetic, without dividing by zero.
TEST(EdfScaling, IsInfiniteForAnEmptyDigitalRange)
{
    EdfSignal signal;
    signal.physicalMinimum = -100.0F;
    signal.physicalMaximum = 100.0F;
    EXPECT_EQ(signal.AmplifierGain(), INFINITY);
    EXPECT_EQ(signal.Offset(), 0.0F);
    std::swap(signal.physicalMinimum, signal.physicalMaximum);
    EXPECT_EQ(signal.AmplifierGain(), -INFINITY);
    signal.physicalMinimum = signal.physicalMaximum;
    EXPECT_TRUE(std::isnan(signal.AmplifierGain()));
}

TEST(EdfScaling, HasAnInfiniteOffsetForAnEmptyPhysicalRange)
{
    EdfSignal signal;
    signal.physicalMinimum = signal.physicalMaximum = 5.0F;
    signal.digitalMaximum = 1.0F;
    EXPECT_EQ(signal.AmplifierGain(), 0.0F);
    EXPECT_EQ(signal.Offset(), INFINITY);
    signal.digitalMaximum = -1.0F;  // a gain of minus zero
    EXPECT_EQ(signal.Offset(), -INFINITY);
}

TEST_F(EdfSignals, AreTheDigitalValuesScaled)
{
    EdfWriter writer = OneSignal(2, 3);
    for (const int digital : {0, 1000, -1000, 32767, -32768, 1}) writer.AddSample(digital);
    ASSERT_EQ(Retrieve(writer.Bytes(), 0), 6);
    const float expected[] = {0.0F, 100.0F, -100.0F, 3276.7F, -3276.8F, 0.1F};
    for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(values_[i], expected[i], 0.001F) << i;
}

// Layouts of many kinds: short and long runs, records longer than a block, one signal alone.
TEST_F(EdfSignals, EqualASecondDecoderInEveryLayout)
{
    const std::vector<std::vector<int>> layouts = {{1},          {7},
                                                   {1, 1},       {3, 0, 5},
                                                   {500, 50},    {40000, 3},
                                                   {3, 40000},   {70001},
                                                   {1, 9000, 2}, {200, 200, 200, 200, 51}};
    std::mt19937 random(20);
    for (const auto& layout : layouts) {
        EdfWriter writer;
        writer.records = "5";
        writer.signals.assign(layout.size(), {});
        std::size_t samples = 0;
        for (std::size_t i = 0; i < layout.size(); ++i) {
            writer.signals[i].samplesPerRecord = std::to_string(layout[i]);
            writer.signals[i].physicalMaximum = std::to_string(100 + 17 * i);
            samples += static_cast<std::size_t>(layout[i]);
        }
        for (std::size_t i = 0; i < 5 * samples; ++i) writer.AddSample(static_cast<int>(random()));
        const std::string bytes = writer.Bytes();
        for (std::size_t i = 0; i < layout.size(); ++i) {
            ExpectEqualsModel(bytes, static_cast<int>(i));
            if (HasFatalFailure()) return;
        }
    }
}

TEST_F(EdfSignals, AreFoundByTheNumberOfSignalsNotByTheHeaderBytes)
{
    EdfWriter writer = OneSignal(1, 1);
    writer.headerBytes = "99999";
    writer.AddSample(10);
    ASSERT_EQ(Retrieve(writer.Bytes(), 0), 1);
    EXPECT_NEAR(values_[0], 1.0F, 0.001F);
}

TEST_F(EdfSignals, AreNoneForAnnotations)
{
    EdfWriter writer = OneSignal(1, 1);
    writer.AddSample(10);
    writer.signals[0].label = "EDF Annotations";
    EXPECT_EQ(Retrieve(writer.Bytes(), 0), -1);
    EXPECT_EQ(memory_, nullptr);
    for (const char* label : {"EDF annotations", "EDF Annotation", "EDF Annotations2"}) {
        writer.signals[0].label = label;
        EXPECT_EQ(Retrieve(writer.Bytes(), 0), 1) << label;
    }
}

TEST_F(EdfSignals, AreNoneForASignalThatIsNotThere)
{
    EdfWriter writer = OneSignal(1, 1);
    writer.signals.resize(2);
    for (const int signal : {-1, 2, 3, INT_MAX, INT_MIN}) {
        EXPECT_EQ(Retrieve(writer.Bytes(), signal), -1) << signal;
        EXPECT_EQ(memory_, nullptr);
    }
    float* values = nullptr;
    EXPECT_EQ(EdfFile().retrieveSignalSampleValues(0, values), -1);
}

TEST_F(EdfSignals, AreNoneWhenTheirNumberIsBelowZero)
{
    EXPECT_EQ(Retrieve(OneSignal(-1, 4).Bytes(), 0), -1);
    EXPECT_EQ(Retrieve(OneSignal(4, -1).Bytes(), 0), -1);
    EXPECT_EQ(Retrieve(OneSignal(-4, -1).Bytes(), 0), -1);
    EdfWriter beside = OneSignal(2, 4);
    beside.signals.resize(2);
    beside.signals[1].samplesPerRecord = "-4";
    EXPECT_EQ(Retrieve(beside.Bytes(), 0), -1);
}

TEST_F(EdfSignals, MayBeNoSamples)
{
    EXPECT_EQ(Retrieve(OneSignal(3, 0).Bytes(), 0), 0);
    EXPECT_NE(memory_, nullptr);
}

TEST_F(EdfSignals, RepeatTheLastSampleOfAShortFile)
{
    EdfWriter writer = OneSignal(3, 4);
    for (const int digital : {10, 20, 30, 40, 50}) writer.AddSample(digital);
    ASSERT_EQ(Retrieve(writer.Bytes(), 0), 12);
    EXPECT_NEAR(values_[3], 4.0F, 0.001F);
    for (std::size_t i = 4; i < 12; ++i) EXPECT_NEAR(values_[i], 5.0F, 0.001F) << i;
}

TEST_F(EdfSignals, KeepTheHighByteWhereTheFileEndsWithinASample)
{
    EdfWriter writer = OneSignal(1, 3);
    writer.AddSample(0x0102);
    writer.data += '\x05';
    ASSERT_EQ(Retrieve(writer.Bytes(), 0), 3);
    EXPECT_NEAR(values_[0], 25.8F, 0.001F);
    EXPECT_NEAR(values_[1], 26.1F, 0.001F);  // 0x0105
    EXPECT_NEAR(values_[2], 26.1F, 0.001F);
}

TEST_F(EdfSignals, OfAShortFileEqualASecondDecoderWhereverItEnds)
{
    EdfWriter writer;
    writer.records = "3";
    writer.signals.assign(3, {});
    writer.signals[1].samplesPerRecord = "3";
    writer.signals[2].samplesPerRecord = "1";
    std::mt19937 random(4);
    for (int i = 0; i < 24; ++i) writer.AddSample(static_cast<int>(random()));
    const std::string bytes = writer.Bytes();
    for (std::size_t size = 1024; size <= bytes.size(); ++size) {
        for (int signal = 0; signal < 3; ++signal) {
            ExpectEqualsModel(bytes.substr(0, size), signal);
            if (HasFatalFailure()) FAIL() << size;
        }
    }
}

// Twice as many as it holds, or a million more, is a recording that was cut short.
TEST_F(EdfSignals, AreRefusedWhenTheyAreAbsurdlyManyMoreThanTheFileHolds)
{
    EdfWriter writer = OneSignal(1, 1000000);
    EXPECT_EQ(Retrieve(writer.Bytes(), 0), 1000000);
    writer.signals[0].samplesPerRecord = "1000001";
    EXPECT_EQ(Retrieve(writer.Bytes(), 0), -2);
    EXPECT_EQ(memory_, nullptr);
    writer.AddSample(1);
    EXPECT_EQ(Retrieve(writer.Bytes(), 0), 1000001);

    writer.signals[0].samplesPerRecord = "3000000";
    while (writer.data.size() < 2 * 1500000) writer.AddSample(1);
    EXPECT_EQ(Retrieve(writer.Bytes(), 0), 3000000);
    writer.signals[0].samplesPerRecord = "3000001";
    EXPECT_EQ(Retrieve(writer.Bytes(), 0), -2);
}

TEST_F(EdfSignals, AreRefusedWhenTheirNumberFitsNoInteger)
{
    EXPECT_EQ(Retrieve(OneSignal(99999999, 99999999).Bytes(), 0), -2);
    EdfWriter writer = OneSignal(99999999, 22);  // 2199999978, and all signals at their most
    writer.signals.resize(256, {});
    for (std::size_t i = 1; i < 256; ++i) writer.signals[i].samplesPerRecord = "99999999";
    EXPECT_EQ(Retrieve(writer.Bytes(), 255), -2);
    EXPECT_EQ(Retrieve(writer.Bytes(), 0), -2);
}

// One array, and a block of the file.
TEST_F(EdfSignals, TakeTheMemoryOfTheirArrayAlone)
{
    if (kSlowdown != 1) GTEST_SKIP() << "a sanitizer keeps memory of its own";
    constexpr int kRecords = 40;
    constexpr int kPerRecord = 100000;
    EdfWriter writer = OneSignal(kRecords, kPerRecord);
    {
        std::ofstream file(path_, std::ios::binary);
        file << writer.Bytes();
        const std::string record(2 * kPerRecord, 'x');
        for (int i = 0; i < kRecords; ++i) file << record;
    }
    EdfFile file;
    ASSERT_EQ(file.readFile(path_.c_str()), 0);
    const long before = PeakMemoryBytes();
    float* values = nullptr;
    ASSERT_EQ(file.retrieveSignalSampleValues(0, values), kRecords * kPerRecord);
    memory_.reset(values);
    EXPECT_LT(PeakMemoryBytes() - before, kRecords * kPerRecord * 4L + 1000000L);
}
}  // namespace
