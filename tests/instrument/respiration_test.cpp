// Breathing: the generator of the instrument, and the external module with its network.

#include <cmath>
#include <cstring>

#include <gtest/gtest.h>

#include "HostPort.h"
#include "ModulePackets.h"
#include "instrument/SimulatedInstrument.h"

using namespace instrument;
using namespace instrument_test;

namespace {

Options WithModule()
{
    Options options;
    options.respirationModule = true;
    return options;
}

Bytes Breathing(const Codes& module, unsigned firstSequence = 0)
{
    Codes codes{32767, 0};
    codes.insert(codes.end(), module.begin(), module.end());
    return SlotPacket(0x23, firstSequence, 4, 12, codes);
}

Bytes Doubles(std::initializer_list<double> values)
{
    Bytes bytes;
    for (const double value : values) {
        std::uint8_t raw[sizeof value];
        std::memcpy(raw, &value, sizeof value);
        bytes.insert(bytes.end(), std::begin(raw), std::end(raw));
    }
    return bytes;
}

// A new module: fixed resistances of 60.5 and 61.5 ohms, a correction of 80, and 50 + i / 4 ohms
// in step i of the third element.
constexpr double kFixed0 = 60.5;
constexpr double kFixed1 = 61.5;
constexpr double kCorrection = 80;
double Third(unsigned step) { return 50 + step / 4.0; }

double Parallel(double a, double b, double c) { return a * b * c / (a * b + b * c + c * a); }

// The codes with which a host asks for a resistance.
Codes CodesOf(double ohms)
{
    const auto third = static_cast<unsigned>((100 - kCorrection) / 21 + (ohms - 50) * 6 + 10);
    const double rest = 1 / ohms - 1 / Third(third);
    const double coarse = 1 / (rest - 1 / (kFixed1 + 20000)) - kFixed1;
    const unsigned second = std::min(static_cast<unsigned>(0.0512 * coarse) + 1, 1023U);
    const double fine = 1 / (rest - 1 / (kFixed1 + second / 1024.0 * 20000)) - kFixed0;
    const unsigned first = std::min(static_cast<unsigned>(0.5 + 0.0512 * fine), 1023U);
    return {static_cast<std::uint16_t>(first), static_cast<std::uint16_t>(second),
            static_cast<std::uint16_t>(third), 1000};
}

Bytes ShortCommand(std::uint8_t rate, std::uint8_t variation, std::uint8_t ratio,
                   std::uint8_t baseline)
{
    return Padded({0xEA, 0xFF, 0x01, 0, 0, 0, 0, 0, rate, variation, ratio, baseline}, 19);
}

void ExpectRefused(SimulatedInstrument& instrument, const HostPort& host, const Bytes& request)
{
    instrument.ClearRefusals();
    ASSERT_TRUE(host.Write(request));
    EXPECT_TRUE(host.IsSilent());
    ASSERT_EQ(instrument.RefusalCount(), 1U);
    EXPECT_FALSE(instrument.Refusals()[0].reason.empty());
}

}  // namespace

TEST(Breathing, IsSetAsItsCommandSays)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EXPECT_EQ(host.Ask(ShortCommand(15, 12, 1, 3))[3], 0xFF);
    const RespirationSettings settings = instrument.State().Respiration();
    EXPECT_EQ(settings.breathsPerMinute, 15U);
    EXPECT_EQ(settings.variation, 1200U);
    EXPECT_EQ(settings.ratio, 2U);
    EXPECT_EQ(settings.baselineOhm, 2000U);
    EXPECT_FALSE(settings.apnea);
}

TEST(Breathing, ApneaComesWithTheWholeBlock)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(ShortCommand(15, 12, 1, 3));
    Bytes block = host.Ask({0xEA, 0x00, 0x01});
    ASSERT_EQ(block.size(), 64U);
    EXPECT_EQ(Bytes(block.begin() + 8, block.begin() + 13), (Bytes{15, 12, 1, 3, 0}));
    block[1] = 0xFF;
    block[12] = 1;
    EXPECT_EQ(host.Ask(block)[3], 0xFF);
    EXPECT_TRUE(instrument.State().Respiration().apnea);
    EXPECT_EQ(instrument.State().Respiration().breathsPerMinute, 15U);
    host.Ask(ShortCommand(20, 12, 1, 3));  // has no apnea
    EXPECT_FALSE(instrument.State().Respiration().apnea);
}

TEST(Breathing, OutsideItsRangesIsRefused)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Bytes reserved = ShortCommand(15, 12, 1, 3);
    reserved[5] = 1;
    Bytes apnea = ShortCommand(15, 12, 1, 3);
    apnea[12] = 1;
    Bytes cut = ShortCommand(15, 12, 1, 3);
    cut.pop_back();
    for (const Bytes& request : {ShortCommand(201, 12, 1, 3), ShortCommand(15, 12, 5, 3),
                                 ShortCommand(15, 12, 1, 5), reserved, apnea, cut}) {
        ExpectRefused(instrument, host, request);
    }
    EXPECT_EQ(instrument.State().Respiration().breathsPerMinute, 0U);
}

