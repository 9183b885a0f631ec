// A burn while the line is in use, and an instrument that goes while it is burnt.

#include <gtest/gtest.h>

#include "support/CallbackTimes.h"
#include "support/Firmware.h"
#include "support/LinkHost.h"
#include "support/SensorHost.h"

using namespace instrument;

namespace {

constexpr double kRate = 20000;

// Playing, with an image loaded.
class PlayingHost {
public:
    PlayingHost()
    {
        LoadFpga(FpgaImage(7));
        LoadMcu(McuImage(7));
        CallbackTimes::Register();
        EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        EXPECT_TRUE(instrument.WaitForPackets(5));
    }
    SimulatedInstrument instrument{RealTime()};
    CConnectedHost host{kPatientMs};
};

}  // namespace

TEST(BurnWhilePlaying, HoldsTheSignalAndGoesOnAfterTheRestart)
{
    PlayingHost playing;
    EXPECT_EQ(VRAXSetPacingAmplitude(10.0), 0);
    std::size_t packets = 0;
    Progress::AnswerBy([&](const Told& told, std::size_t number) {
        if (number == 0) packets = playing.instrument.PacketCount();
        if (told.stage == BURN_RESTART) {
            EXPECT_EQ(playing.instrument.PacketCount(), packets);
        }
        return 0;
    });
    ASSERT_EQ(BurnFirmware(Progress::On), 0);
    EXPECT_EQ(VRAXIsPlaying(), 1);
    ASSERT_TRUE(playing.instrument.WaitForMorePackets(5));
    EXPECT_EQ(playing.instrument.Relays().operateMode, 3);  // sent again after the restart
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    CallbackTimes::ExpectOneClock(kRate);
    ExpectNoRefusals(playing.instrument);
}

TEST(BurnWhilePlaying, GoesOnAfterACancel)
{
    PlayingHost playing;
    Progress::CancelAt(20);
    ASSERT_EQ(BurnFirmware(Progress::On), -1);
    ASSERT_TRUE(playing.instrument.WaitForMorePackets(5));
    Progress::Clear();
    ASSERT_EQ(BurnMcu(Progress::On), -1);
    ASSERT_TRUE(playing.instrument.WaitForMorePackets(5));
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    CallbackTimes::ExpectOneClock(kRate);
    ExpectNoRefusals(playing.instrument);
}

TEST(BurnWhilePlaying, OfTheMcuGoesOnAfterTheRestart)
{
    PlayingHost playing;
    ASSERT_EQ(BurnMcu(Progress::On), 0);
    ASSERT_TRUE(playing.instrument.WaitForMorePackets(5));
    EXPECT_EQ(playing.instrument.Relays().operateMode, 3);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    CallbackTimes::ExpectOneClock(kRate);
    ExpectNoRefusals(playing.instrument);
}

// A packet of 700 samples lasts 0.7 s, much longer than a reply is waited for otherwise.
TEST(BurnWhilePlaying, WaitsForTheReplyToASlowPacket)
{
    for (const auto burn : {BurnFirmware, BurnMcu}) {
        SimulatedInstrument instrument(RealTime());
        CConnectedHost host(kPatientMs);
        LoadFpga(FpgaImage(7));
        LoadMcu(McuImage(7));
        VRAXSetSampleRate(1000);
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        ASSERT_TRUE(instrument.WaitForPackets(3));
        EXPECT_EQ(burn([](int, int) { return 0; }), 0);
        EXPECT_TRUE(instrument.WaitForMorePackets(2));
        EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
        ExpectNoRefusals(instrument);
    }
}

TEST(BurnWhilePlaying, OfTheMcuLetsTheSignalBeSwitchedOff)
{
    PlayingHost playing;
    Progress::AnswerBy([&](const Told&, std::size_t number) {
        if (number == 3) {
            CCall<int> off([] { return VRAXSetOutputFunction(OUTPUT_OFF); });
            EXPECT_EQ(off.Result(), 0);
            EXPECT_TRUE(playing.instrument.WaitForStop());
        }
        return number == 10 ? 1 : 0;
    });
    EXPECT_EQ(BurnMcu(Progress::On), -1);
    EXPECT_EQ(Progress::Calls(), Until(McuCalls(), 10, {{BURN_FINISHED, 100}}));
    EXPECT_EQ(VRAXIsPlaying(), 0);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_TRUE(playing.instrument.WaitForMorePackets(5));
}

TEST(BurnWhilePlaying, LetsItsCallbackSwitchTheSignalOff)
{
    PlayingHost playing;
    for (const auto burn : {BurnFirmware, BurnMcu}) {
        Progress::Clear();
        Progress::AnswerBy([&](const Told&, std::size_t number) {
            if (number == 2) {
                EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
            }
            return number == 10 ? 1 : 0;
        });
        EXPECT_EQ(burn(Progress::On), -1);
        EXPECT_TRUE(Eventually([] { return VRAXIsPlaying() == 0; }));
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        EXPECT_TRUE(playing.instrument.WaitForMorePackets(5));
    }
}

