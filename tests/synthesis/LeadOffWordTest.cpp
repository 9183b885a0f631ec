// The relay word under lead-off and the right-leg drive: which bits change, which stay, and what is
// left of them when the relays are built anew.

#include <gtest/gtest.h>

#include "ppg/Channels.h"
#include "support/FittedModule.h"
#include "support/Frames.h"
#include "support/OfflineRun.h"
#include "support/OpenInstrument.h"

namespace {
using instrument::FaultKind;
using instrument::Request;

constexpr std::uint32_t kBit10 = 1u << 10;
constexpr std::uint32_t kBit11 = 1u << 11;
constexpr std::uint32_t kBit13 = 1u << 13;
constexpr std::uint32_t kBit14 = 1u << 14;
constexpr std::uint32_t kLead0 = 1u << 16;
constexpr std::uint32_t kOwnBits = kBit10 | kBit11 | kBit13 | kBit14;

// A port is open; nothing goes over it but what the test sets off.
class LeadOffWord : public testing::Test {
protected:
    LeadOffWord() { g_OutputLead = 1u; }

    Bytes LastShortCommand() const
    {
        const auto sent = instrument_.Exchanges(Request::LeadOff);
        return sent.empty() ? Bytes() : sent.back().request;
    }
    std::uint32_t SentWord() const
    {
        const Bytes command = LastShortCommand();
        if (command.size() != 8) return 0;
        return static_cast<std::uint32_t>(command[5] << 16 | command[6] << 8 | command[7]);
    }

