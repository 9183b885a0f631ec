// Numbers are written with a point, whatever locale the application has set.

#include <gtest/gtest.h>

#include "support/ApiLogFile.h"
#include "support/CommaLocale.h"
#include "support/RegisteredListener.h"

namespace {
TEST_F(CommaLocale, DoesNotReachTheLog)
{
    ASSERT_EQ(HalfByPrintf(), "0,5");
    RegisteredListener listener;
    ApiLogFile log;
    VRAXSetAmplitude(1.25);
    VRAXSetECG2_27_Noise(1, 0.5);
    VRAXSetDynamicRangeTest(false, false, 2.5, 30.0);
    VRAXSetFrequencyScanSine(false, 30, 1.5, 2.5);
    EXPECT_EQ(log.NewLines(), (Lines{"VRAXSetAmplitude(1.25);", "VRAXSetECG2_27_Noise(1, 0.50);",
                                     "VRAXSetDynamicRangeTest(false, false, 2.5, 30);",
                                     "VRAXSetFrequencyScanSine(false, 1.50, 2.50, 30);"}));
}

TEST_F(CommaLocale, DoesNotReachADump)
{
    ASSERT_EQ(HalfByPrintf(), "0,5");
    TempDir dir;
    const double values[] = {1.5, -0.25};
    ASSERT_EQ(DumpRawData(values, 2, dir.File("dump").c_str()), 0);
    EXPECT_EQ(ReadWholeFile(dir.File("dump")), "1.500\n-0.250\n");
}

TEST_F(CommaLocale, IsStillTheApplicationsAfterwards)
{
    ASSERT_EQ(HalfByPrintf(), "0,5");
    RegisteredListener listener;
    ApiLogFile log;
    VRAXSetAmplitude(1.25);
    EXPECT_EQ(HalfByPrintf(), "0,5");
    DumpRawData(nullptr, 0, log.Path().c_str());
    EXPECT_EQ(HalfByPrintf(), "0,5");
}
}  // namespace