TEST(BurnOfTheMcu, LetsASignalBeStartedThatPlaysAfterwards)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host(kPatientMs);
    LoadMcu(McuImage(7));
    CallbackTimes::Register();
    Progress::AnswerBy([&](const Told&, std::size_t number) {
        if (number == 3) {
            CCall<int> on([] { return VRAXSetOutputFunction(OUTPUT_SINE); });
            EXPECT_EQ(on.Result(), 0);
        }
        if (number == 12) {
            EXPECT_EQ(instrument.PacketCount(), 0U);
        }
        return number == 12 ? 1 : 0;
    });
    EXPECT_EQ(BurnMcu(Progress::On), -1);
    EXPECT_TRUE(instrument.WaitForPackets(5));
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    CallbackTimes::ExpectOneClock(kRate);
}

namespace {

class BurnWhileSampling : public testing::TestWithParam<int (*)(VRAXBurnCallback)> {};

}  // namespace

TEST_P(BurnWhileSampling, StopsTheSampling)
{
    Options options = WithModule();
    options.sampling.framesPerSecond = kFullSamplingRate;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    LoadFpga(FpgaImage(7));
    LoadMcu(McuImage(7));
    StartSampling();
    ASSERT_TRUE(WaitForFrames(20));
    unsigned mask = 0xFF;
    int obstacle = 0;
    Progress::AnswerBy([&](const Told&, std::size_t number) {
        if (number == 0) mask = instrument.State().samplingMask;
        if (number == 1) obstacle = VRAXStartPPGSampling();
        return number == 10 ? 1 : 0;
    });
    EXPECT_EQ(GetParam()(Progress::On), -1);
    EXPECT_EQ(mask, 0U);
    EXPECT_EQ(obstacle, -3);
    EXPECT_EQ(VRAXIsPlaying(), 0);
    StartSampling();
    const std::size_t before = Count();
    EXPECT_TRUE(Eventually([before] { return Count() > before; }));
    VRAXStopPPGSampling();
}

INSTANTIATE_TEST_SUITE_P(Kinds, BurnWhileSampling, testing::Values(BurnFirmware, BurnMcu),
                         [](const auto& parameter) {
                             return parameter.param == BurnFirmware ? "Fpga" : "Mcu";
                         });

TEST(BurnRefused, LeavesTheSamplingAlone)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    StartSampling();
    EXPECT_EQ(BurnFirmware(Progress::On), -2);
    EXPECT_EQ(BurnMcu(Progress::On), -2);
    EXPECT_EQ(VRAXIsPlaying(), 1);
    EXPECT_NE(instrument.State().samplingMask, 0);
    VRAXStopPPGSampling();
}

namespace {

// The frame at which the plug is pulled, how many of its kind pass first, and when.
struct Moment {
    std::string name;
    int (*burn)(VRAXBurnCallback);
    Request request;
    unsigned skip;
    FaultKind kind;
};
void PrintTo(const Moment& moment, std::ostream* out) { *out << moment.name; }

const Moment kMoments[] = {
    {"EraseBefore", BurnFirmware, Request::FlashErase, 7, FaultKind::HangUpBefore},
    {"EraseDuring", BurnFirmware, Request::FlashErase, 7, FaultKind::HangUpDuring},
    {"EraseAfter", BurnFirmware, Request::FlashErase, 7, FaultKind::HangUpAfter},
    {"WriteBefore", BurnFirmware, Request::FlashWrite, 70, FaultKind::HangUpBefore},
    {"VerifyDuring", BurnFirmware, Request::FlashRead, 70, FaultKind::HangUpDuring},
    {"McuModeBefore", BurnMcu, Request::ControlMode, 0, FaultKind::HangUpBefore},
    {"McuEraseDuring", BurnMcu, Request::McuErase, 3, FaultKind::HangUpDuring},
    {"McuWriteBefore", BurnMcu, Request::McuWrite, 70, FaultKind::HangUpBefore},
};

class BurnUnplugged : public testing::TestWithParam<Moment> {};

}  // namespace

// The burn comes back in bounded time with a code of its table, and afterwards everything works.
TEST_P(BurnUnplugged, FailsAndConnectsAgain)
{
    const Moment moment = GetParam();
    SimulatedInstrument instrument(0);
    CConnectedHost host(kPatientMs);
    LoadFpga(FpgaImage(7));
    LoadMcu(McuImage(7));
    instrument.Inject(MakeFault(moment.kind, moment.request, 1, moment.skip));
    CCall<int> burn([moment] { return moment.burn(Progress::On); });
    ASSERT_TRUE(instrument.WaitUntilUnplugged(std::chrono::minutes(1)));
    const int result = burn.Result();
    EXPECT_TRUE(result == -4 || result == -5 || result == -6) << result;
    ASSERT_TRUE(Listener::WaitFor(false));
    EXPECT_EQ(CountLockFiles(), 0);
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true, false, true}));
}

INSTANTIATE_TEST_SUITE_P(Moments, BurnUnplugged, testing::ValuesIn(kMoments),
                         [](const auto& parameter) { return parameter.param.name; });

// Gone and back under the same name: the burn's port belongs to what was unplugged.
TEST(BurnUnpluggedAndPlugged, FailsAndConnectsAgain)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host(kPatientMs);
    LoadFpga(FpgaImage(7));
    Progress::DoAt(20, [&] {
        instrument.Unplug();
        instrument.Plug();
    });
    EXPECT_EQ(BurnFirmware(Progress::On), -5);
    ASSERT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true, false, true}));
    EXPECT_EQ(BurnFirmware([](int, int) { return 1; }), -1);
}
