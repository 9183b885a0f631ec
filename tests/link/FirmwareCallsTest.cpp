// What else may be called while an image is burnt, from other threads and from callbacks.

#include <gtest/gtest.h>

#include <atomic>

#include "support/EveryCall.h"
#include "support/Firmware.h"
#include "support/LinkHost.h"

using namespace instrument;

namespace {

constexpr std::chrono::milliseconds kAtOnce{0};

using BurnFunction = int (*)(VRAXBurnCallback);

struct Kind {
    std::string name;
    BurnFunction burn;
    bool endsWithHundred;  // also when it is cancelled
};
void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

const Kind kKinds[] = {{"Fpga", BurnFirmware, false}, {"Mcu", BurnMcu, true}};

// Both images are loaded.
class BurnHost {
public:
    explicit BurnHost(const Options& options = {}) : instrument(options)
    {
        LoadFpga(FpgaImage(7));
        LoadMcu(McuImage(7));
        instrument.ClearExchanges();
    }
    SimulatedInstrument instrument;
    CConnectedHost host{kPatientMs};
};

class Burn : public testing::TestWithParam<Kind> {
protected:
    // What a burn that is cancelled at a call tells.
    static ToldList ToldUntil(std::size_t call)
    {
        const ToldList all = GetParam().endsWithHundred ? McuCalls() : FpgaCalls();
        ToldList then;
        if (GetParam().endsWithHundred) then.push_back({BURN_FINISHED, 100});
        return Until(all, call, then);
    }
};

std::atomic<int> s_innerStage{0};
std::atomic<int> s_innerValue{0};
int OnInner(int stage, int value)
{
    s_innerStage = stage;
    s_innerValue = value;
    return 0;
}

}  // namespace

TEST_P(Burn, InItsOwnCallbackFailsAndIsTold)
{
    const BurnHost host;
    for (const BurnFunction inner : {BurnFirmware, BurnMcu}) {
        Progress::Clear();
        s_innerStage = 0;
        int result = 0;
        Progress::AnswerBy([&](const Told&, std::size_t number) {
            if (number == 0) result = inner(OnInner);
            return number == 1 ? 1 : 0;
        });
        EXPECT_EQ(GetParam().burn(Progress::On), -1);
        EXPECT_EQ(result, -3);
        EXPECT_EQ(s_innerStage, BURN_FINISHED);
        EXPECT_EQ(s_innerValue, -3);
        EXPECT_EQ(Progress::Calls(), ToldUntil(1));
    }
}

TEST_P(Burn, InACallbackOfTheSignalFailsAndIsTold)
{
    const BurnHost host;
    static std::atomic<int> s_result{0};
    static BurnFunction s_burn = GetParam().burn;
    VRAXRegisterOutputSignalCallback(
        [](double, double) {
            if (s_result == 0) s_result = s_burn(OnInner);
        },
        0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_TRUE(Eventually([] { return s_result != 0; }));
    EXPECT_EQ(s_result, -3);
    EXPECT_EQ(s_innerStage, BURN_FINISHED);
    EXPECT_EQ(s_innerValue, -3);
    EXPECT_TRUE(host.instrument.WaitForMorePackets(3));
}

// A command has its place between two frames; its reply is its own.
TEST_P(Burn, CallbackMayCallTheInstrument)
{
    const BurnHost host;
    unsigned voltage = 0;
    bool connected = false;
    Progress::AnswerBy([&](const Told&, std::size_t number) {
        if (number == 2) voltage = VRAXGetUSBBusVoltage();
        if (number == 3) connected = VRAXIsConnected();
        return number == 5 ? 1 : 0;
    });
    EXPECT_EQ(GetParam().burn(Progress::On), -1);
    EXPECT_EQ(voltage, kUsbVoltage);
    EXPECT_TRUE(connected);
    EXPECT_EQ(Progress::Calls(), ToldUntil(5));
}

TEST_P(Burn, SecondOneWaitsForTheFirst)
{
    const BurnHost host;
    static std::atomic<bool> s_firstIsDone{false};
    static std::atomic<bool> s_secondCameEarly{false};
    std::unique_ptr<CCall<int>> second;
    Progress::AnswerBy([&](const Told&, std::size_t number) {
        if (number == 0) {
            second = std::make_unique<CCall<int>>([] {
                return BurnMcu([](int, int) {
                    if (!s_firstIsDone) s_secondCameEarly = true;
                    return 1;
                });
            });
            second->WaitUntilBlocked();
        }
        if (number == 5) s_firstIsDone = true;  // its last call but the closing one
        return number == 5 ? 1 : 0;
    });
    EXPECT_EQ(GetParam().burn(Progress::On), -1);
    EXPECT_EQ(second->Result(), -1);
    EXPECT_FALSE(s_secondCameEarly);
    ExpectNoRefusals(host.instrument);
}

TEST_P(Burn, IsEndedBeforeTheConnectionIs)
{
    const BurnHost host;
    std::unique_ptr<CCall<int>> free;
    Progress::AnswerBy([&](const Told&, std::size_t number) {
        if (number == 0) {
            free = std::make_unique<CCall<int>>([] {
                VRAXFree();
                return 0;
            });
            free->WaitUntilBlocked();
        }
        if (number == 8) {
            EXPECT_FALSE(free->HasReturned(kAtOnce));
        }
        return number == 8 ? 1 : 0;
    });
    EXPECT_EQ(GetParam().burn(Progress::On), -1);
    EXPECT_EQ(free->Result(), 0);
    EXPECT_EQ(Progress::Calls(), ToldUntil(8));
    EXPECT_EQ(CountLockFiles(), 0);
    EXPECT_FALSE(VRAXIsConnected());
}

// The burn is not cut off, but the search that follows its restart does not take place.
TEST_P(Burn, GoesOnToItsRestartWhenItsCallbackEndsTheConnection)
{
    const BurnHost host;
    Progress::DoAt(1, [] { VRAXFree(); });
    EXPECT_EQ(GetParam().burn(Progress::On), -11);
    const FirmwareState firmware = host.instrument.Firmware();
    EXPECT_EQ(GetParam().endsWithHundred ? firmware.heldMcu.version[3]
                                         : firmware.heldFpga.version[3],
              7);
    EXPECT_FALSE(VRAXIsConnected());
    ASSERT_TRUE(VRAXInit(Listener::OnConnected));
    EXPECT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Burn, testing::ValuesIn(kKinds),
                         [](const auto& parameter) { return parameter.param.name; });

TEST(CancelledBurns, LeaveTheConnectionAsItWas)
{
    const BurnHost host;
    const std::uint64_t generation = host.instrument.FlashGeneration();
    for (int i = 0; i < 3; ++i) CallAll(CancelledBurns());
    EXPECT_EQ(host.instrument.FlashGeneration(), generation);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true}));
}

