// A record on its way from the file to the instrument: the samples, the seam, the end, and records
// that change while they play.

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <span>
#include <vector>

#include "support/LinkHost.h"
#include "support/PlayClockModel.h"
#include "support/RecordFiles.h"
#include "support/WaveformEnds.h"
#include "support/WfdbWriter.h"

using namespace instrument;

namespace {

constexpr int kStreamRate = 20000;
constexpr std::size_t kPacketSamples = 700;
constexpr double kMvPerStep = 0.005;
constexpr int kCodesPerStep = 8;  // 1600 to a millivolt
constexpr int kDistinct = 1000;

// A record without a value that comes twice, or is 0, or lies within 8 codes of another; records of
// another mark have none of its values. Steps of 5 uV fit the text format with three decimals, and
// 12 bits at 200 steps a millivolt.
struct MarkedRecord {
    long samples;  // at most kDistinct
    int rate;
    int mark = 1;  // 1 or 2

    int Steps(long k) const
    {
        return 3 * (static_cast<int>(k * 389 % kDistinct) - kDistinct / 2) + mark;
    }
    double Millivolts(long k) const { return Steps(k) * kMvPerStep; }
    std::vector<double> Values() const
    {
        std::vector<double> values;
        for (long k = 0; k < samples; ++k) values.push_back(Millivolts(k));
        return values;
    }

    // Whether the code is that of the record `step` stream samples after its start. Where the time
    // is that of a sample of the record to the last bit, the one before it may still be held.
    bool Gives(int code, long step) const
    {
        const long position = step * rate;
        const long k = position / kStreamRate;
        if (IsCodeOf(code, k % samples)) return true;
        return step > 0 && position % kStreamRate == 0 && IsCodeOf(code, (k - 1) % samples);
    }

private:
    bool IsCodeOf(int code, long k) const { return std::abs(code - Steps(k) * kCodesPerStep) <= 1; }
};

// The AC codes from the first sample on, which a fast instrument does not keep for long.
class CKeptCodes {
public:
    explicit CKeptCodes(std::size_t most) : most_(most) {}

    void Add(std::span<const Sample> samples)
    {
        const std::lock_guard lock(mutex_);
        for (const Sample& sample : samples) {
            if (codes_.size() < most_) codes_.push_back(sample.codes.ac);
        }
        grown_.notify_all();
    }
    bool WaitFor(std::size_t count)
    {
        std::unique_lock lock(mutex_);
        return grown_.wait_for(lock, kGenerousTimeout, [&] { return codes_.size() >= count; });
    }
    std::size_t Count()
    {
        const std::lock_guard lock(mutex_);
        return codes_.size();
    }
    std::vector<std::int16_t> Get()
    {
        const std::lock_guard lock(mutex_);
        return codes_;
    }

private:
    const std::size_t most_;
    std::mutex mutex_;
    std::condition_variable grown_;
    std::vector<std::int16_t> codes_;
};

class RecordPlay : public RecordFiles {
protected:
    explicit RecordPlay(Pace pace = Pace::Fast) : instrument_(Keeping(pace, codes_))
    {
        WaveformEnds::Register();
    }

    static int HandOverRecord(const MarkedRecord& record)
    {
        const std::vector<double> values = record.Values();
        return SetRawArray(static_cast<int>(record.samples), values.data(), record.rate);
    }

    // The second of two channels; the first one is the record upside down.
    std::string WriteText(const MarkedRecord& record, const char* name = "record.txt") const
    {
        TextRecord text;
        text.rate = std::to_string(record.rate);
        text.count = std::to_string(record.samples);
        text.lines.clear();
        for (const double mv : record.Values()) {
            char line[64];
            std::snprintf(line, sizeof line, "%.3f,%.3f", -mv, mv);
            text.lines.emplace_back(line);
        }
        return Write(name, text.Text());
    }
    int LoadText(const MarkedRecord& record) const
    {
        return VRAXLoadECGtxt(WriteText(record).c_str(), 1);
    }
    // At the 360 Hz of the header.
    int LoadFormat212(const MarkedRecord& record) const
    {
        std::vector<int> codes;
        for (long k = 0; k < record.samples; ++k) {
            codes.push_back(-record.Steps(k));
            codes.push_back(record.Steps(k));
        }
        const std::string header =
            Write("rec.hea", WfdbHeaderText(2, static_cast<int>(record.samples), "212"));
        return VRAXLoadECGdat(header.c_str(), Write("rec.dat", PackFormat212(codes)).c_str(), 1);
    }

