// Changes while a signal plays, as the instrument decodes them.

#include <gtest/gtest.h>

#include <cmath>

#include "support/LinkHost.h"
#include "support/PlayClockModel.h"

using namespace instrument;

namespace {

constexpr int kRate = 20000;
constexpr int kPacketSamples = 700;

Options KeepingSamples()
{
    Options options = RealTime();
    options.keepSamples = 2000000;
    return options;
}

// The first sample with another absolute AC code than the first one has.
std::size_t FirstOther(const std::vector<Sample>& samples)
{
    const int code = std::abs(samples[0].codes.ac);
    std::size_t i = 0;
    while (i < samples.size() && std::abs(samples[i].codes.ac) == code) ++i;
    return i;
}

class ChangeWhilePlaying : public testing::Test {
protected:
    std::vector<Sample> SamplesOf(std::size_t packets)
    {
        EXPECT_TRUE(instrument_.WaitForPackets(packets));
        return instrument_.Samples();
    }

    SimulatedInstrument instrument_{KeepingSamples()};
    CConnectedHost host_{kPatientMs};
};

}  // namespace

TEST_F(ChangeWhilePlaying, AmplitudeIsSeenFromTheEndOfTheCycleOn)
{
    constexpr int kPeriod = kRate / 4;
    ASSERT_EQ(VRAXSetFrequency(4.0), 0);
    ASSERT_EQ(VRAXSetAmplitude(2.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SQUARE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(2));
    ASSERT_EQ(VRAXSetAmplitude(4.0), 0);
    const std::vector<Sample> samples = SamplesOf(60);

    const std::vector<long> steps = TimeSteps(samples.size(), kRate);
    const std::size_t first = FirstOther(samples);
    ASSERT_LT(first, samples.size());
    // 0.4 ms are 8 samples. The last of them that is 0.4 ms early to the last bit may count or not,
    // and the sample at which the change is applied is still the old one.
    const long position = steps[first] % kPeriod;
    EXPECT_GE(position, kPeriod - 8);
    EXPECT_LE(position, kPeriod - 6);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (steps[i] % (kPeriod / 2) == 0) continue;  // an edge falls to either side of it
        const bool high = steps[i] % kPeriod < kPeriod / 2;
        const int code = (i < first ? 1600 : 3200) * (high ? 1 : -1);
        ASSERT_EQ(samples[i].codes.ac, code) << i;
    }
}

