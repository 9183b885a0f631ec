// The commands of the PPG module while a signal plays and while photodiodes are sampled.

#include <gtest/gtest.h>

#include "support/EveryCall.h"
#include "support/LinkHost.h"
#include "support/SensorHost.h"
#include "support/Timing.h"

using namespace instrument;

namespace {

class WhilePlaying : public testing::TestWithParam<Pace> {};

}  // namespace

TEST_P(WhilePlaying, CommandsGoIntoGapsAndAreAnswered)
{
    SimulatedInstrument instrument(WithModule(GetParam()));
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(2));
    EXPECT_EQ(SetPPGTriggerLevel(2, 99), 0);
    EXPECT_EQ(GetPPGTriggerLevel(2), 99);
    EXPECT_EQ(SetPPGLedLevel(3, 77), 0);
    EXPECT_EQ(ResetPPGLedLevel(), 0);
    EXPECT_EQ(ResetPPGTriggerLevel(), 0);
    EXPECT_NE(GetPPGTriggerLevel(2), 99);
    EXPECT_TRUE(VRAXEnableDynamicLEDStrength(true));
    EXPECT_EQ(SetDynamicLight(0), 0);
    std::uint16_t status[5];
    EXPECT_TRUE(GetAutoTriggerLevelStatus(status));
    double report[18];
    EXPECT_TRUE(VRAXGetFPGAReport(report));
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), 0);
    ASSERT_TRUE(instrument.WaitForMorePackets(3));
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ExpectOnePacketInFlight(instrument);
    ExpectNoRefusals(instrument);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
}

TEST_P(WhilePlaying, WhatNeedsAQuietLineIsRefused)
{
    SimulatedInstrument instrument(WithModule(GetParam()));
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(2));
    std::uint32_t v[6];
    EXPECT_EQ(GetPDStatus(&v[0], &v[1], &v[2], &v[3], &v[4], &v[5]), -2);
    std::uint16_t groups[5] = {};
    EXPECT_FALSE(VRAXReadLEDPulseGroupSetting(groups));
    EXPECT_FALSE(VRAXWriteLEDPulseGroupSetting(groups));
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(GetPDStatus(&v[0], &v[1], &v[2], &v[3], &v[4], &v[5]), 0);
    EXPECT_TRUE(VRAXReadLEDPulseGroupSetting(groups));
}

// Its reply is not awaited, and lets no packet go.
TEST_P(WhilePlaying, TheReplyToAnAmbientLightIsDropped)
{
    SimulatedInstrument instrument(WithModule(GetParam()));
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(2));
    for (int mode = 1; mode <= 14; ++mode) {
        EXPECT_EQ(VRAXSetLEDAmbientLightMode(mode), 0);
        if (mode % 3 == 0) {
            EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
        } else if (mode % 3 == 1) {
            EXPECT_EQ(VRAXGetLEDAmbientLightMode(), mode);
        }
    }
    ASSERT_TRUE(instrument.WaitForMorePackets(5));
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), 14);
    ExpectOnePacketInFlight(instrument);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
}

INSTANTIATE_TEST_SUITE_P(SensorCommands, WhilePlaying, testing::Values(Pace::Fast, Pace::RealTime),
                         [](const auto& parameter) {
                             return parameter.param == Pace::Fast ? "Fast" : "RealTime";
                         });

TEST(SensorCommands, AnAmbientLightThatIsNotAnsweredDoesNotEndTheStream)
{
    SimulatedInstrument instrument(WithModule(Pace::Fast));
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(2));
    instrument.Inject(MakeFault(FaultKind::Silence, Request::AmbientWrite));
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(3), 0);
    ASSERT_TRUE(instrument.WaitForMorePackets(20));
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
}

// A packet plays 3.5 s here: as long as its reply stays away the next one waits.
TEST(SensorCommands, AnAmbientLightLetsNoPacketGoWhileALongOnePlays)
{
    SimulatedInstrument instrument(WithModule(Pace::RealTime));
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetSampleRate(200), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(2));
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(3), 0);
    ASSERT_TRUE(instrument.WaitForMorePackets(3, std::chrono::minutes(1)));
    ExpectOnePacketInFlight(instrument);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), 3);
}

TEST(SensorCommands, AnAmbientLightThatIsNotAnsweredLetsNoPacketGoWhileALongOnePlays)
{
    SimulatedInstrument instrument(WithModule(Pace::RealTime));
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetSampleRate(300), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(2));
    instrument.Inject(MakeFault(FaultKind::Silence, Request::AmbientWrite));
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(3), 0);
    ASSERT_TRUE(instrument.WaitForMorePackets(3, std::chrono::minutes(1)));
    ExpectOnePacketInFlight(instrument);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
}

TEST(SensorCommands, GoBetweenTheFramesOfPhotodiodeSampling)
{
    Options options = WithModule(Pace::Fast);
    options.sampling.framesPerSecond = 200;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXEnablePPGSampling(0, [](int, int, int) {}), 0);
    ASSERT_EQ(VRAXStartPPGSampling(), 0);
    EXPECT_EQ(SetPPGTriggerLevel(1, 55), 0);
    EXPECT_EQ(GetPPGTriggerLevel(1), 55);
    EXPECT_EQ(SetPPGLedLevel(1, 7), 0);
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(9), 0);  // no signal plays: its reply is awaited
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), 9);
    double report[18];
    EXPECT_TRUE(VRAXGetFPGAReport(report));
    EXPECT_EQ(ResetPPGLedLevel(), 0);
    std::uint32_t v[6];
    EXPECT_EQ(GetPDStatus(&v[0], &v[1], &v[2], &v[3], &v[4], &v[5]), -2);
    EXPECT_EQ(VRAXDisablePPGSampling(), 0);
    VRAXStopPPGSampling();
    EXPECT_EQ(GetPDStatus(&v[0], &v[1], &v[2], &v[3], &v[4], &v[5]), 0);
    ExpectNoRefusals(instrument);
}

TEST(SensorCommands, FromManyThreadsDuringSamplingAllComeBack)
{
    Options options = WithModule(Pace::Fast);
    options.sampling.framesPerSecond = 200;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXEnablePPGSampling(0, [](int, int, int) {}), 0);
    ASSERT_EQ(VRAXStartPPGSampling(), 0);
    std::vector<std::unique_ptr<CCall<int>>> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.push_back(std::make_unique<CCall<int>>([=] {
            CallAll(SensorCalls(thread));
            return 0;
        }));
    }
    for (const auto& thread : threads) EXPECT_TRUE(thread->HasReturned(std::chrono::minutes(2)));
    VRAXStopPPGSampling();
    ExpectNoRefusals(instrument);
}
