// The PPG module: what stands in its flash, and its codes in the stream as millivolts.

#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "HostPort.h"
#include "ModulePackets.h"
#include "instrument/SimulatedInstrument.h"

using namespace instrument;
using namespace instrument_test;

namespace {

Options Fitted(std::optional<unsigned> model)
{
    Options options;
    options.ppgModel = model;
    return options;
}

// Two channels in a slot: 100 and 200 of the DC code's scale, 10 and 20 of the AC code's.
Bytes TwoChannels(std::uint8_t mode)
{
    return SlotPacket(mode, 0, 4, 12, {1, 2, 100, 10, 200, 20});
}

std::string Played(const Sample& sample)
{
    std::string channels;
    for (std::size_t i = 0; i < sample.ppg.size(); ++i) {
        EXPECT_EQ(std::isnan(sample.ppg[i].dcMv), std::isnan(sample.ppg[i].acMv));
        if (!std::isnan(sample.ppg[i].dcMv)) channels += static_cast<char>('0' + i);
    }
    return channels;
}

void WriteWord(SimulatedInstrument& instrument, std::uint32_t address, unsigned word)
{
    instrument.WriteFlash(19, address,
                          {static_cast<std::uint8_t>(word & 0xFF),
                           static_cast<std::uint8_t>(word >> 8 & 0xFF)});
}

}  // namespace

TEST(PpgModule, OfAnyModelTellsItselfFromItsRecord)
{
    for (const unsigned model : {0x3307U, 0x3407U, 0x0001U, 0xFFFFU}) {
        SimulatedInstrument instrument(Fitted(model));
        const HostPort host;
        const Bytes record = host.Ask(FlashFrame(false, 19, 0, 12));
        EXPECT_EQ(Bytes(record.begin() + 16, record.begin() + 21),
                  (Bytes{'T', 'A', 'P', static_cast<std::uint8_t>(model >> 8),
                         static_cast<std::uint8_t>(model & 0xFF)}));
        EXPECT_EQ(host.Ask({0x55, 0x00, 0x81}, 12)[4], model == 0x3407 ? 1 : 0);
        EXPECT_EQ(host.Ask({0xB9, 0x00, 0x01})[3] == 0xFF, model == 0x3407);
        EXPECT_EQ(host.Ask({0xB8, 0x00, 0x01})[3] == 0xFF, model != 0x3407);
        EXPECT_EQ(instrument.ReadFlash(19, 5120, 1), Bytes{1});  // factory setting: valid
    }
}

TEST(PpgCodes, TwelveBitsReachThreeThousandMillivoltsOfDcAndThirtyOfAc)
{
    SimulatedInstrument instrument(Fitted(0x3307));
    const Sample sample = Play(instrument, SlotPacket(0x07, 0, 7, 8, {1, 2, 1365, 819}));
    EXPECT_NEAR(sample.ppg[1].dcMv, 1000.0, 1e-9);
    EXPECT_NEAR(sample.ppg[1].acMv, 6.0, 1e-9);
    EXPECT_EQ(Played(sample), "1");
    EXPECT_TRUE(std::isnan(sample.respirationOhm));
    EXPECT_TRUE(std::isnan(sample.baselineOhm));
    EXPECT_EQ(instrument.Samples().size(), 350U);
}

TEST(PpgCodes, SixteenBitsDivideTheSameScale)
{
    Options options = Fitted(0x3307);
    options.dac16 = true;
    SimulatedInstrument instrument(options);
    const Sample sample = Play(instrument, SlotPacket(0x07, 0, 7, 8, {1, 2, 21845, 13107}));
    EXPECT_NEAR(sample.ppg[1].dcMv, 1000.0, 1e-9);
    EXPECT_NEAR(sample.ppg[1].acMv, 6.0, 1e-9);
}

