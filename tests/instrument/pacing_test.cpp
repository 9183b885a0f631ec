// The pacing pulse: made by the instrument from its control block and the marks in the packets.

#include <cmath>
#include <utility>

#include <gtest/gtest.h>

#include "HostPort.h"
#include "instrument/SimulatedInstrument.h"

using namespace instrument;
using namespace instrument_test;

namespace {

constexpr std::uint32_t kInternalRespiration = 1U << 3;

Options Recording()
{
    Options options;
    options.keepSamples = 100000;
    return options;
}

// Reads the control block, changes the pacing fields and writes it back. False when that is not
// acknowledged.
bool SetPacing(const HostPort& host, int amplitudeCode, unsigned units)
{
    Bytes block = host.Ask({0xEA, 0x00, 0x01});
    if (block.size() != 64) return false;
    block[1] = 0xFF;
    block[24] = static_cast<std::uint8_t>(amplitudeCode >> 8 & 0xFF);
    block[25] = static_cast<std::uint8_t>(amplitudeCode & 0xFF);
    block[26] = static_cast<std::uint8_t>(units >> 8);
    block[27] = static_cast<std::uint8_t>(units & 0xFF);
    const Bytes reply = host.Ask(block);
    return reply.size() == 64 && reply[3] == 0xFF;
}

// Codes of the uncalibrated table, 32.7675 to a millivolt and cut to whole ones.
constexpr int kZeroCode = 32767;
constexpr int kHundredMv = 36044 - kZeroCode;
constexpr int kMinusHundredMv = 29490 - kZeroCode;

// Plays packets with marks: {frame, 1-based slot} in each.
class MarkedPlayer {
public:
    MarkedPlayer(const HostPort& host, unsigned rate, std::uint32_t relays = 0) : host_(host)
    {
        host_.Ask(RelayCommand(0x03, rate, relays));
    }
    bool Play(const std::vector<std::pair<std::size_t, std::uint8_t>>& marks)
    {
        Bytes packet = MakePacket({0x03, sequence_, 32767, 1600, 0});
        for (const auto& [frame, slot] : marks) packet[64 * frame + 4] = slot;
        sequence_ = static_cast<std::uint16_t>(sequence_ + 50);
        if (host_.Ask(packet).size() != 64) return false;
        return host_.Ask({0xCC, 0x00, 'B'}).size() == 64;  // it is decoded after its reply
    }
    // The packet's AC content is 0 mV, as a stop packet's.
    bool PlayResting()
    {
        const Bytes packet = MakePacket({0x03, sequence_, 32767, 0, 0});
        sequence_ = static_cast<std::uint16_t>(sequence_ + 50);
        return host_.Ask(packet).size() == 64;
    }
    bool Stop() { return host_.Ask(MakeStopPacket(0x03, sequence_)).size() == 64; }

private:
    const HostPort& host_;
    std::uint16_t sequence_ = 0;
};

std::size_t SamplesInPulses(const SimulatedInstrument& instrument)
{
    std::size_t count = 0;
    for (const Sample& sample : instrument.Samples()) count += sample.pulseMv != 0 ? 1 : 0;
    return count;
}

}  // namespace

TEST(PacingSettings, ApplyFromTheWriteOn)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EXPECT_EQ(instrument.Pacing().amplitudeMv, 0.0);
    ASSERT_TRUE(SetPacing(host, kHundredMv, 80));
    EXPECT_NEAR(instrument.Pacing().amplitudeMv, 100.0, 1.0 / 32);
    EXPECT_DOUBLE_EQ(instrument.Pacing().durationMs, 2.0);
    ASSERT_TRUE(SetPacing(host, kMinusHundredMv, 1));
    EXPECT_NEAR(instrument.Pacing().amplitudeMv, -100.0, 1.0 / 32);
    EXPECT_DOUBLE_EQ(instrument.Pacing().durationMs, 0.025);
}

