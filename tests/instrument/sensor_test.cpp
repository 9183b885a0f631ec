// The sensor side of the PPG module: levels, pulse groups, light and their refusals.

#include <stdexcept>

#include <gtest/gtest.h>

#include "HostPort.h"
#include "instrument/ControlLine.h"
#include "instrument/SimulatedInstrument.h"

using namespace instrument;
using namespace instrument_test;

namespace {

Options WithPpg()
{
    Options options;
    options.ppgModel = 0x3407;
    return options;
}

// Bytes 35 to 47.
Bytes GroupFrame(const Bytes& payload)
{
    Bytes frame = Padded({0xEA, 0xFF});
    for (std::size_t i = 0; i < payload.size(); ++i) frame[35 + i] = payload[i];
    return frame;
}

void ExpectRefused(SimulatedInstrument& instrument, const HostPort& host, const Bytes& request)
{
    instrument.ClearRefusals();
    ASSERT_TRUE(host.Write(request));
    EXPECT_TRUE(host.IsSilent());
    ASSERT_EQ(instrument.RefusalCount(), 1U);
    EXPECT_EQ(instrument.Refusals()[0].request, request);
    EXPECT_FALSE(instrument.Refusals()[0].reason.empty());
}

}  // namespace

TEST(SensorLevels, ArePartOfTheNumberedSettings)
{
    SimulatedInstrument instrument(WithPpg());
    const HostPort host;
    std::uint8_t value = 10;
    for (const std::uint8_t selector : Bytes{1, 2, 18, 3, 4, 19}) {
        const Bytes reply = host.Ask({0xCC, 0xFF, selector, 0x00, value});
        EXPECT_EQ(Bytes(reply.begin(), reply.begin() + 5),
                  (Bytes{0xCC, 0xFF, selector, 0xFF, value}));
        ++value;
    }
    const DeviceState state = instrument.State();
    for (unsigned position = 1; position <= 3; ++position) {
        EXPECT_EQ(state.LedLevel(position), 9 + position);
        EXPECT_EQ(state.TriggerLevel(position), 12 + position);
    }
    EXPECT_EQ(host.Ask(Padded({0xCC, 0x00, 19}))[4], 15);
    EXPECT_THROW(state.LedLevel(0), std::out_of_range);
    EXPECT_THROW(state.TriggerLevel(4), std::out_of_range);
}

TEST(SensorLevels, OutliveALossOfPower)
{
    SimulatedInstrument instrument(WithPpg());
    HostPort(instrument.Path()).Ask({0xCC, 0xFF, 3, 0x00, 99});
    instrument.Unplug();
    instrument.Plug();
    EXPECT_EQ(instrument.State().TriggerLevel(1), 99);
}

TEST(SensorLevels, OfNoModuleAreNotAcknowledged)
{
    SimulatedInstrument instrument;
    const HostPort host;
    const Bytes read = host.Ask({0xCC, 0x00, 3, 0x00, 0x00});
    ASSERT_EQ(read.size(), 64U);
    EXPECT_NE(read[3], 0xFF);
    EXPECT_NE(host.Ask(Padded({0xCC, 0xFF, 0x19, 0x00, 1, 2}))[3], 0xFF);
    EXPECT_EQ(instrument.State().settings[25], 0);
}

TEST(SensorLevels, OfUnknownSelectorsAndLengthsAreRefused)
{
    SimulatedInstrument instrument(WithPpg());
    const HostPort host;
    Bytes wide = Padded({0xCC, 0xFF, 0x19, 0x00, 1, 2, 3});
    for (const Bytes& request :
         {Bytes{0xCC, 0xFF, 5, 0x00, 1}, Bytes{0xCC, 0x00, 1, 0x00, 7}, Bytes{0xCC, 0xFF, 1, 0x00},
          Bytes{0xCC, 0xFF, 1, 0x01, 7}, wide, Padded({0xCC, 0x00, 0x19, 0x00, 1}),
          Padded({0xCC, 0x00, 0x19}, 63)}) {
        ExpectRefused(instrument, host, request);
    }
}

