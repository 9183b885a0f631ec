// Every command, spoken to the port byte by byte.

#include <gtest/gtest.h>

#include "HostPort.h"
#include "instrument/SimulatedInstrument.h"

using namespace instrument;
using namespace instrument_test;

namespace {

Options WithPpg(unsigned model = 0x3407)
{
    Options options;
    options.ppgModel = model;
    return options;
}

}  // namespace

TEST(Identification, NamesTheInstrumentAndItsSequenceNumber)
{
    Options options;
    options.sequenceNumber = 0x0123;
    SimulatedInstrument instrument(options);
    const HostPort host;
    const Bytes reply = host.Ask({0x55, 0x00, 0x00}, 12);
    ASSERT_EQ(reply.size(), 12U);
    EXPECT_EQ(Bytes(reply.begin() + 4, reply.begin() + 8), (Bytes{'T', 'V', 'R', 'P'}));
    EXPECT_EQ(reply[10], 0x01);
    EXPECT_EQ(reply[11], 0x23);
    EXPECT_TRUE(host.IsSilent());
}

TEST(Identification, MayDifferFromTheRecord)
{
    Options options;
    options.sequenceNumber = 5;
    options.identifiedNumber = 9;
    SimulatedInstrument instrument(options);
    const HostPort host;
    EXPECT_EQ(host.Ask({0x55, 0x00, 0x00}, 12)[11], 9);
    EXPECT_EQ(instrument.ReadFlash(1, 7, 1), Bytes{5});
}

TEST(Information, GivesHardwareAndFirmware)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EXPECT_EQ(host.Ask({0xAA, 0x02}, 5), (Bytes{0xAA, 1, 4, 0, 0}));
    EXPECT_EQ(host.Ask({0xAA, 0x03}, 5), (Bytes{0xAA, 2, 1, 0, 7}));
}

TEST(Information, IsUnknownToOldFirmware)
{
    Options options;
    options.firmware = {1, 2, 0, 0};
    SimulatedInstrument instrument(options);
    const HostPort host;
    ASSERT_TRUE(host.Write({0xAA, 0x02}));
    EXPECT_TRUE(host.IsSilent());
    EXPECT_EQ(instrument.RefusalCount(), 1U);
}

TEST(Information, UsbVoltageIsOneByte)
{
    SimulatedInstrument instrument;
    const HostPort host;
    const Bytes reply = host.Ask({0xCC, 0x00, 'B'});
    ASSERT_EQ(reply.size(), 64U);
    EXPECT_EQ(reply[4], 250);
}

TEST(Module, WithoutOneNothingIsAcknowledged)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EXPECT_EQ(host.Ask(FlashFrame(false, 19, 0, 12))[4], 0);
    EXPECT_EQ(host.Ask({0xB8, 0x00, 0x01})[3], 0);
    EXPECT_EQ(host.Ask({0xB9, 0x00, 0x01})[3], 0);
    EXPECT_EQ(host.Ask(Padded({0xCC, 0x00, 25}))[3], 0);
    EXPECT_EQ(host.Ask({0xB0, 0xFF, 0x03, 0x00, 0x01})[4], 0);
    EXPECT_EQ(host.Ask({0xCC, 0x00, 0x0D, 0x00})[3], 0);
    EXPECT_EQ(instrument.RefusalCount(), 0U);
    EXPECT_FALSE(instrument.State().dynamicLight);
}

TEST(Module, ThePpgRecordAndVersions)
{
    SimulatedInstrument instrument(WithPpg());
    const HostPort host;
    const Bytes record = host.Ask(FlashFrame(false, 19, 0, 12));
    EXPECT_EQ(record[4], 0xFF);
    EXPECT_EQ(Bytes(record.begin() + 16, record.begin() + 28),
              (Bytes{'T', 'A', 'P', 0x34, 0x07, 24, 0, 7, 1, 2, 3, 0}));
    const Bytes versions = host.Ask({0xB9, 0x00, 0x01});
    EXPECT_EQ(Bytes(versions.begin() + 4, versions.begin() + 8), (Bytes{3, 0, 2, 5}));
    EXPECT_EQ(host.Ask({0xB8, 0x00, 0x01})[3], 0);  // that is for the other modules
    EXPECT_EQ(host.Ask({0x55, 0x00, 0x81}, 12)[4], 1);
}