TEST(PacingSettings, CountTenthsOfAMillisecondWithTheRespirationModule)
{
    Options options;
    options.respirationModule = true;
    SimulatedInstrument instrument(options);
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, kHundredMv, 23));
    EXPECT_DOUBLE_EQ(instrument.Pacing().durationMs, 2.3);
}

TEST(PacingSettings, AreAcCodesWhileRespirationIsOn)
{
    SimulatedInstrument instrument;
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, -3200, 80));
    host.Ask(RelayCommand(0x03, 20000, kInternalRespiration));
    EXPECT_DOUBLE_EQ(instrument.Pacing().amplitudeMv, -2.0);
    host.Ask(RelayCommand(0x03, 20000));
    EXPECT_NEAR(instrument.Pacing().amplitudeMv, -3200 / 32.7675, 1.0 / 32);
}

// A falling table turns the sign of a difference round.
TEST(PacingSettings, GoThroughTheCalibrationOfTheInstrument)
{
    SimulatedInstrument instrument;
    DcWords words;
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<std::uint16_t>(50000 - 10 * i);
    }
    instrument.ProgramDcTable(words);
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, -1500, 80));
    EXPECT_DOUBLE_EQ(instrument.Pacing().amplitudeMv, 150.0);
}

TEST(PacingSettings, OfMoreThanThreeMillisecondsAreRefused)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EXPECT_TRUE(SetPacing(host, kHundredMv, 120));
    Bytes block = host.Ask({0xEA, 0x00, 0x01});
    block[1] = 0xFF;
    block[27] = 121;
    ASSERT_TRUE(host.Write(block));
    EXPECT_TRUE(host.IsSilent());
    ASSERT_EQ(instrument.RefusalCount(), 1U);
    EXPECT_EQ(instrument.Refusals()[0].reason, "a pacing pulse of 3025 us");
    EXPECT_DOUBLE_EQ(instrument.Pacing().durationMs, 3.0);
}

TEST(PacingSettings, AreLostWithThePower)
{
    SimulatedInstrument instrument;
    {
        const HostPort host;
        ASSERT_TRUE(SetPacing(host, kHundredMv, 80));
    }
    instrument.Unplug();
    instrument.Plug();
    EXPECT_EQ(instrument.Pacing().amplitudeMv, 0.0);
    EXPECT_EQ(instrument.Pacing().durationMs, 0.0);
}

TEST(PacingPulse, StartsWithTheMarkedSampleAndLastsItsLength)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, kHundredMv, 80));
    MarkedPlayer player(host, 20000);
    ASSERT_TRUE(player.Play({{3, 5}}));

    constexpr std::size_t kStart = 3 * 14 + 4;
    constexpr std::size_t kLength = 40;  // 2 ms at 20,000 a second
    const auto samples = instrument.Samples();
    ASSERT_EQ(samples.size(), 700U);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const bool isInside = i >= kStart && i < kStart + kLength;
        EXPECT_NEAR(samples[i].pulseMv, isInside ? 100.0 : 0.0, isInside ? 1.0 / 32 : 0.0) << i;
        EXPECT_EQ(samples[i].marker, i == kStart) << i;
        EXPECT_DOUBLE_EQ(samples[i].acMv, 1.0);
        EXPECT_DOUBLE_EQ(samples[i].dcMv, 0.0);
    }
    const auto pulses = instrument.Pulses();
    ASSERT_EQ(pulses.size(), 1U);
    EXPECT_EQ(pulses[0].sample, kStart);
    EXPECT_DOUBLE_EQ(pulses[0].time, kStart / 20000.0);
    EXPECT_NEAR(pulses[0].amplitudeMv, 100.0, 1.0 / 32);
    EXPECT_DOUBLE_EQ(pulses[0].durationMs, 2.0);
    EXPECT_EQ(pulses[0].run, 1U);
}

