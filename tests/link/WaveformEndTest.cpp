// A built-in waveform that plays once, in a run with an instrument and in one without.

#include <gtest/gtest.h>

#include <mutex>
#include <utility>
#include <vector>

#include "support/ApiLogFile.h"
#include "support/LinkHost.h"

using namespace instrument;

namespace {

constexpr double kRate = 20000.0;

// The ends that the library told: play time and period.
class Ends {
public:
    static void Register()
    {
        RegisterStandardWaveformCB([](double t, double period) {
            const std::lock_guard lock(State().mutex);
            State().told.emplace_back(t, period);
        });
    }
    static std::vector<std::pair<double, double>> Told()
    {
        const std::lock_guard lock(State().mutex);
        return State().told;
    }

    // Once, with the first sample beyond the period.
    static void ExpectOne(double period)
    {
        const std::vector<std::pair<double, double>> told = Told();
        ASSERT_EQ(told.size(), 1U);
        EXPECT_EQ(told[0].second, period);
        EXPECT_GT(told[0].first, period);
        EXPECT_LE(told[0].first, period + 1.0 / kRate + 1e-9);
    }

private:
    struct Record {
        std::mutex mutex;
        std::vector<std::pair<double, double>> told;
    };
    static Record& State()
    {
        static Record& record = *new Record;  // told until the process has ended
        return record;
    }
};

// The output is off and its run has ended.
bool WaitForTheEnd()
{
    return Eventually([] { return VRAXGetOutputFunction() == OUTPUT_OFF && VRAXIsPlaying() == 0; });
}

Options KeepingSamples()
{
    Options options;
    options.keepSamples = 200000;
    return options;
}

class WaveformEnd : public testing::Test {
protected:
    WaveformEnd() { Ends::Register(); }

    SimulatedInstrument instrument_{KeepingSamples()};
    CConnectedHost host_{kPatientMs};
};

}  // namespace

TEST_F(WaveformEnd, IsToldOnceAndEndsTheRun)
{
    ApiLogFile log;
    VRAXSetSpecialWaveformLoop(0);
    ASSERT_EQ(VRAXSetSpecialWave251(3), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_IEC251), 0);
    ASSERT_TRUE(instrument_.WaitForStop());
    ASSERT_TRUE(WaitForTheEnd());
    Ends::ExpectOne(1.0);
    EXPECT_TRUE(Eventually([&] { return instrument_.Relays().operateMode == 8; }));
    EXPECT_EQ(instrument_.Statistics().runs, 1U);
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    const std::string text = log.NewText();
    EXPECT_EQ(text.substr(0, text.find("VRAXSetBaseline")),
              "SetSpecialWave251(3);\nVRAXSetOutputFunction(9);\nVRAXSetOutputFunction(0);\n");
}

TEST_F(WaveformEnd, LeavesTheWaveformOnceInTheStreamAndZeroAfterIt)
{
    VRAXSetSpecialWaveformLoop(0);
    ASSERT_EQ(VRAXSetSpecialWave251(3), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_IEC251), 0);
    ASSERT_TRUE(instrument_.WaitForStop());
    unsigned count = 0;
    unsigned rate = 0;
    const int* wave = GetSpecialWave251Array(3, &count, &rate);
    ASSERT_EQ(count, 1000U);
    const std::vector<Sample> samples = instrument_.Samples();
    ASSERT_GE(samples.size(), 20000U);
    // 20 samples of the stream to one of the waveform; the first may belong to the one before.
    for (std::size_t n = 0; n < 20000; ++n) {
        if (n % 20 == 0) continue;
        ASSERT_NEAR(samples[n].codes.ac, wave[n / 20] * 1.6, 1.0) << n;
    }
    for (std::size_t n = 20002; n < samples.size(); ++n) ASSERT_EQ(samples[n].codes.ac, 0) << n;
}

TEST_F(WaveformEnd, ComesAtOnceWhenLoopingIsSwitchedOffBeyondIt)
{
    ASSERT_EQ(VRAXSetSpecialWave247(1), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_IEC247), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(250));  // 8.75 s, more than two periods
    EXPECT_TRUE(Ends::Told().empty());
    EXPECT_EQ(VRAXIsPlaying(), 1);
    VRAXSetSpecialWaveformLoop(0);
    ASSERT_TRUE(instrument_.WaitForStop());
    ASSERT_TRUE(WaitForTheEnd());
    ASSERT_EQ(Ends::Told().size(), 1U);
    EXPECT_GT(Ends::Told()[0].first, 8.7);
    EXPECT_EQ(Ends::Told()[0].second, 3.996);
}

TEST_F(WaveformEnd, ComesAgainWithEveryRun)
{
    VRAXSetSpecialWaveformLoop(0);
    for (unsigned run = 1; run <= 3; ++run) {
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ANE20000), 0);
        ASSERT_TRUE(instrument_.WaitForStop(run));
        ASSERT_TRUE(WaitForTheEnd());
        EXPECT_EQ(Ends::Told().size(), run);
    }
    EXPECT_EQ(instrument_.Statistics().runs, 3U);
}

TEST_F(WaveformEnd, ComesWithoutAListenerToo)
{
    RegisterStandardWaveformCB(nullptr);
    VRAXSetSpecialWaveformLoop(0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_IEC251), 0);
    EXPECT_TRUE(instrument_.WaitForStop());
    EXPECT_TRUE(WaitForTheEnd());
    EXPECT_TRUE(Ends::Told().empty());
}

TEST(WaveformEndWithoutAnInstrument, IsToldOnceAndEndsTheRun)
{
    CListeningHost host;
    Ends::Register();
    VRAXSetSpecialWaveformLoop(0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_IEC251), 0);
    ASSERT_TRUE(Eventually([] { return !Ends::Told().empty(); }));
    ASSERT_TRUE(WaitForTheEnd());
    Ends::ExpectOne(1.0);
}