TEST_F(ChangeWhilePlaying, FrequencyBendsNoCycle)
{
    ASSERT_EQ(VRAXSetFrequency(4.0), 0);
    ASSERT_EQ(VRAXSetAmplitude(10.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(1));
    ASSERT_EQ(VRAXSetFrequency(8.0), 0);
    const std::vector<Sample> samples = SamplesOf(45);
    const std::vector<long> steps = TimeSteps(samples.size(), kRate);
    // 2 seconds have passed at 4 Hz at the end of each cycle, a whole number of cycles at 8 Hz too,
    // so both are sines of the time since the start.
    std::size_t i = 0;
    const auto code = [&](double hertz) {
        const double t = static_cast<double>(steps[i]) / kRate;
        return 5.0 * 1600.0 * std::sin(2.0 * M_PI * hertz * t);
    };
    while (i < samples.size() && std::abs(samples[i].codes.ac - code(4.0)) <= 1.0) ++i;
    ASSERT_LT(i, samples.size()) << "the change was never applied";
    // They part at the end of a cycle, within the time in which both sines are nearly 0.
    EXPECT_LE(std::abs(std::remainder(static_cast<double>(steps[i]), kRate / 4.0)), 10.0);
    for (; i < samples.size(); ++i) {
        ASSERT_NEAR(samples[i].codes.ac, code(8.0), 1.0) << i;
    }
}

TEST_F(ChangeWhilePlaying, IsSeenAtOnceBelow0_15Hertz)
{
    ASSERT_EQ(VRAXSetFrequency(0.1), 0);
    ASSERT_EQ(VRAXSetAmplitude(2.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SQUARE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(2));
    ASSERT_EQ(VRAXSetAmplitude(6.0), 0);
    const std::vector<Sample> samples = SamplesOf(instrument_.PacketCount() + 6);
    const std::size_t first = FirstOther(samples);
    ASSERT_LT(first, samples.size());
    // Within the packet that was built next, far from the end of a cycle of 10 s.
    EXPECT_EQ(first % kPacketSamples, 1U);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        ASSERT_EQ(samples[i].codes.ac, i < first ? 1600 : 4800) << i;
    }
}

TEST_F(ChangeWhilePlaying, OffsetIsReadWithEachSample)
{
    ASSERT_EQ(VRAXSetFrequency(0.5), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(2));
    ASSERT_EQ(VRAXSetDCOffset(250), 0);
    const std::vector<Sample> samples = SamplesOf(instrument_.PacketCount() + 4);
    std::size_t first = 0;
    while (first < samples.size() && samples[first].codes.dc == 32767) ++first;
    ASSERT_LT(first, static_cast<std::size_t>(kRate));  // long before the cycle's end
    // trunc(32.7675 * 1250)
    for (std::size_t i = first; i < samples.size(); ++i) ASSERT_EQ(samples[i].codes.dc, 40959);
}

TEST_F(ChangeWhilePlaying, SeveralChangesOfOneCycleComeTogether)
{
    ASSERT_EQ(VRAXSetFrequency(4.0), 0);
    ASSERT_EQ(VRAXSetAmplitude(2.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SQUARE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(1));
    for (const double amplitude : {3.0, 5.0, 7.0, 9.0}) {
        ASSERT_EQ(VRAXSetAmplitude(amplitude), 0);
    }
    EXPECT_EQ(VRAXGetAmplitude(), 9.0);
    const std::vector<Sample> samples = SamplesOf(40);
    std::vector<int> heights;
    for (const Sample& sample : samples) {
        const int height = std::abs(sample.codes.ac);
        if (heights.empty() || heights.back() != height) heights.push_back(height);
    }
    // A cycle may end between two of the calls; no height comes twice or out of order.
    EXPECT_GE(heights.size(), 2U);
    EXPECT_EQ(heights.front(), 1600);
    EXPECT_EQ(heights.back(), 7200);
    EXPECT_TRUE(std::is_sorted(heights.begin(), heights.end()));
}

// No packet of the new function at the time of the old one, and none that is half of each.
TEST_F(ChangeWhilePlaying, AnotherFunctionBeginsAtItsStart)
{
    ASSERT_EQ(VRAXSetAmplitude(8.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SQUARE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(5));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_TRIANGLE), 0);
    const std::vector<Sample> samples = SamplesOf(instrument_.PacketCount() + 4);
    const std::size_t first = FirstOther(samples);
    ASSERT_LT(first + kPacketSamples, samples.size());
    EXPECT_EQ(first % kPacketSamples, 0U);
    // 4 mV are reached after a quarter of a second.
    for (std::size_t i = 0; i < kPacketSamples; ++i) {
        const double mv = 4.0 * static_cast<double>(i) / (0.25 * kRate);
        ASSERT_NEAR(samples[first + i].codes.ac, mv * 1600.0, 1.01) << i;
    }
}

TEST_F(ChangeWhilePlaying, RecordOfTheSamplesCanBeSwitchedOnAndOff)
{
    static std::vector<double> s_shown;  // packet thread until the run has ended
    VRAXRegisterOutputSignalCallback([](double, double mv) { s_shown.push_back(mv); }, 0);
    ASSERT_EQ(VRAXSetFrequency(7.0), 0);
    ASSERT_EQ(VRAXSetDCOffset(120), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(2));

    constexpr int kLength = 3 * kPacketSamples + 10;
    constexpr double kUntouched = 1e9;
    std::vector<double> ac(kLength, kUntouched);
    std::vector<double> dc(kLength, kUntouched);
    ASSERT_TRUE(EnableRecordRaw(ac.data(), dc.data(), kLength));
    EXPECT_FALSE(EnableRecordRaw(ac.data(), dc.data(), kLength));
    ASSERT_TRUE(instrument_.WaitForMorePackets(8));  // more than there is room for
    DisableRecordRaw();
    const std::vector<double> recorded = ac;
    EXPECT_EQ(dc, std::vector<double>(kLength, 120.0));

    // Nothing is written any more.
    std::fill(ac.begin(), ac.end(), kUntouched);
    ASSERT_TRUE(instrument_.WaitForMorePackets(4));
    EXPECT_EQ(ac, std::vector<double>(kLength, kUntouched));

    // Shorter than a packet, without an end of its own.
    ASSERT_TRUE(EnableRecordRaw(ac.data(), dc.data(), kLength));
    DisableRecordRaw();

    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_NE(std::search(s_shown.begin(), s_shown.end(), recorded.begin(), recorded.end()),
              s_shown.end());
}
