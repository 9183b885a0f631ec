// The external respiration module, as the instrument sees it: its stream and its commands.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/FirstSamples.h"
#include "support/LinkHost.h"
#include "support/RespirationModule.h"

using namespace instrument;

namespace {
constexpr int kRate = 5000;
constexpr std::size_t kPacketSamples = 200;
constexpr Milliseconds kLongRun{180000};
constexpr double kToleranceOhm = 2e-3;  // the steps of the network, and a sample of a fast breath

class RespirationModuleWire : public testing::Test {
protected:
    bool Breathe(int variation, int rate, int ratio, int apneaSeconds)
    {
        return VRAXEnableRespiration(1) == 1 &&
               VRAXSetRespiration(variation, rate, ratio, 1000, apneaSeconds) == 1;
    }
    bool PlaySeconds(std::size_t seconds)
    {
        return VRAXSetOutputFunction(OUTPUT_ECG) == 0 &&
               instrument_.WaitForPackets(seconds * kRate / kPacketSamples, kLongRun) &&
               VRAXSetOutputFunction(OUTPUT_OFF) == 0 && instrument_.WaitForStop();
    }
    double Ohms(const Sample& sample) const
    {
        return network_.Ohms(sample.codes.extra[0], sample.codes.extra[1], sample.codes.extra[2]);
    }
    unsigned BaselineCode(unsigned index) const
    {
        const Bytes table = instrument_.ReadFlash(19, 5312, 24);
        return static_cast<unsigned>(table[2 * index] | table[2 * index + 1] << 8);
    }

    CFirstSamples first_{62 * kRate};
    SimulatedInstrument instrument_{first_.Collecting(WithRespirationModule())};
    ModuleNetwork network_{instrument_};
    CConnectedHost host_{kPatientMs};
};
}  // namespace

TEST_F(RespirationModuleWire, StreamsTheBreathAtFiveKilohertz)
{
    EXPECT_EQ(VRAXRespirationModuleIsConnected(), 1);
    EXPECT_EQ(VRAXGetSampleRate(), kRate);
    ASSERT_TRUE(Breathe(3000, 20, 3, 0));
    ASSERT_TRUE(PlaySeconds(10));
    const Bytes packet = instrument_.Packet(instrument_.PacketCount() - 2);  // before the stop
    EXPECT_EQ(packet[1], 35);
    EXPECT_EQ(packet[5], 4);
    EXPECT_EQ(instrument_.Relays().sampleRate, static_cast<unsigned>(kRate));
    const auto samples = first_.Take();
    ASSERT_GE(samples.size(), 9U * kRate);
    for (std::size_t n = 0; n < 9U * kRate; ++n) {
        const double t = static_cast<double>(n) / kRate;
        ASSERT_NEAR(Ohms(samples[n]), BreathOhms(3000, 3.0, 3, t), kToleranceOhm) << n;
        ASSERT_EQ(samples[n].codes.extra[3], BaselineCode(4));
    }
    const StreamStatistics statistics = instrument_.Statistics();
    EXPECT_EQ(statistics.sequenceErrors, 0U);
    EXPECT_EQ(statistics.modeErrors, 0U);
    ExpectNoRefusals(instrument_);
}

TEST_F(RespirationModuleWire, StreamsTheEcgAloneWhileRespirationIsOff)
{
    ASSERT_TRUE(PlaySeconds(1));
    EXPECT_EQ(instrument_.Packet(0)[1], 3);
    EXPECT_EQ(VRAXGetSampleRate(), kRate);
}

TEST_F(RespirationModuleWire, HoldsItsBreathAtTheEndOfTheMinute)
{
    ASSERT_TRUE(Breathe(3000, 17, 1, 5));
    ASSERT_TRUE(PlaySeconds(62));
    const auto samples = first_.Take();
    ASSERT_GE(samples.size(), 61U * kRate);
    const auto& held = samples[55 * kRate + 1].codes.extra;
    for (std::size_t n = 55U * kRate + 1; n < 60U * kRate - 1; ++n) {
        ASSERT_EQ(samples[n].codes.extra, held) << n;
    }
    EXPECT_NEAR(Ohms(samples[55 * kRate + 1]), BreathOhms(3000, 60.0 / 17.0, 1, 55.0), 0.1);
    EXPECT_NEAR(Ohms(samples[60 * kRate + 500]), BreathOhms(3000, 60.0 / 17.0, 1, 60.1), 0.1);
    // The instrument itself is told nothing.
    EXPECT_EQ(instrument_.ControlBlock()[12], 0);
}

