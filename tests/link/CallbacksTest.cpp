// Calls of the library from its own callbacks: they neither hang nor crash.

#include <gtest/gtest.h>

#include <atomic>

#include "support/EveryCall.h"
#include "support/LinkHost.h"
#include "support/Slowdown.h"

using namespace instrument;

namespace {

enum class Action { Off, Free, Setters, Getters, AnotherFunction };

// What the callback under test does, once.
std::atomic<Action> s_action{Action::Off};
std::atomic<int> s_calls{0};

void Act()
{
    if (s_calls.fetch_add(1) != 0) return;
    switch (s_action) {
        case Action::Off: VRAXSetOutputFunction(OUTPUT_OFF); break;
        case Action::Free: VRAXFree(); break;
        case Action::Setters:
            CallAll(NumberSetters(1.0));
            CallAll(FlagSetters(3));
            CallAll(CallbackSetters());
            break;
        case Action::Getters:
            CallAll(ParameterGetters());
            CallAll(InstrumentGetters());
            break;
        case Action::AnotherFunction: VRAXSetOutputFunction(OUTPUT_TRIANGLE); break;
    }
}

// A callback, and a run that makes the library call it.
struct Callback {
    std::string name;
    std::function<void()> start;
};

const Callback kCallbacks[] = {
    {"OutputSignal",
     [] {
         VRAXRegisterOutputSignalCallback([](double, double) { Act(); }, 0);
         VRAXSetOutputFunction(OUTPUT_ECG);
     }},
    {"OutputSignalLater",
     [] {
         VRAXRegisterOutputSignalCallback(
             [](double time, double) {
                 if (time > 0.1) Act();
             },
             0);
         VRAXSetOutputFunction(OUTPUT_ECG);
     }},
    {"FrequencyDuringAScan",
     [] {
         VRAXRegisterSyncFrequencyCB([](double, double) { Act(); });
         VRAXSetFrequencyScanSine(true, 10, 10.0, 20.0);
     }},
    {"FrequencyThatIsCut",
     [] {
         VRAXRegisterSyncFrequencyCB([](double, double) { Act(); });
         VRAXSetFrequency(400.0);
         VRAXSetOutputFunction(OUTPUT_ECG);
     }},
    {"MainFunction",
     [] {
         VRAXRegisterSyncMainFunctionCB([](int, double) { Act(); });
         VRAXSetFrequencyScanSine(true, 10, 10.0, 20.0);
     }},
    {"OffsetOfTheDynamicRange",
     [] {
         VRAXRegisterSyncDCOffsetCB([](int, double, double) { Act(); });
         VRAXSetOutputFunction(OUTPUT_INPUT_DYNAMIC_RANGE);
     }},
    {"EndOfARecord",
     [] {
         RegisterStandardWaveformCB([](double, double) { Act(); });
         const std::vector<double> record(300, 0.5);
         SetRawArray(static_cast<int>(record.size()), record.data(), 1000);
         VRAXSetFileLoop(0);
         VRAXSetOutputFunction(OUTPUT_ECG_FILE);
     }},
    {"BaselineReset",
     [] {
         RegisterBaselineResetCB([](int) { Act(); });
         VRAXSetBaselineResetTest(1);
     }},
};

struct Case {
    Callback callback;
    Action action;
    bool hasInstrument;
};
std::string NameOfCase(const Case& item)
{
    constexpr const char* kActions[] = {"Off", "Free", "Setters", "Getters", "AnotherFunction"};
    return item.callback.name + "_" + kActions[static_cast<int>(item.action)] +
           (item.hasInstrument ? "" : "_Alone");
}
void PrintTo(const Case& item, std::ostream* out) { *out << NameOfCase(item); }

std::vector<Case> AllCases()
{
    std::vector<Case> cases;
    for (const Callback& callback : kCallbacks) {
        for (const Action action : {Action::Off, Action::Free, Action::Setters, Action::Getters,
                                    Action::AnotherFunction}) {
            for (const bool hasInstrument : {true, false}) {
                cases.push_back({callback, action, hasInstrument});
            }
        }
    }
    return cases;
}

Options Plugged(bool isPlugged)
{
    Options options = RealTime();
    options.plugged = isPlugged;
    return options;
}

class CallbackCalls : public testing::TestWithParam<Case> {};

}  // namespace

