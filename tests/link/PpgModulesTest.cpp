// The modules with a finger probe: what drives them for the levels that were asked for, as the
// instrument finds it in its recording, in its relay command and in its flash.

#include <gtest/gtest.h>

#include <cmath>

#include "support/PpgRun.h"

using namespace instrument;

namespace {
constexpr unsigned kProbeModule = 0x3307;
constexpr unsigned kRangedModule = 0x3407;

unsigned FlashWord(const SimulatedInstrument& instrument, std::size_t address)
{
    const Bytes bytes = instrument.ReadFlash(19, static_cast<std::uint32_t>(address), 2);
    return static_cast<unsigned>(bytes[0] | bytes[1] << 8);
}

// Of a 0x3407: channel 1 is described by row 0 of its tables, channel 2 by row 1.
unsigned FullScaleCode(const SimulatedInstrument& instrument, std::size_t channel,
                       std::size_t range)
{
    return FlashWord(instrument, 5248 + 2 * (9 + 3 * (channel - 1) + range));
}
unsigned DcLevel(const SimulatedInstrument& instrument, std::size_t channel, std::size_t mv)
{
    return FlashWord(instrument, 5632 + 8192 * (channel - 1) + 2 * mv);
}

// Of the last run, as the relay command of its start states them: of channels 1 and 2.
std::array<unsigned, 2> Ranges(const SimulatedInstrument& instrument)
{
    for (auto exchanges = instrument.Exchanges(Request::Relays); !exchanges.empty();
         exchanges.pop_back()) {
        const Bytes& command = exchanges.back().request;
        if (command[2] != 8) return {command[11], command[12]};  // the output is not off
    }
    return {99, 99};
}

double PeakToPeak(const Series& series) { return Highest(series) - Lowest(series); }
}  // namespace

// The level is converted, then corrected by the gain of its hundred.
TEST(PpgModule3307, IsDrivenByConvertedLevels)
{
    CPpgRun run(WithPpgModule(kProbeModule), 1.0);
    ASSERT_EQ(VRAXEnableACAboveDC(true), 0);
    const struct {
        double dc, driven;
        double ac, swing;
    } kCases[] = {
        {100.0, 356.0 * 0.079937 / 0.113, 1.0, 0.8},
        {500.0, 1126.0 * 0.106936 / 0.113, 10.0, 8.4},
        {1000.0, 2000.0 * 0.111148 / 0.113, 20.0, 17.2},
        {1500.0, 2841.0 * 0.109935 / 0.113, 30.0, 26.1},
        {1574.0, 2973.0 * 0.111163 / 0.113, 30.0, 26.1},
        {3000.0, 2973.0 * 0.111163 / 0.113, 10.0, 8.4},
    };
    for (const auto& one : kCases) {
        SetPulse({1, kSquare, 2.0, one.dc, one.ac});
        SetPulse({2, kSine, 2.0, one.dc, one.ac});
        run.Play();
        ASSERT_EQ(run.Carried(), "12");
        for (const std::size_t channel : {1U, 2U}) {
            EXPECT_NEAR(run.Dc(channel)[0], one.driven, 3000.0 / 4095.0) << one.dc;
            EXPECT_NEAR(PeakToPeak(run.Ac(channel)), one.swing, 30.0 / 4095.0) << one.ac;
        }
    }
}

// By default the pulse hangs below the level that was asked for, and what is left is converted.
TEST(PpgModule3307, ConvertsWhatTheAmplitudeLeavesOfTheLevel)
{
    CPpgRun run(WithPpgModule(kProbeModule), 1.0);
    SetPulse({1, kStandardPulse, 2.0, 1010.0, 10.0});
    run.Play();
    EXPECT_NEAR(run.Dc(1)[0], 2000.0 * 0.111148 / 0.113, 3000.0 / 4095.0);
    EXPECT_NEAR(PeakToPeak(run.Ac(1)), 8.4, 30.0 / 4095.0);
    EXPECT_NEAR(RateOf(FallingThrough(run.Ac(1), 6.0)) * kPpgRate, 2.0, 1e-3);
}

