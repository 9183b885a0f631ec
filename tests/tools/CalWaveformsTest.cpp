// The calibration waveforms: the QRS sample by sample, the other waves in place, size and sign.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/TempDir.h"
#include "tools/tables/CalWaveforms.h"
#include "tools/tables/TextFile.h"

namespace {
using Samples = std::vector<std::int32_t>;

// uV at k ms from the onset.
std::int32_t At(const Samples& qrs, int k) { return qrs.at(static_cast<std::size_t>(k)); }

CalWaveform Described(const std::string& name)
{
    for (const CalWaveform& waveform : ReadCalWaveforms(VRAX_DESCRIPTIONS_DIR "/cal.txt")) {
        if (waveform.name == name) return waveform;
    }
    ADD_FAILURE() << name << " is not described";
    return {};
}

Samples Table(const std::string& name) { return MakeCalWaveform(Described(name)); }

TEST(CalQrs, RisesByAFootAndTwoSlopesToAPlateau)
{
    const Samples qrs = MakeQrs(QrsShape::kRs100, 2000, 0);
    EXPECT_EQ(At(qrs, 0), 0);
    EXPECT_EQ(At(qrs, 1), 3);    // 180 / 49 = 3.67
    EXPECT_EQ(At(qrs, 3), 33);   // 180 * 9 / 49 = 33.06
    EXPECT_EQ(At(qrs, 7), 180);  // 0.09 of the amplitude
    EXPECT_EQ(At(qrs, 8), 360);  // a ninth of the way to 1800
    EXPECT_EQ(At(qrs, 16), 1800);
    EXPECT_EQ(At(qrs, 20), 1900);
    for (int k = 24; k <= 32; ++k) EXPECT_EQ(At(qrs, k), 2000) << k;
    EXPECT_EQ(At(qrs, 40), 1800);
    EXPECT_EQ(At(qrs, 45), 900);
    EXPECT_EQ(At(qrs, 50), 0);
}

TEST(CalQrs, TruncatesTowardZeroOnBothSides)
{
    const Samples qrs = MakeQrs(QrsShape::kRs100, 500, 0);
    EXPECT_EQ(At(qrs, 2), 3);     // 45 * 4 / 49 = 3.67
    EXPECT_EQ(At(qrs, 17), 456);  // 450 + 6.25
    EXPECT_EQ(At(qrs, 33), 494);  // 500 - 6.25, the step truncated
    EXPECT_EQ(At(qrs, 61), -456);
    EXPECT_EQ(At(qrs, 98), -3);  // the second sample from the end but two
}

TEST(CalQrs, OfRAndSHasAnSWaveThatEndsAfter100Ms)
{
    const Samples qrs = MakeQrs(QrsShape::kRs100, 2000, 0);
    ASSERT_EQ(qrs.size(), 101U);
    EXPECT_EQ(At(qrs, 60), -1800);
    for (int k = 68; k <= 76; ++k) EXPECT_EQ(At(qrs, k), -2000) << k;
    EXPECT_EQ(At(qrs, 84), -1800);
    EXPECT_EQ(At(qrs, 93), -180);
    EXPECT_EQ(At(qrs, 97), -33);
    EXPECT_EQ(At(qrs, 100), 0);
}

TEST(CalQrs, OfAnRAloneEndsOnTheStLevelAfter56Ms)
{
    const Samples flat = MakeQrs(QrsShape::kR56, 2000, 0);
    ASSERT_EQ(flat.size(), 57U);
    EXPECT_EQ(At(flat, 40), 1800);
    EXPECT_EQ(At(flat, 49), 180);
    EXPECT_EQ(At(flat, 50), 132);  // 180 * 36 / 49 = 132.2
    EXPECT_EQ(At(flat, 56), 0);

    const Samples raised = MakeQrs(QrsShape::kR56, 2000, 200);
    EXPECT_EQ(At(raised, 49), 360);  // 200 and a tenth of 1800 - 200
    EXPECT_EQ(At(raised, 50), 317);  // 200 + 160 * 36 / 49
    EXPECT_EQ(At(raised, 56), 200);

    const Samples lowered = MakeQrs(QrsShape::kR56, 2000, -200);
    EXPECT_EQ(At(lowered, 41), 1600);  // a ninth of the way from 1800 to 0
    EXPECT_EQ(At(lowered, 49), 0);     // -200 and a tenth of 1800 + 200
    EXPECT_EQ(At(lowered, 50), -54);   // -200 + 146
    EXPECT_EQ(At(lowered, 56), -200);
}

TEST(CalQrs, OfAQAloneIsTheRUpsideDownWithTheStLevelOfItsName)
{
    for (const std::int32_t st : {0, -200, 200}) {
        const Samples q = MakeQrs(QrsShape::kQ56, 2000, st);
        const Samples r = MakeQrs(QrsShape::kR56, 2000, -st);
        ASSERT_EQ(q.size(), r.size());
        for (std::size_t k = 0; k < q.size(); ++k) EXPECT_EQ(q[k], -r[k]) << k;
        EXPECT_EQ(q.back(), st);
    }
}

TEST(CalQrs, Of36MsIsSteepAndPointSymmetric)
{
    const Samples qrs = MakeQrs(QrsShape::kRs36, 2000, 0);
    ASSERT_EQ(qrs.size(), 37U);
    EXPECT_EQ(At(qrs, 1), 18);  // 900 / 49 = 18.4
    EXPECT_EQ(At(qrs, 7), 900);
    EXPECT_EQ(At(qrs, 8), 1800);
    EXPECT_EQ(At(qrs, 9), 1900);
    for (int k = 10; k <= 14; ++k) EXPECT_EQ(At(qrs, k), 2000) << k;
    EXPECT_EQ(At(qrs, 17), 900);
    for (int k = 0; k <= 18; ++k) EXPECT_EQ(At(qrs, 36 - k), -At(qrs, k)) << k;
}

TEST(CalWaveforms, StartTheirQrsBehindSample179And129)
{
    const Samples slow = Table("CAL20000");
    EXPECT_EQ(slow[179], 0);
    EXPECT_EQ(slow[180], 3);
    EXPECT_EQ(slow[186], 180);
    EXPECT_EQ(slow[279], 0);
    EXPECT_EQ(slow[278], -3);
    const Samples fast = Table("CAL20002");
    EXPECT_EQ(fast[129], 0);
    EXPECT_EQ(fast[130], 3);
    EXPECT_EQ(fast[136], 180);
}

TEST(CalWaveforms, Of120AMinuteHoldTwoEqualBeats)
{
    for (const char* name : {"CAL20002", "CAL20502"}) {
        const Samples samples = Table(name);
        ASSERT_EQ(samples.size(), 1000U);
        EXPECT_TRUE(std::equal(samples.begin(), samples.begin() + 500, samples.begin() + 500));
    }
}

TEST(CalWaveforms, HaveAPWaveOf150Microvolts)
{
    for (const char* name : {"CAL05000", "CAL50000", "CAL20200"}) {
        const Samples samples = Table(name);
        EXPECT_EQ(*std::max_element(samples.begin(), samples.begin() + 179), 150) << name;
        EXPECT_EQ(samples[60], 150);
        EXPECT_EQ(samples[30], 75);  // a raised cosine: half height at a quarter of its length
        EXPECT_EQ(samples[120], 0);
    }
    EXPECT_EQ(Table("CAL20002")[40], 150);
}

TEST(CalWaveforms, HaveAPositiveTWaveOfAFifthOfTheAmplitude)
{
    struct Peak {
        const char* name;
        std::size_t place;
        std::int32_t microvolts;
    };
    for (const Peak& peak :
         {Peak{"CAL05000", 480, 100}, Peak{"CAL40000", 480, 800}, Peak{"CAL20100", 436, 400},
          Peak{"CAL20200", 436, 400}, Peak{"CAL20110", 436, 400}, Peak{"CAL20500", 416, 400},
          Peak{"CAL20002", 384, 400}}) {
        const Samples samples = Table(peak.name);
        EXPECT_EQ(samples[peak.place], peak.microvolts) << peak.name;
        const auto end = samples.begin() + static_cast<std::ptrdiff_t>(peak.place) + 110;
        EXPECT_EQ(*std::max_element(end - 220, end), peak.microvolts) << peak.name;
    }
}

TEST(CalWaveforms, StayOnTheStLevelUpToTheTWaveAndReturnTo0)
{
    const Samples raised = Table("CAL20160");
    for (std::size_t i = 235; i <= 336; ++i) EXPECT_EQ(raised[i], 200) << i;
    EXPECT_EQ(raised[386], 300);  // halfway up from 200 to 400
    EXPECT_EQ(raised[486], 200);  // halfway down from 400 to 0
    EXPECT_EQ(raised[536], 0);
    EXPECT_EQ(raised[999], 0);
    const Samples q = Table("CAL20210");
    for (std::size_t i = 235; i <= 336; ++i) EXPECT_EQ(q[i], -200) << i;
    EXPECT_EQ(q[386], 100);
}

TEST(CalWaveforms, AreSixteenInTheOrderOfTheirTable)
{
    const auto waveforms = ReadCalWaveforms(VRAX_DESCRIPTIONS_DIR "/cal.txt");
    ASSERT_EQ(waveforms.size(), 16U);
    EXPECT_EQ(waveforms[3].name, "CAL20000");
    EXPECT_EQ(waveforms[6].name, "CAL20002");
    EXPECT_EQ(waveforms[15].name, "CAL40000");
}

class CalFile : public testing::Test {
protected:
    std::string Refusal(const std::string& text)
    {
        const std::string path = folder_.File("cal.txt");
        std::ofstream(path) << text;
        try {
            for (const CalWaveform& waveform : ReadCalWaveforms(path)) MakeCalWaveform(waveform);
        } catch (const TableError& error) {
            return std::string(error.what()).substr(folder_.Path().size() + 1);
        }
        return "accepted";
    }

private:
    TempDir folder_;
};

TEST_F(CalFile, IsRefusedWithItsLine)
{
    EXPECT_EQ(Refusal("# nothing\nwave X\n"),
              "cal.txt:2: starts with neither 'waveform' nor 'timing'");
    EXPECT_EQ(Refusal("waveform X 2000 round 0 1\n"), "cal.txt:1: 'round' is no shape of a QRS");
    EXPECT_EQ(Refusal("waveform X 2000,5 r56 0 1\n"), "cal.txt:1: '2000,5' is not a whole number");
    EXPECT_EQ(Refusal("waveform X 2000 rs100 200 1\n"), "cal.txt:1: this shape has no ST level");
    EXPECT_EQ(Refusal("waveform X 2000 r56 0\n"), "cal.txt:1: needs 6 words, has 5");
    EXPECT_EQ(Refusal("waveform X 2000 r56 0 1\n"), "cal.txt: no timing for the beats of X");
}
}  // namespace
