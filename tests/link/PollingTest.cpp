// What the instrument sends unasked or too late, and replies that stay away.

#include <gtest/gtest.h>

#include "support/LinkHost.h"
#include "support/Timing.h"

using namespace instrument;

namespace {

class Unasked : public testing::TestWithParam<Bytes> {};

}  // namespace

TEST_P(Unasked, BlocksAreDroppedAndCommandsAreAnsweredAllTheSame)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    for (unsigned i = 1; i <= 20; ++i) {
        Measurements measurements = instrument.GetMeasurements();
        measurements.usbVoltage = static_cast<std::uint8_t>(i);
        instrument.SetMeasurements(measurements);
        instrument.SendUnsolicited(GetParam());
        EXPECT_EQ(VRAXGetUSBBusVoltage(), i);
    }
    ExpectNoRefusals(instrument);
}

INSTANTIATE_TEST_SUITE_P(Polling, Unasked,
                         testing::Values(Bytes{0xAD}, Bytes{0xAD, 0xFF, 0, 0, 1, 0, 0},
                                         Bytes(64, 0xAD), Bytes{0xAE, 0xFF, 0, 0, 1, 0, 0, 0, 9, 9},
                                         SimulatedInstrument::SamplingBlock(1, 500, 0),
                                         Bytes(640, 0xFF), Bytes(63, 0x00)));

TEST(Polling, BlockBeforeAReplyIsNotTakenForIt)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    instrument.SendUnsolicited(Bytes(64, 0x77));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
}

class BadReply : public testing::TestWithParam<FaultKind> {};

TEST_P(BadReply, FailsItsCommandAloneWhileNothingPlays)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    Fault fault = MakeFault(GetParam(), Request::UsbVoltage);
    fault.bytes = 63;
    fault.delay = Milliseconds(300);
    instrument.Inject(fault);
    const CStopwatch watch;
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0U);
    EXPECT_GE(watch.Ms(), 100.0);  // the read budget

    if (GetParam() == FaultKind::LateReply) {  // it is not the reply to the next command
        ASSERT_TRUE(Eventually([&] {
            return instrument.Exchanges(Request::UsbVoltage)[0].replied != Clock::time_point{};
        }));
    }
    Measurements measurements = instrument.GetMeasurements();
    measurements.usbVoltage = 99;
    instrument.SetMeasurements(measurements);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 99U);
}

INSTANTIATE_TEST_SUITE_P(Polling, BadReply,
                         testing::Values(FaultKind::Silence, FaultKind::ShortReply,
                                         FaultKind::LateReply),
                         [](const auto& parameter) {
                             if (parameter.param == FaultKind::Silence) return "Silence";
                             return parameter.param == FaultKind::ShortReply ? "Short" : "Late";
                         });

// It comes while the next command waits for its own, which is still to come.
TEST(Polling, LateReplyIsNotTakenForThatOfTheNextCommand)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host(kPatientMs);
    Fault fault = MakeFault(FaultKind::LateReply, Request::UsbVoltage);
    fault.delay = Milliseconds(1500);
    instrument.Inject(fault);
    fault.delay = Milliseconds(800);
    instrument.Inject(fault);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0U);
    Measurements measurements = instrument.GetMeasurements();
    measurements.usbVoltage = 99;
    instrument.SetMeasurements(measurements);
    EXPECT_NE(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_TRUE(Eventually([] { return VRAXGetUSBBusVoltage() == 99U; }));
}

TEST(Polling, IdleConnectionSendsNothing)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    instrument.ClearExchanges();
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));  // a look of the monitor included
    EXPECT_TRUE(instrument.Exchanges().empty());
}
