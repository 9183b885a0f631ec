// The stream: what is checked, counted and decoded, and how it is paced.

#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "HostPort.h"
#include "instrument/Pacer.h"
#include "instrument/SimulatedInstrument.h"

using namespace instrument;
using namespace instrument_test;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

namespace {

Options Recording()
{
    Options options;
    options.keepSamples = 100000;
    return options;
}

// Plays the host of one run: packets of a constant level with rising numbers.
class Player {
public:
    explicit Player(const HostPort& host, std::uint8_t mode = 0x03, unsigned rate = 20000)
        : host_(host), mode_(mode)
    {
        host_.Ask(RelayCommand(mode, rate));
    }
    bool Play(unsigned packets, std::int16_t ac = 1600)
    {
        for (unsigned i = 0; i < packets; ++i) {
            const Bytes reply = host_.Ask(MakePacket({mode_, sequence_, 32767, ac, 500}));
            sequence_ = static_cast<std::uint16_t>(sequence_ + 50);
            if (reply.size() != 64) return false;
        }
        return true;
    }
    bool Stop()
    {
        const bool isAnswered = host_.Ask(MakeStopPacket(mode_, sequence_)).size() == 64;
        sequence_ = 0;
        return isAnswered;
    }
    std::uint16_t sequence_ = 0;

private:
    const HostPort& host_;
    std::uint8_t mode_;
};

}  // namespace

TEST(Stream, CountsPacketsSamplesAndRuns)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    Player player(host);
    ASSERT_TRUE(player.Play(5));
    ASSERT_TRUE(player.Stop());
    host.Ask(RelayCommand(8, 20000));
    const StreamStatistics stream = instrument.Statistics();
    EXPECT_EQ(stream.packets, 6U);
    EXPECT_EQ(stream.samples, 3500U);
    EXPECT_EQ(stream.stopPackets, 1U);
    EXPECT_EQ(stream.runs, 1U);
    EXPECT_EQ(stream.sequenceErrors, 0U);
    EXPECT_FALSE(stream.running);
    EXPECT_TRUE(IsStopPacket(instrument.LastPacket()));
    EXPECT_EQ(instrument.Packet(1)[7], 50);
    const auto samples = instrument.Samples();
    ASSERT_EQ(samples.size(), 3500U);
    EXPECT_DOUBLE_EQ(samples[1].time, 0.00005);
    EXPECT_DOUBLE_EQ(samples[1].acMv, 1.0);
    EXPECT_DOUBLE_EQ(samples[1].dcMv, 0.0);
}

TEST(Stream, ARestingPacketInTheMiddleIsData)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    Player player(host);
    player.Play(1);
    player.Play(2, 0);
    player.Play(1);
    const StreamStatistics stream = instrument.Statistics();
    EXPECT_EQ(stream.samples, 2800U);
    EXPECT_EQ(stream.stopPackets, 0U);
    EXPECT_EQ(stream.sequenceErrors, 0U);
    EXPECT_EQ(instrument.Samples().size(), 2800U);
}

TEST(Stream, ARestingPacketBeforeANewRunWasTheStop)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    Player player(host);
    player.Play(2);
    player.Stop();
    player.Play(2);
    const StreamStatistics stream = instrument.Statistics();
    EXPECT_EQ(stream.runs, 2U);
    EXPECT_EQ(stream.stopPackets, 1U);
    EXPECT_EQ(stream.sequenceErrors, 0U);
    EXPECT_EQ(instrument.Samples().back().run, 2U);
    EXPECT_NEAR(instrument.Samples().back().time, 2799.0 / 20000, 1e-12);
}

TEST(Stream, ARestingPacketWithSilenceAfterItWasTheStop)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Player player(host);
    player.Play(1);
    player.Stop();
    EXPECT_TRUE(instrument.WaitForStop());
}

TEST(Stream, StopPacketsOfTheirOwnFramingAreKnownAtOnce)
{
    Options options;
    options.respirationModule = true;
    SimulatedInstrument instrument(options);
    const HostPort host;
    Player player(host, 0x23, 5000);
    player.Play(1);
    player.Stop();
    host.Ask({0xCC, 0x00, 'B'});  // the packet is looked at after its reply
    EXPECT_EQ(instrument.Statistics().stopPackets, 1U);
    EXPECT_EQ(instrument.RefusalCount(), 0U);
}