TEST_F(RespirationModuleWire, IsCalibratedByAConstant)
{
    ASSERT_EQ(VRAXEnableRespiration(1), 1);
    ASSERT_EQ(VRAXSetCalibrationRespiration(1000, 2000), 1);
    ASSERT_TRUE(PlaySeconds(1));
    for (const Sample& sample : first_.Take()) {
        ASSERT_NEAR(Ohms(sample), 51.0, kToleranceOhm);
        ASSERT_EQ(sample.codes.extra[3], BaselineCode(6));
    }
}

TEST_F(RespirationModuleWire, PlaysARecordOfResistance)
{
    ASSERT_TRUE(Breathe(1000, 15, 2, 0));
    const double record[] = {0.0, 3.0, 6.0, 9.0};
    ASSERT_EQ(VRAXSetRespirationRawData(record, 4, 4), 1);
    ASSERT_TRUE(PlaySeconds(3));
    ClearRawArray();
    const auto samples = first_.Take();
    ASSERT_GE(samples.size(), 2U * kRate);
    for (std::size_t n = 0; n < 2U * kRate; ++n) {
        if (n % 1250 == 0 || n % 1250 == 1249) continue;  // the steps
        ASSERT_NEAR(Ohms(samples[n]), 50.0 + record[n / 1250 % 4], kToleranceOhm) << n;
    }
}

TEST_F(RespirationModuleWire, TakesEveryCommandWhileASignalPlays)
{
    ASSERT_TRUE(Breathe(1000, 15, 2, 0));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(20));
    EXPECT_EQ(VRAXExternalRespiratorySetDAC(11, 12, 13, 14), 1);
    EXPECT_EQ(instrument_.State().moduleWords, (std::array<std::uint16_t, 4>{11, 12, 13, 14}));
    EXPECT_EQ(VRAXExternalRespiratorySetBaselineDAC(99), 1);
    EXPECT_EQ(instrument_.State().moduleWords, (std::array<std::uint16_t, 4>{11, 12, 13, 99}));
    EXPECT_EQ(VRAXExternalRespiratorySetAmplitudeByResistance(52.0), 1);
    const auto words = instrument_.State().moduleWords;
    EXPECT_NEAR(network_.Ohms(words[0], words[1], words[2]), 52.0, 0.1);
    EXPECT_EQ(words[3], 99);
    EXPECT_EQ(VRAXExternalRespiratorySetBaseline(7, 1), 1);
    EXPECT_EQ(instrument_.State().baselineIndex, 7);
    EXPECT_EQ(instrument_.State().baselineLead, 1);
    EXPECT_EQ(instrument_.State().moduleWords[3], BaselineCode(7));
    EXPECT_EQ(VRAXSetRespiration(1000, 15, 2, 3000, 0), 1);
    EXPECT_EQ(instrument_.State().baselineIndex, 8);
    EXPECT_EQ(VRAXSetCalibrationRespiration(1000, 200), 1);
    EXPECT_EQ(instrument_.State().baselineIndex, 2);
    ASSERT_EQ(VRAXSetOutputLead(2, true), 0);
    ASSERT_EQ(VRAXSetOutputLead(0, false), 0);
    EXPECT_EQ(instrument_.State().baselineLead, 4);
    EXPECT_EQ(VRAXWriteRespirationRWA(60.0, 61.0, 80.0, 0.0), 1);
    ASSERT_TRUE(instrument_.WaitForMorePackets(20));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_TRUE(instrument_.WaitForStop());
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument_);
}

TEST_F(RespirationModuleWire, SwitchesTheLayoutWhileASignalPlays)
{
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(20));
    for (const bool on : {true, false, true}) {
        ASSERT_EQ(VRAXEnableRespiration(on ? 1 : 0), 1);
        ASSERT_TRUE(instrument_.WaitForMorePackets(20));
        EXPECT_EQ(instrument_.LastPacket()[1], on ? 35 : 3);
    }
    ASSERT_EQ(VRAXEnableRespiration(0), 1);
    EXPECT_EQ(instrument_.State().baselineIndex, 0);
    EXPECT_EQ(instrument_.State().baselineLead, 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_TRUE(instrument_.WaitForStop());
    const StreamStatistics statistics = instrument_.Statistics();
    EXPECT_EQ(statistics.sequenceErrors, 0U);
    EXPECT_EQ(statistics.modeErrors, 0U);
    EXPECT_EQ(statistics.frameErrors, 0U);
    ExpectNoRefusals(instrument_);
}

TEST_F(RespirationModuleWire, IsGoneWithTheInstrument)
{
    instrument_.Unplug();
    ASSERT_TRUE(Listener::WaitFor(false));
    EXPECT_EQ(VRAXRespirationModuleIsConnected(), 0);
    EXPECT_EQ(VRAXExternalRespiratorySetDAC(1, 2, 3, 4), 0);
    EXPECT_EQ(VRAXSetRespiration(1000, 15, 2, 500, 0), 0);
}