// Each range has its full scale in mV and the code for it in the flash. The lowest counts as 1 mV,
// deliberately, so that what is between 1 and 1.5 mV is cut.
TEST(PpgModule3407, HasThreeRangesWithAFullScaleEach)
{
    CPpgRun run(WithPpgModule(kRangedModule), 1.0);
    const struct {
        double first, second;  // mV asked for, of channels 1 and 2
        unsigned firstRange, secondRange;
    } kCases[] = {
        {300.0, 10.0, 0, 1}, {100.0, 0.9, 0, 2}, {10.0, 100.0, 1, 0}, {0.9, 10.0, 2, 1},
        {15.0, 1.5, 0, 1},   {14.9, 1.4, 1, 2},  {1.0, 0.75, 2, 2},
    };
    constexpr double kFullScaleMv[] = {300.0, 15.0, 1.0};
    for (const auto& one : kCases) {
        SetPulse({1, kSquare, 2.0, 1500.0, one.first});
        SetPulse({2, kSquare, 2.0, 1500.0, one.second});
        run.Play();
        ASSERT_EQ(run.Carried(), "12");
        const std::array<unsigned, 2> expected{one.firstRange, one.secondRange};
        EXPECT_EQ(Ranges(run.Instrument()), expected);
        for (const std::size_t channel : {1U, 2U}) {
            const double asked = channel == 1 ? one.first : one.second;
            const unsigned range = expected[channel - 1];
            const double played = std::min(asked, kFullScaleMv[range]);
            const unsigned full = FullScaleCode(run.Instrument(), channel, range);
            const Slot& top = run.Samples()[1000].codes;
            EXPECT_NEAR(top.extra[2 * channel - 1], played / kFullScaleMv[range] * full,
                        1.0 + 0.002 / kFullScaleMv[range] * full)
                << channel << ' ' << asked;
            EXPECT_NEAR(PeakToPeak(run.Ac(channel)), played, kFullScaleMv[range] / full + 0.002);
        }
    }
}

TEST(PpgModule3407, TakesItsConvertersEndWhereTheFlashHasNoFullScale)
{
    SimulatedInstrument unprogrammed(WithPpgModule(kRangedModule));
    unprogrammed.WriteFlash(19, 5248 + 2 * (9 + 1), {0, 0});
    Options options = WithPpgModule(kRangedModule);
    options.initialFlash = unprogrammed.SaveFlash();
    unprogrammed.Unplug();
    CPpgRun run(options, 1.0);
    SetPulse({1, kSquare, 2.0, 1500.0, 12.0});
    run.Play();
    EXPECT_NEAR(run.Samples()[1000].codes.extra[1], 12.0 / 15.0 * 65535.0, 1.0);
    EXPECT_NEAR(PeakToPeak(run.Ac(1)), 12.0, 0.001);
}

// The rows of a calibrated unit fall short of the level by another part each; what comes out is the
// level that was asked for.
TEST(PpgModule3407, PutsItsLevelsThroughTheRowOfItsChannel)
{
    CPpgRun run(WithPpgModule(kRangedModule), 1.0);
    ASSERT_EQ(VRAXEnableACAboveDC(true), 0);
    for (const std::size_t level : {100U, 777U, 1500U, 3000U}) {
        const auto dc = static_cast<double>(level);
        SetPulse({1, kSquare, 2.0, dc, dc / 100.0});
        SetPulse({2, kSquare, 2.0, dc, dc / 100.0});
        run.Play();
        for (const std::size_t channel : {1U, 2U}) {
            const unsigned driven = DcLevel(run.Instrument(), channel, level);
            EXPECT_EQ(driven, level * (channel == 1 ? 96 : 98) / 100);
            EXPECT_NEAR(run.Samples()[0].codes.extra[2 * channel - 2], driven / 3000.0 * 65535.0,
                        1.0);
            EXPECT_NEAR(run.Dc(channel)[0], dc, 1.1);  // the rows hold whole numbers
            EXPECT_NEAR(PeakToPeak(run.Ac(channel)) / run.Dc(channel)[0] * 100.0, 1.0, 0.012);
        }
    }
}