    // The record from the first sample on, looped.
    void ExpectPlays(const MarkedRecord& record, std::size_t count)
    {
        ASSERT_TRUE(codes_.WaitFor(count));
        const std::vector<std::int16_t> codes = codes_.Get();
        const std::vector<long> steps = TimeSteps(count, kStreamRate);
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_TRUE(record.Gives(codes[i], steps[i]))
                << "sample " << i << ", time step " << steps[i] << ", code " << codes[i];
        }
    }

    CKeptCodes codes_{20000000};
    SimulatedInstrument instrument_;
    CConnectedHost host_{kPatientMs};

private:
    static Options Keeping(Pace pace, CKeptCodes& codes)
    {
        Options options;
        options.pace = pace;
        options.onSamples = [&codes](std::span<const Sample> samples) { codes.Add(samples); };
        return options;
    }
};

// For what depends on when a call comes.
class RecordPlayInRealTime : public RecordPlay {
protected:
    RecordPlayInRealTime() : RecordPlay(Pace::RealTime) {}
};

// What a packet holds.
enum class Content { First, Second, Nothing, Torn };

// `steps` are the time steps of the packet's samples.
Content ContentOf(std::span<const std::int16_t> packet, std::span<const long> steps,
                  const MarkedRecord& first, const MarkedRecord& second)
{
    const auto all = [&](auto holds) {
        for (std::size_t i = 0; i < packet.size(); ++i) {
            if (!holds(packet[i], steps[i])) return false;
        }
        return true;
    };
    if (all([&](int code, long step) { return first.Gives(code, step); })) return Content::First;
    if (all([&](int code, long step) { return second.Gives(code, step); })) return Content::Second;
    return all([](int code, long) { return code == 0; }) ? Content::Nothing : Content::Torn;
}

std::vector<Content> ContentOfPackets(const std::vector<std::int16_t>& codes,
                                      const MarkedRecord& first, const MarkedRecord& second)
{
    const std::vector<long> steps = TimeSteps(codes.size(), kStreamRate);
    std::vector<Content> contents;
    for (std::size_t i = 0; i + kPacketSamples <= codes.size(); i += kPacketSamples) {
        contents.push_back(ContentOf(std::span(codes).subspan(i, kPacketSamples),
                                     std::span(steps).subspan(i, kPacketSamples), first, second));
    }
    return contents;
}

// 2.8 s, no whole number of stream samples.
constexpr MarkedRecord kRecord{1000, 360};
constexpr std::size_t kThreePeriods = 170000;
// Both 2 s long, so that one can take the place of the other in a cycle.
constexpr MarkedRecord kFirst{720, 360, 1};
constexpr MarkedRecord kSecond{1000, 500, 2};

}  // namespace