TEST(Module, OtherModulesAnswerInTheirOwnGroup)
{
    SimulatedInstrument instrument(WithPpg(0x3307));
    const HostPort host;
    EXPECT_EQ(host.Ask({0xB8, 0x00, 0x01})[4], 3);
    EXPECT_EQ(host.Ask({0x55, 0x00, 0x81}, 12)[4], 0);
}

TEST(Flash, TheMainRecordIsThere)
{
    SimulatedInstrument instrument;
    const HostPort host;
    const Bytes request = FlashFrame(false, 1, 0, 12);
    const Bytes reply = host.Ask(request);
    EXPECT_EQ(Bytes(reply.begin() + 16, reply.begin() + 28),
              (Bytes{'T', 'E', 'C', 0x10, 0x20, 25, 0, 42, 1, 4, 2, 1}));
    EXPECT_EQ(Bytes(reply.begin() + 5, reply.begin() + 12),
              Bytes(request.begin() + 5, request.begin() + 12));
}

TEST(Flash, WritesReadsAndErasesSectors)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EXPECT_EQ(host.Ask(FlashFrame(true, 18, 1022, 4, {1, 2, 3, 4}))[4], 0xFF);
    const Bytes reply = host.Ask(FlashFrame(false, 18, 1020, 8));
    EXPECT_EQ(Bytes(reply.begin() + 16, reply.begin() + 24),
              (Bytes{0xFF, 0xFF, 1, 2, 3, 4, 0xFF, 0xFF}));
    EXPECT_EQ(host.Ask(EraseFrame(18, 1024)).size(), 64U);
    EXPECT_EQ(instrument.ReadFlash(18, 1022, 4), (Bytes{1, 2, 0xFF, 0xFF}));
}

TEST(Flash, NorCanOnlyClearBits)
{
    Options options;
    options.nor = true;
    SimulatedInstrument instrument(options);
    const HostPort host;
    host.Ask(FlashFrame(true, 18, 1024, 1, {0xF0}));
    host.Ask(FlashFrame(true, 18, 1024, 1, {0x3C}));
    EXPECT_EQ(instrument.ReadFlash(18, 1024, 1), Bytes{0x30});
    host.Ask(EraseFrame(18, 1024));
    EXPECT_EQ(instrument.ReadFlash(18, 1024, 1), Bytes{0xFF});
}

TEST(Flash, BadFramesAreRefused)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Bytes reserved = FlashFrame(false, 1, 0, 12);
    reserved[13] = 1;
    Bytes data = FlashFrame(true, 1, 0, 2, {1, 2, 3});
    for (const Bytes& frame :
         {FlashFrame(false, 2, 0, 12), FlashFrame(false, 1, 0, 33), FlashFrame(false, 1, 0, 0),
          FlashFrame(false, 18, 16384, 1), reserved, data}) {
        instrument.ClearRefusals();
        ASSERT_TRUE(host.Write(frame));
        EXPECT_TRUE(host.IsSilent());
        EXPECT_EQ(instrument.RefusalCount(), 1U);
    }
}

TEST(Flash, AnImageIsKeptBetweenInstruments)
{
    Options options;
    {
        SimulatedInstrument first(options);
        first.WriteFlash(19, 100, {7, 8, 9});
        options.initialFlash = first.SaveFlash();
    }
    SimulatedInstrument second(options);
    EXPECT_EQ(second.ReadFlash(19, 100, 3), (Bytes{7, 8, 9}));
    options.initialFlash = "something else";
    options.port = 1;
    EXPECT_THROW(SimulatedInstrument third(options), std::runtime_error);
}