TEST(PulseGroups, AreReadBackInTheirOwnNumbers)
{
    SimulatedInstrument instrument(WithPpg());
    const HostPort host;
    EXPECT_EQ(host.Ask(GroupFrame({0, 0x12, 0x34, 0, 0, 1, 2, 4, 0, 1, 2, 4, 4}))[3], 0xFF);
    LedPulseGroups groups = instrument.State().PulseGroups();
    EXPECT_FALSE(groups.isFixed);
    EXPECT_EQ(groups.value, 0x1234U);
    EXPECT_EQ(groups.groups, (std::array<std::uint8_t, 8>{1, 2, 3, 0, 1, 2, 3, 3}));

    EXPECT_EQ(host.Ask(GroupFrame({1, 0, 0, 0, 0, 4}))[3], 0xFF);
    groups = instrument.State().PulseGroups();
    EXPECT_TRUE(groups.isFixed);
    EXPECT_EQ(groups.value, 0U);
    EXPECT_EQ(groups.groups[0], 3);
    const Bytes read = host.Ask(Padded({0xEA, 0xFF}));
    EXPECT_EQ(Bytes(read.begin() + 35, read.begin() + 48),
              (Bytes{1, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(PulseGroups, OfImpossibleFramesAreRefused)
{
    SimulatedInstrument instrument(WithPpg());
    const HostPort host;
    Bytes outside = GroupFrame({0, 1, 2});
    outside[48] = 1;
    for (const Bytes& request :
         {GroupFrame({2, 0, 0}), GroupFrame({1, 0, 1}), GroupFrame({0, 0, 0, 0, 0, 1}),
          GroupFrame({0, 1, 2, 1}), GroupFrame({0, 1, 2, 0, 0, 3}), GroupFrame({0, 1, 2, 0, 0, 5}),
          outside}) {
        ExpectRefused(instrument, host, request);
    }
    EXPECT_EQ(instrument.State().PulseGroups().value, 0U);
}

TEST(SensorLight, OfImpossibleFramesIsRefused)
{
    SimulatedInstrument instrument(WithPpg());
    const HostPort host;
    EXPECT_EQ(host.Ask({0xB0, 0xFF, 0x10, 0x00, 14, 0x00})[3], 0xFF);
    for (const Bytes& request :
         {Bytes{0xB0, 0xFF, 0x10, 0x00, 15, 0x00}, Bytes{0xB0, 0xFF, 0x10, 0x00, 1, 1},
          Bytes{0xB0, 0xFF, 0x10, 0x00, 1}, Bytes{0xB0, 0x00, 0x10, 0x00, 1, 0x00},
          Bytes{0xB0, 0xFF, 0x03, 0x00, 2}, Bytes{0xB0, 0x00, 0x02, 0x00, 1},
          Bytes{0xB0, 0x00, 0x30}}) {
        ExpectRefused(instrument, host, request);
    }
    EXPECT_EQ(instrument.State().ambientMode, 14);
}

TEST(SensorStatus, IsWhatWasMeasured)
{
    SimulatedInstrument instrument(WithPpg());
    Measurements measurements;
    measurements.statusFlags = 0x2A;
    measurements.photodiode = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    measurements.trigger = {10, 11, 12, 13, 14, 15, 16, 17, 18, 19};
    instrument.SetMeasurements(measurements);
    const HostPort host;
    const Bytes payload{0x2A, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    for (const Bytes& request : {Bytes{0xB0, 0x00, 0x02}, Bytes{0xB0, 0x00, 0x02, 0x00, 0x00}}) {
        const Bytes reply = host.Ask(request);
        EXPECT_EQ(reply[3], 0xFF);
        EXPECT_EQ(Bytes(reply.begin() + 8, reply.begin() + 18), payload);
    }
    const Bytes trigger = host.Ask({0xB0, 0x00, 0x30, 0x00});
    EXPECT_EQ(Bytes(trigger.begin() + 4, trigger.begin() + 14),
              (Bytes{10, 11, 12, 13, 14, 15, 16, 17, 18, 19}));
}

TEST(StatusLine, TellsWhatTheModulesAreSetTo)
{
    SimulatedInstrument instrument(WithPpg());
    const HostPort host;
    host.Ask({0xCC, 0xFF, 18, 0x00, 77});
    host.Ask({0xCC, 0xFF, 4, 0x00, 66});
    host.Ask({0xB0, 0xFF, 0x10, 0x00, 9, 0x00});
    host.Ask(Padded({0xEA, 0xFF, 0x01, 0, 0, 0, 0, 0, 15, 12, 1, 2}, 19));
    const std::string status = StatusLine(instrument);
    for (const char* part :
         {"respiration 15 a minute, variation 1200, 1:2, apnea off", "LED levels 0 0 77",
          "trigger levels 0 66 0", "ambient light mode 9", "code_errors=0"}) {
        EXPECT_NE(status.find(part), std::string::npos) << status;
    }
}