TEST(PpgCodes, TheScaleIsThatOfTheModule)
{
    Options options = Fitted(0x1234);
    options.ppgDcMaxMv = 1500;
    options.ppgAcMaxMv = 60.9;  // a host scales by whole millivolts
    SimulatedInstrument instrument(options);
    const Sample sample = Play(instrument, SlotPacket(0x07, 0, 7, 8, {1, 2, 1365, 819}));
    EXPECT_NEAR(sample.ppg[1].dcMv, 500.0, 1e-9);
    EXPECT_NEAR(sample.ppg[1].acMv, 12.0, 1e-9);
}

TEST(PpgCodes, TheModeSaysWhichChannelsASlotHolds)
{
    struct Case {
        std::optional<unsigned> model;
        std::uint8_t mode;
        int first;
        int second;
    };
    for (const Case& one : {Case{0x3307, 0x0F, 1, 2}, Case{0x3307, 0x17, 1, 0},
                            Case{0x3307, 0x1B, 2, 0}, Case{std::nullopt, 0x0F, 0, 2}}) {
        SimulatedInstrument instrument(Fitted(one.model));
        const Sample sample = Play(instrument, TwoChannels(one.mode));
        const auto& first = sample.ppg[static_cast<std::size_t>(one.first)];
        const auto& second = sample.ppg[static_cast<std::size_t>(one.second)];
        EXPECT_NEAR(first.dcMv, 100 * 3000 / 4095.0, 1e-9) << int{one.mode};
        EXPECT_NEAR(second.dcMv, 200 * 3000 / 4095.0, 1e-9) << int{one.mode};
        EXPECT_NEAR(first.acMv, 10 * 30 / 4095.0, 1e-9) << int{one.mode};
        EXPECT_NEAR(second.acMv, 20 * 30 / 4095.0, 1e-9) << int{one.mode};
    }
}

TEST(PpgCodes, ThreeChannelsStandInTheOrderOfTheModeBits)
{
    SimulatedInstrument instrument(Fitted(0x3307));
    const Sample sample =
        Play(instrument, SlotPacket(0x1F, 0, 3, 16, {1, 2, 100, 10, 200, 20, 300, 30}));
    EXPECT_NEAR(sample.ppg[1].acMv, 10 * 30 / 4095.0, 1e-9);
    EXPECT_NEAR(sample.ppg[2].acMv, 20 * 30 / 4095.0, 1e-9);
    EXPECT_NEAR(sample.ppg[0].acMv, 30 * 30 / 4095.0, 1e-9);
    EXPECT_EQ(instrument.Samples().size(), 150U);
}

TEST(PpgCodes, APositionWithoutAnLedTakesNoRoom)
{
    Options options = Fitted(0x1234);
    options.ledTypes = {3, 3, 3};
    SimulatedInstrument instrument(options);
    Sample sample = Play(instrument, SlotPacket(0x0F, 0, 4, 12, {1, 2, 100, 10, 0, 0}));
    EXPECT_EQ(Played(sample), "2");
    EXPECT_NEAR(sample.ppg[2].dcMv, 100 * 3000 / 4095.0, 1e-9);
}

TEST(PpgCodes, TheEcgAloneCarriesNone)
{
    SimulatedInstrument instrument(Fitted(0x3407));
    EXPECT_EQ(Played(Play(instrument, SlotPacket(0x03, 0, 14, 4, {1, 2}))), "");
}

TEST(PpgCodes, BeyondTheConverterAreCounted)
{
    SimulatedInstrument instrument(Fitted(0x3307));
    Play(instrument, SlotPacket(0x07, 0, 7, 8, {1, 2, 4095, 4095}));
    EXPECT_EQ(instrument.Statistics().codeErrors, 0U);
    Play(instrument, SlotPacket(0x07, 50, 7, 8, {1, 2, 4096, 0}));
    EXPECT_EQ(instrument.Statistics().codeErrors, 350U);
    Play(instrument, SlotPacket(0x07, 100, 7, 8, {1, 2, 0, 4096}));
    EXPECT_EQ(instrument.Statistics().codeErrors, 700U);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
}

