// ANE20000: the published extremes, durations and levels are met, in the derived leads too.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/TempDir.h"
#include "tools/tables/AneWaveforms.h"
#include "tools/tables/TextFile.h"

namespace {
using Samples = std::vector<std::int32_t>;

constexpr std::size_t kQrsOnset = 179;  // the last sample before the QRS
constexpr std::size_t kQrsMs = 94;
constexpr std::size_t kTPeak = 484;

std::vector<AneLead> Leads() { return ReadAneLeads(VRAX_DESCRIPTIONS_DIR "/ane20000.txt"); }

struct Range {
    std::int32_t lowest;
    std::int32_t highest;
};

template <class Value>
Range QrsRange(Value&& valueAt)
{
    Range range{0, 0};
    for (std::size_t i = kQrsOnset; i <= kQrsOnset + kQrsMs; ++i) {
        range.lowest = std::min(range.lowest, valueAt(i));
        range.highest = std::max(range.highest, valueAt(i));
    }
    return range;
}

TEST(AneLeads, AreNineInTheOrderOfTheirTable)
{
    std::string names;
    for (const AneLead& lead : Leads()) {
        names += lead.name + " ";
        EXPECT_EQ(lead.microvolts.size(), 1000U);
    }
    EXPECT_EQ(names, "I II III V1 V2 V3 V4 V5 V6 ");
}

TEST(AneLeads, HaveThePublishedExtremesOfTheQrs)
{
    // III is derived from I and II: within 3 uV.
    const Range published[] = {{-197, 831},  {-215, 1180}, {-39, 397},
                               {-1204, 316}, {-1929, 717}, {-1201, 1004},
                               {-639, 1781}, {-333, 1821}, {-186, 1506}};
    const std::vector<AneLead> leads = Leads();
    for (std::size_t n = 0; n < leads.size(); ++n) {
        const Range range = QrsRange([&](std::size_t i) { return leads[n].microvolts[i]; });
        const int tolerance = leads[n].name == "III" ? 3 : 0;
        EXPECT_NEAR(range.lowest, published[n].lowest, tolerance) << leads[n].name;
        EXPECT_NEAR(range.highest, published[n].highest, tolerance) << leads[n].name;
    }
}

TEST(AneLeads, GiveTheAugmentedLeadsTheirPublishedExtremes)
{
    const std::vector<AneLead> leads = Leads();
    const Samples& one = leads[0].microvolts;
    const Samples& two = leads[1].microvolts;
    const Range aVR = QrsRange([&](std::size_t i) { return -(one[i] + two[i]) / 2; });
    const Range aVL = QrsRange([&](std::size_t i) { return one[i] - two[i] / 2; });
    const Range aVF = QrsRange([&](std::size_t i) { return two[i] - one[i] / 2; });
    EXPECT_NEAR(aVR.lowest, -1003, 3);
    EXPECT_NEAR(aVR.highest, 205, 3);
    EXPECT_NEAR(aVL.lowest, -98, 3);
    EXPECT_NEAR(aVL.highest, 251, 3);
    EXPECT_NEAR(aVF.lowest, -122, 3);
    EXPECT_NEAR(aVF.highest, 775, 3);
}

TEST(AneLeads, AreBoundByEinthovensLaw)
{
    const std::vector<AneLead> leads = Leads();
    for (std::size_t i = 0; i < 1000; ++i) {
        ASSERT_EQ(leads[2].microvolts[i], leads[1].microvolts[i] - leads[0].microvolts[i]) << i;
    }
}

TEST(AneLeads, HaveAQrsOf94MsThatEndsOnItsLevel)
{
    const std::int32_t levels[] = {0, 0, 0, 0, 100, 86, 45, 0, 0};
    const std::vector<AneLead> leads = Leads();
    for (std::size_t n = 0; n < leads.size(); ++n) {
        const Samples& samples = leads[n].microvolts;
        for (std::size_t i = 130; i <= kQrsOnset; ++i) EXPECT_EQ(samples[i], 0) << leads[n].name;
        EXPECT_NE(samples[kQrsOnset + 2], 0) << leads[n].name;
        EXPECT_EQ(samples[kQrsOnset + kQrsMs], levels[n]) << leads[n].name;
    }
}

TEST(AneLeads, HaveTheirPAndTWavesAndReturnTo0)
{
    struct Waves {
        const char* name;
        std::int32_t p;
        std::int32_t st;
        std::int32_t t;
    };
    const Waves fitted[] = {{"I", 75, 5, 300},    {"II", 123, 10, 370}, {"III", 48, 5, 70},
                            {"V1", 0, 40, 160},   {"V2", 0, 200, 750},  {"V3", 65, 230, 760},
                            {"V4", 68, 180, 700}, {"V5", 70, 10, 500},  {"V6", 61, 15, 160}};
    const std::vector<AneLead> leads = Leads();
    for (std::size_t n = 0; n < leads.size(); ++n) {
        const Samples& samples = leads[n].microvolts;
        EXPECT_EQ(samples[65], fitted[n].p) << fitted[n].name;  // 62 ms behind sample 3
        EXPECT_EQ(samples[380], fitted[n].st) << fitted[n].name;
        EXPECT_EQ(samples[kTPeak], fitted[n].t) << fitted[n].name;
        EXPECT_EQ(samples[588], 0) << fitted[n].name;
        EXPECT_EQ(samples[999], 0) << fitted[n].name;
    }
}

TEST(AneFile, IsRefusedWithoutALead)
{
    TempDir folder;
    const std::string path = folder.File("ane.txt");
    std::ofstream(path) << "timing 3 124 179 484 208\nlead I\nqrs 0 0 5 10\n";
    try {
        ReadAneLeads(path);
        FAIL() << "accepted";
    } catch (const TableError& error) {
        EXPECT_EQ(error.what(), path + ": lead II or its QRS is missing");
    }
}
}  // namespace
