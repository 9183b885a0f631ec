// The packet that ends a run, and the resting packet.

#include <gtest/gtest.h>

#include <vector>

#include "instrument/DcTable.h"
#include "respiration/ExternalModule.h"
#include "storage/Calibration.h"
#include "support/FittedModule.h"
#include "support/OfflineRun.h"

namespace {
using Bytes = std::vector<std::uint8_t>;

struct Framing {
    int mode;
    int samples;
    unsigned slotBytes;
    bool hasEcg;
    bool hasRespiration = false;
};

class Resting : public testing::Test {
protected:
    Resting()
    {
        _SetECGDCDefaultCalibrationData();
        s_SeqCheck = std::uint16_t{0xFFF0};
        g_DCSetting = 500;
        FitPPGModule(0x3407, 1, 2, 0);
    }

    // A whole packet, written down by hand.
    static Bytes Expected(const Framing& framing, std::uint16_t ecgCode)
    {
        Bytes packet(3200);
        for (unsigned i = 0; i < 50; ++i) {
            std::uint8_t* frame = packet.data() + 64 * i;
            const unsigned sequence = (0xFFF0 + i) & 0xFFFF;
            frame[0] = 1;
            frame[1] = static_cast<std::uint8_t>(framing.mode);
            frame[5] = static_cast<std::uint8_t>(framing.samples);
            frame[6] = static_cast<std::uint8_t>(sequence >> 8);
            frame[7] = static_cast<std::uint8_t>(sequence);
            for (unsigned k = 0; k < static_cast<unsigned>(framing.samples); ++k) {
                std::uint8_t* slot = frame + 8 + framing.slotBytes * k;
                if (framing.hasEcg) {
                    slot[0] = static_cast<std::uint8_t>(ecgCode >> 8);
                    slot[1] = static_cast<std::uint8_t>(ecgCode);
                }
                if (framing.hasRespiration) {
                    slot[10] = 0x12;
                    slot[11] = 0x34;
                }
            }
        }
        return packet;
    }

    static Bytes BuildStop(int mode)
    {
        g_OperateMode = static_cast<std::uint8_t>(mode);
        s_SeqCheck = std::uint16_t{0xFFF0};
        Bytes packet(3200);
        BuildStopPacket(packet.data());
        return packet;
    }
    static Bytes BuildResting(int mode)
    {
        g_OperateMode = static_cast<std::uint8_t>(mode);
        s_SeqCheck = std::uint16_t{0xFFF0};
        Bytes packet(3200);
        DoSendFirstPacket(packet.data());
        return packet;
    }

    const std::uint16_t rest_ = instrument::DefaultDcCode(0.0);
};

class StopPacket : public Resting {};

TEST_F(StopPacket, OfTheEcgAloneHoldsFourteenRestingPairs)
{
    EXPECT_EQ(BuildStop(3), Expected({3, 14, 4, true}, rest_));
}

TEST_F(StopPacket, WithExternalRespirationHasTheFramingOfTheEcgAlone)
{
    EXPECT_EQ(BuildStop(35), Expected({35, 14, 4, true}, rest_));
}

TEST_F(StopPacket, WithTheOutputOffWritesNoSlot)
{
    EXPECT_EQ(BuildStop(8), Expected({8, 14, 4, false}, rest_));
}

TEST_F(StopPacket, WithPPGChannelsKeepsTheirSlotsAtZero)
{
    for (const Framing& framing :
         {Framing{7, 7, 8, true}, Framing{11, 7, 8, true}, Framing{19, 7, 8, true},
          Framing{15, 4, 12, true}, Framing{23, 4, 12, true}, Framing{31, 3, 16, true}}) {
        EXPECT_EQ(BuildStop(framing.mode), Expected(framing, rest_)) << framing.mode;
    }
}

TEST_F(StopPacket, StartsTheSequenceAnew)
{
    BuildStop(3);
    EXPECT_EQ(s_SeqCheck, 0);
}

TEST_F(StopPacket, HoldsTheCalibratedCodeOfZeroMillivolts)
{
    g_ECGDCVariableCalibrationData[2000] = std::uint16_t{0x1357};
    EXPECT_EQ(BuildStop(3), Expected({3, 14, 4, true}, 0x1357));
}

class RestingPacket : public Resting {};

TEST_F(RestingPacket, OfTheEcgAloneHoldsZeroMillivolts)
{
    EXPECT_EQ(BuildResting(3), Expected({3, 14, 4, true}, rest_));
}

TEST_F(RestingPacket, WithPPGChannelsHoldsCodesOfZero)
{
    for (const Framing& framing : {Framing{7, 7, 8, false}, Framing{8, 7, 8, false},
                                   Framing{15, 4, 12, false}, Framing{31, 3, 16, false}}) {
        EXPECT_EQ(BuildResting(framing.mode), Expected(framing, rest_)) << framing.mode;
    }
}

TEST_F(RestingPacket, WithExternalRespirationHoldsItsRestingCodes)
{
    g_nECGExtRespirationBaselineDAC = std::uint16_t{0x1234};
    std::uint16_t codes[3];
    ASSERT_EQ(ExtRespGetAmplitudeDAC(0.0, codes), 0);  // without the module's tables
    EXPECT_EQ(BuildResting(35), Expected({35, 4, 12, true, true}, rest_));
}

TEST_F(RestingPacket, AdvancesTheSequenceButNotTheClock)
{
    s_t = 5.0;
    s_tg = 6.0;
    g_UICounter = 3;
    BuildResting(3);
    EXPECT_EQ(s_SeqCheck, 0x22);
    EXPECT_EQ(s_t, 5.0);
    EXPECT_EQ(s_tg, 6.0);
    EXPECT_EQ(g_UICounter, 3);
    s_t = 0.0;
    BuildResting(3);
    EXPECT_EQ(g_UICounter, 0);
}
}  // namespace
