// A photodiode listener that calls the library against its rule: nothing waits for ever, neither
// the call nor what other threads do then and afterwards.

#include <gtest/gtest.h>

#include <atomic>
#include <ostream>

#include "support/SensorHost.h"

using namespace instrument;

namespace {

struct ListenersCall {
    const char* name;
    void (*call)();
    bool endsSomething;
};
void PrintTo(const ListenersCall& call, std::ostream* out) { *out << call.name; }

const ListenersCall kCalls[] = {
    {"Voltage", [] { VRAXGetUSBBusVoltage(); }, false},
    {"TriggerLevel", [] { SetPPGTriggerLevel(1, 5); }, false},
    {"LedLevels", [] { ResetPPGLedLevel(); }, false},
    {"AmbientLight", [] { VRAXSetLEDAmbientLightMode(3); }, false},
    {"TransmissionRate", [] { VRAXConfigureTransmissionRate(2); }, false},
    {"Waveform", [] { VRAXSetPPGStandardWaveform(0, 3, 1, 0, 1.0, 1000, 10); }, false},
    {"StartSampling", [] { VRAXStartPPGSampling(); }, false},
    {"EnableSampling", [] { VRAXEnablePPGSampling(1, nullptr); }, false},
    {"StopSampling", [] { VRAXStopPPGSampling(); }, true},
    {"DisableSampling", [] { VRAXDisablePPGSampling(); }, true},
    {"OutputOff", [] { VRAXSetOutputFunction(OUTPUT_OFF); }, true},
    {"Free", [] { VRAXFree(); }, true},
};

// The poll thread makes one call each time it is armed.
std::atomic<void (*)()> s_armed{nullptr};
std::atomic<unsigned> s_returned{0};
void CallTheLibrary(int, int, int)
{
    void (*const call)() = s_armed.exchange(nullptr);
    if (call == nullptr) return;
    call();
    ++s_returned;
}

bool HasReturned(unsigned times)
{
    return Eventually([=] { return s_returned >= times; }, std::chrono::minutes(1));
}

class FromAListener : public testing::TestWithParam<ListenersCall> {
protected:
    FromAListener()
        : instrument_([] {
              Options options = WithModule(Pace::RealTime);
              options.sampling.framesPerSecond = kSlowdown > 1 ? 50 : 200;
              return options;
          }())
    {}

    void StartSamplingWithIt()
    {
        ASSERT_EQ(VRAXEnablePPGSampling(0, CallTheLibrary), 0);
        ASSERT_EQ(VRAXStartPPGSampling(), 0);
    }

    // Beside a thread that waits for the line itself, most of the time.
    void CallAgainAndAgain()
    {
        CBackToBack caller;
        const unsigned times = GetParam().endsSomething ? 1 : 5;
        for (unsigned i = 1; i <= times; ++i) {
            s_armed = GetParam().call;
            ASSERT_TRUE(HasReturned(i)) << "the listener's call does not return";
        }
        EXPECT_EQ(caller.End().wrong, 0U);
    }

    void ExpectAllEnds()
    {
        EXPECT_TRUE(ComesBack([] { VRAXSetOutputFunction(OUTPUT_OFF); }));
        EXPECT_TRUE(ComesBack([] { VRAXStopPPGSampling(); }));
        EXPECT_EQ(VRAXIsPlaying(), 0);
        if (!VRAXIsConnected()) return;
        EXPECT_EQ(instrument_.State().samplingMask, 0);
        EXPECT_TRUE(Eventually([] { return VRAXGetUSBBusVoltage() == kUsbVoltage; }));
    }

    SimulatedInstrument instrument_;
    CConnectedHost host_{kPatientMs};
};

}  // namespace

TEST_P(FromAListener, ACallReturnsDuringSampling)
{
    StartSamplingWithIt();
    CallAgainAndAgain();
    ExpectAllEnds();
}

TEST_P(FromAListener, ACallReturnsWhileASignalPlays)
{
    StartSamplingWithIt();
    PlaySine(instrument_);
    CallAgainAndAgain();
    if (!GetParam().endsSomething) {
        EXPECT_TRUE(instrument_.WaitForMorePackets(5));
        EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    }
    ExpectAllEnds();
    if (!GetParam().endsSomething) ExpectOnePacketInFlight(instrument_);
}

INSTANTIATE_TEST_SUITE_P(SensorListener, FromAListener, testing::ValuesIn(kCalls),
                         [](const auto& parameter) { return parameter.param.name; });
