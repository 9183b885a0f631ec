// The stream packet byte by byte, in each of its layouts.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "instrument/DcTable.h"
#include "ppg/Channels.h"
#include "respiration/ExternalModule.h"
#include "storage/Calibration.h"
#include "support/FittedModule.h"
#include "support/LoadedNetwork.h"
#include "support/OfflineRun.h"
#include "support/ReferenceSignal.h"
#include "synthesis/Codes.h"
#include "synthesis/Pacing.h"
#include "synthesis/Respiration.h"

namespace {
using Bytes = std::vector<std::uint8_t>;

constexpr int kOffsetMv = 250;

int Word(const Bytes& packet, unsigned offset) { return packet[offset] << 8 | packet[offset + 1]; }

class Layout : public testing::Test {
protected:
    Layout()
    {
        _SetECGDCDefaultCalibrationData();
        g_DCSetting = kOffsetMv;
        g_Amplitude = 2.0;
        s_SeqCheck = std::uint16_t{65500};
    }

    static void ExpectHeaders(const Bytes& packet, int mode, int samples, unsigned first)
    {
        for (unsigned i = 0; i < 50; ++i) {
            const Bytes header(packet.begin() + i * 64, packet.begin() + i * 64 + 8);
            const unsigned sequence = (first + i) & 0xFFFF;
            const Bytes expected = {0x01,
                                    static_cast<std::uint8_t>(mode),
                                    0,
                                    0,
                                    0,
                                    static_cast<std::uint8_t>(samples),
                                    static_cast<std::uint8_t>(sequence >> 8),
                                    static_cast<std::uint8_t>(sequence)};
            ASSERT_EQ(header, expected) << "frame " << i;
        }
    }

    // A sine of 2 mV: the sample's AC code within the one that truncation and rounding leave open.
    static void ExpectEcg(const Bytes& packet, unsigned offset, int sample, int rate)
    {
        ASSERT_EQ(Word(packet, offset), instrument::DefaultDcCode(kOffsetMv)) << sample;
        const double mv = reference::Sine(2.0, g_F, sample / static_cast<double>(rate));
        const auto ac = static_cast<std::int16_t>(Word(packet, offset + 2));
        ASSERT_NEAR(ac, 1600.0 * mv, 1.0 + 1e-6) << sample;
    }

