// The recorder of raw samples, and the dump of an array.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "diagnostics/RawRecorder.h"
#include "support/OfflineRun.h"
#include "support/ReferenceSignal.h"
#include "support/TempDir.h"

namespace {
constexpr double kUntouched = 1e99;

struct Buffers {
    explicit Buffers(std::size_t length) : ac(length, kUntouched), dc(length, kUntouched) {}
    bool Enable(int length) { return EnableRecordRaw(ac.data(), dc.data(), length); }
    std::vector<double> ac;
    std::vector<double> dc;
};

TEST(Recorder, TakesSamplesUntilItsBuffersAreFull)
{
    Buffers buffers(4);
    ASSERT_TRUE(buffers.Enable(3));
    for (int i = 0; i < 10; ++i) RecordRawSample(i, -i);
    EXPECT_EQ(buffers.ac, (std::vector<double>{0, 1, 2, kUntouched}));
    EXPECT_EQ(buffers.dc, (std::vector<double>{0, -1, -2, kUntouched}));
    DisableRecordRaw();
}

TEST(Recorder, StaysOnWhenItsBuffersAreFull)
{
    Buffers buffers(1);
    Buffers others(1);
    ASSERT_TRUE(buffers.Enable(1));
    RecordRawSample(1, 2);
    EXPECT_FALSE(others.Enable(1));
    RecordRawSample(3, 4);
    EXPECT_EQ(buffers.ac[0], 1);
    EXPECT_EQ(others.ac[0], kUntouched);
}

TEST(Recorder, EnabledTwiceGoesOnWithTheFirstBuffers)
{
    Buffers buffers(2);
    Buffers others(2);
    ASSERT_TRUE(buffers.Enable(2));
    RecordRawSample(1, 2);
    EXPECT_FALSE(others.Enable(2));
    RecordRawSample(3, 4);
    EXPECT_EQ(buffers.ac, (std::vector<double>{1, 3}));
    EXPECT_EQ(others.ac, (std::vector<double>{kUntouched, kUntouched}));
}

TEST(Recorder, DisabledForgetsItsBuffersAndStartsAnewWhenEnabled)
{
    Buffers buffers(3);
    ASSERT_TRUE(buffers.Enable(3));
    RecordRawSample(1, 2);
    DisableRecordRaw();
    RecordRawSample(3, 4);
    EXPECT_EQ(buffers.ac, (std::vector<double>{1, kUntouched, kUntouched}));
    ASSERT_TRUE(buffers.Enable(3));
    RecordRawSample(5, 6);
    EXPECT_EQ(buffers.ac[0], 5);
}

TEST(Recorder, TakesNothingWithoutRoomOrABuffer)
{
    Buffers buffers(1);
    for (const int length : {0, -1}) {
        ASSERT_TRUE(buffers.Enable(length));
        RecordRawSample(1, 2);
        DisableRecordRaw();
    }
    ASSERT_TRUE(EnableRecordRaw(nullptr, buffers.dc.data(), 1));
    RecordRawSample(1, 2);
    DisableRecordRaw();
    ASSERT_TRUE(EnableRecordRaw(buffers.ac.data(), nullptr, 1));
    RecordRawSample(1, 2);
    DisableRecordRaw();
    EXPECT_EQ(buffers.ac[0], kUntouched);
    EXPECT_EQ(buffers.dc[0], kUntouched);
}

TEST(Recorder, RecordsEverySampleOfTheStreamInOrder)
{
    Buffers buffers(1000);
    g_Amplitude = 2.0;
    g_DCSetting = -40;
    OfflineRun run(OUTPUT_SINE, 1000);
    ASSERT_TRUE(buffers.Enable(1000));
    run.NextSamples(1400);
    for (int i = 0; i < 1000; ++i) {
        const auto n = static_cast<std::size_t>(i);
        ASSERT_NEAR(buffers.ac[n], reference::Sine(2.0, 1.0, i / 1000.0), 1e-9) << i;
        ASSERT_EQ(buffers.dc[n], -40.0);
    }
    DisableRecordRaw();
}

class Dump : public testing::Test {
protected:
    std::string Path() const { return dir_.File("dump.txt"); }

    TempDir dir_;
};

TEST_F(Dump, WritesThreeDecimalsALine)
{
    const double values[] = {0.0, 1.0, -2.5, 0.0004, 0.0006, 12345.6789};
    EXPECT_EQ(DumpRawData(values, 6, Path().c_str()), 0);
    EXPECT_EQ(ReadWholeFile(Path()), "0.000\n1.000\n-2.500\n0.000\n0.001\n12345.679\n");
}

TEST_F(Dump, ReplacesAFile)
{
    const double values[] = {1.0, 2.0};
    DumpRawData(values, 2, Path().c_str());
    EXPECT_EQ(DumpRawData(values, 1, Path().c_str()), 0);
    EXPECT_EQ(ReadWholeFile(Path()), "1.000\n");
}

TEST_F(Dump, OfNothingIsAnEmptyFile)
{
    const double value = 1.0;
    EXPECT_EQ(DumpRawData(&value, 0, Path().c_str()), 0);
    EXPECT_TRUE(std::filesystem::exists(Path()));
    EXPECT_EQ(ReadWholeFile(Path()), "");
    EXPECT_EQ(DumpRawData(nullptr, 0, Path().c_str()), 0);
}

TEST_F(Dump, GivesMinusThreeWhenTheFileCannotBeOpened)
{
    const double value = 1.0;
    EXPECT_EQ(DumpRawData(&value, 1, dir_.Path().c_str()), -3);
    EXPECT_EQ(DumpRawData(&value, 1, dir_.File("missing/dump").c_str()), -3);
    EXPECT_EQ(DumpRawData(&value, 1, nullptr), -3);
    EXPECT_EQ(DumpRawData(nullptr, 1, Path().c_str()), -3);
    EXPECT_FALSE(std::filesystem::exists(Path()));
}

TEST_F(Dump, GivesMinusSixWhenALineCannotBeWritten)
{
    const std::vector<double> values(100000, 1.0);
    EXPECT_EQ(DumpRawData(values.data(), 100000, "/dev/full"), -6);
}

// A line that fits into the file's buffer must reach the disk all the same.
TEST_F(Dump, GivesMinusSixWhenTheOnlyLineCannotBeWritten)
{
    const double value = 1.0;
    EXPECT_EQ(DumpRawData(&value, 1, "/dev/full"), -6);
}
}  // namespace
