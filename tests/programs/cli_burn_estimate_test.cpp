// The time that a burn still takes.

#include <gtest/gtest.h>

#include "programs/vrax/BurnEstimate.h"

using vrax::BurnEstimate;
using vrax::ImageKind;

// 106 sectors of 40 ms, twice 2262 frames in what is left of ten seconds, and the search.
TEST(BurnEstimate, OfAnFpgaStartsWithTenSecondsAndTheSearch)
{
    const BurnEstimate estimate(ImageKind::Fpga, 122880);
    const double search = estimate.SecondsLeft(BURN_RECONNECT, 100, 0);
    EXPECT_NEAR(estimate.SecondsLeft(BURN_ERASE, 0, 0) - search, 10.0, 0.5);
    EXPECT_GT(search, 0.0);
}

// 120 sectors of 100 ms, 6 s of restart.
TEST(BurnEstimate, OfAnMcuProgramOf120KbIsAboutHalfAMinute)
{
    const BurnEstimate estimate(ImageKind::Mcu, 120 * 1024);
    EXPECT_NEAR(estimate.SecondsLeft(BURN_ERASE, 0, 0), 30.0, 5.0);
    EXPECT_NEAR(estimate.SecondsLeft(BURN_ERASE, 0, 0) - estimate.SecondsLeft(BURN_ERASE, 100, 12),
                12.0, 0.01);
}

// At 25 % after 10 s the stage has 30 s to go, at 50 % after 10 s it has 10 s.
TEST(BurnEstimate, FollowsThePaceOfTheStage)
{
    const BurnEstimate estimate(ImageKind::Fpga, 122880);
    const double after = estimate.SecondsLeft(BURN_WRITE, 100, 40);
    EXPECT_DOUBLE_EQ(estimate.SecondsLeft(BURN_WRITE, 25, 10) - after, 30.0);
    EXPECT_DOUBLE_EQ(estimate.SecondsLeft(BURN_WRITE, 50, 10) - after, 10.0);
}

TEST(BurnEstimate, NeverRisesAlongABurnAtItsUsualPace)
{
    const BurnEstimate estimate(ImageKind::Mcu, 100000);
    double before = estimate.SecondsLeft(BURN_ERASE, 0, 0);
    for (int stage = BURN_ERASE; stage <= BURN_VERIFY; ++stage) {
        const double length =
            estimate.SecondsLeft(stage, 0, 0) - estimate.SecondsLeft(stage, 100, 1);
        for (int percent = 0; percent <= 100; ++percent) {
            const double left = estimate.SecondsLeft(stage, percent, length * percent / 100);
            EXPECT_LE(left, before + 1e-9) << stage << " " << percent;
            before = left;
        }
    }
    EXPECT_EQ(estimate.SecondsLeft(BURN_FINISHED, 100, 0), 0.0);
}
