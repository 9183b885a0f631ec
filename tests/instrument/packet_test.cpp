#include <algorithm>

#include <gtest/gtest.h>

#include "instrument/DcTable.h"
#include "instrument/StreamPacket.h"

using namespace instrument;

namespace {

// A frame written byte by byte, not by the code under test.
Bytes HandMadePacket()
{
    Bytes packet(3200, 0);
    for (std::size_t i = 0; i < 50; ++i) {
        std::uint8_t* frame = &packet[64 * i];
        frame[0] = 0x01;
        frame[1] = 0x03;
        frame[5] = 14;
        frame[6] = 0x12;
        frame[7] = static_cast<std::uint8_t>(0x30 + i);
        for (std::size_t slot = 0; slot < 14; ++slot) {
            frame[8 + 4 * slot] = 0x7F;
            frame[9 + 4 * slot] = 0xFF;
            frame[10 + 4 * slot] = 0xFF;
            frame[11 + 4 * slot] = static_cast<std::uint8_t>(slot);
        }
    }
    packet[64 * 3 + 4] = 5;  // a pacing pulse at the fifth sample of frame 3
    return packet;
}

}  // namespace

TEST(Packet, TheEcgLayoutHasFourteenSlotsOfFourBytes)
{
    const auto frames = DecodePacket(HandMadePacket());
    ASSERT_EQ(frames.size(), 50U);
    EXPECT_EQ(frames[0].mode, 3);
    EXPECT_EQ(frames[0].count, 14);
    EXPECT_EQ(frames[0].sequence, 0x1230);
    EXPECT_EQ(frames[49].sequence, 0x1261);
    EXPECT_EQ(frames[3].marker, 5);
    ASSERT_EQ(frames[7].slots.size(), 14U);
    EXPECT_EQ(frames[7].slots[2].dc, 32767);
    EXPECT_EQ(frames[7].slots[2].ac, -254);  // 0xFF02 is a signed word
    EXPECT_EQ(CheckPacket(HandMadePacket()), "");
}

TEST(Packet, EveryModeHasItsLayout)
{
    struct Case {
        std::uint8_t mode;
        unsigned samples;
        unsigned slotBytes;
    };
    for (const Case& one : {Case{0x03, 14, 4}, Case{0x23, 4, 12}, Case{0x07, 7, 8},
                            Case{0x0B, 7, 8}, Case{0x13, 7, 8}, Case{0x0F, 4, 12},
                            Case{0x1B, 4, 12}, Case{0x1F, 3, 16}, Case{0x08, 7, 8}}) {
        EXPECT_EQ(LayoutOf(one.mode).samples, one.samples) << int{one.mode};
        EXPECT_EQ(LayoutOf(one.mode).slotBytes, one.slotBytes) << int{one.mode};
        EXPECT_EQ(CheckPacket(MakePacket({one.mode, 65500, 1, 2, 3})), "") << int{one.mode};
    }
}

TEST(Packet, RespirationSlotsHoldFourMoreCodes)
{
    Bytes packet = MakePacket({0x23, 0, 100, -3, 0});
    packet[8 + 12 + 4] = 0x01;   // slot 1 of frame 0, first resistance code
    packet[8 + 12 + 11] = 0x09;  // its baseline code
    const auto frames = DecodePacket(packet);
    ASSERT_EQ(frames[0].slots.size(), 4U);
    EXPECT_EQ(frames[0].slots[1].dc, 100);
    EXPECT_EQ(frames[0].slots[1].ac, -3);
    EXPECT_EQ(frames[0].slots[1].extra[0], 0x0100);
    EXPECT_EQ(frames[0].slots[1].extra[3], 0x0009);
}

TEST(Packet, EachFramingMistakeIsNamed)
{
    struct Case {
        std::size_t at;
        std::uint8_t value;
        const char* told;
    };
    for (const Case& one : {Case{64, 0x02, "byte 0"}, Case{130, 0x01, "bytes 2 and 3"},
                            Case{64 * 4 + 4, 15, "marker 15"}, Case{64 * 5 + 5, 13, "13 samples"},
                            Case{64 * 9 + 7, 0x00, "sequence"}}) {
        Bytes packet = HandMadePacket();
        packet[one.at] = one.value;
        EXPECT_NE(CheckPacket(packet).find(one.told), std::string::npos) << CheckPacket(packet);
    }
    EXPECT_NE(CheckPacket(Bytes(3199, 0)), "");
}