TEST(PacingPulse, OfTwoMillisecondsLastsTwoSamplesAtAThousandASecond)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, kMinusHundredMv, 80));
    MarkedPlayer player(host, 1000);
    ASSERT_TRUE(player.Play({{0, 1}}));
    EXPECT_EQ(SamplesInPulses(instrument), 2U);
    EXPECT_NEAR(instrument.Samples().at(1).pulseMv, -100.0, 1.0 / 32);
}

// 1.5 ms: the instants 0 and 1 ms after the mark.
TEST(PacingPulse, ShowsInEverySampleWhoseInstantItCovers)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, kHundredMv, 60));
    MarkedPlayer player(host, 1000);
    ASSERT_TRUE(player.Play({{0, 1}}));
    EXPECT_EQ(SamplesInPulses(instrument), 2U);
}

TEST(PacingPulse, ShorterThanASampleShowsInTheMarkedOneWithItsLengthInTheList)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, kHundredMv, 1));
    MarkedPlayer player(host, 1000);
    ASSERT_TRUE(player.Play({{2, 14}}));
    EXPECT_EQ(SamplesInPulses(instrument), 1U);
    EXPECT_NE(instrument.Samples().at(2 * 14 + 13).pulseMv, 0.0);
    ASSERT_EQ(instrument.Pulses().size(), 1U);
    EXPECT_DOUBLE_EQ(instrument.Pulses()[0].durationMs, 0.025);
}

TEST(PacingPulse, GoesOnInTheNextFrameAndPacket)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, kHundredMv, 80));
    MarkedPlayer player(host, 20000);
    ASSERT_TRUE(player.Play({{49, 14}}));
    ASSERT_TRUE(player.PlayResting());
    ASSERT_TRUE(player.Play({}));
    const auto samples = instrument.Samples();
    ASSERT_EQ(samples.size(), 2100U);
    EXPECT_NE(samples[699].pulseMv, 0.0);
    EXPECT_NE(samples[699 + 39].pulseMv, 0.0);
    EXPECT_EQ(samples[699 + 40].pulseMv, 0.0);
    EXPECT_EQ(SamplesInPulses(instrument), 40U);
}

TEST(PacingPulse, ASecondOneWhileOneRunsBeginsAnew)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, kHundredMv, 80));
    MarkedPlayer player(host, 20000);
    ASSERT_TRUE(player.Play({{0, 1}, {1, 11}}));  // samples 0 and 24
    EXPECT_EQ(SamplesInPulses(instrument), 24U + 40U);
    const auto pulses = instrument.Pulses();
    ASSERT_EQ(pulses.size(), 2U);
    EXPECT_EQ(pulses[1].sample, 24U);
    EXPECT_EQ(instrument.Statistics().pulses, 2U);
}

TEST(PacingPulse, EndsWithTheRun)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, kHundredMv, 80));
    MarkedPlayer first(host, 20000);
    ASSERT_TRUE(first.Play({{49, 14}}));
    ASSERT_TRUE(first.Stop());
    MarkedPlayer second(host, 20000);
    ASSERT_TRUE(second.Play({}));
    EXPECT_EQ(instrument.Statistics().runs, 2U);
    EXPECT_EQ(SamplesInPulses(instrument), 1U);
}

TEST(PacingPulse, NeedsAnAmplitudeAndALength)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    MarkedPlayer player(host, 20000);
    ASSERT_TRUE(player.Play({{0, 1}}));
    ASSERT_TRUE(SetPacing(host, kHundredMv, 0));
    ASSERT_TRUE(player.Play({{0, 1}}));
    ASSERT_TRUE(SetPacing(host, 0, 80));
    ASSERT_TRUE(player.Play({{0, 1}}));
    EXPECT_TRUE(instrument.Pulses().empty());
    EXPECT_EQ(SamplesInPulses(instrument), 0U);
    EXPECT_EQ(instrument.Statistics().marks, 3U);
    EXPECT_EQ(instrument.Statistics().pulses, 0U);
    EXPECT_TRUE(instrument.Samples().at(0).marker);
}

