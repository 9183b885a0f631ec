// Unplugging and plugging in again, wherever the library is just then.

#include <gtest/gtest.h>

#include <ostream>

#include "support/LinkHost.h"

using namespace instrument;

namespace {

constexpr char kSerialNumber[] = "TEC1020-250042";

Options WithoutNode()
{
    Options options;
    options.plugged = false;
    return options;
}

// Connected, identified in full, and commands are answered.
bool IsSound()
{
    return Eventually(
        [] {
            return VRAXIsConnected() && std::string(VRAXGetSerialNumber()) == kSerialNumber &&
                   std::string(VRAXGetFWVersion()) == "2.1.00.07" &&
                   VRAXGetUSBBusVoltage() == kUsbVoltage;
        },
        std::chrono::milliseconds(kConnectMs));
}

constexpr FaultKind kHangUps[] = {FaultKind::HangUpBefore, FaultKind::HangUpDuring,
                                  FaultKind::HangUpAfter};

std::string Name(FaultKind kind)
{
    if (kind == FaultKind::HangUpBefore) return "Before";
    return kind == FaultKind::HangUpDuring ? "During" : "After";
}

}  // namespace

TEST(HotPlug, WhileSearchingIsFoundWhenItComes)
{
    SimulatedInstrument instrument(WithoutNode());
    CListeningHost host;
    EXPECT_FALSE(Listener::WaitFor(true, 1, std::chrono::milliseconds(200)));
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true));
    EXPECT_TRUE(IsSound());
}

TEST(HotPlug, WhileSearchingMayComeAndGo)
{
    SimulatedInstrument instrument(WithoutNode());
    instrument.Inject(MakeFault(FaultKind::Silence, Request::Identify, kForEver));
    CListeningHost host;
    for (int i = 1; i <= 2; ++i) {
        instrument.Plug();
        ASSERT_TRUE(instrument.WaitForExchange(Request::Identify, static_cast<std::size_t>(i)));
        instrument.Unplug();
    }
    EXPECT_TRUE(Listener::Told().empty());
    instrument.ClearFaults();
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true));
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true}));
    EXPECT_TRUE(IsSound());
}

namespace {

// The request at which the plug is pulled, how many of its kind pass first, and when.
struct Moment {
    std::string name;
    Request request;
    unsigned skip;
    FaultKind kind;
};
void PrintTo(const Moment& moment, std::ostream* out) { *out << moment.name; }

std::vector<Moment> MomentsOfAConnection()
{
    const Moment requests[] = {
        {"Probe_Drain", Request::SamplingStop, 0, {}},
        {"Probe_Identify", Request::Identify, 0, {}},
        {"Probe_Record", Request::FlashRead, 0, {}},
        {"Probe_Hardware", Request::HardwareInfo, 0, {}},
        {"Probe_Firmware", Request::FirmwareInfo, 0, {}},
        {"Probe_Module", Request::FlashRead, 1, {}},
        {"Preparation_Relays", Request::Relays, 0, {}},
        {"Preparation_TableProbe", Request::FlashRead, 2, {}},
        {"Preparation_Table", Request::FlashRead, 100, {}},
        {"Preparation_Light", Request::DynamicLight, 0, {}},
    };
    std::vector<Moment> moments;
    for (Moment moment : requests) {
        const std::string name = moment.name;
        for (const FaultKind kind : kHangUps) {
            moment.kind = kind;
            moment.name = name + "_" + Name(kind);
            moments.push_back(moment);
        }
    }
    return moments;
}

class HotPlugAtRequest : public testing::TestWithParam<Moment> {};

}  // namespace

TEST_P(HotPlugAtRequest, OfTheConnectionIsConnectedWhenItIsBack)
{
    const Moment moment = GetParam();
    SimulatedInstrument instrument(WithoutNode());
    instrument.Inject(MakeFault(moment.kind, moment.request, 1, moment.skip));
    instrument.Plug();
    CListeningHost host;
    ASSERT_TRUE(instrument.WaitUntilUnplugged());
    ASSERT_TRUE(Eventually([] { return CountLockFiles() == 0; }));  // the port was given up
    instrument.Plug();
    EXPECT_TRUE(IsSound());
    EXPECT_TRUE(Listener::WaitFor(true));
    EXPECT_TRUE(Listener::Told().back());
}

INSTANTIATE_TEST_SUITE_P(Moments, HotPlugAtRequest, testing::ValuesIn(MomentsOfAConnection()),
                         [](const auto& parameter) { return parameter.param.name; });

// The name is back before anybody looks for it, but it leads to another terminal.
TEST(HotPlug, QuickerThanTheMonitorLooksIsNoticedInThePreparation)
{
    SimulatedInstrument instrument(WithoutNode());
    instrument.Inject(MakeFault(FaultKind::HangUpBefore, Request::FlashRead, 1, 50));
    instrument.Plug();
    CListeningHost host;
    ASSERT_TRUE(instrument.WaitUntilUnplugged());
    instrument.Plug();
    EXPECT_TRUE(IsSound());
}

TEST(HotPlug, QuickerThanTheMonitorLooksIsNoticedWhileIdle)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    instrument.Unplug();
    instrument.Plug();
    EXPECT_TRUE(IsSound());
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true, false, true}));
}

TEST(HotPlug, IdleIsToldAndForgetsTheInstrument)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    ASSERT_TRUE(IsSound());
    instrument.Unplug();
    ASSERT_TRUE(Listener::WaitFor(false));
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_EQ(VRAXGetDeviceHandle(), -1);
    EXPECT_EQ(CountLockFiles(), 0);
    EXPECT_STREQ(VRAXGetSerialNumber(), "");
    EXPECT_STREQ(VRAXGetFWVersion(), "0.0.00.00");
    MODEL_INFORMATION info;
    EXPECT_FALSE(VRAXGetDeviceInformation(&info));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0U);

    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_TRUE(IsSound());
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true, false, true}));
}

TEST(HotPlug, IntoAnotherPortIsFoundThere)
{
    Options options;
    options.port = 5;
    options.plugged = false;
    SimulatedInstrument elsewhere(options);
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    instrument.Unplug();
    elsewhere.Plug();
    ASSERT_TRUE(Listener::WaitFor(false));
    ASSERT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_TRUE(IsSound());
    EXPECT_FALSE(std::filesystem::exists(LockFilePath(0)));
    EXPECT_TRUE(std::filesystem::exists(LockFilePath(5)));
}

TEST(HotPlug, OfAnotherInstrumentLeavesTheConnectionAlone)
{
    Options options;
    options.port = 1;
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    {
        SimulatedInstrument other(options);
        ASSERT_TRUE(IsSound());
    }
    EXPECT_FALSE(Listener::WaitFor(false, 1, std::chrono::milliseconds(1500)));
    EXPECT_TRUE(IsSound());
}

class HotPlugInCommand : public testing::TestWithParam<FaultKind> {};

TEST_P(HotPlugInCommand, FailsTheCommandAndConnectsAgain)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    instrument.Inject(MakeFault(GetParam(), Request::UsbVoltage));
    CCall<unsigned> call([] { return VRAXGetUSBBusVoltage(); });
    EXPECT_EQ(call.Result(), GetParam() == FaultKind::HangUpAfter ? kUsbVoltage : 0U);
    ASSERT_TRUE(instrument.WaitUntilUnplugged());
    ASSERT_TRUE(Listener::WaitFor(false));
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_TRUE(IsSound());
}

INSTANTIATE_TEST_SUITE_P(Moments, HotPlugInCommand, testing::ValuesIn(kHangUps),
                         [](const auto& parameter) { return Name(parameter.param); });