TEST(Packet, PaddingAndMarkersBelongToTheirLayouts)
{
    Bytes packet = MakePacket({0x0F, 0, 1, 2, 3});
    packet[60] = 1;
    EXPECT_NE(CheckPacket(packet).find("padding"), std::string::npos);
    packet = MakePacket({0x07, 0, 1, 2, 3});
    packet[4] = 1;
    EXPECT_NE(CheckPacket(packet).find("marker"), std::string::npos);
}

TEST(StopPacket, HoldsTheRestingCodeAndNothingElse)
{
    const Bytes stop = MakeStopPacket(0x03, 150);
    EXPECT_TRUE(IsStopPacket(stop));
    EXPECT_EQ(CheckPacket(stop), "");
    EXPECT_EQ(stop[8], 0x7F);
    EXPECT_EQ(stop[9], 0xFF);
    EXPECT_EQ(stop[10], 0);
    EXPECT_EQ(stop[5], 14);
    EXPECT_FALSE(IsStopPacket(HandMadePacket()));
    EXPECT_FALSE(IsStopPacket(stop, 32766));
}

TEST(StopPacket, WithRespirationUsesTheEcgFraming)
{
    const Bytes stop = MakeStopPacket(0x23, 0);
    EXPECT_EQ(stop[5], 14);
    EXPECT_TRUE(IsOnlyStopPacket(stop));
    EXPECT_EQ(CheckPacket(stop), "");
}

TEST(StopPacket, WithTheOutputOffStatesFourteenSamplesAndHasNone)
{
    const Bytes stop = MakeStopPacket(0x08, 0);
    EXPECT_EQ(stop[5], 14);
    EXPECT_TRUE(std::all_of(stop.begin() + 8, stop.begin() + 64, [](auto b) { return b == 0; }));
    EXPECT_TRUE(IsOnlyStopPacket(stop));
}

TEST(StopPacket, ARestingEcgPacketLooksTheSame)
{
    EXPECT_EQ(MakeStopPacket(0x03, 50), MakePacket({0x03, 50, 32767, 0, 0}));
    EXPECT_FALSE(IsOnlyStopPacket(MakeStopPacket(0x03, 50)));
}

TEST(DcTable, TheDefaultIsThePublishedLine)
{
    EXPECT_EQ(DefaultDcWords()[0], 0);
    EXPECT_EQ(DefaultDcWords()[1000], 0);
    EXPECT_EQ(DefaultDcWords()[1001], 32);
    EXPECT_EQ(DefaultDcWords()[1400], 13107);  // exactly whole: no rounding may lose it
    EXPECT_EQ(DefaultDcWords()[2000], 32767);
    EXPECT_EQ(DefaultDcWords()[3000], 65535);
    EXPECT_EQ(DefaultDcWords()[4000], 65535);
    EXPECT_EQ(DefaultDcCode(0.0), 32767);
    EXPECT_EQ(DefaultDcCode(-0.5), (DefaultDcCode(-1.0) + 32767) / 2);
    EXPECT_EQ(DefaultDcCode(2500.0), 65535);
    EXPECT_FALSE(IsProgrammed(FromFlashBytes(Bytes(8002, 0xFF))));
    EXPECT_TRUE(IsProgrammed(FromFlashBytes(ToFlashBytes(DefaultDcWords()))));
}

TEST(DcTable, DecodingIsTheInverse)
{
    const DcDecoder decoder;
    for (int mv = -999; mv <= 999; ++mv) EXPECT_DOUBLE_EQ(decoder.Mv(DefaultDcCode(mv)), mv);
    EXPECT_EQ(decoder.Mv(0), -1000.0);
    EXPECT_EQ(decoder.Mv(65535), 1000.0);
    EXPECT_NEAR(decoder.Mv(DefaultDcCode(0.5)), 0.5, 1.0 / 32);
}

TEST(DcTable, AFallingTableDecodesToo)
{
    DcWords words;
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<std::uint16_t>(50000 - 10 * i);
    }
    const DcDecoder decoder(words);
    EXPECT_EQ(decoder.RestCode(), 30000);
    EXPECT_DOUBLE_EQ(decoder.Mv(DcCode(words, 123.0)), 123.0);
    EXPECT_DOUBLE_EQ(decoder.Mv(DcCode(words, -1500.0)), -1500.0);
}