TEST(Breathing, TheModuleHasTwelveBaselines)
{
    SimulatedInstrument instrument(WithModule());
    const HostPort host;
    EXPECT_EQ(host.Ask(ShortCommand(15, 12, 1, 11))[3], 0xFF);
    ExpectRefused(instrument, host, ShortCommand(15, 12, 1, 12));
}

TEST(RespirationNetwork, IsThreeBranchesInParallel)
{
    SimulatedInstrument instrument(WithModule());
    struct Case {
        std::uint16_t first, second, third;
    };
    unsigned sequence = 0;
    for (const Case& one : {Case{512, 256, 20}, Case{0, 0, 0}, Case{1023, 1023, 95}}) {
        const double wanted = Parallel(kFixed0 + one.first * 20000.0 / 1024,
                                       kFixed1 + one.second * 20000.0 / 1024, Third(one.third));
        const Sample sample =
            Play(instrument, Breathing({one.first, one.second, one.third, 1000}, sequence));
        EXPECT_NEAR(sample.respirationOhm, wanted, 1e-9);
        sequence += 50;
    }
    EXPECT_EQ(instrument.Statistics().samples, 600U);
    EXPECT_EQ(instrument.Statistics().codeErrors, 0U);
}

TEST(RespirationNetwork, GivesTheResistanceThatAHostAskedForWithinATenthOfAnOhm)
{
    SimulatedInstrument instrument(WithModule());
    unsigned sequence = 0;
    for (double ohms = 50.0; ohms <= 60.0; ohms += 0.37) {
        const Sample sample = Play(instrument, Breathing(CodesOf(ohms), sequence));
        EXPECT_NEAR(sample.respirationOhm, ohms, 0.1);
        sequence += 50;
    }
}

TEST(RespirationNetwork, IsThatOfTheFlash)
{
    SimulatedInstrument instrument(WithModule());
    const HostPort host;
    Bytes fixed = Doubles({0.60991, 100, 200});
    EXPECT_EQ(host.Ask(FlashFrame(true, 19, 5248, 24, fixed))[4], 0xFF);
    EXPECT_EQ(host.Ask(FlashFrame(true, 19, 5376 + 8 * 7, 8, Doubles({300})))[4], 0xFF);
    EXPECT_NEAR(Play(instrument, Breathing({0, 0, 7, 1000})).respirationOhm,
                Parallel(100, 200, 300), 1e-9);
}

TEST(RespirationNetwork, WithoutItsRecordGivesNoOhms)
{
    SimulatedInstrument instrument(WithModule());
    instrument.WriteFlash(19, 5248, Doubles({0.6099}));
    EXPECT_TRUE(std::isnan(Play(instrument, Breathing({1, 2, 3, 1000})).respirationOhm));
    EXPECT_EQ(instrument.Statistics().codeErrors, 0U);
}

TEST(RespirationNetwork, CodesBeyondItsElementsAreCounted)
{
    SimulatedInstrument instrument(WithModule());
    unsigned sequence = 0;
    for (const Codes& codes :
         {Codes{1024, 0, 0, 1000}, Codes{0, 1024, 0, 1000}, Codes{0, 0, 96, 1000}}) {
        EXPECT_TRUE(std::isnan(Play(instrument, Breathing(codes, sequence)).respirationOhm));
        sequence += 50;
        EXPECT_EQ(instrument.Statistics().codeErrors, sequence / 50 * 200U);
    }
}

TEST(RespirationBaseline, IsLookedUpInTheTableOfTheModule)
{
    SimulatedInstrument instrument(WithModule());  // its code i is 1000 + 100 i
    EXPECT_EQ(Play(instrument, Breathing({1, 2, 3, 1000})).baselineOhm, 0.0);
    EXPECT_EQ(Play(instrument, Breathing({1, 2, 3, 1300}, 50)).baselineOhm, 500.0);
    EXPECT_EQ(Play(instrument, Breathing({1, 2, 3, 2100}, 100)).baselineOhm, 4500.0);
    EXPECT_TRUE(std::isnan(Play(instrument, Breathing({1, 2, 3, 1301}, 150)).baselineOhm));
    instrument.WriteFlash(19, 5312, {0xFF, 0xFF});  // an erased entry is none
    EXPECT_TRUE(std::isnan(Play(instrument, Breathing({1, 2, 3, 0xFFFF}, 200)).baselineOhm));
}