    static void ExpectZero(const Bytes& packet, unsigned from, unsigned to)
    {
        for (unsigned i = from; i < to; ++i) ASSERT_EQ(packet[i], 0) << "byte " << i;
    }
};

TEST_F(Layout, OfTheEcgAloneIsFourteenPairsThatFillTheFrame)
{
    OfflineRun run(OUTPUT_SINE);
    const Bytes packet = run.NextPacket();
    ExpectHeaders(packet, 3, 14, 65500);
    for (unsigned i = 0; i < 50; ++i) {
        for (unsigned k = 0; k < 14; ++k) {
            ExpectEcg(packet, 64 * i + 8 + 4 * k, static_cast<int>(14 * i + k), 20000);
        }
    }
    EXPECT_EQ(s_SeqCheck, 14);  // past the wrap
    ExpectHeaders(run.NextPacket(), 3, 14, 14);
}

void EnableChannels(bool channel0, bool channel1, bool channel2)
{
    g_bPPGOutputEnabled[0] = channel0;
    g_bPPGOutputEnabled[1] = channel1;
    g_bPPGOutputEnabled[2] = channel2;
}

TEST_F(Layout, WithOnePPGChannelIsSevenSlotsOfEightBytes)
{
    EnableChannels(false, true, false);
    OfflineRun run(OUTPUT_SINE);
    const Bytes packet = run.NextPacket();
    ExpectHeaders(packet, 7, 7, 65500);
    for (unsigned i = 0; i < 50; ++i) {
        for (unsigned k = 0; k < 7; ++k) {
            const unsigned slot = 64 * i + 8 + 8 * k;
            ExpectEcg(packet, slot, static_cast<int>(7 * i + k), 10000);
            ExpectZero(packet, slot + 4, slot + 8);
        }
    }
}

TEST_F(Layout, WithTwoPPGChannelsIsFourSlotsOfTwelveBytesAndPadding)
{
    EnableChannels(false, true, true);
    OfflineRun run(OUTPUT_SINE);
    const Bytes packet = run.NextPacket();
    ExpectHeaders(packet, 15, 4, 65500);
    for (unsigned i = 0; i < 50; ++i) {
        for (unsigned k = 0; k < 4; ++k) {
            const unsigned slot = 64 * i + 8 + 12 * k;
            ExpectEcg(packet, slot, static_cast<int>(4 * i + k), 10000);
            ExpectZero(packet, slot + 4, slot + 12);
        }
        ExpectZero(packet, 64 * i + 56, 64 * i + 64);
    }
}

TEST_F(Layout, WithThreePPGChannelsIsThreeSlotsOfSixteenBytesAndPadding)
{
    EnableChannels(true, true, true);
    OfflineRun run(OUTPUT_SINE);
    const Bytes packet = run.NextPacket();
    ExpectHeaders(packet, 31, 3, 65500);
    for (unsigned i = 0; i < 50; ++i) {
        for (unsigned k = 0; k < 3; ++k) {
            const unsigned slot = 64 * i + 8 + 16 * k;
            ExpectEcg(packet, slot, static_cast<int>(3 * i + k), 10000);
            ExpectZero(packet, slot + 4, slot + 16);
        }
        ExpectZero(packet, 64 * i + 56, 64 * i + 64);
    }
}

// Every mode but 3 and 35 has the layout of its PPG bits.
TEST_F(Layout, CountsTheThreePPGBitsOfAnyOtherMode)
{
    OfflineRun run(OUTPUT_SINE);
    const struct {
        int mode;
        int samples;
        unsigned slotBytes;
    } kModes[] = {{0x08, 7, 8},  {0x0B, 7, 8},  {0x13, 7, 8},  {0x17, 4, 12},
                  {0x1F, 3, 16}, {0x00, 14, 4}, {0x01, 14, 4}, {0x27, 7, 8}};
    for (const auto& [mode, samples, slotBytes] : kModes) {
        g_OperateMode = static_cast<std::uint8_t>(mode);
        g_MainOutput = OUTPUT_SQUARE;
        Change();
        s_t = 0.1;
        s_SeqCheck = std::uint16_t{7};
        const Bytes packet = run.NextPacket();
        ExpectHeaders(packet, mode, samples, 7);
        for (int k = 0; k < samples; ++k) {
            ASSERT_EQ(Word(packet, 8 + slotBytes * static_cast<unsigned>(k) + 2), 1600) << mode;
        }
        ExpectZero(packet, 8 + slotBytes * static_cast<unsigned>(samples), 64);
    }
}

TEST_F(Layout, WritesNothingForAChannelThatTheModuleDoesNotName)
{
    for (const LEDType first : {3, -1, 1000}) {
        FitPPGModule(0x3307, first, 2, 1);
        OfflineRun run(OUTPUT_SINE);
        g_OperateMode = std::uint8_t{7};
        s_SeqCheck = std::uint16_t{0};
        const Bytes packet = run.NextPacket();
        ExpectHeaders(packet, 7, 7, 0);
        ExpectZero(packet, 12, 16);
    }
}

// The codes of the module's network, worked out with 40 digits from the branches' conductances.
constexpr int kCodesOf50Ohm[] = {904, 54, 10};
constexpr int kCodesOf51Ohm[] = {746, 47, 16};
constexpr int kCodesOf52Ohm[] = {962, 41, 22};
constexpr int kCodesOf55Ohm[] = {872, 32, 40};

void EnableRespirationModule()
{
    FitRespirationModule();
    LoadNetwork(ModuleNetwork());
    g_RespirationEnabled = true;
    g_nECGExtRespirationBaselineDAC = std::uint16_t{0xABCD};
}

// Words 2 to 5 of a slot: the three codes of the resistance, and that of the baseline.
void ExpectRespiration(const Bytes& packet, unsigned slot, const int (&codes)[3])
{
    for (unsigned word = 0; word < 3; ++word) {
        ASSERT_EQ(Word(packet, slot + 4 + 2 * word), codes[word]) << slot << ' ' << word;
    }
    ASSERT_EQ(Word(packet, slot + 10), 0xABCD) << slot;
}

TEST_F(Layout, WithTheRespirationModuleIsFourSlotsOfSixWords)
{
    EnableRespirationModule();
    g_nECGExtRespirationMode = 1;  // a constant
    s_RespVariation = 1000;
    OfflineRun run(OUTPUT_SINE);
    const Bytes packet = run.NextPacket();
    ExpectHeaders(packet, 35, 4, 65500);
    for (unsigned i = 0; i < 50; ++i) {
        for (unsigned k = 0; k < 4; ++k) {
            const unsigned slot = 64 * i + 8 + 12 * k;
            ExpectEcg(packet, slot, static_cast<int>(4 * i + k), 5000);
            ExpectRespiration(packet, slot, kCodesOf51Ohm);
        }
        ExpectZero(packet, 64 * i + 56, 64 * i + 64);
    }
}

// Half a sample into a record of one value a sample.
TEST_F(Layout, HoldsTheResistanceOfEachSampleInItsOwnSlot)
{
    EnableRespirationModule();
    const double record[] = {0.0, 1.0, 2.0, 5.0};
    ASSERT_EQ(VRAXSetRespirationRawData(record, 4, 5000), 1);
    OfflineRun run(OUTPUT_SINE);
    s_t = s_tg = 0.5 / 5000.0;
    const Bytes packet = run.NextPacket();
    for (unsigned i = 0; i < 50; ++i) {
        const unsigned slots = 64 * i + 8;
        ExpectRespiration(packet, slots, kCodesOf50Ohm);
        ExpectRespiration(packet, slots + 12, kCodesOf51Ohm);
        ExpectRespiration(packet, slots + 24, kCodesOf52Ohm);
        ExpectRespiration(packet, slots + 36, kCodesOf55Ohm);
    }
}

TEST_F(Layout, TakesACodesOfBothSignsAsTheirSixteenBits)
{
    g_Amplitude = 40.0;
    OfflineRun run(OUTPUT_SQUARE, 200);
    const Bytes packet = run.NextPacket();  // 3.5 s
    EXPECT_EQ(Word(packet, 8 + 2), 32000);
    EXPECT_EQ(Word(packet, 64 * 10 + 8 + 2), 0x10000 - 32000);  // sample 140, 0.7 s
}

TEST_F(Layout, MarksAPulseWithItsPositionInTheFrameOfTheEcgAlone)
{
    OfflineRun run(OUTPUT_SINE);
    s_PacingPulseRaised = true;
    Bytes packet = run.NextPacket();
    EXPECT_EQ(packet[4], 1);
    for (unsigned i = 1; i < 50; ++i) EXPECT_EQ(packet[64 * i + 4], 0);
    EXPECT_FALSE(s_PacingPulseRaised);
}

// The graph callback raises it with the third sample of the fifth frame.
TEST_F(Layout, MarksThePulseInThatFrameAlone)
{
    static int s_samples;
    s_samples = 0;
    VRAXRegisterOutputSignalCallback(
        [](double, double) {
            if (++s_samples == 4 * 14 + 3 || s_samples == 6 * 14 + 2 || s_samples == 7 * 14) {
                s_PacingPulseRaised = true;
            }
        },
        1);
    OfflineRun run(OUTPUT_SINE);
    const Bytes packet = run.NextPacket();
    for (unsigned i = 0; i < 50; ++i) {
        const int expected = i == 4 ? 3 : i == 6 ? 14 : 0;  // the second of a frame overwrites
        EXPECT_EQ(packet[64 * i + 4], expected) << i;
    }
}

TEST_F(Layout, NeverMarksAPulseInTheOtherLayouts)
{
    EnableChannels(true, false, false);
    {
        OfflineRun run(OUTPUT_SINE);
        s_PacingPulseRaised = true;
        EXPECT_EQ(instrument::CheckPacket(run.NextPacket()), "");
        EXPECT_EQ(run.NextPacket()[4], 0);
    }
    EnableChannels(false, false, false);
    FitRespirationModule();
    g_RespirationEnabled = true;
    OfflineRun run(OUTPUT_SINE);
    s_PacingPulseRaised = true;
    EXPECT_EQ(run.NextPacket()[4], 0);
}

// The channel's graph is called by the packet builder, in step with the ECG's.
TEST_F(Layout, ComputesEveryEnabledChannelAlsoOneThatTheModeDoesNotCarry)
{
    static std::vector<double> s_times;
    FitPPGModule(0x3307, 1, 2, 3);
    EnableChannels(true, false, false);
    g_PPGGraphCBs[0] = [](double t, double) { s_times.push_back(t); };
    g_PPGGraphCBs[1] = [](double, double) { ADD_FAILURE() << "channel 1 is off"; };
    OfflineRun run(OUTPUT_SINE);
    EXPECT_EQ(g_OperateMode, 3);
    g_OperateMode = std::uint8_t{0x0B};
    run.NextPacket();
    ASSERT_EQ(s_times.size(), 350u);
    EXPECT_EQ(s_times[0], 0.0);
    EXPECT_NEAR(s_times[349], 0.0349, 1e-12);
}

TEST_F(Layout, IsWholeForEveryFunctionAndEveryFrequency)
{
    for (int function = -1; function < 19; ++function) {
        for (const double frequency : {0.017, 1.0, 499.9, 0.0, -3.0, std::nan("")}) {
            g_F = frequency;
            OfflineRun run(function, 100);
            EXPECT_EQ(instrument::CheckPacket(run.NextPacket()), "") << function << frequency;
        }
    }
}
}  // namespace
