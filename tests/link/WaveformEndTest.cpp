// A built-in waveform that plays once, in a run with an instrument and in one without.

#include <gtest/gtest.h>

#include <vector>

#include "support/ApiLogFile.h"
#include "support/LinkHost.h"
#include "support/WaveformEnds.h"

using namespace instrument;

namespace {

constexpr double kRate = 20000.0;

Options KeepingSamples()
{
    Options options;
    options.keepSamples = 200000;
    return options;
}

class WaveformEnd : public testing::Test {
protected:
    WaveformEnd() { WaveformEnds::Register(); }

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
    ASSERT_TRUE(WaitForTheEndOfTheRun());
    WaveformEnds::ExpectOne(1.0, kRate);
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
    EXPECT_TRUE(WaveformEnds::Told().empty());
    EXPECT_EQ(VRAXIsPlaying(), 1);
    VRAXSetSpecialWaveformLoop(0);
    ASSERT_TRUE(instrument_.WaitForStop());
    ASSERT_TRUE(WaitForTheEndOfTheRun());
    ASSERT_EQ(WaveformEnds::Told().size(), 1U);
    EXPECT_GT(WaveformEnds::Told()[0].first, 8.7);
    EXPECT_EQ(WaveformEnds::Told()[0].second, 3.996);
}

TEST_F(WaveformEnd, ComesAgainWithEveryRun)
{
    VRAXSetSpecialWaveformLoop(0);
    for (unsigned run = 1; run <= 3; ++run) {
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ANE20000), 0);
        ASSERT_TRUE(instrument_.WaitForStop(run));
        ASSERT_TRUE(WaitForTheEndOfTheRun());
        EXPECT_EQ(WaveformEnds::Told().size(), run);
    }
    EXPECT_EQ(instrument_.Statistics().runs, 3U);
}

TEST_F(WaveformEnd, ComesWithoutAListenerToo)
{
    RegisterStandardWaveformCB(nullptr);
    VRAXSetSpecialWaveformLoop(0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_IEC251), 0);
    EXPECT_TRUE(instrument_.WaitForStop());
    EXPECT_TRUE(WaitForTheEndOfTheRun());
    EXPECT_TRUE(WaveformEnds::Told().empty());
}

TEST(WaveformEndWithoutAnInstrument, IsToldOnceAndEndsTheRun)
{
    CListeningHost host;
    WaveformEnds::Register();
    VRAXSetSpecialWaveformLoop(0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_IEC251), 0);
    ASSERT_TRUE(Eventually([] { return !WaveformEnds::Told().empty(); }));
    ASSERT_TRUE(WaitForTheEndOfTheRun());
    WaveformEnds::ExpectOne(1.0, kRate);
}
