// Impedance respiration of the instrument's own generator and the respiration algorithm, as the
// instrument sees them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/FirstSamples.h"
#include "support/Frames.h"
#include "support/LinkHost.h"
#include "support/PlayClockModel.h"

using namespace instrument;

namespace {
constexpr int kRate = 20000;
constexpr std::size_t kPacketSamples = 700;
constexpr Milliseconds kLongRun{180000};
const Bytes kControlRead = {0xEA, 0x00, 0x01};

Options KeepingTheStream()
{
    Options options;
    options.keepStreamExchanges = true;
    return options;
}

class RespirationWire : public testing::Test {
protected:
    bool PlayPackets(std::size_t count)
    {
        return VRAXSetOutputFunction(OUTPUT_ECG) == 0 &&
               instrument_.WaitForPackets(count, kLongRun);
    }
    bool Stop() { return VRAXSetOutputFunction(OUTPUT_OFF) == 0 && instrument_.WaitForStop(); }

    // Where the apnea flag of the control block changed: after so many packets.
    struct Switch {
        std::size_t packets;
        int flag;
        bool operator==(const Switch&) const = default;
    };
    std::vector<Switch> ApneaSwitches(int flag = 0) const
    {
        std::vector<Switch> switches;
        std::size_t packets = 0;
        for (const Exchange& exchange : instrument_.Exchanges()) {
            if (exchange.kind == Request::Stream) ++packets;
            if (exchange.kind != Request::ControlWrite || exchange.request[12] == flag) continue;
            flag = exchange.request[12];
            switches.push_back({packets, flag});
        }
        return switches;
    }

    // What the end of the run sends.
    std::vector<Exchange> AfterTheStopPacket() const
    {
        const std::vector<Exchange> all = instrument_.Exchanges();
        const auto stop = std::find_if(all.rbegin(), all.rend(), [](const Exchange& one) {
            return one.kind == Request::Stream;
        });
        return {stop.base(), all.end()};
    }

    CFirstSamples first_{9 * kRate};
    SimulatedInstrument instrument_{first_.Collecting(KeepingTheStream())};
    CConnectedHost host_{kPatientMs};
};

// The packets that have gone out when the play clock first stands in a second: what a second sets
// off is sent once the packet that reaches it has been computed, and before it goes out.
std::size_t PacketsBefore(int second)
{
    const std::vector<long> steps = TimeSteps(static_cast<std::size_t>(second + 1) * kRate, kRate);
    std::size_t packets = 1;
    while (steps[packets * kPacketSamples] < static_cast<long>(second) * kRate) ++packets;
    return packets - 1;
}
}  // namespace

TEST_F(RespirationWire, ApneaIsCommandedInTheLastSecondsOfEveryMinute)
{
    ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, 1000, 10), 1);
    ASSERT_EQ(VRAXEnableRespiration(1), 1);
    instrument_.ClearExchanges();
    ASSERT_TRUE(PlayPackets(3600));  // 126 s
    ASSERT_TRUE(Stop());
    EXPECT_EQ(ApneaSwitches(), (std::vector<Switch>{{PacketsBefore(50), 1},
                                                    {PacketsBefore(60), 0},
                                                    {PacketsBefore(110), 1},
                                                    {PacketsBefore(120), 0}}));
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument_);
}

TEST_F(RespirationWire, ApneaEndsWithTheRun)
{
    ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, 1000, 60), 1);
    ASSERT_EQ(VRAXEnableRespiration(1), 1);
    instrument_.ClearExchanges();
    ASSERT_TRUE(PlayPackets(20));
    EXPECT_EQ(instrument_.ControlBlock()[12], 1);
    ASSERT_TRUE(Stop());
    EXPECT_EQ(instrument_.ControlBlock()[12], 0);
    const auto switches = ApneaSwitches();
    ASSERT_EQ(switches.size(), 2U);
    EXPECT_EQ(switches[0], (Switch{0, 1}));  // with the first packet
    EXPECT_EQ(switches[1].packets, instrument_.PacketCount());
}

