// Numbers are written with a point, whatever locale the application has set.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <clocale>
#include <cstdio>
#include <string>

#include "support/ApiLogFile.h"
#include "support/RegisteredListener.h"

namespace {
// A locale with a decimal comma, compiled for the test where the machine has none.
class CommaLocale : public testing::Test {
protected:
    void SetUp() override
    {
        for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"}) {
            if (std::setlocale(LC_ALL, name) != nullptr) return;
        }
        const std::string folder = dir_.File("de_DE.UTF-8");
        const std::string command =
            "localedef -c -i de_DE -f UTF-8 '" + folder + "' >/dev/null 2>&1";
        static_cast<void>(std::system(command.c_str()));  // it also warns by its status
        setenv("LOCPATH", dir_.Path().c_str(), 1);
        if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
            GTEST_SKIP() << "no locale with a decimal comma, and localedef makes none here";
        }
    }
    void TearDown() override { std::setlocale(LC_ALL, "C"); }

    static std::string HalfByPrintf()
    {
        char text[16];
        std::snprintf(text, sizeof text, "%.1f", 0.5);
        return text;
    }

    TempDir dir_;
};

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