TEST(PacingPulse, TakesNewSettingsFromTheNextMarkOn)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, kHundredMv, 80));
    MarkedPlayer player(host, 20000);
    ASSERT_TRUE(player.Play({{10, 1}}));
    ASSERT_TRUE(SetPacing(host, kMinusHundredMv, 40));
    ASSERT_TRUE(player.Play({{20, 2}}));
    const auto pulses = instrument.Pulses();
    ASSERT_EQ(pulses.size(), 2U);
    EXPECT_NEAR(pulses[0].amplitudeMv, 100.0, 1.0 / 32);
    EXPECT_DOUBLE_EQ(pulses[0].durationMs, 2.0);
    EXPECT_NEAR(pulses[1].amplitudeMv, -100.0, 1.0 / 32);
    EXPECT_DOUBLE_EQ(pulses[1].durationMs, 1.0);
    EXPECT_EQ(pulses[1].sample, 700U + 20 * 14 + 1);
}

TEST(PacingPulse, UnderRespirationHasTheScaleOfTheAcPath)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, 1600, 80));
    MarkedPlayer player(host, 20000, kInternalRespiration);
    ASSERT_TRUE(player.Play({{0, 1}}));
    ASSERT_EQ(instrument.Pulses().size(), 1U);
    EXPECT_DOUBLE_EQ(instrument.Pulses()[0].amplitudeMv, 1.0);
    EXPECT_DOUBLE_EQ(instrument.Samples().at(0).pulseMv, 1.0);
}

TEST(PacingPulse, IsListedWhereNoSampleIsKept)
{
    SimulatedInstrument instrument;
    const HostPort host;
    ASSERT_TRUE(SetPacing(host, kHundredMv, 80));
    MarkedPlayer player(host, 20000);
    ASSERT_TRUE(player.Play({}));
    ASSERT_TRUE(player.PlayResting());
    ASSERT_TRUE(player.Play({{4, 7}}));
    ASSERT_TRUE(instrument.WaitForPulses(1));
    ASSERT_EQ(instrument.Pulses().size(), 1U);
    EXPECT_EQ(instrument.Pulses()[0].sample, 1400U + 4 * 14 + 6);
    EXPECT_DOUBLE_EQ(instrument.Pulses()[0].time, (1400 + 4 * 14 + 6) / 20000.0);
    EXPECT_TRUE(instrument.Samples().empty());
}

TEST(PacingMark, ThatIsNoSlotOrHasNoLayoutIsRefusedAndCounted)
{
    struct Case {
        std::uint8_t mode;
        std::uint8_t mark;
        const char* told;
    };
    for (const Case& one : {Case{0x03, 15, "frame 6: marker 15 is no slot"},
                            Case{0x03, 255, "frame 6: marker 255 is no slot"},
                            Case{0x07, 1, "frame 6: a marker outside the ECG-only layout"},
                            Case{0x23, 1, "frame 6: a marker outside the ECG-only layout"}}) {
        Options options = Recording();
        options.respirationModule = one.mode == 0x23;
        SimulatedInstrument instrument(options);
        const HostPort host;
        ASSERT_TRUE(SetPacing(host, kHundredMv, 20));
        host.Ask(RelayCommand(one.mode, options.respirationModule ? 5000 : 20000));
        Bytes packet = MakePacket({one.mode, 0, 32767, 1600, 0});
        packet[64 * 6 + 4] = one.mark;
        ASSERT_TRUE(host.Write(packet));
        EXPECT_TRUE(host.IsSilent());
        EXPECT_EQ(instrument.Statistics().frameErrors, 1U);
        ASSERT_EQ(instrument.Refusals().size(), 1U);
        EXPECT_EQ(instrument.Refusals()[0].reason, one.told);
        EXPECT_TRUE(instrument.Pulses().empty());
    }
}