// Factory word 9 + 3 * row + range is the full scale of a range; a new module has 60000 + 100 times
// the word's number there. Channels 0, 1, 2 have rows 2, 0, 1.
TEST(Ppg3407, EachChannelAndRangeHasItsFullScale)
{
    struct Case {
        std::size_t channel;
        std::size_t relayByte;
        std::uint8_t range;
        std::uint16_t fullScale;
        double mv;
    };
    for (const Case& one :
         {Case{1, 11, 0, 60900, 300}, Case{1, 11, 1, 61000, 15}, Case{1, 11, 2, 61100, 1},
          Case{2, 12, 0, 61200, 300}, Case{2, 12, 2, 61400, 1}, Case{0, 13, 0, 61500, 300},
          Case{0, 13, 1, 61600, 15}}) {
        SimulatedInstrument instrument(Fitted(0x3407));
        {
            const HostPort host;
            Bytes relays = RelayCommand(0x1F, 10000);
            relays[one.relayByte] = one.range;
            ASSERT_EQ(host.Ask(relays).size(), 64U);
        }
        const std::uint16_t code = one.fullScale;
        const Sample sample =
            Play(instrument, SlotPacket(0x1F, 0, 3, 16, {1, 2, 0, code, 0, code, 0, code}));
        EXPECT_NEAR(sample.ppg[one.channel].acMv, one.mv, 1e-9) << code;
    }
}

TEST(Ppg3407, AFullScaleOfZeroIsThatOfTheConverter)
{
    SimulatedInstrument instrument(Fitted(0x3407));
    WriteWord(instrument, 5248 + 2 * 9, 0);
    const Sample sample = Play(instrument, SlotPacket(0x07, 0, 7, 8, {1, 2, 0, 13107}));
    EXPECT_NEAR(sample.ppg[1].acMv, 60.0, 1e-9);
}

TEST(Ppg3407, DcGoesBackThroughTheRowOfItsChannel)
{
    SimulatedInstrument instrument(Fitted(0x3407));
    // 1000 mV are level 960 in row 0 (channel 1), 980 in row 1 and 990 in row 2.
    EXPECT_EQ(instrument.ReadFlash(19, 5632 + 2000, 2), (Bytes{0xC0, 0x03}));
    const auto code = [](double level) {
        return static_cast<std::uint16_t>(level / 3000 * 65535);  // cut off, as a host does
    };
    const Sample sample =
        Play(instrument,
             SlotPacket(0x1F, 0, 3, 16, {1, 2, code(960), 1, code(980), 1, code(990), 1}));
    for (const PpgLevel& level : sample.ppg) EXPECT_NEAR(level.dcMv, 1000, 1);
}

TEST(Ppg3407, ADcRowThatEndsErasedIsTheIdentity)
{
    SimulatedInstrument instrument(Fitted(0x3407));
    WriteWord(instrument, 5632 + 2 * 3000, 0xFFFF);
    const Sample sample = Play(instrument, SlotPacket(0x07, 0, 7, 8, {1, 2, 21845, 1}));
    EXPECT_NEAR(sample.ppg[1].dcMv, 1000.0, 1e-9);
}

TEST(Ppg3407, ACalibrationThatAHostWritesCountsFromTheNextPacketOn)
{
    SimulatedInstrument instrument(Fitted(0x3407));
    const Bytes packet = SlotPacket(0x07, 0, 7, 8, {1, 2, 0, 30450});
    EXPECT_NEAR(Play(instrument, packet).ppg[1].acMv, 150.0, 1e-9);
    {
        const HostPort host;
        EXPECT_EQ(host.Ask(FlashFrame(true, 19, 5248 + 18, 2, {0xE4, 0x3D}))[4], 0xFF);  // 15844
    }
    EXPECT_NEAR(Play(instrument, SlotPacket(0x07, 50, 7, 8, {1, 2, 0, 7922})).ppg[1].acMv, 150.0,
                1e-9);
}
