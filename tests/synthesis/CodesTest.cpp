// Millivolts to codes, and what respiration divides the AC path by.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "instrument/DcTable.h"
#include "support/FittedModule.h"
#include "synthesis/Codes.h"
#include "synthesis/Respiration.h"

namespace {
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

TEST(AcCode, Is1600AMillivoltTruncatedTowardZero)
{
    EXPECT_EQ(GetAcDac(0.0), 0);
    EXPECT_EQ(GetAcDac(1.0), 1600);
    EXPECT_EQ(GetAcDac(-1.0), -1600);
    EXPECT_EQ(GetAcDac(0.001), 1);
    EXPECT_EQ(GetAcDac(-0.001), -1);
    EXPECT_EQ(GetAcDac(0.0006), 0);
    EXPECT_EQ(GetAcDac(-0.0006), 0);
}

TEST(AcCode, SaturatesAtBothEnds)
{
    EXPECT_EQ(GetAcDac(20.479375), 32767);
    EXPECT_EQ(GetAcDac(20.48), 32767);
    EXPECT_EQ(GetAcDac(-20.48), -32768);
    EXPECT_EQ(GetAcDac(-21.0), -32768);
    EXPECT_EQ(GetAcDac(1e300), 32767);
    EXPECT_EQ(GetAcDac(kInfinity), 32767);
    EXPECT_EQ(GetAcDac(-kInfinity), -32768);
    EXPECT_EQ(GetAcDac(kNaN), 0);
}

// A table without symmetry: the code of i is i * i / 250, then downwards.
void StoreCurvedTable()
{
    for (unsigned i = 0; i < 4001; ++i) {
        g_ECGDCVariableCalibrationData[i] = static_cast<std::uint16_t>(i * i / 250);
    }
    g_ECGDCVariableCalibrationData[2500] = std::uint16_t{100};
}

TEST(DcCode, IsTheTableEntryAtWholeMillivolts)
{
    StoreCurvedTable();
    for (const int mv : {-2000, -1999, -1, 0, 1, 499, 500, 1999, 2000}) {
        EXPECT_EQ(GetPacketDCValue(mv), g_ECGDCVariableCalibrationData[mv + 2000]) << mv;
    }
}

TEST(DcCode, IsInterpolatedBetweenThem)
{
    StoreCurvedTable();
    g_ECGDCVariableCalibrationData[1999] = std::uint16_t{1000};
    g_ECGDCVariableCalibrationData[2000] = std::uint16_t{1101};
    EXPECT_EQ(GetPacketDCValue(-0.5), 1050);  // of 1050.5
    EXPECT_EQ(GetPacketDCValue(-0.25), 1075);
    EXPECT_EQ(GetPacketDCValue(-0.001), 1100);
    // Falling: 15968 at 1998, 1000 at 1999.
    g_ECGDCVariableCalibrationData[1998] = std::uint16_t{2000};
    EXPECT_EQ(GetPacketDCValue(-1.5), 1500);
}

TEST(DcCode, IsClampedToTwoVoltsEitherWay)
{
    StoreCurvedTable();
    const std::uint16_t last = g_ECGDCVariableCalibrationData[4000];
    EXPECT_EQ(GetPacketDCValue(2000.0), last);
    EXPECT_EQ(GetPacketDCValue(2500.0), last);
    EXPECT_EQ(GetPacketDCValue(kInfinity), last);
    EXPECT_EQ(GetPacketDCValue(-2000.0), g_ECGDCVariableCalibrationData[0]);
    EXPECT_EQ(GetPacketDCValue(-1e9), g_ECGDCVariableCalibrationData[0]);
    EXPECT_EQ(GetPacketDCValue(kNaN), 0);
}

TEST(DcCode, LastIntervalEndsAtTheLastEntry)
{
    StoreCurvedTable();
    const double low = g_ECGDCVariableCalibrationData[3999];
    const double high = g_ECGDCVariableCalibrationData[4000];
    EXPECT_EQ(GetPacketDCValue(1999.5), static_cast<int>(low + 0.5 * (high - low)));
}

TEST(DcCode, AgreesWithTheInstrumentsOwnConversion)
{
    instrument::DcWords words{};
    for (unsigned i = 0; i < words.size(); ++i) {
        words[i] = static_cast<std::uint16_t>((i * 7919u) % 65536u);
        g_ECGDCVariableCalibrationData[i] = words[i];
    }
    for (double mv = -2100.0; mv < 2100.0; mv += 0.317) {
        ASSERT_EQ(GetPacketDCValue(mv), instrument::DcCode(words, mv)) << mv;
    }
}

double AttenuationAt(int baseline)
{
    s_RespBaseline = baseline;
    return GetAttenuation();
}

TEST(Attenuation, IsThatOfTheInternalGenerator)
{
    EXPECT_EQ(AttenuationAt(500), 4.793);
    EXPECT_EQ(AttenuationAt(1000), 9.534);
    EXPECT_EQ(AttenuationAt(1500), 14.096);
    EXPECT_EQ(AttenuationAt(2000), 18.419);
    EXPECT_EQ(AttenuationAt(2500), 22.597);
    for (const int other : {0, 100, 200, 750, 3000, 3500, 4000, 4500, -1}) {
        EXPECT_EQ(AttenuationAt(other), 1.0) << other;
    }
}

TEST(Attenuation, IsThatOfTheModuleWhenPresent)
{
    FitRespirationModule();
    EXPECT_EQ(AttenuationAt(100), 1.04);
    EXPECT_EQ(AttenuationAt(200), 2.04);
    EXPECT_EQ(AttenuationAt(500), 5.04);
    for (int baseline = 1000; baseline <= 4000; baseline += 500) {
        EXPECT_DOUBLE_EQ(AttenuationAt(baseline), baseline / 100.0 + 0.04);
    }
    EXPECT_EQ(AttenuationAt(4500), 45.05);
    EXPECT_EQ(AttenuationAt(0), 1.0);
    EXPECT_EQ(AttenuationAt(5000), 1.0);
}
}  // namespace