TEST_P(CallbackCalls, ComeBackAndLeaveTheLibraryUsable)
{
    const Case& item = GetParam();
    SimulatedInstrument instrument(Plugged(item.hasInstrument));
    CListeningHost host;
    if (item.hasInstrument) {
        ASSERT_TRUE(Listener::WaitFor(true));
    }
    s_action = item.action;
    ASSERT_TRUE(ComesBack(item.callback.start));
    ASSERT_TRUE(Eventually([] { return s_calls > 0; }));

    const bool isTold = item.callback.name == "BaselineReset";  // of a test that starts afterwards
    if (!isTold && (item.action == Action::Off || item.action == Action::Free)) {
        EXPECT_TRUE(Eventually([] { return VRAXIsPlaying() == 0; }));
    }
    if (item.action == Action::Free) {
        EXPECT_TRUE(Eventually([] { return !VRAXIsConnected() && CountLockFiles() == 0; }));
    }
    // From outside everything works as ever.
    EXPECT_TRUE(ComesBack([] { VRAXFree(); }));
    EXPECT_EQ(VRAXIsPlaying(), 0);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
    instrument.Plug();
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_TRUE(instrument.WaitForMorePackets(3));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
}

INSTANTIATE_TEST_SUITE_P(From, CallbackCalls, testing::ValuesIn(AllCases()),
                         [](const auto& parameter) { return NameOfCase(parameter.param); });

TEST(ConnectionListener, MayCallEverySetterAndGetter)
{
    SimulatedInstrument instrument(RealTime());
    CHost host;
    ASSERT_TRUE(VRAXInit([](bool connected) {
        CallAll(NumberSetters(1.0));
        CallAll(FlagSetters(3));
        CallAll(ParameterGetters());
        CallAll(InstrumentGetters());
        Listener::OnConnected(connected);
    }));
    ASSERT_TRUE(Listener::WaitFor(true));
    instrument.Unplug();
    ASSERT_TRUE(Listener::WaitFor(false));
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_EQ(VRAXGetAmplitude(), 1.0);
    ExpectNoRefusals(instrument);
}

TEST(ConnectionListener, MaySwitchOnAndOff)
{
    SimulatedInstrument instrument(RealTime());
    CHost host;
    ASSERT_TRUE(VRAXInit([](bool connected) {
        if (connected) {
            VRAXSetOutputFunction(OUTPUT_SINE);
            VRAXSetOutputFunction(OUTPUT_OFF);
            VRAXSetOutputFunction(OUTPUT_ECG);
        }
        Listener::OnConnected(connected);
    }));
    ASSERT_TRUE(Listener::WaitFor(true));
    EXPECT_TRUE(instrument.WaitForMorePackets(3));
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_ECG);
}

// The interrupt lock is the callback's: a long one holds up the stream, but not an API call that
// does without the instrument.
TEST(SlowCallback, HoldsUpTheStreamAlone)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    static std::atomic<bool> s_mayReturn{false};
    VRAXRegisterOutputSignalCallback(
        [](double time, double) {
            if (time < 0.1) return;
            ++s_calls;
            while (!s_mayReturn) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        },
        0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(Eventually([] { return s_calls > 0; }));
    EXPECT_TRUE(ComesBack([] {
        EXPECT_EQ(VRAXSetAmplitude(2.0), 0);
        EXPECT_EQ(VRAXIsPlaying(), 1);
        EXPECT_STREQ(VRAXGetSerialNumber(), "TEC1020-250042");
    }));
    s_mayReturn = true;
    EXPECT_TRUE(instrument.WaitForMorePackets(3));
}