TEST(RespirationModule, TakesExactlyItsFrames)
{
    SimulatedInstrument instrument(WithModule());
    const HostPort host;
    EXPECT_EQ(host.Ask(Padded({0xCC, 0xFF, 0x0D, 0x00, 0, 1, 0, 2, 0, 3, 0, 4}))[3], 0xFF);
    Bytes tail = Padded({0xCC, 0xFF, 0x0D, 0x00, 0, 9, 0, 9, 0, 9, 0, 9});
    tail[12] = 1;
    for (const Bytes& request :
         {tail, Padded({0xCC, 0xFF, 0x0D, 0x00, 0, 9}, 63), Bytes{0xCC, 0x00, 0x0D},
          Bytes{0xCC, 0xFF, 0x0E, 0x00, 3, 3}, Bytes{0xCC, 0xFF, 0x0E, 0x00, 3, 5},
          Bytes{0xCC, 0xFF, 0x0E, 0x00, 3, 1, 0}}) {
        ExpectRefused(instrument, host, request);
    }
    EXPECT_EQ(instrument.State().moduleWords, (std::array<std::uint16_t, 4>{1, 2, 3, 4}));
    EXPECT_EQ(instrument.State().baselineIndex, 0);
}

TEST(RespirationModule, ThatIsNotFittedAcknowledgesNothing)
{
    SimulatedInstrument instrument;
    const HostPort host;
    const Bytes words = Padded({0xCC, 0xFF, 0x0D, 0x00, 1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(host.Ask(words)[3], 0x00);
    EXPECT_EQ(host.Ask({0xCC, 0x00, 0x0D, 0x00})[3], 0x00);
    EXPECT_EQ(host.Ask({0xCC, 0xFF, 0x0E, 0x00, 5, 1})[3], 0x00);
    EXPECT_EQ(instrument.State().moduleWords[0], 0);
    EXPECT_EQ(instrument.State().baselineIndex, 0);
    EXPECT_EQ(instrument.RefusalCount(), 0U);
}

TEST(RespirationModule, ThatIsNotFittedHasNoModeAndNoRelay)
{
    SimulatedInstrument instrument;
    const HostPort host;
    const Bytes shortCommand{0x00, 0xFF, 0x03, 0x13, 0x88, 0x01, 0x00, 0x10};
    for (const Bytes& command : {RelayCommand(0x23, 5000), RelayCommand(0x03, 20000, 0x010010),
                                 RelayCommand(0x08, 20000, 0x010018), shortCommand}) {
        ExpectRefused(instrument, host, command);
    }
    EXPECT_EQ(instrument.Relays().commands, 0U);
    EXPECT_EQ(instrument.Relays().shortCommands, 0U);
    EXPECT_EQ(host.Ask(RelayCommand(0x03, 5000, 0x010008)).size(), 64U);  // its own generator
    EXPECT_TRUE(instrument.Relays().HasRespiration());
}

TEST(RespirationModule, ThatIsNotFittedPlaysNothing)
{
    SimulatedInstrument instrument;
    const Sample sample = Play(instrument, Breathing({1, 2, 3, 1000}));
    EXPECT_TRUE(std::isnan(sample.respirationOhm));
    EXPECT_TRUE(std::isnan(sample.baselineOhm));
    EXPECT_EQ(instrument.Statistics().codeErrors, 200U);
    EXPECT_EQ(instrument.Statistics().modeErrors, 1U);
}

TEST(RespirationModule, PlaysAtFiveKilohertzAlone)
{
    SimulatedInstrument instrument(WithModule());
    const HostPort host;
    for (const Bytes& command : {RelayCommand(0x23, 20000, 0x010018), RelayCommand(0x03, 20000),
                                 RelayCommand(0x08, 10000), RelayCommand(0x03, 0)}) {
        ExpectRefused(instrument, host, command);
    }
    EXPECT_EQ(instrument.Relays().commands, 0U);
    for (const Bytes& command : {RelayCommand(0x23, 5000, 0x010018), RelayCommand(0x03, 5000),
                                 RelayCommand(0x08, 5000, 0x010018)}) {
        EXPECT_EQ(host.Ask(command).size(), 64U);
    }
    EXPECT_EQ(instrument.Relays().commands, 3U);
}

// Firmware 1.2 is asked for nothing, so a host cannot know.
TEST(RespirationModule, ThatAHostCannotAskForTakesItsRate)
{
    Options options = WithModule();
    options.firmware = {1, 2, 0, 0};
    SimulatedInstrument instrument(options);
    const HostPort host;
    EXPECT_EQ(host.Ask(RelayCommand(0x03, 20000)).size(), 64U);
    EXPECT_EQ(instrument.Relays().sampleRate, 20000U);
}

TEST(RespirationModule, AcknowledgesAndKeepsItsTwelveBaselinesAlone)
{
    SimulatedInstrument instrument(WithModule());
    const HostPort host;
    EXPECT_EQ(host.Ask({0xCC, 0xFF, 0x0E, 0x00, 11, 4})[3], 0xFF);
    for (const std::uint8_t index : Bytes{12, 15, 255}) {
        const Bytes reply = host.Ask({0xCC, 0xFF, 0x0E, 0x00, index, 1});
        ASSERT_EQ(reply.size(), 64U);
        EXPECT_EQ(reply[3], 0x00);
    }
    EXPECT_EQ(instrument.State().baselineIndex, 11);
    EXPECT_EQ(instrument.State().baselineLead, 4);
    EXPECT_EQ(instrument.RefusalCount(), 0U);
}