TEST(Relays, AreKeptAsCommanded)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Bytes command = RelayCommand(0x0F, 10000, 0x01120D);
    command[8] = 1;
    command[10] = 3;
    command[11] = 2;
    EXPECT_EQ(host.Ask(command).size(), 64U);
    const RelayState relays = instrument.Relays();
    EXPECT_EQ(relays.operateMode, 0x0F);
    EXPECT_EQ(relays.sampleRate, 10000U);
    EXPECT_EQ(relays.word, 0x01120DU);
    EXPECT_EQ(relays.ledSync, (std::array<std::uint8_t, 3>{1, 0, 3}));
    EXPECT_EQ(relays.acCalibration, (std::array<std::uint8_t, 3>{2, 0, 0}));
    EXPECT_EQ(relays.commands, 1U);
}

TEST(Relays, TheShortCommandChangesTheWordAlone)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(RelayCommand(0x07, 10000));
    EXPECT_EQ(host.Ask({0x00, 0xFF, 0x03, 0x27, 0x10, 0x01, 0x60, 0x00}).size(), 64U);
    EXPECT_EQ(instrument.Relays().word, 0x016000U);
    EXPECT_EQ(instrument.Relays().operateMode, 0x07);
}

TEST(Relays, UnusedBitsAndModesAreRefused)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Bytes tail = RelayCommand(3, 20000);
    tail[16] = 1;
    Bytes range = RelayCommand(3, 20000);
    range[13] = 3;
    for (const Bytes& command :
         {RelayCommand(1, 20000), RelayCommand(0x43, 20000), RelayCommand(0x2F, 20000),
          RelayCommand(3, 20000, 0x80), tail, range}) {
        ASSERT_TRUE(host.Write(command));
        EXPECT_TRUE(host.IsSilent());
    }
    EXPECT_EQ(instrument.RefusalCount(), 6U);
    EXPECT_EQ(instrument.Relays().commands, 0U);
}

TEST(ControlBlock, GoesThroughReadChangeWrite)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Bytes block = host.Ask({0xEA, 0x00, 0x01});
    ASSERT_EQ(block.size(), 64U);
    block[1] = 0xFF;
    block[24] = 0x12;
    block[27] = 0x50;
    EXPECT_EQ(host.Ask(block)[3], 0xFF);
    EXPECT_EQ(instrument.ControlBlock()[24], 0x12);
    EXPECT_EQ(instrument.ControlBlock()[27], 0x50);
    EXPECT_EQ(host.Ask({0xEA, 0x00, 0x01})[24], 0x12);
}

TEST(ControlBlock, BytesThatAreNotTheHostsMustComeBackUnchanged)
{
    SimulatedInstrument instrument;
    const HostPort host;
    ASSERT_TRUE(host.Write(Padded({0xEA, 0xFF, 0x01})));  // not read before
    EXPECT_TRUE(host.IsSilent());
    EXPECT_EQ(instrument.RefusalCount(), 1U);
}

TEST(ControlBlock, RespirationHasAShortForm)
{
    SimulatedInstrument instrument;
    const HostPort host;
    const Bytes request = Padded({0xEA, 0xFF, 0x01, 0, 0, 0, 0, 0, 15, 12, 1, 2}, 19);
    EXPECT_EQ(host.Ask(request)[3], 0xFF);
    const auto block = instrument.ControlBlock();
    EXPECT_EQ(Bytes(block.begin() + 8, block.begin() + 13), (Bytes{15, 12, 1, 2, 0}));
}

TEST(PulseGroups, AFrameWithoutPayloadReads)
{
    SimulatedInstrument instrument(WithPpg());
    const HostPort host;
    Bytes write = Padded({0xEA, 0xFF});
    write[36] = 0x01;
    write[37] = 0x02;
    write[41] = 4;
    EXPECT_EQ(host.Ask(write)[3], 0xFF);
    const Bytes read = host.Ask(Padded({0xEA, 0xFF}));
    EXPECT_EQ(read[3], 0xFF);
    EXPECT_EQ(read[36], 0x01);
    EXPECT_EQ(read[41], 4);
    EXPECT_EQ(instrument.State().pulseGroups[6], 4);
}

