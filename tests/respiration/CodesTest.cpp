// Resistance to codes, and the table of the baselines.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "respiration/ExternalModule.h"
#include "respiration/Settings.h"
#include "support/FittedModule.h"
#include "support/LoadedNetwork.h"
#include "vrax.h"

namespace {
using Codes = std::vector<unsigned>;

class ModuleCodes : public testing::Test {
protected:
    ModuleCodes() { LoadNetwork(network_); }

    static Codes Of(double ohms)
    {
        unsigned short codes[3] = {7, 7, 7};
        EXPECT_EQ(ExtRespGetAmplitudeDAC(ohms, codes), codes[0]);
        return {codes[0], codes[1], codes[2]};
    }

    ModuleNetwork network_;
};
}  // namespace

// Worked out with 40 digits from the branches' conductances.
TEST_F(ModuleCodes, AreThoseOfTheParallelNetwork)
{
    const std::pair<double, Codes> expected[] = {
        {48.0, {860, 63, 0}},  {49.0, {852, 66, 4}},  {50.0, {904, 54, 10}}, {50.1, {892, 51, 11}},
        {50.5, {860, 50, 13}}, {51.0, {746, 47, 16}}, {52.0, {962, 41, 22}}, {55.0, {872, 32, 40}},
        {60.0, {534, 26, 70}}, {64.0, {829, 23, 94}},
    };
    for (const auto& [ohms, codes] : expected) EXPECT_EQ(Of(ohms), codes) << ohms;
}

TEST_F(ModuleCodes, MakeTheResistanceWithinAMilliohm)
{
    for (int i = 0; i <= 1400; ++i) {
        const double ohms = 50.0 + 0.01 * i;
        const Codes codes = Of(ohms);
        ASSERT_NEAR(network_.Ohms(codes[0], codes[1], codes[2]), ohms, 1e-3) << ohms;
    }
}

// 73.75 ohms stand at the table's end.
TEST_F(ModuleCodes, TakeTheLastResistanceAsTheThirdCodePastTheTablesEnd)
{
    EXPECT_EQ(Of(64.17)[2], 95u);
    EXPECT_EQ(Of(64.18)[2], 73u);
    EXPECT_EQ(Of(65.0), (Codes{995, 72, 73}));
    EXPECT_EQ(Of(1000.0), (Codes{0, 0, 73}));
    g_fECGExtRespiratationRDAC3[95] = 250.9;  // no index any more: the code stays
    EXPECT_EQ(Of(1000.0)[2], 250u);
    g_fECGExtRespiratationRDAC3[95] = -1.0;
    EXPECT_EQ(Of(1000.0)[2], 0u);
}

TEST_F(ModuleCodes, StayInTheirConvertersForEveryResistance)
{
    const double inf = std::numeric_limits<double>::infinity();
    for (const double ohms :
         {-inf, -1e300, -50.0, -1e-300, 1e-300, 1.0, 30.0, 49.9, 66.0, 1e9, 1e300, inf}) {
        const Codes codes = Of(ohms);
        EXPECT_LE(codes[0], 1023u) << ohms;
        EXPECT_LE(codes[1], 1023u) << ohms;
        EXPECT_LE(codes[2], 95u) << ohms;
    }
}

TEST_F(ModuleCodes, AreZeroForNoResistanceAndForNoNumber)
{
    EXPECT_EQ(Of(0.0), (Codes{0, 0, 0}));
    EXPECT_EQ(Of(std::nan("")), (Codes{0, 0, 0}));
}

TEST_F(ModuleCodes, AreZeroWithoutATable)
{
    for (const double unprogrammed : {0.0, std::nan("")}) {
        for (auto& ohms : g_fECGExtRespiratationRDAC3) ohms = unprogrammed;
        EXPECT_EQ(Of(50.0), (Codes{0, 0, 0}));
    }
}

TEST_F(ModuleCodes, NeedSomewhereToGo) { EXPECT_EQ(ExtRespGetAmplitudeDAC(50.0, nullptr), 0); }

TEST(ModuleBaselines, AreClampedToTheirTable)
{
    for (unsigned i = 0; i < 12; ++i) {
        g_ECGExtRespirationBaselineDACTable[i] = static_cast<std::uint16_t>(700 + i);
    }
    EXPECT_EQ(ExtRespGetBaselineDAC(0), 700);
    EXPECT_EQ(ExtRespGetBaselineDAC(11), 711);
    EXPECT_EQ(ExtRespGetBaselineDAC(15), 711);
    EXPECT_EQ(ExtRespGetBaselineDAC(-2), 700);
}

TEST(ModuleBaselines, WithoutTheModuleAreFiveAndSetNoCode)
{
    g_nECGExtRespirationBaselineDAC = std::uint16_t{42};
    constexpr int kOhms[] = {500, 1000, 1500, 2000, 2500};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(GetRespiratoryBaselineSelection(kOhms[i]), i);
    for (const int ohms : {0, 100, 750, 3000, 4500, -500}) {
        EXPECT_EQ(GetRespiratoryBaselineSelection(ohms), 0) << ohms;
    }
    EXPECT_EQ(g_nECGExtRespirationBaselineDAC, 42);
}

TEST(ModuleBaselines, WithTheModuleAreTwelveAndSetTheirCode)
{
    FitRespirationModule();
    for (unsigned i = 0; i < 12; ++i) {
        g_ECGExtRespirationBaselineDACTable[i] = static_cast<std::uint16_t>(900 + i);
    }
    constexpr int kOhms[] = {0, 100, 200, 500, 1000, 1500, 2000, 2500, 3000, 3500, 4000, 4500};
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(GetRespiratoryBaselineSelection(kOhms[i]), i);
        EXPECT_EQ(g_nECGExtRespirationBaselineDAC, 900 + i);
    }
    EXPECT_EQ(GetRespiratoryBaselineSelection(750), 0);
    EXPECT_EQ(g_nECGExtRespirationBaselineDAC, 911);
}