    COpenInstrument open_;
    instrument::SimulatedInstrument& instrument_ = open_.device;
};

struct Case {
    std::uint32_t before;
    std::uint32_t after[4];  // by mode
};

TEST_F(LeadOffWord, OfEveryModeFollowsFromEveryStateBefore)
{
    constexpr std::uint32_t kBoth = kBit13 | kBit14;
    // Mode 0 leaves bit 14, mode 3 leaves bits 13 and 14.
    const Case cases[] = {
        {0, {0, kBoth, kBit13, kBit11}},
        {kBit11, {0, kBoth, kBit13, kBit11}},
        {kBit13, {0, kBoth, kBit13, kBit11 | kBit13}},
        {kBit14, {kBit14, kBoth, kBit13, kBit11 | kBit14}},
        {kBoth, {kBit14, kBoth, kBit13, kBit11 | kBoth}},
        {kBit11 | kBit13, {0, kBoth, kBit13, kBit11 | kBit13}},
        {kBit11 | kBit14, {kBit14, kBoth, kBit13, kBit11 | kBit14}},
        {kBit11 | kBoth, {kBit14, kBoth, kBit13, kBit11 | kBoth}},
    };
    for (const Case& one : cases) {
        for (int mode = 0; mode < 4; ++mode) {
            g_nRelayControl = kLead0 | one.before;
            ASSERT_EQ(VRAXSetLeadOff(mode), 1);
            const std::uint32_t expected = kLead0 | one.after[mode];
            EXPECT_EQ(SentWord(), expected) << std::hex << one.before << " " << mode;
            EXPECT_EQ(g_nRelayControl, expected);
            EXPECT_EQ(instrument_.Relays().word, expected);
        }
    }
}

TEST_F(LeadOffWord, ChangesNoOtherBit)
{
    for (const std::uint32_t others : {0x7F136Fu, 0x111067u, kBit10}) {
        for (int mode = 0; mode < 4; ++mode) {
            g_nRelayControl = others;
            ASSERT_EQ(VRAXSetLeadOff(mode), 1);
            EXPECT_EQ(g_nRelayControl & ~(kBit11 | kBit13 | kBit14), others | kLead0) << mode;
        }
    }
}

TEST_F(LeadOffWord, AddsTheLeadsAndTakesNoneAway)
{
    g_nRelayControl = 1u << 19;
    g_OutputLead = 0x1A5u;  // leads 0, 2, 5, 7, 8
    ASSERT_EQ(VRAXSetLeadOff(0), 1);
    EXPECT_EQ(SentWord(), 0x250000u | 0x080000u | 0x300u);
    g_OutputLead = 0u;
    ASSERT_EQ(VRAXMeasureRLD(false), 1);
    EXPECT_EQ(SentWord(), 0x2D0300u);
}

TEST_F(LeadOffWord, OfEachLeadIsItsBit)
{
    const std::uint32_t bits[] = {1u << 16, 1u << 17, 1u << 18, 1u << 19, 1u << 20,
                                  1u << 21, 1u << 22, 1u << 8,  1u << 9};
    for (unsigned lead = 0; lead < 9; ++lead) {
        g_nRelayControl = 0u;
        g_OutputLead = 1u << lead;
        ASSERT_EQ(VRAXSetLeadOff(2), 1);
        EXPECT_EQ(SentWord(), bits[lead] | kBit13) << lead;
    }
}

TEST_F(LeadOffWord, OfTheRldIsBit10Alone)
{
    for (const std::uint32_t others : {0u, kBit11, kBit13 | kBit14, 0x1007u}) {
        g_nRelayControl = kLead0 | others;
        ASSERT_EQ(VRAXMeasureRLD(true), 1);
        EXPECT_EQ(SentWord(), kLead0 | others | kBit10);
        ASSERT_EQ(VRAXMeasureRLD(true), 1);
        EXPECT_EQ(SentWord(), kLead0 | others | kBit10);
        ASSERT_EQ(VRAXMeasureRLD(false), 1);
        EXPECT_EQ(SentWord(), kLead0 | others);
        EXPECT_EQ(g_nRelayControl, kLead0 | others);
    }
}

TEST_F(LeadOffWord, OfTheRldStaysWhenTheSwitchIsNotAcknowledged)
{
    for (const FaultKind kind : {FaultKind::WrongAcknowledge, FaultKind::Silence}) {
        g_nRelayControl = kLead0;
        instrument_.Inject(FaultOn(Request::RldStart, kind));
        EXPECT_EQ(VRAXMeasureRLD(true), 0);
        EXPECT_EQ(g_nRelayControl, kLead0);
        g_nRelayControl = kLead0 | kBit10;
        instrument_.Inject(FaultOn(Request::SamplingStop, kind));
        EXPECT_EQ(VRAXMeasureRLD(false), 0);
        EXPECT_EQ(g_nRelayControl, kLead0 | kBit10);
    }
    EXPECT_EQ(LastShortCommand(), Bytes());
}

TEST_F(LeadOffWord, IsKeptWhenTheReplyToItIsLost)
{
    g_nRelayControl = kLead0;
    instrument_.Inject(FaultOn(Request::LeadOff, FaultKind::Silence));
    EXPECT_EQ(VRAXSetLeadOff(2), 0);
    EXPECT_EQ(g_nRelayControl, kLead0 | kBit13);
    instrument_.Inject(FaultOn(Request::LeadOff, FaultKind::Silence));
    EXPECT_EQ(VRAXMeasureRLD(true), 0);
    EXPECT_EQ(g_nRelayControl, kLead0 | kBit13 | kBit10);
}

TEST_F(LeadOffWord, IsBuiltAnewByTheNextRelays)
{
    SetRelays(true);
    const std::uint32_t plain = g_nRelayControl;
    for (const bool force : {true, false}) {
        ASSERT_EQ(VRAXSetLeadOff(1), 1);
        ASSERT_EQ(VRAXSetLeadOff(3), 1);
        ASSERT_EQ(VRAXMeasureRLD(true), 1);
        ASSERT_EQ(g_nRelayControl & kOwnBits, kOwnBits);
        SetRelays(force);
        EXPECT_EQ(g_nRelayControl, plain) << force;
        if (force) {
            EXPECT_EQ(instrument_.Relays().word & kOwnBits, 0u);
        }
    }
}

// The short command does not count as the last relay command: without a change of the relays the
// instrument keeps its bits.
TEST_F(LeadOffWord, StaysInTheInstrumentWhileTheRelayCommandIsTheSame)
{
    SetRelays(true);
    ASSERT_EQ(VRAXSetLeadOff(2), 1);
    const std::size_t before = instrument_.Exchanges(Request::Relays).size();
    SetRelays(false);
    EXPECT_EQ(instrument_.Exchanges(Request::Relays).size(), before);
    EXPECT_EQ(instrument_.Relays().LeadOffMode(), 2u);
}

TEST_F(LeadOffWord, TravelsWithTheRateInForceAndModeThree)
{
    ASSERT_EQ(VRAXSetSampleRate(0x1234), 0);
    SetRelays(true);
    ASSERT_EQ(g_OperateMode, 8);
    ASSERT_EQ(VRAXSetLeadOff(0), 1);
    EXPECT_EQ(LastShortCommand(), (Bytes{0x00, 0xFF, 0x03, 0x12, 0x34, 0x01, 0x00, 0x00}));
    g_bPPGOutputEnabled[0] = true;  // 10000 Hz
    ASSERT_EQ(VRAXSetLeadOff(0), 1);
    EXPECT_EQ(LastShortCommand(), (Bytes{0x00, 0xFF, 0x03, 0x27, 0x10, 0x01, 0x00, 0x00}));
    g_bPPGOutputEnabled[0] = false;
    FitRespirationModule();  // 5000 Hz
    ASSERT_EQ(VRAXMeasureRLD(true), 1);
    EXPECT_EQ(LastShortCommand(), (Bytes{0x00, 0xFF, 0x03, 0x13, 0x88, 0x01, 0x04, 0x00}));
}

TEST_F(LeadOffWord, TravelsWithModeThreeWhileASignalPlaysInAnotherMode)
{
    g_bPPGOutputEnabled[2] = true;
    OfflineRun run(OUTPUT_ECG);
    ASSERT_NE(g_OperateMode, 3);
    ASSERT_EQ(VRAXSetLeadOff(2), 1);
    EXPECT_EQ(LastShortCommand()[2], 3);
}
}  // namespace
