// The channels of WFDB signal files: against a second decoder, and what records get that hold fewer
// samples than they promise.

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <random>

#include "sources/Wfdb.h"
#include "support/Descriptors.h"
#include "support/EdfWriter.h"
#include "support/PeakMemory.h"
#include "support/Slowdown.h"
#include "support/TempDir.h"
#include "support/WfdbModel.h"
#include "support/WfdbWriter.h"

namespace {
class WfdbData : public testing::Test {
protected:
    ~WfdbData() override { std::free(memory_); }

    bool Open(const std::string& header, const std::string& data)
    {
        WriteRecordFile(headerPath_, header);
        WriteRecordFile(dataPath_, data);
        return header_.OpenFile(headerPath_.c_str()) && file_.OpenFile(dataPath_.c_str(), header_);
    }

    int Read(int channel, int start, int count)
    {
        const int read = file_.ReadChannelValue(channel, start, count, maximum_, minimum_, memory_);
        samples_.assign(memory_, memory_ + read);
        return read;
    }

    int ReadAll(int channel)
    {
        const int read = file_.ReadChannel(channel, maximum_, minimum_, memory_);
        samples_.assign(memory_, memory_ + read);
        return read;
    }

    void ExpectEqualsModel(const WfdbModel& model, int channel, int start, int count)
    {
        const auto expected = model.Read(channel, start, count);
        ASSERT_EQ(Read(channel, start, count), count);
        for (std::size_t i = 0; i < expected.samples.size(); ++i) {
            ASSERT_EQ(samples_[i], expected.samples[i]) << "channel " << channel << ", " << i;
        }
        EXPECT_EQ(maximum_, expected.maximum);
        EXPECT_EQ(minimum_, expected.minimum);
    }