TEST(Ppg, ModesAndSettingsShareTheirNumbers)
{
    SimulatedInstrument instrument(WithPpg());
    const HostPort host;
    EXPECT_EQ(host.Ask({0xCC, 0xFF, 18, 0x00, 77}).size(), 64U);
    const Bytes mode = host.Ask({0xCC, 0x00, 18, 0x00, 0x00});
    EXPECT_EQ(Bytes(mode.begin(), mode.begin() + 5), (Bytes{0xCC, 0x00, 18, 0xFF, 77}));
    EXPECT_EQ(host.Ask(Padded({0xCC, 0xFF, 0x19, 0x00, 0x34, 0x12}))[3], 0xFF);
    const Bytes setting = host.Ask(Padded({0xCC, 0x00, 0x19}));
    EXPECT_EQ(setting[4], 0x34);
    EXPECT_EQ(setting[5], 0x12);
    EXPECT_EQ(instrument.State().settings[25], 0x1234);
    EXPECT_EQ(instrument.State().settings[18], 77);
}

TEST(Ppg, LightAndStatus)
{
    SimulatedInstrument instrument(WithPpg());
    const HostPort host;
    EXPECT_EQ(host.Ask({0xB0, 0xFF, 0x03, 0x00, 0x01})[4], 0xFF);
    EXPECT_TRUE(instrument.State().dynamicLight);
    EXPECT_EQ(host.Ask({0xB0, 0xFF, 0x01, 0x00, 0x07})[4], 0xFF);
    EXPECT_EQ(instrument.State().signalDetection, 7);
    EXPECT_EQ(host.Ask({0xB0, 0xFF, 0x10, 0x00, 14, 0x00}).size(), 64U);
    EXPECT_EQ(host.Ask({0xB0, 0x00, 0x10, 0x00, 0x00, 0x00})[4], 14);
    const Bytes status = host.Ask({0xB0, 0x00, 0x02});
    EXPECT_EQ(status[3], 0xFF);
    EXPECT_EQ(status[9], 0x12);
    EXPECT_EQ(host.Ask({0xB0, 0x00, 0x02, 0x00, 0x00})[11], 0x56);
    EXPECT_EQ(host.Ask({0xB0, 0x00, 0x30, 0x00}).size(), 64U);
    EXPECT_EQ(instrument.RefusalCount(), 0U);
}

TEST(Ppg, SamplingStartsAndStops)
{
    SimulatedInstrument instrument(WithPpg());
    const HostPort host;
    EXPECT_EQ(host.Ask({0xAD, 0xFF, 0x00, 0x00, 0x0F})[3], 0xFF);
    EXPECT_EQ(instrument.State().samplingMask, 0x0F);
    EXPECT_EQ(host.Ask({0xAD, 0x00, 0x00, 0x00, 0x0F}).size(), 64U);
    EXPECT_EQ(host.Ask({0xAD, 0xFF, 0x00, 0x00, 0x00}).size(), 64U);
    EXPECT_EQ(instrument.State().samplingMask, 0);
}

TEST(Rld, CountsAreBigEndian)
{
    SimulatedInstrument instrument;
    Measurements measurements;
    measurements.rldCounts = {1023, 258};
    instrument.SetMeasurements(measurements);
    const HostPort host;
    EXPECT_EQ(host.Ask({0xAD, 0xFF, 0x00, 0x00, 0x10})[3], 0xFF);
    EXPECT_TRUE(instrument.State().rldMeasurement);
    const Bytes reply = host.Ask({0xAD, 0x00, 0x01, 0x00, 0x10});
    EXPECT_EQ(Bytes(reply.begin() + 6, reply.begin() + 10), (Bytes{0x03, 0xFF, 0x01, 0x02}));
}

