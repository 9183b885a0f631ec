// The calls of the built-in waveforms: what they store, what they log, what they need.

#include <gtest/gtest.h>

#include <climits>

#include "device/Exchange.h"
#include "support/ApiLogFile.h"
#include "support/OfflineRun.h"
#include "support/Waiting.h"
#include "synthesis/BeatModel.h"

namespace {
using Setter = int (*)(int);
constexpr Setter kSelections[] = {VRAXSetSpecialWave227, VRAXSetSpecialWave251,
                                  VRAXSetSpecialWave247};

TEST(WaveformSelection, StoresEveryNumberAndGivesItBackFromAllThreeGetters)
{
    for (const Setter select : kSelections) {
        for (const int number : {9, 15, 4, 10, 16, 5, -1, INT_MIN, INT_MAX, 0}) {
            EXPECT_EQ(select(number), 0);
            EXPECT_EQ(VRAXGetSpecialWave227(), number);
            EXPECT_EQ(VRAXGetSpecialWave251(), number);
            EXPECT_EQ(VRAXGetSpecialWave247(), number);
        }
    }
}

TEST(WaveformSelection, GivesThePlayingFunctionItsPeriodAtOnce)
{
    OfflineRun run(OUTPUT_IEC247);
    const double periods[] = {60.0, 3.996, 9.972, 29.874, 3599.521};
    for (const Setter select : kSelections) {
        for (int number = 0; number < 5; ++number) {
            EXPECT_EQ(select(number), 0);
            EXPECT_EQ(g_Cycle.Read().s_tp, periods[number]);
        }
    }
}

TEST(WaveformSelection, StartsNothing)
{
    for (const Setter select : kSelections) select(1);
    VRAXSetANE20000Lead(1);
    EXPECT_EQ(VRAXIsPlaying(), 0);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
}

TEST(Ane20000Selection, RefusesEveryOtherLeadAndKeepsTheOld)
{
    ASSERT_EQ(VRAXSetANE20000Lead(5), 0);
    for (const int lead : {-1, 9, 10, INT_MIN, INT_MAX}) {
        EXPECT_EQ(VRAXSetANE20000Lead(lead), -1) << lead;
        EXPECT_EQ(VRAXGetANE20000Lead(), 5) << lead;
    }
    for (int lead = 0; lead < 9; ++lead) {
        EXPECT_EQ(VRAXSetANE20000Lead(lead), 0);
        EXPECT_EQ(VRAXGetANE20000Lead(), lead);
    }
}

TEST(Ane20000Selection, IsApartFromTheNumberOfTheOtherFamilies)
{
    VRAXSetSpecialWave227(7);
    VRAXSetANE20000Lead(3);
    EXPECT_EQ(VRAXGetSpecialWave227(), 7);
    VRAXSetSpecialWave251(11);
    EXPECT_EQ(VRAXGetANE20000Lead(), 3);
}

TEST(WaveformLoop, IsOnAtLoadOffByZeroAndOnByAnythingElse)
{
    EXPECT_TRUE(s_loopPlay);
    VRAXSetSpecialWaveformLoop(0);
    EXPECT_FALSE(s_loopPlay);
    for (const int on : {1, -1, 2, 256, INT_MIN, INT_MAX}) {
        VRAXSetSpecialWaveformLoop(0);
        VRAXSetSpecialWaveformLoop(on);
        EXPECT_TRUE(s_loopPlay) << on;
    }
}

TEST(WaveformLoop, IsSetUnderTheApiLock)
{
    std::unique_ptr<CCall<int>> call;
    {
        CApiLock held;
        call = std::make_unique<CCall<int>>([] {
            VRAXSetSpecialWaveformLoop(0);
            return 0;
        });
        call->WaitUntilBlocked();
        EXPECT_TRUE(s_loopPlay);
        EXPECT_FALSE(call->HasReturned(std::chrono::milliseconds(0)));
    }
    EXPECT_TRUE(call->HasReturned());
    EXPECT_FALSE(s_loopPlay);
}

TEST(WaveformLoop, ComesBackWithEveryResetTogetherWithNumberAndLeadZero)
{
    using Reset = void (*)();
    for (const Reset reset : {Reset{[] { VRAXReset(); }}, Reset{[] { VRAXResetEx(); }},
                              Reset{[] { VRAXResetAllLeadOff(); }}}) {
        VRAXSetSpecialWaveformLoop(0);
        VRAXSetSpecialWave251(12);
        VRAXSetANE20000Lead(8);
        reset();
        EXPECT_TRUE(s_loopPlay);
        EXPECT_EQ(VRAXGetSpecialWave251(), 0);
        EXPECT_EQ(VRAXGetANE20000Lead(), 0);
    }
}

TEST(WaveformCalls, AreNotLogged)
{
    TempDir dir;
    ApiLogFile log;
    VRAXSetSpecialWaveformLoop(0);
    VRAXSetANE20000Lead(2);
    unsigned count = 0;
    unsigned rate = 0;
    EXPECT_NE(GetSpecialWave227Array(0, &count, &rate), nullptr);
    EXPECT_NE(GetSpecialWave251Array(0, &count, &rate), nullptr);
    EXPECT_NE(GetSpecialWave247Array(1, &count, &rate), nullptr);
    EXPECT_EQ(GetRRAvg(1), 0.8);
    EXPECT_EQ(DumpIEC251Waveform(0, dir.File("dump").c_str()), 0);
    EXPECT_EQ(log.NewText(), "");
}

// Neither the selection of a family nor a run is needed, and a lock that somebody holds is no matter.
TEST(WaveformCalls, ReadTheTablesWithoutTheApiLock)
{
    CApiLock held;
    CCall<const int*> call([] {
        unsigned count = 0;
        unsigned rate = 0;
        EXPECT_NE(GetSpecialWave247Array(1, &count, &rate), nullptr);
        EXPECT_EQ(GetIEC47RawPoint(1, 0.0535), 0.875);
        return GetSpecialWave227Array(0, &count, &rate);
    });
    EXPECT_NE(call.Result(), nullptr);
}
}  // namespace