    TempDir dir_;
    std::string headerPath_ = dir_.File("rec.hea");
    std::string dataPath_ = dir_.File("rec.dat");
    HeaFile header_;
    DatFile file_;
    double maximum_ = -1.0;
    double minimum_ = -1.0;
    double* memory_ = nullptr;
    std::vector<double> samples_;
};

std::string RandomBytes(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    std::string bytes(count, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
}

TEST_F(WfdbData, AreTheCodesDividedByTheGain)
{
    ASSERT_TRUE(
        Open(WfdbHeaderText(2, 3, "212", "100"), PackFormat212({1, -1, 2047, -2048, 50, 0})));
    ASSERT_EQ(ReadAll(0), 3);
    EXPECT_EQ(samples_, (std::vector<double>{0.01, 20.47, 0.5}));
    EXPECT_EQ(maximum_, 20.47);
    EXPECT_EQ(minimum_, 0.01);
    ASSERT_EQ(ReadAll(1), 3);
    EXPECT_EQ(samples_, (std::vector<double>{-0.01, -20.48, 0.0}));

    ASSERT_TRUE(Open(WfdbHeaderText(1, 3, "16"), PackFormat16({32767, -32768, 200})));
    ASSERT_EQ(ReadAll(0), 3);
    EXPECT_EQ(samples_, (std::vector<double>{163.835, -163.84, 1.0}));
}

TEST_F(WfdbData, HaveAGainAndANameForEachSignal)
{
    ASSERT_TRUE(Open("rec 2 250 2\nrec.dat 16 100 12 0 0 0 0 II\nrec.dat 16 50 12 0 0 0 0 V1\n",
                     PackFormat16({100, 100, 200, 200})));
    EXPECT_EQ(file_.NumberOfSignals(), 2);
    EXPECT_EQ(file_.SampleRate(), 250);
    EXPECT_EQ(file_.NumberOfSamples(), 2);
    EXPECT_STREQ(file_.SignalName(0), "II");
    EXPECT_STREQ(file_.SignalName(1), "V1");
    ASSERT_EQ(ReadAll(0), 2);
    EXPECT_EQ(samples_, (std::vector<double>{1.0, 2.0}));
    ASSERT_EQ(ReadAll(1), 2);
    EXPECT_EQ(samples_, (std::vector<double>{2.0, 4.0}));
}

// 4000 is -96 in twelve bits; less the offset it is 2976, which folds to -1120. 2048 is -2048, and
// less the offset it is 1024, which does not fold.
TEST_F(WfdbData, LoseTheOffsetBeforeTheirSignIsFolded)
{
    ASSERT_TRUE(
        Open(WfdbHeaderText(1, 4, "212", "1", 1024), PackFormat212({4000, 2048, 995, 2047})));
    ASSERT_EQ(ReadAll(0), 4);
    EXPECT_EQ(samples_, (std::vector<double>{-1120.0, 1024.0, -29.0, 1023.0}));
}

TEST_F(WfdbData, FoldCodesAboveTheLargestPositiveOne)
{
    EXPECT_EQ(file_.Read2sCompliment(32767), 32767);
    EXPECT_EQ(file_.Read2sCompliment(32768), -32768);
    ASSERT_TRUE(Open(WfdbHeaderText(1, 1, "212"), ""));
    EXPECT_EQ(file_.Read2sCompliment(2047), 2047);
    EXPECT_EQ(file_.Read2sCompliment(2048), -2048);
    EXPECT_EQ(file_.Read2sCompliment(4095), -1);
    EXPECT_EQ(file_.Read2sCompliment(-5000), -5000);
    ASSERT_TRUE(Open(WfdbHeaderText(1, 1, "16"), ""));
    EXPECT_EQ(file_.Read2sCompliment(65535), -1);
}

TEST_F(WfdbData, AreExactWhateverTheOffset)
{
    ASSERT_TRUE(Open(WfdbHeaderText(1, 1, "16", "1", INT_MIN), PackFormat16({65535})));
    ASSERT_EQ(ReadAll(0), 1);
    EXPECT_EQ(samples_[0], 2147483647.0);  // 65535 + 2147483648 - 65536
    ASSERT_TRUE(Open(WfdbHeaderText(1, 1, "16", "1", INT_MAX), PackFormat16({0})));
    ASSERT_EQ(ReadAll(0), 1);
    EXPECT_EQ(samples_[0], -2147483647.0);
}

TEST_F(WfdbData, EqualASecondDecoderInEveryLayout)
{
    constexpr int kFrames = 301;
    for (const int format : {212, 16}) {
        for (const int signals : {1, 2, 3, 4, 5, 12, 18}) {
            WfdbModel model{RandomBytes(static_cast<std::size_t>(signals) * kFrames * 2 + 6, 7),
                            format, signals, 100, 40.0};
            ASSERT_TRUE(Open(WfdbHeaderText(signals, kFrames, std::to_string(format), "40", 100),
                             model.bytes));
            for (int channel = 0; channel < signals; ++channel) {
                for (const int start : {0, 1, 2, 5, 300}) {
                    ExpectEqualsModel(model, channel, start, kFrames - start);
                    if (HasFatalFailure()) FAIL() << format << ", " << signals << ", " << start;
                }
            }
        }
    }
}

// Several blocks, and frames that are longer than one.
TEST_F(WfdbData, EqualASecondDecoderInALargeFile)
{
    for (const int format : {212, 16}) {
        for (const int signals : {1, 2, 3, 7001, 50001}) {
            const int frames = 400000 / signals;
            const WfdbModel model{RandomBytes(800000, 5), format, signals, 0, 200.0};
            std::string header = WfdbHeaderText(1, frames, std::to_string(format));
            header.replace(4, 1, std::to_string(signals));
            ASSERT_TRUE(Open(header, model.bytes));
            for (const int channel : {0, signals / 2, signals - 1}) {
                ExpectEqualsModel(model, channel, 0, frames);
                if (HasFatalFailure()) FAIL() << format << ", " << signals;
            }
        }
    }
}

// 15 samples come before: seven pairs, byte 21.
TEST_F(WfdbData, StartAtAWholePair)
{
    std::string bytes(21, '\x55');
    bytes += PackFormat212({7, 8, 9, 10});
    ASSERT_TRUE(Open(WfdbHeaderText(3, 6, "212", "1"), bytes));
    ASSERT_EQ(Read(0, 5, 1), 1);
    EXPECT_EQ(samples_[0], 7.0);
    ASSERT_EQ(Read(1, 5, 1), 1);
    EXPECT_EQ(samples_[0], 8.0);
}

TEST_F(WfdbData, EndWithZeroWhenTheTotalIsOdd)
{
    ASSERT_TRUE(Open(WfdbHeaderText(1, 3, "212", "1"), PackFormat212({7, 8, 9, 10})));
    ASSERT_EQ(ReadAll(0), 3);
    EXPECT_EQ(samples_, (std::vector<double>{7.0, 8.0, 0.0}));
    EXPECT_EQ(minimum_, 7.0);  // the 0 was not read
    ASSERT_TRUE(Open(WfdbHeaderText(3, 1, "212", "1"), PackFormat212({7, 8, 9, 10})));
    ASSERT_EQ(ReadAll(2), 1);
    EXPECT_EQ(samples_[0], 0.0);
    EXPECT_EQ(maximum_, DBL_MIN);
    EXPECT_EQ(minimum_, DBL_MAX);
}

TEST_F(WfdbData, KeepTheirMaximumAtASmallPositiveNumberWhenNoneIsPositive)
{
    ASSERT_TRUE(Open(WfdbHeaderText(1, 2, "212", "1"), PackFormat212({-7, 0})));
    ASSERT_EQ(ReadAll(0), 2);
    EXPECT_EQ(maximum_, 2.2250738585072014e-308);
    EXPECT_EQ(minimum_, -7.0);
}

TEST_F(WfdbData, AreFewerWhereTheRecordEnds)
{
    ASSERT_TRUE(
        Open(WfdbHeaderText(1, 10, "16", "1"), PackFormat16({0, 1, 2, 3, 4, 5, 6, 7, 8, 9})));
    EXPECT_EQ(Read(0, 7, 100), 3);
    EXPECT_EQ(samples_, (std::vector<double>{7.0, 8.0, 9.0}));
    EXPECT_EQ(Read(0, 9, INT_MAX), 1);
    EXPECT_EQ(Read(0, 8, 2), 2);
    EXPECT_EQ(Read(0, 2, 3), 3);
    EXPECT_EQ(samples_, (std::vector<double>{2.0, 3.0, 4.0}));
}

TEST_F(WfdbData, AreNoneOutsideTheRecord)
{
    ASSERT_TRUE(Open(WfdbHeaderText(2, 10, "16"), std::string(40, 'x')));
    ASSERT_EQ(ReadAll(0), 10);
    const double* before = memory_;
    const struct {
        int channel, start, count;
    } refused[] = {{0, 10, 1},       {0, INT_MAX, INT_MAX}, {0, 0, 0},      {0, 0, -1},
                   {0, -1, 5},       {0, INT_MIN, INT_MIN}, {2, 0, 10},     {-1, 0, 10},
                   {INT_MAX, 0, 10}, {INT_MIN, 0, 10},      {0, 5, INT_MIN}};
    for (const auto& call : refused) {
        EXPECT_EQ(file_.ReadChannelValue(call.channel, call.start, call.count, maximum_, minimum_,
                                         memory_),
                  0)
            << call.channel << ", " << call.start << ", " << call.count;
    }
    EXPECT_EQ(memory_, before);  // refused before anything is freed
}

TEST_F(WfdbData, NeedAFileThatIsOpen)
{
    EXPECT_EQ(ReadAll(0), 0);
    EXPECT_EQ(file_.SignalName(0), nullptr);
    WriteRecordFile(headerPath_, WfdbHeaderText(1, 10, "212"));
    ASSERT_TRUE(header_.OpenFile(headerPath_.c_str()));
    EXPECT_FALSE(file_.OpenFile(nullptr, header_));
    EXPECT_FALSE(file_.OpenFile(dir_.File("absent.dat").c_str(), header_));
    EXPECT_EQ(ReadAll(0), 0);
}

TEST_F(WfdbData, AreReadInFormats212And16Alone)
{
    for (const char* format : {"80", "8", "61", "160", "310", "24", "0", "-16", "", "x", "2121"}) {
        EXPECT_FALSE(Open(WfdbHeaderText(1, 10, format), std::string(40, 'x'))) << format;
        EXPECT_EQ(ReadAll(0), 0);
    }
    EXPECT_TRUE(Open(WfdbHeaderText(1, 10, "212x2"), std::string(40, 'x')));
}

TEST_F(WfdbData, KeepOneFileOpenWhileTheyAreRead)
{
    const auto before = CountDescriptors();
    ASSERT_TRUE(Open(WfdbHeaderText(1, 10, "212"), std::string(40, 'x')));
    ASSERT_TRUE(Open(WfdbHeaderText(1, 10, "16"), std::string(40, 'x')));
    EXPECT_EQ(CountDescriptors(), before + 1);
    EXPECT_FALSE(Open(WfdbHeaderText(1, 10, "80"), std::string(40, 'x')));
    EXPECT_EQ(CountDescriptors(), before);
}

TEST_F(WfdbData, OfASignalWithoutALineHaveAGainOf200AndNoName)
{
    ASSERT_TRUE(Open("rec 3 360 2\nrec.dat 16 100 12 0 0 0 0 II\n",
                     PackFormat16({100, 100, 100, 200, 200, 200})));
    ASSERT_EQ(ReadAll(2), 2);
    EXPECT_EQ(samples_, (std::vector<double>{0.5, 1.0}));
    EXPECT_EQ(file_.SignalName(2), nullptr);
    EXPECT_EQ(file_.SignalName(-1), nullptr);
}

TEST_F(WfdbData, AreNoneForARecordOfNoSignals)
{
    for (const char* count : {"0", "-1", "none", "-2147483648"}) {
        ASSERT_TRUE(Open("rec " + std::string(count) + " 360 2\nrec.dat 16 100 12\n", "1234"));
        EXPECT_EQ(ReadAll(0), 0) << count;
    }
}

// What would be needed for each of them is taken for none.
TEST_F(WfdbData, OfARecordOfAbsurdlyManySignalsTakeNoMemoryForThem)
{
    const long before = PeakMemoryBytes();
    for (const char* format : {"16", "212"}) {
        ASSERT_TRUE(Open("rec 2147483647 360 100\nrec.dat " + std::string(format) + " 1 12\n",
                         std::string(3000, '\x01')));
        EXPECT_EQ(ReadAll(0), 100);
        EXPECT_EQ(samples_[0], 257.0);
        EXPECT_EQ(ReadAll(INT_MAX - 1), 100);
        EXPECT_EQ(Read(0, 99, 1), 1);
    }
    if (kSlowdown == 1) {
        EXPECT_LT(PeakMemoryBytes() - before, 4000000);
    }
}

TEST_F(WfdbData, RepeatTheLastBytesOfAShortFile)
{
    ASSERT_TRUE(Open(WfdbHeaderText(2, 4, "212", "1"), PackFormat212({1, 2, 3, 4})));
    ASSERT_EQ(ReadAll(0), 4);
    EXPECT_EQ(samples_, (std::vector<double>{1.0, 3.0, 3.0, 3.0}));
    ASSERT_EQ(ReadAll(1), 4);
    EXPECT_EQ(samples_, (std::vector<double>{2.0, 4.0, 4.0, 4.0}));
    ASSERT_TRUE(Open(WfdbHeaderText(1, 3, "16", "1"), ""));
    ASSERT_EQ(ReadAll(0), 3);
    EXPECT_EQ(samples_, (std::vector<double>{0.0, 0.0, 0.0}));
}

TEST_F(WfdbData, OfAShortFileEqualASecondDecoderWhereverItEnds)
{
    for (const int format : {212, 16}) {
        for (const int signals : {1, 2, 3}) {
            for (std::size_t size = 0; size <= 44; ++size) {
                const WfdbModel model{RandomBytes(size, 3), format, signals, 5, 10.0};
                ASSERT_TRUE(
                    Open(WfdbHeaderText(signals, 9, std::to_string(format), "10", 5), model.bytes));
                for (const int start : {0, 3}) {
                    ExpectEqualsModel(model, signals - 1, start, 9 - start);
                    if (HasFatalFailure()) FAIL() << format << ", " << signals << ", " << size;
                }
            }
        }
    }
}

// Twice as many as it holds, or a million more, is a record that was cut short.
TEST_F(WfdbData, AreNoneWhenTheyAreAbsurdlyManyMoreThanTheFileHolds)
{
    ASSERT_TRUE(Open(WfdbHeaderText(1, 1000000, "16"), ""));
    EXPECT_EQ(ReadAll(0), 1000000);
    ASSERT_TRUE(Open(WfdbHeaderText(1, 1000001, "16"), ""));
    EXPECT_EQ(ReadAll(0), 0);
    EXPECT_EQ(memory_, nullptr);
    ASSERT_TRUE(Open(WfdbHeaderText(2, 3000000, "212"), std::string(4500000, 'x')));
    EXPECT_EQ(ReadAll(1), 3000000);
    ASSERT_TRUE(Open(WfdbHeaderText(2, 3000001, "212"), std::string(4500000, 'x')));
    EXPECT_EQ(ReadAll(1), 0);
    ASSERT_TRUE(Open(WfdbHeaderText(2, INT_MAX, "16"), std::string(30000, 'x')));
    EXPECT_EQ(ReadAll(0), 0);
    EXPECT_EQ(Read(0, INT_MAX - 1, 5), 1);  // what is asked for counts, not what is promised
}

TEST_F(WfdbData, MayHaveAGainThatIsNoUsefulNumber)
{
    ASSERT_TRUE(Open(WfdbHeaderText(1, 2, "16", "inf"), PackFormat16({100, -100})));
    ASSERT_EQ(ReadAll(0), 2);
    EXPECT_EQ(samples_, (std::vector<double>{0.0, 0.0}));
    ASSERT_TRUE(Open(WfdbHeaderText(1, 2, "16", "nan"), PackFormat16({100, -100})));
    ASSERT_EQ(ReadAll(0), 2);
    EXPECT_TRUE(std::isnan(samples_[0]));
    EXPECT_EQ(minimum_, DBL_MAX);
    ASSERT_TRUE(Open(WfdbHeaderText(1, 2, "16", "-50"), PackFormat16({100, -100})));
    ASSERT_EQ(ReadAll(0), 2);
    EXPECT_EQ(samples_, (std::vector<double>{-2.0, 2.0}));
}

// The array, and a block of the file.
TEST_F(WfdbData, TakeTheMemoryOfTheirArrayAlone)
{
    if (kSlowdown != 1) GTEST_SKIP() << "a sanitizer keeps memory of its own";
    constexpr int kFrames = 2000000;
    ASSERT_TRUE(Open(WfdbHeaderText(2, kFrames, "212"), ""));
    {
        std::ofstream data(dataPath_, std::ios::binary);
        const std::string piece(30000, 'x');
        for (int i = 0; i < 3 * kFrames / 30000; ++i) data << piece;
    }
    const long before = PeakMemoryBytes();
    ASSERT_EQ(file_.ReadChannel(1, maximum_, minimum_, memory_), kFrames);
    EXPECT_LT(PeakMemoryBytes() - before, kFrames * 8L + 1000000L);
}
}  // namespace