// The stop packet of the mode that is off then has a framing of its own and goes on counting.
TEST(Stream, ARestingPacketBeforeSwitchingOffWasDataWhenTheStopPacketFollows)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    Player player(host);
    ASSERT_TRUE(player.Play(1));
    ASSERT_TRUE(player.Play(1, 0));
    host.Ask(RelayCommand(8, 20000));
    EXPECT_EQ(host.Ask(MakeStopPacket(8, 100)).size(), 64U);
    host.Ask({0xCC, 0x00, 'B'});  // the packet is looked at after its reply
    const StreamStatistics stream = instrument.Statistics();
    EXPECT_EQ(stream.sequenceErrors, 0U);
    EXPECT_EQ(stream.modeErrors, 0U);
    EXPECT_EQ(stream.stopPackets, 1U);
    EXPECT_EQ(stream.runs, 1U);
    EXPECT_EQ(stream.samples, 1400U);
    EXPECT_FALSE(stream.running);
    EXPECT_EQ(instrument.Samples().size(), 1400U);
}

TEST(Stream, ARestingPacketBeforeSwitchingOffWasTheStopWhenANewRunFollows)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    Player player(host);
    ASSERT_TRUE(player.Play(1));
    ASSERT_TRUE(player.Stop());
    host.Ask(RelayCommand(8, 20000));
    EXPECT_EQ(instrument.Statistics().stopPackets, 1U);
    Player next(host);
    ASSERT_TRUE(next.Play(1));
    const StreamStatistics stream = instrument.Statistics();
    EXPECT_EQ(stream.sequenceErrors, 0U);
    EXPECT_EQ(stream.stopPackets, 1U);
    EXPECT_EQ(stream.runs, 2U);
    EXPECT_TRUE(stream.running);
    EXPECT_EQ(instrument.Statistics().nextSequence, 50);
}

TEST(Stream, AStopPacketOfAnotherNumberAfterSwitchingOffIsASequenceError)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Player player(host);
    ASSERT_TRUE(player.Play(1));
    ASSERT_TRUE(player.Play(1, 0));
    host.Ask(RelayCommand(8, 20000));
    host.Ask(MakeStopPacket(8, 101));
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 1U);
}

TEST(Stream, AMissingFrameIsASequenceError)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Player player(host);
    player.Play(1);
    player.sequence_ = 51;
    player.Play(2);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 1U);
    EXPECT_EQ(instrument.Statistics().nextSequence, 151);
}

TEST(Stream, ARunMustBeginWithZero)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Player player(host);
    player.sequence_ = 50;
    player.Play(1);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 1U);
}

TEST(Stream, NumbersWrapAround)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Player player(host);
    ASSERT_TRUE(player.Play(1400));
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    EXPECT_EQ(instrument.Statistics().nextSequence, 1400 * 50 - 65536);
}

TEST(Stream, AnotherModeThanTheRelaysIsCounted)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(RelayCommand(0x07, 10000));
    EXPECT_EQ(host.Ask(MakePacket({0x03, 0, 1, 2, 3})).size(), 64U);
    EXPECT_EQ(instrument.Statistics().modeErrors, 1U);
}

TEST(Stream, ABadFrameIsRefused)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(RelayCommand(0x03, 20000));
    Bytes packet = MakePacket({0x03, 0, 1, 2, 3});
    packet[64 * 7 + 2] = 1;
    ASSERT_TRUE(host.Write(packet));
    EXPECT_TRUE(host.IsSilent());
    EXPECT_EQ(instrument.Statistics().frameErrors, 1U);
    ASSERT_EQ(instrument.Refusals().size(), 1U);
    EXPECT_NE(instrument.Refusals()[0].reason.find("frame 7"), std::string::npos);
}

TEST(Stream, MarkersAndModuleCodesAreDecoded)
{
    SimulatedInstrument instrument(Recording());
    const HostPort host;
    host.Ask(RelayCommand(0x03, 20000));
    Bytes packet = MakePacket({0x03, 0, 1, 2, 3});
    packet[4] = 3;
    host.Ask(packet);
    ASSERT_TRUE(instrument.WaitForPackets(1));
    host.Ask({0xCC, 0x00, 'B'});  // the packet is decoded after its reply
    const auto samples = instrument.Samples();
    ASSERT_EQ(samples.size(), 700U);
    EXPECT_FALSE(samples[1].marker);
    EXPECT_TRUE(samples[2].marker);
    EXPECT_FALSE(samples[14 + 2].marker);
}

