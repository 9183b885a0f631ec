// The pacing settings on the wire: a block that is read, rewritten in place and written back.

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "instrument/DcTable.h"
#include "instrument/SimulatedInstrument.h"
#include "support/CalibrationTables.h"
#include "support/FittedModule.h"
#include "support/OpenInstrument.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/Respiration.h"
#include "vrax.h"

namespace {
using instrument::Bytes;
using instrument::FaultKind;
using instrument::Request;

class PacingSettings : public testing::Test {
protected:
    PacingSettings()
    {
        EXPECT_TRUE(VRAXConnect(0, 20000));
        instrument_.ClearExchanges();
    }
    ~PacingSettings() override { VRAXFree(); }

    int Word(std::size_t index) const
    {
        const auto block = instrument_.ControlBlock();
        return block[index] << 8 | block[index + 1];
    }
    int Amplitude() const { return Word(24); }
    int Duration() const { return Word(26); }
    static int DcDifference(double mv)
    {
        return (instrument::DefaultDcCode(mv) - instrument::DefaultDcCode(0.0)) & 0xFFFF;
    }

    instrument::SimulatedInstrument instrument_{0};
};

TEST_F(PacingSettings, SendCodeZeroForAnAmplitudeThatIsNoNumber)
{
    g_PA = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(SetPacing(), 1);
    EXPECT_EQ(Amplitude(), 0);
}

TEST_F(PacingSettings, AreReadThenWrittenBackAsAWholeBlock)
{
    g_PA = 100.0;
    EXPECT_EQ(SetPacing(), 1);
    const auto reads = instrument_.Exchanges(Request::ControlRead);
    const auto writes = instrument_.Exchanges(Request::ControlWrite);
    ASSERT_EQ(reads.size(), 1u);
    ASSERT_EQ(writes.size(), 1u);
    EXPECT_EQ(reads[0].request, (Bytes{0xEA, 0x00, 0x01}));
    Bytes expected = reads[0].reply;
    ASSERT_EQ(expected.size(), 64u);
    const int amplitude = DcDifference(100.0);
    expected[1] = 0xFF;
    expected[24] = static_cast<std::uint8_t>(amplitude >> 8);
    expected[25] = static_cast<std::uint8_t>(amplitude);
    expected[26] = 0;
    expected[27] = 80;  // 2 ms
    std::fill(expected.begin() + 28, expected.begin() + 38, std::uint8_t{0});
    EXPECT_EQ(writes[0].request, expected);
}

// What another setting of the same block holds; the flag at 12 is 0 or 1.
TEST_F(PacingSettings, LeaveTheOtherBytesOfTheBlockAlone)
{
    constexpr std::size_t kOthers[] = {8, 9, 23, 38, 63};
    for (const std::size_t index : kOthers) instrument_.SetControlByte(index, 0x5A);
    instrument_.SetControlByte(12, 1);
    EXPECT_EQ(SetPacing(), 1);
    const auto block = instrument_.ControlBlock();
    for (const std::size_t index : kOthers) EXPECT_EQ(int{block[index]}, 0x5A) << index;
    EXPECT_EQ(block[12], 1);
}

TEST_F(PacingSettings, ClearTheTenBytesAfterThem)
{
    for (std::size_t index = 28; index < 38; ++index) instrument_.SetControlByte(index, 0x77);
    EXPECT_EQ(SetPacing(), 1);
    const auto block = instrument_.ControlBlock();
    for (std::size_t index = 28; index < 38; ++index) EXPECT_EQ(int{block[index]}, 0) << index;
}

TEST_F(PacingSettings, WithoutAmplitudeAreZero)
{
    g_PA = 0.0;
    g_PacingDuration = 3.0;
    EXPECT_EQ(SetPacing(), 1);
    EXPECT_EQ(Amplitude(), 0);
    EXPECT_EQ(Duration(), 0);
}

TEST_F(PacingSettings, CarryTheAmplitudeAsADifferenceOfDCCodes)
{
    for (const double mv : {700.0, 2.0, -2.0, -700.0}) {
        g_PA = mv;
        ASSERT_EQ(SetPacing(), 1);
        EXPECT_EQ(Amplitude(), DcDifference(mv)) << mv;
    }
}

TEST_F(PacingSettings, CarryTheDurationInTicksOf25Microseconds)
{
    g_PA = 5.0;
    const struct {
        double ms;
        int ticks;
    } kDurations[] = {{0.03, 1}, {0.05, 2}, {0.1, 4}, {1.0, 40}, {3.0, 120}};
    for (const auto& [ms, ticks] : kDurations) {
        g_PacingDuration = ms;
        ASSERT_EQ(SetPacing(), 1);
        EXPECT_EQ(Duration(), ticks) << ms;
    }
}

TEST_F(PacingSettings, CarryTheDurationInTenthsOfAMillisecondForTheRespirationModule)
{
    FitRespirationModule();
    g_PA = 5.0;
    g_PacingDuration = 2.26;
    ASSERT_EQ(SetPacing(), 1);
    EXPECT_EQ(Duration(), 23);
}

TEST_F(PacingSettings, UnderRespirationAreAnAttenuatedACCodeOfAtMostTwentyMillivolts)
{
    g_RespirationEnabled = true;
    s_RespBaseline = 500;
    const auto code = [](double mv) { return static_cast<int>(1600.0 * mv / 4.793) & 0xFFFF; };
    const struct {
        double set;
        double sent;
    } kAmplitudes[] = {{10.0, 10.0}, {700.0, 20.0}, {-700.0, -20.0}, {-3.0, -3.0}};
    for (const auto& [set, sent] : kAmplitudes) {
        g_PA = set;
        ASSERT_EQ(SetPacing(), 1);
        EXPECT_EQ(Amplitude(), code(sent)) << set;
    }
    g_PA = 0.0;
    ASSERT_EQ(SetPacing(), 1);
    EXPECT_EQ(Amplitude(), 0);
}

TEST_F(PacingSettings, RoundTheDurationHalfUp)
{
    g_PA = 5.0;
    const auto durationOf = [this](double ms) {
        g_PacingDuration = ms;
        EXPECT_EQ(SetPacing(), 1);
        return Duration();
    };
    EXPECT_EQ(durationOf(0.0625), 3);  // 2.5 ticks
    EXPECT_EQ(durationOf(0.0624), 2);
    EXPECT_EQ(durationOf(0.1875), 8);  // 7.5
    FitRespirationModule();
    EXPECT_EQ(durationOf(0.25), 3);  // 2.5 tenths
    EXPECT_EQ(durationOf(0.2499), 2);
    EXPECT_EQ(durationOf(0.03), 0);
    EXPECT_EQ(durationOf(3.0), 30);
}

// 16 bits, of the calibration in use and not of an even scale.
TEST_F(PacingSettings, TakeTheirAmplitudeFromTheCalibration)
{
    CalibrationWords table(4001);
    for (unsigned i = 0; i < table.size(); ++i) {
        table[i] = static_cast<std::uint16_t>(i * i / 250u);
    }
    UseTable(table);
    const auto codeOf = [&table](unsigned index) { return int{table[index]}; };
    for (const int mv : {700, 33, -33, -700}) {
        g_PA = mv;
        ASSERT_EQ(SetPacing(), 1);
        EXPECT_EQ(Amplitude(), (codeOf(static_cast<unsigned>(2000 + mv)) - codeOf(2000)) & 0xFFFF);
    }
    g_PA = 100.5;  // between two entries
    ASSERT_EQ(SetPacing(), 1);
    const double between = 0.5 * codeOf(2100) + 0.5 * codeOf(2101);
    EXPECT_EQ(Amplitude(), static_cast<int>(between) - codeOf(2000));
}

TEST_F(PacingSettings, UnderRespirationAreAttenuatedByTheBaselineImpedance)
{
    g_RespirationEnabled = true;
    g_PA = -30.0;
    const auto codeAt = [this](int ohms) {
        s_RespBaseline = ohms;
        EXPECT_EQ(SetPacing(), 1);
        return Amplitude();
    };
    const auto expected = [](double divisor) {
        return static_cast<int>(1600.0 * -20.0 / divisor) & 0xFFFF;
    };
    EXPECT_EQ(codeAt(2500), expected(22.597));
    EXPECT_EQ(codeAt(4500), expected(1.0));  // a baseline of the module alone
    FitRespirationModule();
    EXPECT_EQ(codeAt(4500), expected(45.05));
    EXPECT_EQ(codeAt(2500), expected(25.04));
}

TEST_F(PacingSettings, DriftIsOfWholeBeatsAMinute)
{
    // 342857 ticks seven times leave 1 of 2400000; 19672 ticks 122 times leave 16.
    g_F = 0.125;  // 7.5 a minute
    ASSERT_EQ(SetPacing(), 1);
    EXPECT_DOUBLE_EQ(g_fPacingDelayPerSecond, 1.0 / 2400000.0 + 3e-5);
    g_pacingSynchronized = false;
    g_PacingRate = 122u;
    ASSERT_EQ(SetPacing(), 1);
    EXPECT_DOUBLE_EQ(g_fPacingDelayPerSecond, 16.0 / 2400000.0 + 3e-5);
    g_PA = 0.0;  // derived without pacing too
    g_PacingRate = 7u;
    ASSERT_EQ(SetPacing(), 1);
    EXPECT_DOUBLE_EQ(g_fPacingDelayPerSecond, 1.0 / 2400000.0 + 3e-5);
}

TEST_F(PacingSettings, DriftStaysWhenTheBlockCannotBeRead)
{
    g_pacingSynchronized = false;
    g_fPacingDelayPerSecond = 0.5;
    instrument_.Inject(FaultOn(Request::ControlRead, FaultKind::Silence));
    EXPECT_EQ(SetPacing(), 0);
    EXPECT_EQ(g_fPacingDelayPerSecond, 0.5);
    instrument_.Inject(FaultOn(Request::ControlWrite, FaultKind::WrongAcknowledge));
    EXPECT_EQ(SetPacing(), 0);
    EXPECT_EQ(g_fPacingDelayPerSecond, 3e-5);
}

TEST_F(PacingSettings, DeriveTheDriftFromTheBeatRateOrTheirOwn)
{
    g_F = 70.9 / 60.0;  // 70 whole beats
    g_PacingRate = 60u;
    ASSERT_EQ(SetPacing(), 1);
    EXPECT_DOUBLE_EQ(g_fPacingDelayPerSecond, 50.0 / 2400000.0 + 3e-5);
    g_pacingSynchronized = false;
    ASSERT_EQ(SetPacing(), 1);
    EXPECT_DOUBLE_EQ(g_fPacingDelayPerSecond, 3e-5);
}

TEST_F(PacingSettings, FailWithoutAcknowledgement)
{
    instrument_.Inject(FaultOn(Request::ControlWrite, FaultKind::WrongAcknowledge));
    EXPECT_EQ(SetPacing(), 0);
    EXPECT_EQ(SetPacing(), 1);
}

TEST_F(PacingSettings, FailWhenAReplyIsShort)
{
    instrument::Fault shortRead = FaultOn(Request::ControlRead, FaultKind::ShortReply);
    shortRead.bytes = 63;
    instrument_.Inject(shortRead);
    EXPECT_EQ(SetPacing(), 0);
    EXPECT_TRUE(instrument_.Exchanges(Request::ControlWrite).empty());
    instrument::Fault shortWrite = FaultOn(Request::ControlWrite, FaultKind::ShortReply);
    shortWrite.bytes = 63;
    instrument_.Inject(shortWrite);
    EXPECT_EQ(SetPacing(), 0);
    instrument_.Inject(FaultOn(Request::ControlWrite, FaultKind::Silence));
    EXPECT_EQ(SetPacing(), 0);
}

// Nothing but the fourth byte of the reply counts, and nothing but 0xFF there.
TEST_F(PacingSettings, AreAcknowledgedByTheFourthByteOfTheReplyAlone)
{
    Bytes reply(64, 0xFF);
    const struct {
        std::uint8_t byte;
        int result;
    } kReplies[] = {{0xFF, 1}, {0x00, 0}, {0x01, 0}, {0xFE, 0}};
    for (const auto& [byte, result] : kReplies) {
        reply[3] = byte;
        instrument_.SetReply({0xEA, 0xFF}, reply);
        EXPECT_EQ(SetPacing(), result) << int{byte};
    }
    Bytes bare(64, 0x00);
    bare[3] = 0xFF;
    instrument_.SetReply({0xEA, 0xFF}, bare);
    EXPECT_EQ(SetPacing(), 1);
}

TEST_F(PacingSettings, AreSentByTheCallAndByTheOutputFunction)
{
    EXPECT_EQ(VRAXSetPacingAmplitude(20.0), 0);
    EXPECT_TRUE(instrument_.Exchanges(Request::ControlWrite).empty());
    EXPECT_EQ(VRAXApplyPacing(), 1);
    EXPECT_EQ(Amplitude(), DcDifference(20.0));
    VRAXSetPacingAmplitude(-20.0);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    EXPECT_EQ(Amplitude(), DcDifference(-20.0));
}

TEST_F(PacingSettings, AreSentBetweenTwoPacketsWhilePlaying)
{
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(3));
    instrument_.ClearExchanges();
    VRAXSetPacingAmplitude(33.0);
    EXPECT_EQ(VRAXApplyPacing(), 1);
    ASSERT_TRUE(instrument_.WaitForExchange(Request::ControlWrite));
    EXPECT_EQ(Amplitude(), DcDifference(33.0));
    ASSERT_TRUE(instrument_.WaitForMorePackets(3));
    VRAXSetOutputFunction(OUTPUT_OFF);
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0u);
    EXPECT_EQ(instrument_.RefusalCount(), 0u);
}

TEST(PacingSettingsWithoutInstrument, Fail) { EXPECT_EQ(SetPacing(), 0); }
}  // namespace
