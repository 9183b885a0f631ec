// One sample of the ECG path: which voltages become its codes, what the graph and the recorder see.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "instrument/DcTable.h"
#include "storage/Calibration.h"
#include "support/OfflineRun.h"
#include "support/ReferenceSignal.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Callbacks.h"
#include "synthesis/Pacing.h"
#include "synthesis/Protocol.h"
#include "synthesis/Respiration.h"
#include "synthesis/TestSignals.h"

namespace {
struct Codes {
    std::uint16_t dc = 0;
    std::int16_t ac = 0;
};

Codes SampleAt(double t, bool ui = false, bool record = false)
{
    Codes codes;
    CLineOwner line;
    s_t = t;
    _GetECGVoltageData(t, &codes.dc, &codes.ac, ui, record);
    return codes;
}

class Sample : public testing::Test {
protected:
    Sample() { _SetECGDCDefaultCalibrationData(); }
};

TEST_F(Sample, TakesTheTimeWithinTheCycle)
{
    g_Amplitude = 2.0;
    g_F = 4.0;
    OfflineRun run(OUTPUT_SINE);
    EXPECT_EQ(SampleAt(0.0625).ac, 1600);
    EXPECT_EQ(SampleAt(100.0625).ac, 1600);
    EXPECT_EQ(SampleAt(0.1875).ac, -1600);
}

TEST_F(Sample, CarriesTheDCOffsetInItsOwnCode)
{
    OfflineRun run(OUTPUT_SINE);
    for (const int offset : {-1000, -300, 0, 1, 1000}) {
        g_DCSetting = offset;
        EXPECT_EQ(SampleAt(0.0).dc, instrument::DefaultDcCode(offset));
        EXPECT_EQ(SampleAt(0.0).ac, 0);
    }
}

TEST_F(Sample, IsZeroWhileTheEcgOutputIsDisabled)
{
    OfflineRun run(OUTPUT_SQUARE);
    g_DCSetting = 200;
    g_bECGOutputEnabled = false;
    EXPECT_EQ(SampleAt(0.1).ac, 0);
    EXPECT_EQ(SampleAt(0.1).dc, instrument::DefaultDcCode(0.0));
    g_PA = 10.0;  // with pacing the offset stays
    EXPECT_EQ(SampleAt(0.1).dc, instrument::DefaultDcCode(200.0));
}

TEST_F(Sample, KeepsTheOffsetWhilePacing)
{
    g_PA = 700.0;
    g_DCSetting = -50;
    OfflineRun run(OUTPUT_ECG);
    for (double t = 0.0; t < 2.0; t += 0.0007) {
        ASSERT_EQ(SampleAt(t).dc, instrument::DefaultDcCode(-50.0));
    }
}

TEST_F(Sample, FixedCodeOverridesTheDCPath)
{
    OfflineRun run(OUTPUT_SINE);
    g_DCSetting = 100;
    SetFixedDcCode(0);
    EXPECT_EQ(SampleAt(0.0).dc, 0);
    SetFixedDcCode(65535);
    EXPECT_EQ(SampleAt(0.0).dc, 65535);
    SetFixedDcCode(-1);
    EXPECT_EQ(SampleAt(0.0).dc, instrument::DefaultDcCode(100.0));
}

TEST_F(Sample, OverloadSineReplacesTheDCPathOfTheSineAlone)
{
    g_DCSetting = 30;
    OfflineRun run(OUTPUT_SINE);
    const double frequencies[] = {50.0, 60.0, 80.0, 100.0};
    for (int test = 1; test <= 4; ++test) {
        g_BaseLineOverload = test;
        for (int i = 0; i < 200; ++i) {
            const double t = i * 0.00033;
            const double mv = reference::Sine(1000.0, frequencies[test - 1], t);
            ASSERT_NEAR(SampleAt(t).dc, instrument::DefaultDcCode(mv), 1.0) << test << " " << t;
        }
    }
    g_MainOutput = OUTPUT_TRIANGLE;
    EXPECT_EQ(SampleAt(0.005).dc, instrument::DefaultDcCode(0.0));
}

TEST_F(Sample, OverloadWinsOverPacing)
{
    g_PA = 10.0;
    g_DCSetting = 30;
    OfflineRun run(OUTPUT_SINE);
    g_BaseLineOverload = 1;
    EXPECT_EQ(SampleAt(0.005).dc, instrument::DefaultDcCode(500.0));
}

TEST(Overload, IsNoneForOtherTests)
{
    for (const int test : {0, -1, 5, 100, 2147483647}) {
        g_BaseLineOverload = test;
        EXPECT_EQ(_GetBaselineOverload(0.005), 0.0) << test;
    }
    g_BaseLineOverload = 3;
    EXPECT_NEAR(_GetBaselineOverload(1.0 / 320.0), 500.0, 1e-9);
}

TEST_F(Sample, IsAttenuatedWhileRespirationIsEnabled)
{
    g_Amplitude = 10.0;
    OfflineRun run(OUTPUT_SQUARE);
    s_RespBaseline = 500;
    EXPECT_EQ(SampleAt(0.1).ac, 8000);
    g_RespirationEnabled = true;
    EXPECT_EQ(SampleAt(0.1).ac, static_cast<int>(8000.0 / 4.793));
}

TEST_F(Sample, ANumberThatIsNoneBecomesCodeZero)
{
    OfflineRun run(OUTPUT_SINE);
    g_Amplitude = std::numeric_limits<double>::quiet_NaN();
    Change();
    EXPECT_EQ(SampleAt(0.1).ac, 0);
}

using Points = std::vector<std::pair<double, double>>;
Points s_graph;
Points s_pacingGraph;

void RecordGraph(int divider)
{
    VRAXRegisterOutputSignalCallback([](double t, double mv) { s_graph.emplace_back(t, mv); },
                                     divider);
}

class Graph : public Sample {};

TEST_F(Graph, SeesTheUnattenuatedVoltageAtTheGraphTime)
{
    g_Amplitude = 10.0;
    RecordGraph(1);
    OfflineRun run(OUTPUT_SQUARE);
    s_RespBaseline = 500;
    g_RespirationEnabled = true;
    s_tg = 7.0;
    SampleAt(0.1, true);
    EXPECT_EQ(s_graph, (Points{{7.0, 5.0}}));
    SampleAt(0.1, false);
    EXPECT_EQ(s_graph.size(), 1u);
}

std::size_t CallsIn(OfflineRun& run, int divider)
{
    RecordGraph(divider);
    g_UICounter = 0;
    s_graph.clear();
    run.NextPacket();  // 700 samples
    return s_graph.size();
}

TEST_F(Graph, SeesOneSampleInEveryQuarterOfTheDivider)
{
    OfflineRun run(OUTPUT_SINE);
    EXPECT_EQ(CallsIn(run, 40), 70u);
    EXPECT_EQ(CallsIn(run, 43), 70u);
    EXPECT_EQ(CallsIn(run, 8), 350u);
    EXPECT_EQ(CallsIn(run, 7), 700u);
    for (const int divider : {1, 0, -5, 4}) EXPECT_EQ(CallsIn(run, divider), 700u) << divider;
}

TEST_F(Graph, DividerAboveTheSampleRateIsCutToIt)
{
    OfflineRun run(OUTPUT_SINE, 400);
    EXPECT_EQ(CallsIn(run, 401), 7u);  // every 100th
    EXPECT_EQ(s_freqDivider, 400);
    EXPECT_EQ(CallsIn(run, 2147483647), 7u);
}

TEST_F(Graph, StartsWithTheFirstSampleOfARun)
{
    OfflineRun run(OUTPUT_SINE);
    RecordGraph(40);
    g_UICounter = 7;  // of a run before
    run.NextPacket();
    ASSERT_EQ(s_graph.size(), 70u);
    EXPECT_EQ(s_graph[0].first, 0.0);
    EXPECT_NEAR(s_graph[1].first, 10.0 / 20000.0, 1e-12);
}

TEST_F(Graph, DrawsAPacingPulseAsARectangleOnce)
{
    VRAXRegisterPacingOutputSignalCallback(
        [](double t, double mv) { s_pacingGraph.emplace_back(t, mv); });
    g_PA = 50.0;
    g_PacingDuration = 1.5;
    OfflineRun run(OUTPUT_ECG);
    s_PacingIndicationNeeded = true;
    s_tg = 2.0;
    SampleAt(0.1, true);
    SampleAt(0.2, true);
    EXPECT_EQ(s_pacingGraph,
              (Points{{2.0, 0.0}, {2.0, 50.0}, {2.0 + 0.0015, 50.0}, {2.0 + 0.0015, 0.0}}));
    EXPECT_FALSE(s_PacingIndicationNeeded);
}

TEST_F(Sample, IsRecordedBeforeItsConversion)
{
    g_Amplitude = 60.0 / 1600.0;
    g_DCSetting = 123;
    OfflineRun run(OUTPUT_SQUARE);
    double ac[3] = {9, 9, 9};
    double dc[3] = {9, 9, 9};
    ASSERT_TRUE(EnableRecordRaw(ac, dc, 2));
    SampleAt(0.1, false, true);
    SampleAt(0.6, false, false);  // a preview
    SampleAt(0.6, false, true);
    SampleAt(0.1, false, true);  // no room
    EXPECT_EQ(ac[0], 30.0 / 1600.0);
    EXPECT_EQ(ac[1], -30.0 / 1600.0);
    EXPECT_EQ(dc[0], 123.0);
    EXPECT_EQ(dc[1], 123.0);
    EXPECT_EQ(ac[2], 9);
    EXPECT_EQ(dc[2], 9);
    DisableRecordRaw();
}
}  // namespace