TEST(FpgaBurn, MakesOtherCallsWait)
{
    const BurnHost host;
    std::unique_ptr<CCall<bool>> other;
    Progress::AnswerBy([&](const Told&, std::size_t number) {
        if (number == 0) {
            other = std::make_unique<CCall<bool>>([] { return VRAXIsConnected(); });
            other->WaitUntilBlocked();
        }
        if (number == 5) {
            EXPECT_FALSE(other->HasReturned(kAtOnce));
        }
        return number == 5 ? 1 : 0;
    });
    EXPECT_EQ(BurnFirmware(Progress::On), -1);
    EXPECT_TRUE(other->Result());
}

TEST(McuBurn, LetsOtherCallsThrough)
{
    const BurnHost host;
    Progress::AnswerBy([&](const Told&, std::size_t number) {
        if (number == 1) {
            CCall<double> amplitude([] { return VRAXGetAmplitude(); });
            EXPECT_EQ(amplitude.Result(), 1.0);
            CCall<bool> connected([] { return VRAXIsConnected(); });
            EXPECT_TRUE(connected.Result());
            CCall<unsigned> voltage([] { return VRAXGetUSBBusVoltage(); });
            EXPECT_EQ(voltage.Result(), kUsbVoltage);
        }
        return number == 2 ? 1 : 0;
    });
    EXPECT_EQ(BurnMcu(Progress::On), -1);
}

// None of them waits for long, and none gets the reply to a frame of the burn.
TEST(McuBurn, LetsCommandsOfAnotherThreadThrough)
{
    const BurnHost host;
    std::atomic<bool> done{false};
    Progress::CancelAt(30);
    CCall<int> commands([&] {
        int count = 0;
        while (!done) {
            if (VRAXGetUSBBusVoltage() != kUsbVoltage) return -1;
            ++count;
        }
        return count;
    });
    EXPECT_EQ(BurnMcu(Progress::On), -1);
    done = true;
    EXPECT_GE(commands.Result(), 5);
    EXPECT_EQ(host.instrument.Exchanges(Request::McuErase).size(), 30U);
    ExpectNoRefusals(host.instrument);
}

namespace {

std::atomic<int> s_burnResult{1};
void BurnWhenConnected(bool connected)
{
    Listener::OnConnected(connected);
    if (connected && s_burnResult == 1) s_burnResult = BurnFirmware(Progress::On);
}

}  // namespace

TEST(ConnectionListener, MayBurn)
{
    SimulatedInstrument instrument(0);
    LoadFpga(FpgaImage(7));
    const CHost host(kPatientMs);
    ASSERT_TRUE(VRAXInit(BurnWhenConnected));
    ASSERT_TRUE(Eventually([] { return s_burnResult != 1; }, std::chrono::minutes(2)));
    EXPECT_EQ(s_burnResult, 0);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true}));
    instrument.Unplug();
    EXPECT_TRUE(Listener::WaitFor(false));
}

TEST(ConnectionListener, MayBurnWhatDoesNotComeBack)
{
    SimulatedInstrument instrument(0);
    instrument.SetRestart({Milliseconds(300), false});
    LoadFpga(FpgaImage(7));
    const CHost host(kPatientMs);
    ASSERT_TRUE(VRAXInit(BurnWhenConnected));
    ASSERT_TRUE(Eventually([] { return s_burnResult != 1; }, std::chrono::minutes(2)));
    EXPECT_EQ(s_burnResult, -11);
    EXPECT_TRUE(Listener::WaitFor(false));
    instrument.Plug();
    EXPECT_TRUE(Listener::WaitFor(true, 2));
}