TEST_F(RecordPlay, GivesARecordHandedOverSampleBySampleWithoutASeam)
{
    ASSERT_EQ(HandOverRecord(kRecord), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ExpectPlays(kRecord, kThreePeriods);
    EXPECT_TRUE(WaveformEnds::Told().empty());
    EXPECT_EQ(VRAXIsPlaying(), 1);
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    EXPECT_EQ(instrument_.Relays().sampleRate, 20000U);
}

TEST_F(RecordPlay, GivesATextFileSampleBySampleWithoutASeam)
{
    ASSERT_EQ(LoadText(kRecord), 1000);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ExpectPlays(kRecord, kThreePeriods);
}

TEST_F(RecordPlay, GivesAFormat212RecordSampleBySampleWithoutASeam)
{
    ASSERT_EQ(LoadFormat212(kRecord), 1000);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ExpectPlays(kRecord, kThreePeriods);
}

// Each seam falls on a stream sample: 300 samples of 80.
TEST_F(RecordPlay, HasNoSeamWhereThePeriodIsAWholeNumberOfStreamSamples)
{
    constexpr MarkedRecord kWhole{300, 250};
    ASSERT_EQ(HandOverRecord(kWhole), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ExpectPlays(kWhole, 20 * 300 * 80);
}

TEST_F(RecordPlay, HoldsEachSampleOfASlowRecord)
{
    constexpr MarkedRecord kSlow{7, 3};
    ASSERT_EQ(HandOverRecord(kSlow), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ExpectPlays(kSlow, 5 * 7 * kStreamRate / 3);
}

TEST_F(RecordPlay, SaturatesWhatTheOutputCannotReach)
{
    const double beyond[] = {81.9, -81.9};
    ASSERT_EQ(SetRawArray(2, beyond, 100), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ASSERT_TRUE(codes_.WaitFor(399));
    const std::vector<std::int16_t> codes = codes_.Get();
    for (std::size_t i = 0; i < 200; ++i) ASSERT_EQ(codes[i], 32767) << i;
    for (std::size_t i = 201; i < 399; ++i) ASSERT_EQ(codes[i], -32768) << i;
}

TEST_F(RecordPlay, IsInMicrovoltsWithoutTheMillivoltFlag)
{
    std::vector<double> microvolts = kRecord.Values();
    for (double& value : microvolts) value *= 1000.0;
    ASSERT_EQ(SetRawArray(1000, microvolts.data(), 360), 0);
    ECGFileUnitMV = 0;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ExpectPlays(kRecord, kThreePeriods / 3);
}

TEST_F(RecordPlay, IsInMillivoltsAgainAfterALoad)
{
    ECGFileUnitMV = 0;
    ASSERT_EQ(LoadFormat212(kRecord), 1000);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ExpectPlays(kRecord, kThreePeriods / 3);
}

// 401 samples of 360 Hz end within a stream sample, the 22278th from 0.
TEST_F(RecordPlay, PlayedOnceTellsItsEndOnceAndSwitchesTheOutputOff)
{
    constexpr MarkedRecord kOnce{401, 360};
    constexpr std::size_t kSamples = 22278;
    VRAXSetFileLoop(0);
    ASSERT_EQ(LoadFormat212(kOnce), 401);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ASSERT_TRUE(instrument_.WaitForStop());
    ASSERT_TRUE(WaitForTheEndOfTheRun());
    WaveformEnds::ExpectOne(401 / 360.0, kStreamRate);
    EXPECT_TRUE(Eventually([&] { return instrument_.Relays().operateMode == 8; }));

    const StreamStatistics statistics = instrument_.Statistics();
    EXPECT_TRUE(IsStopPacket(instrument_.LastPacket()));
    EXPECT_EQ(statistics.stopPackets, 1U);
    EXPECT_EQ(statistics.runs, 1U);
    EXPECT_EQ(statistics.sequenceErrors, 0U);
    ExpectPlays(kOnce, kSamples);
    const std::vector<std::int16_t> codes = codes_.Get();
    // The sample that ends the run is the record's first one again.
    EXPECT_EQ(codes.size(), (kSamples / kPacketSamples + 1) * kPacketSamples);
    for (std::size_t i = kSamples + 1; i < codes.size(); ++i) ASSERT_EQ(codes[i], 0) << i;
    ExpectNoRefusals(instrument_);
}

TEST_F(RecordPlay, PlayedOnceEndsAgainWithEveryRun)
{
    VRAXSetFileLoop(0);
    ASSERT_EQ(LoadText({100, 360}), 100);
    for (unsigned run = 1; run <= 3; ++run) {
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
        ASSERT_TRUE(instrument_.WaitForStop(run));
        ASSERT_TRUE(WaitForTheEndOfTheRun());
        EXPECT_EQ(WaveformEnds::Told().size(), run);
    }
}

TEST_F(RecordPlay, IsZeroWithoutARecord)
{
    ClearRawArray();
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ASSERT_TRUE(codes_.WaitFor(50000));
    for (const std::int16_t code : codes_.Get()) ASSERT_EQ(code, 0);
    EXPECT_EQ(VRAXIsPlaying(), 1);
    EXPECT_TRUE(WaveformEnds::Told().empty());
}

TEST_F(RecordPlay, TearsNoSampleWhileRecordsAreLoaded)
{
    const std::string first = WriteText(kFirst, "first.txt");
    const std::string second = WriteText(kSecond, "second.txt");
    ASSERT_EQ(VRAXLoadECGtxt(first.c_str(), 1), 720);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(VRAXLoadECGtxt(second.c_str(), 1), 1000);
        ASSERT_TRUE(instrument_.WaitForMorePackets(3));
        ASSERT_EQ(VRAXLoadECGtxt(first.c_str(), 1), 720);
        ASSERT_TRUE(instrument_.WaitForMorePackets(3));
    }
    const std::vector<Content> contents = ContentOfPackets(codes_.Get(), kFirst, kSecond);
    const auto packetsOf = [&](Content content) {
        return std::count(contents.begin(), contents.end(), content);
    };
    EXPECT_EQ(packetsOf(Content::Torn), 0);
    EXPECT_GT(packetsOf(Content::First), 0);
    EXPECT_GT(packetsOf(Content::Second), 0);
    EXPECT_EQ(instrument_.Statistics().runs, 1U);
}

TEST_F(RecordPlayInRealTime, IsTheNewRecordAtOnceInTheMiddleOfTheCycle)
{
    ASSERT_EQ(LoadText(kFirst), 720);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(5));
    const std::size_t before = codes_.Count() / kPacketSamples;
    ASSERT_EQ(LoadText(kSecond), 1000);
    const std::size_t after = instrument_.PacketCount();
    ASSERT_TRUE(instrument_.WaitForPackets(after + 80));  // beyond the end of the cycle

    const std::vector<Content> contents = ContentOfPackets(codes_.Get(), kFirst, kSecond);
    std::size_t packet = 0;
    while (packet < contents.size() && contents[packet] == Content::First) ++packet;
    EXPECT_GE(packet, before);
    while (packet < contents.size() && contents[packet] == Content::Nothing) ++packet;
    EXPECT_LE(packet, after + 2);  // one may have been built before the load, one be on its way
    ASSERT_LT(packet, contents.size());
    for (; packet < contents.size(); ++packet) ASSERT_EQ(contents[packet], Content::Second);
    EXPECT_EQ(instrument_.Statistics().runs, 1U);
}

TEST_F(RecordPlayInRealTime, TakesUpTheFirstRecordOfARunThatBeganWithoutOne)
{
    ClearRawArray();
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(3));
    ASSERT_EQ(HandOverRecord(kRecord), 0);
    ASSERT_TRUE(instrument_.WaitForMorePackets(100));
    const std::vector<std::int16_t> codes = codes_.Get();  // beyond the first period
    const std::vector<long> steps = TimeSteps(codes.size(), kStreamRate);
    std::size_t i = 0;
    while (i < codes.size() && codes[i] == 0) ++i;
    EXPECT_GE(i, 3 * kPacketSamples);
    ASSERT_LT(i, codes.size());
    for (; i < codes.size(); ++i) ASSERT_TRUE(kRecord.Gives(codes[i], steps[i])) << i;
}

TEST_F(RecordPlayInRealTime, IsZeroOnceItIsEmptiedAndTheRunGoesOn)
{
    ASSERT_EQ(HandOverRecord(kFirst), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG_FILE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(5));
    ClearRawArray();
    const std::size_t after = instrument_.PacketCount();
    ASSERT_TRUE(instrument_.WaitForPackets(after + 10));
    const std::vector<Content> contents = ContentOfPackets(codes_.Get(), kFirst, kSecond);
    std::size_t packet = 0;
    while (packet < contents.size() && contents[packet] == Content::First) ++packet;
    EXPECT_GE(packet, 4U);
    EXPECT_LE(packet, after + 2);
    for (; packet < contents.size(); ++packet) ASSERT_EQ(contents[packet], Content::Nothing);
    EXPECT_EQ(VRAXIsPlaying(), 1);
}