// The block of the apnea has not the new pacing yet; that of the pacing no apnea any more.
TEST_F(RespirationWire, ApneaEndsAfterTheRelaysAndBeforeThePacing)
{
    ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, 1500, 60), 1);
    ASSERT_EQ(VRAXEnableRespiration(1), 1);
    ASSERT_TRUE(PlayPackets(20));
    ASSERT_EQ(VRAXSetPacingAmplitude(100.0), 0);
    ASSERT_TRUE(Stop());
    const std::vector<Exchange> sent = AfterTheStopPacket();
    ASSERT_EQ(sent.size(), 6U);
    EXPECT_EQ(sent[0].request, Padded({0x00, 0xFF, 0x08, 0x4E, 0x20, 0x01}, 17));
    EXPECT_EQ(sent[1].request, kControlRead);
    const Bytes& apnea = sent[2].request;
    ASSERT_EQ(apnea.size(), 64U);
    EXPECT_EQ(Bytes(apnea.begin(), apnea.begin() + 3), (Bytes{0xEA, 0xFF, 0x01}));
    EXPECT_EQ(Bytes(apnea.begin() + 8, apnea.begin() + 13), (Bytes{15, 10, 1, 2, 0}));
    EXPECT_EQ(Bytes(apnea.begin() + 24, apnea.begin() + 26), (Bytes{0, 0}));
    EXPECT_EQ(sent[3].request, kControlRead);
    const Bytes& pacing = sent[4].request;
    ASSERT_EQ(pacing.size(), 64U);
    EXPECT_EQ(Bytes(pacing.begin(), pacing.begin() + 3), (Bytes{0xEA, 0xFF, 0x01}));
    EXPECT_EQ(pacing[12], 0);
    // 20 mV at most, through the attenuation of 1500 ohms: 2270 codes.
    EXPECT_EQ(Bytes(pacing.begin() + 24, pacing.begin() + 26), (Bytes{0x08, 0xDE}));
    EXPECT_EQ(sent[5].request, (Bytes{0xB0, 0xFF, 0x03, 0x00, 0x00}));
    ExpectNoRefusals(instrument_);
}

TEST_F(RespirationWire, ApneaStaysCommandedUntilRespirationIsOnAgain)
{
    ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, 1000, 60), 1);
    ASSERT_EQ(VRAXEnableRespiration(1), 1);
    ASSERT_TRUE(PlayPackets(20));
    ASSERT_EQ(instrument_.ControlBlock()[12], 1);
    ASSERT_EQ(VRAXEnableRespiration(0), 1);
    instrument_.ClearExchanges();
    ASSERT_TRUE(instrument_.WaitForMorePackets(20));
    ASSERT_TRUE(Stop());
    EXPECT_TRUE(ApneaSwitches(1).empty());
    EXPECT_EQ(instrument_.Exchanges(Request::ControlWrite).size(), 1U);  // the pacing's
    EXPECT_EQ(instrument_.ControlBlock()[12], 1);

    instrument_.ClearExchanges();
    ASSERT_EQ(VRAXEnableRespiration(1), 1);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForMorePackets(20));
    ASSERT_TRUE(VRAXSetOutputFunction(OUTPUT_OFF) == 0 && instrument_.WaitForStop(2));
    EXPECT_EQ(ApneaSwitches(1), (std::vector<Switch>{{0, 0}}));
    ExpectNoRefusals(instrument_);
}

TEST_F(RespirationWire, ApneaIsNotCommandedWhileRespirationIsOff)
{
    ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, 1000, 60), 1);
    instrument_.ClearExchanges();
    ASSERT_TRUE(PlayPackets(100));
    ASSERT_TRUE(Stop());
    EXPECT_TRUE(ApneaSwitches().empty());
}

