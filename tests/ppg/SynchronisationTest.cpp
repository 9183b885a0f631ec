// The delay that puts the peak of a pulse after the R wave.

#include <gtest/gtest.h>

#include <limits>

#include "support/ApiLogFile.h"
#include "support/OfflineRun.h"
#include "support/PpgChannel.h"

namespace {
// A standard beat at 60 bpm has its R wave at 10 + 0.4375 x 100 = 53.75 ms, the customised one of
// default times at 160 + 43.75 = 203.75 ms; the pulse peaks at 150 ms.
class Transit : public testing::Test {
protected:
    Transit() { EXPECT_GT(VRAXSetPPGStandardWaveform(0, 3, 1, 0, 1.0, 1000, 10), 0); }
};
}  // namespace

TEST_F(Transit, IsNotSynchronisedByDefault)
{
    OfflineRun run(OUTPUT_ECG);
    EXPECT_EQ(g_PPG_PTTp, -1);
    EXPECT_EQ(_GetPPGTimeOffset(0), 0.0);
}

TEST_F(Transit, CountsFromTheRWaveOfTheBeat)
{
    OfflineRun run(OUTPUT_ECG);
    VRAXSetPTTp(200);
    EXPECT_DOUBLE_EQ(_GetPPGTimeOffset(0), 0.103);  // 53 - 150 + 200
    VRAXSetPTTp(0);
    EXPECT_DOUBLE_EQ(_GetPPGTimeOffset(0), -0.097);
    VRAXSetPTTp(97);
    EXPECT_DOUBLE_EQ(_GetPPGTimeOffset(0), 0.0);
}

TEST_F(Transit, CountsFromTheRWaveOfTheCustomisedBeat)
{
    OfflineRun run(OUTPUT_CUSTOM_ECG);
    VRAXSetPTTp(200);
    EXPECT_DOUBLE_EQ(_GetPPGTimeOffset(0), 0.253);  // 203 - 150 + 200
}

TEST_F(Transit, IsWithinOneBeat)
{
    g_F = 2.0;
    OfflineRun run(OUTPUT_ECG);
    VRAXSetPTTp(1200);
    EXPECT_DOUBLE_EQ(_GetPPGTimeOffset(0), 0.103);  // 1103 mod 500
}

TEST_F(Transit, IsNothingForTheOtherFunctions)
{
    VRAXSetPTTp(200);
    for (const int function : {0, 1, 2, 3, 4, 5, 6, 8, 9, 10, 11, 12, 13, 15, 16, 17, 10000}) {
        g_MainOutput = function;
        EXPECT_EQ(_GetPPGTimeOffset(0), 0.0) << function;
    }
}

TEST_F(Transit, IsNothingWithoutEcgForRawDataAndForNoChannel)
{
    OfflineRun run(OUTPUT_ECG);
    VRAXSetPTTp(200);
    EXPECT_NE(_GetPPGTimeOffset(0), 0.0);
    for (const int led : {-1, 3, 1 << 30}) EXPECT_EQ(_GetPPGTimeOffset(led), 0.0);
    VRAXEnableECGOutput(false);
    EXPECT_EQ(_GetPPGTimeOffset(0), 0.0);
    VRAXEnableECGOutput(true);
    g_PPG_waveforms[0].t1 = -1;
    EXPECT_EQ(_GetPPGTimeOffset(0), 0.0);
    g_PPG_waveforms[0].t1 = 150;
    g_PPG_use_file[0] = true;
    EXPECT_EQ(_GetPPGTimeOffset(0), 0.0);
}

TEST_F(Transit, OfAnyLengthIsTakenAndLogged)
{
    ApiLogFile log;
    OfflineRun run(OUTPUT_ECG);
    const int highest = std::numeric_limits<int>::max();
    VRAXSetPTTp(highest);
    EXPECT_DOUBLE_EQ(_GetPPGTimeOffset(0), (2147483647LL + 53 - 150) % 1000 / 1000.0);
    g_PPG_waveforms[0].t1 = highest;
    EXPECT_DOUBLE_EQ(_GetPPGTimeOffset(0), 0.053);
    VRAXSetPTTp(-5);
    EXPECT_EQ(_GetPPGTimeOffset(0), 0.0);
    EXPECT_EQ(log.NewLines(), (Lines{"VRAXSetPTTp(2147483647);", "VRAXSetPTTp(-5);"}));
}

// 10 and 40 ms into its triangle, the square waits for nothing: its peak is its start.
TEST_F(Transit, TakesThePeakTimeOfEachShape)
{
    OfflineRun run(OUTPUT_ECG);
    VRAXSetPTTp(300);
    const struct {
        int shape;
        double offset;
    } kShapes[] = {{0, 0.103}, {1, 0.103}, {2, 0.353}, {3, 0.203}};
    s_ECGGoing = false;
    for (const auto& [shape, offset] : kShapes) {
        ASSERT_GT(VRAXSetPPGStandardWaveform(2, shape, 1, 0, 1.0, 1000, 10), 0);
        EXPECT_DOUBLE_EQ(_GetPPGTimeOffset(2), offset) << shape;
    }
}