TEST(Stream, TheCalibrationInTheFlashDecodesTheLevels)
{
    SimulatedInstrument instrument(Recording());
    DcWords words;
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::uint16_t>(9000 + i);
    instrument.ProgramDcTable(words);
    const HostPort host;
    host.Ask(RelayCommand(0x03, 20000));
    host.Ask(MakePacket({0x03, 0, 11250, 2, 3}));
    host.Ask({0xCC, 0x00, 'B'});
    EXPECT_DOUBLE_EQ(instrument.Samples().at(0).dcMv, 250.0);
}

TEST(Stream, AStopPacketMayComeBeforeTheReplyToThePacketBefore)
{
    Options options;
    options.pace = Pace::RealTime;
    SimulatedInstrument instrument(options);
    const HostPort host;
    host.Ask(RelayCommand(0x03, 2000));  // 350 ms a packet
    ASSERT_TRUE(host.Write(MakePacket({0x03, 0, 32767, 1, 0})));
    ASSERT_TRUE(instrument.WaitForPackets(1));
    const auto start = Clock::now();
    ASSERT_TRUE(host.Write(MakeStopPacket(0x03, 50)));
    EXPECT_EQ(host.Read(128).size(), 128U);
    EXPECT_LT(Clock::now() - start, milliseconds(600));  // not the 700 that two packets last
    EXPECT_EQ(instrument.Statistics().stopPackets, 1U);
}

TEST(Pacer, ScheduleIsAbsoluteAndExact)
{
    Pacer pacer;
    const Pacer::Clock::time_point start{};
    pacer.Begin(start);
    auto due = start;
    for (int i = 0; i < 300; ++i) due = pacer.DueOf(due, 700, 30000, false);
    EXPECT_EQ(due - start, nanoseconds(7000000000));  // 300 times 23.333.. ms, nothing lost
}

TEST(Pacer, ALatePacketIsCaughtUpAndALongStallIsNot)
{
    Pacer pacer;
    const Pacer::Clock::time_point start{};
    pacer.Begin(start);
    const auto late = start + milliseconds(100);
    EXPECT_EQ(pacer.DueOf(late, 700, 20000, false), late);
    EXPECT_EQ(pacer.DueOf(late, 700, 20000, false), late);
    EXPECT_EQ(pacer.DueOf(late, 700, 20000, false), start + milliseconds(105));
    EXPECT_EQ(pacer.Underruns(), 2U);
    const auto muchLater = start + std::chrono::seconds(10);
    EXPECT_EQ(pacer.DueOf(muchLater, 700, 20000, false), muchLater);
    EXPECT_EQ(pacer.DueOf(muchLater, 700, 20000, false), muchLater + milliseconds(35));
}

TEST(Pacer, ARestingPacketIsAnsweredWithinTheHostsPatience)
{
    Pacer pacer;
    const Pacer::Clock::time_point start{};
    pacer.Begin(start);
    EXPECT_EQ(pacer.DueOf(start, 700, 1000, true), start + milliseconds(50));
    EXPECT_EQ(pacer.DueOf(start + milliseconds(50), 700, 1000, true), start + milliseconds(700));
}

TEST(Pace, RealTimeHoldsTheRate)
{
    Options options;
    options.pace = Pace::RealTime;
    SimulatedInstrument instrument(options);
    const HostPort host;
    Player player(host);
    ASSERT_TRUE(player.Play(40));
    const StreamStatistics stream = instrument.Statistics();
    const auto asked = milliseconds(35) * 39;
    const auto measured = stream.lastReply - stream.firstReply;
    // Never early: the schedule is absolute. Late by what one wake-up takes.
    EXPECT_GT(measured, asked - milliseconds(10));
    EXPECT_LT(measured, asked + milliseconds(100));
    const auto total = stream.lastReply - stream.firstArrival;
    EXPECT_GE(total, milliseconds(35) * 40);
}