TEST(RespirationModule, KeepsWordsAndBaseline)
{
    Options options;
    options.respirationModule = true;
    SimulatedInstrument instrument(options);
    const HostPort host;
    EXPECT_EQ(instrument.ReadFlash(19, 1, 2), (Bytes{'E', 'R'}));
    EXPECT_EQ(host.Ask(Padded({0xCC, 0xFF, 0x0D, 0x00, 1, 2, 3, 4, 5, 6, 7, 8}))[3], 0xFF);
    const Bytes words = host.Ask({0xCC, 0x00, 0x0D, 0x00});
    EXPECT_EQ(Bytes(words.begin() + 3, words.begin() + 8), (Bytes{0xFF, 1, 2, 3, 4}));
    EXPECT_EQ(host.Ask({0xCC, 0xFF, 0x0E, 0x00, 11, 4}).size(), 64U);
    const Bytes baseline = host.Ask({0xCC, 0x00, 0x0E, 0x00});
    EXPECT_EQ(baseline[4], 11);
    EXPECT_EQ(baseline[5], 4);
    EXPECT_EQ(instrument.State().moduleWords[3], 0x0708);
}

TEST(Refusals, WrongLengthsAndUnknownCommandsGetNoAnswer)
{
    SimulatedInstrument instrument;
    const HostPort host;
    for (const Bytes& request :
         {Bytes{0xAA, 0x02, 0x00}, Bytes{0x55, 0x00}, Bytes{0x77, 1, 2}, Bytes{0xAA, 0x04},
          Padded({0xEA, 0xFF, 0x01}, 30), Padded({0x12, 0x55, 0xAA, 0x00}, 63)}) {
        instrument.ClearRefusals();
        ASSERT_TRUE(host.Write(request));
        EXPECT_TRUE(host.IsSilent());
        ASSERT_EQ(instrument.Refusals().size(), 1U);
        EXPECT_EQ(instrument.Refusals()[0].request, request);
        EXPECT_FALSE(instrument.Refusals()[0].reason.empty());
    }
    EXPECT_EQ(host.Ask({0xAA, 0x02}, 5).size(), 5U);  // and it goes on
}

TEST(Refusals, TheReasonCanBeRead)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Write({0x55, 0x00, 0x00, 0x00});
    ASSERT_TRUE(host.IsSilent());
    EXPECT_EQ(instrument.Refusals().at(0).reason, "4 bytes where 3 (identify) belong");
}

TEST(Requests, TwoThatWaitTogetherAreAnsweredInOrder)
{
    SimulatedInstrument instrument;
    const HostPort host;
    const Bytes both = host.Ask({0xAD, 0xFF, 0x00, 0x00, 0x00, 0x55, 0x00, 0x00}, 64 + 12);
    ASSERT_EQ(both.size(), 76U);
    EXPECT_EQ(both[64 + 7], 'P');
    EXPECT_EQ(instrument.Exchanges().size(), 2U);
}

TEST(Exchanges, HoldBytesAndTimes)
{
    SimulatedInstrument instrument;
    const HostPort host;
    const Bytes reply = host.Ask({0xCC, 0x00, 'B'});
    ASSERT_TRUE(instrument.WaitForExchange(Bytes{0xCC, 0x00}));
    const auto exchanges = instrument.Exchanges(Request::UsbVoltage);
    ASSERT_EQ(exchanges.size(), 1U);
    EXPECT_EQ(exchanges[0].request, (Bytes{0xCC, 0x00, 'B'}));
    EXPECT_EQ(exchanges[0].reply, reply);
    EXPECT_LE(exchanges[0].arrived, exchanges[0].replied);
    EXPECT_FALSE(exchanges[0].refused);
    instrument.ClearExchanges();
    EXPECT_FALSE(instrument.WaitForExchange(Bytes{0xCC}, Milliseconds(0)));
}