TEST_F(RespirationWire, TakesItsSettingsWhileASignalPlays)
{
    ASSERT_TRUE(PlayPackets(20));
    for (int i = 0; i < 5; ++i) {
        const int rate = 15 + i;
        EXPECT_EQ(VRAXSetRespiration(1234, rate, 2, 1500, 0), 1);
        const auto block = instrument_.ControlBlock();
        EXPECT_EQ(block[8], rate);
        EXPECT_EQ(block[9], 12);
        EXPECT_EQ(block[10], 1);
        EXPECT_EQ(block[11], 2);
    }
    EXPECT_EQ(VRAXSetCalibrationRespiration(700, 2500), 1);
    EXPECT_EQ(instrument_.ControlBlock()[9], 7);
    EXPECT_EQ(instrument_.ControlBlock()[11], 4);
    ASSERT_TRUE(instrument_.WaitForMorePackets(20));
    ASSERT_TRUE(Stop());
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument_);
}

TEST_F(RespirationWire, SwitchesItsRelayWhileASignalPlays)
{
    ASSERT_TRUE(PlayPackets(20));
    EXPECT_FALSE(instrument_.Relays().HasRespiration());
    ASSERT_EQ(VRAXEnableRespiration(1), 1);
    EXPECT_TRUE(instrument_.Relays().HasRespiration());
    ASSERT_EQ(VRAXEnableRespiration(0), 1);
    EXPECT_FALSE(instrument_.Relays().HasRespiration());
    ASSERT_TRUE(instrument_.WaitForMorePackets(20));
    ASSERT_TRUE(Stop());
    EXPECT_EQ(instrument_.Statistics().modeErrors, 0U);
}

TEST_F(RespirationWire, FailsWhenTheInstrumentDoesNotAcceptWhileItPlays)
{
    ASSERT_TRUE(PlayPackets(20));
    instrument_.Inject(MakeFault(FaultKind::WrongAcknowledge, Request::Respiration));
    EXPECT_EQ(VRAXSetRespiration(1000, 15, 2, 1000, 0), 0);
    EXPECT_EQ(VRAXSetRespiration(1000, 15, 2, 1000, 0), 1);
    instrument_.Inject(MakeFault(FaultKind::WrongAcknowledge, Request::Respiration));
    EXPECT_EQ(VRAXSetCalibrationRespiration(700, 1500), 0);
    EXPECT_EQ(VRAXSetCalibrationRespiration(700, 1500), 1);
    ASSERT_TRUE(instrument_.WaitForMorePackets(20));
    ASSERT_TRUE(Stop());
}

// The ECG of 1 mV is divided by what 1500 ohms attenuate it.
TEST_F(RespirationWire, AttenuatesTheBeat)
{
    ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, 1500, 0), 1);
    ASSERT_EQ(VRAXEnableRespiration(1), 1);
    ASSERT_TRUE(PlayPackets(60));
    ASSERT_TRUE(Stop());
    double highest = 0.0;
    for (const Sample& sample : first_.Take()) highest = std::max(highest, sample.acMv);
    EXPECT_NEAR(highest, 0.875 / 14.096, 1.0 / 1600.0);
}

// Measured between the beats: a breath of 3 s, in for 1 s, out for 2 s.
TEST_F(RespirationWire, MovesTheBaselineWithTheBreath)
{
    ASSERT_EQ(VRAXSetAmplitude(4.0), 0);
    ASSERT_EQ(VRAXSetRespirationAlgorithm(20, 2, 0, 25, 0, 0), 1);
    ASSERT_TRUE(PlayPackets(280));
    VRAXDisableRespireAlgorithm();
    ASSERT_TRUE(Stop());
    const auto samples = first_.Take();
    ASSERT_EQ(samples.size(), 9U * kRate);
    constexpr double kPi = 3.14159265358979323846;
    for (std::size_t n = 0; n < 9U * kRate; ++n) {
        const double t = static_cast<double>(n) / kRate;
        if (std::fmod(t, 1.0) < 0.5) continue;  // the beat
        const double phase = std::fmod(t, 3.0);
        const double breath =
            phase < 1.0 ? std::sin(kPi * phase) : -std::sin(kPi * (phase - 1.0) / 2.0);
        ASSERT_NEAR(samples[n].acMv, breath, 2e-3) << t;
    }
}