// One factor for all four levels: the ratio of each channel stays.
TEST(PpgModule3407, BringsTwoChannelsIntoOneRange)
{
    CPpgRun run(WithPpgModule(kRangedModule), 1.0);
    ASSERT_EQ(VRAXEnableACAboveDC(true), 0);
    const struct {
        double dc1, ac1, dc2, ac2;
        double factor;
        unsigned range;
    } kCases[] = {
        {1000.0, 20.0, 800.0, 10.0, 1.5, 0},  // 15 mV for the smaller
        {800.0, 1.0, 1000.0, 8.0, 1.5, 1},    // 1.5 mV for the smaller
        {500.0, 250.0, 600.0, 12.5, 1.2, 0},  // 300 mV for the greater
        {600.0, 30.0, 700.0, 20.0, 1.0, 0},   // one range already
    };
    for (const auto& one : kCases) {
        ASSERT_EQ(VRAXSetPPGStandardWaveformEx(1, kSquare, 1, 0, 2, kSquare, 1, 0, 2.0, one.dc1,
                                               one.ac1, 2.0, one.dc2, one.ac2),
                  5000);
        ASSERT_EQ(VRAXEnablePPGOutput(1, true), 0);
        ASSERT_EQ(VRAXEnablePPGOutput(2, true), 0);
        run.Play();
        const unsigned second = one.factor * one.ac2 >= 15.0 || one.range == 1 ? one.range : 1;
        EXPECT_EQ(Ranges(run.Instrument()), (std::array<unsigned, 2>{one.range, second}));
        EXPECT_NEAR(PeakToPeak(run.Ac(1)), one.factor * one.ac1, 0.01) << one.ac1;
        EXPECT_NEAR(PeakToPeak(run.Ac(2)), one.factor * one.ac2, 0.01) << one.ac2;
        EXPECT_NEAR(run.Dc(1)[0], one.factor * one.dc1, 1.1) << one.dc1;
        EXPECT_NEAR(run.Dc(2)[0], one.factor * one.dc2, 1.1) << one.dc2;
        EXPECT_NEAR(PeakToPeak(run.Ac(1)) / run.Dc(1)[0] * one.dc1 / one.ac1, 1.0, 0.003);
        EXPECT_NEAR(PeakToPeak(run.Ac(2)) / run.Dc(2)[0] * one.dc2 / one.ac2, 1.0, 0.003);
    }
}

// Bounded by the highest DC level, a channel may stay in the lower range: the ratio comes first.
TEST(PpgModule3407, KeepsTheRatioWhereTheCommonRangeIsOutOfReach)
{
    CPpgRun run(WithPpgModule(kRangedModule), 1.0);
    ASSERT_EQ(VRAXEnableACAboveDC(true), 0);
    ASSERT_EQ(VRAXSetPPGStandardWaveformEx(1, kSquare, 1, 0, 2, kSquare, 1, 0, 2.0, 2500.0, 20.0,
                                           2.0, 1000.0, 10.0),
              5000);
    ASSERT_EQ(VRAXEnablePPGOutput(1, true), 0);
    ASSERT_EQ(VRAXEnablePPGOutput(2, true), 0);
    run.Play();
    EXPECT_EQ(Ranges(run.Instrument()), (std::array<unsigned, 2>{0, 1}));
    EXPECT_NEAR(run.Dc(1)[0], 3000.0, 1.1);
    EXPECT_NEAR(run.Dc(2)[0], 1200.0, 1.1);
    EXPECT_NEAR(PeakToPeak(run.Ac(1)), 24.0, 0.01);
    EXPECT_NEAR(PeakToPeak(run.Ac(2)), 12.0, 0.01);
}

TEST(PpgModule3407, ChoosesItsRangesWhenTheOutputStarts)
{
    Options options = WithPpgModule(kRangedModule);
    options.plugged = false;
    SimulatedInstrument instrument(options);
    CListeningHost host(kPatientMs);
    SetPulse({1, kSquare, 2.0, 1000.0, 12.0});  // before the module is known
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(2));
    EXPECT_EQ(Ranges(instrument), (std::array<unsigned, 2>{1, 0}));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ExpectNoRefusals(instrument);
}
