// Ambient light, dynamic LED strength and the LED pulse groups.

#include <gtest/gtest.h>

#include <cstring>

#include "device/LineState.h"
#include "ppg/Sensor.h"
#include "support/ApiLogFile.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/Timing.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
Bytes AmbientWrite(int mode)
{
    return {0xB0, 0xFF, 0x10, 0x00, static_cast<std::uint8_t>(mode), 0x00};
}
const Bytes kAmbientRead = {0xB0, 0x00, 0x10, 0x00, 0x00, 0x00};
const Bytes kGroupsHead = {0xEA, 0xFF};

instrument::Fault Short(Request request)
{
    instrument::Fault fault = FaultOn(request, FaultKind::ShortReply);
    fault.bytes = 63;
    return fault;
}

// The record of the pulse groups: eight codes and a word.
struct Groups {
    std::uint8_t codes[8];
    std::uint16_t word;
};
static_assert(sizeof(Groups) == 10);

bool ReadGroups(Groups& groups)
{
    std::uint16_t record[5];
    std::memcpy(record, &groups, sizeof record);
    const bool result = VRAXReadLEDPulseGroupSetting(record);
    std::memcpy(&groups, record, sizeof record);
    return result;
}

bool WriteGroups(const Groups& groups)
{
    std::uint16_t record[5];
    std::memcpy(record, &groups, sizeof record);
    return VRAXWriteLEDPulseGroupSetting(record);
}

// Byte 3 and bytes 35 to 47.
Bytes GroupsReply(std::uint8_t acknowledge, const Bytes& payload)
{
    Bytes reply(35, 0);
    reply[0] = 0xEA;
    reply[1] = 0xFF;
    reply[3] = acknowledge;
    reply.insert(reply.end(), payload.begin(), payload.end());
    return Padded(reply);
}

Bytes GroupsRequest(const Bytes& payload)
{
    Bytes request(35, 0);
    request[0] = 0xEA;
    request[1] = 0xFF;
    request.insert(request.end(), payload.begin(), payload.end());
    return Padded(request);
}

Bytes WrittenAs(COpenInstrument& opened, const Groups& groups)
{
    EXPECT_TRUE(WriteGroups(groups));
    return opened.device.Exchanges().back().request;
}
}  // namespace

TEST(AmbientLight, IsWrittenAndReadBack)
{
    COpenInstrument opened(0x3407u);
    for (const int mode : {0, 1, 7, 14}) {
        EXPECT_EQ(VRAXSetLEDAmbientLightMode(mode), 0);
        EXPECT_EQ(opened.device.Exchanges().back().request, AmbientWrite(mode));
        EXPECT_EQ(VRAXGetLEDAmbientLightMode(), mode);
        EXPECT_EQ(opened.device.Exchanges().back().request, kAmbientRead);
    }
}

TEST(AmbientLight, IsLoggedWithoutThePrefixOnceItIsInRange)
{
    COpenInstrument opened(0x3407u);
    ApiLogFile log;
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(15), -2);
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(-1), -2);
    EXPECT_EQ(log.NewLines(), Lines{});
    EXPECT_TRUE(opened.device.Exchanges().empty());
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(14), 0);
    opened.device.Inject(FaultOn(Request::AmbientWrite, FaultKind::Silence));
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(3), -3);
    EXPECT_EQ(log.NewLines(), (Lines{"SetLEDAmbientLightMode(14);", "SetLEDAmbientLightMode(3);"}));
}

TEST(AmbientLight, NeedsAPPGModule)
{
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(99), -1);
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), -1);
    COpenInstrument opened;  // without one
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(1), -1);
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), -1);
    EXPECT_TRUE(opened.device.Exchanges().empty());
}

TEST(AmbientLight, NeedsAWholeReplyAndNoAcknowledgementToBeWritten)
{
    COpenInstrument opened(0x3407u);
    opened.device.Inject(FaultOn(Request::AmbientWrite, FaultKind::WrongAcknowledge));
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(1), 0);
    opened.device.Inject(Short(Request::AmbientWrite));
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(1), -3);
}

TEST(AmbientLight, IsReadFromAnAcknowledgedReply)
{
    COpenInstrument opened(0x3407u);
    opened.device.SetReply(kAmbientRead, Padded({0, 0, 0, 0xFF, 200}));
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), 200);
    opened.device.SetReply(kAmbientRead, Padded({0xB0, 0, 0x10, 0xFE, 5}));
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), -3);
    opened.device.ClearReplies();
    opened.device.Inject(Short(Request::AmbientRead));
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), -2);
    opened.device.Inject(FaultOn(Request::AmbientRead, FaultKind::Silence));
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), -2);
}

TEST(AmbientLight, LeavesItsReplyToTheNextReaderWhileASignalPlays)
{
    COpenInstrument opened(0x3407u);
    s_ECGGoing = true;
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(5), 0);
    EXPECT_EQ(s_nRepliesUnread, 1);
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), 5);  // it takes its own reply
    EXPECT_EQ(s_nRepliesUnread, 0);
    opened.device.Inject(FaultOn(Request::AmbientWrite, FaultKind::Silence));
    EXPECT_EQ(VRAXSetLEDAmbientLightMode(6), 0);
    s_ECGGoing = false;
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), 6);
}

TEST(DynamicLedStrength, IsSwitchedOnAnOpenPortAlone)
{
    EXPECT_FALSE(VRAXEnableDynamicLEDStrength(true));
    EXPECT_FALSE(g_PPGDynamicLEDEnabled);
    COpenInstrument opened(0x3407u);
    EXPECT_TRUE(VRAXEnableDynamicLEDStrength(true));
    EXPECT_TRUE(g_PPGDynamicLEDEnabled);
    EXPECT_EQ(opened.device.Exchanges().back().request, (Bytes{0xB0, 0xFF, 0x03, 0x00, 1}));
    EXPECT_TRUE(VRAXEnableDynamicLEDStrength(false));
    EXPECT_EQ(opened.device.Exchanges().back().request, (Bytes{0xB0, 0xFF, 0x03, 0x00, 0}));
    opened.device.Inject(FaultOn(Request::DynamicLight, FaultKind::Silence));
    EXPECT_FALSE(VRAXEnableDynamicLEDStrength(true));
    EXPECT_TRUE(g_PPGDynamicLEDEnabled);  // recorded before the exchange
}

TEST(PulseGroups, AreWrittenFromByte35On)
{
    COpenInstrument opened(0x3407u);
    const Groups groups = {{1, 2, 3, 0, 3, 2, 1, 0}, 0x1234};
    EXPECT_EQ(WrittenAs(opened, groups),
              GroupsRequest({0, 0x12, 0x34, 0, 0, 1, 2, 4, 0, 4, 2, 1, 0}));
}

TEST(PulseGroups, AreFixedWhenTheFirstIsSetAndTheWordIsZero)
{
    COpenInstrument opened(0x3407u);
    const auto fixed = [&](std::uint8_t first, std::uint16_t word) {
        return WrittenAs(opened, {{first, 0, 0, 0, 0, 0, 0, 1}, word}).at(35);
    };
    EXPECT_EQ(fixed(3, 0), 1);
    EXPECT_EQ(fixed(200, 0), 1);
    EXPECT_EQ(fixed(3, 1), 0);
    EXPECT_EQ(fixed(3, 0x100), 0);
    EXPECT_EQ(fixed(0, 0), 0);
}

TEST(PulseGroups, OfOtherCodesAreWrittenAsNone)
{
    COpenInstrument opened(0x3407u);
    const Groups groups = {{4, 5, 255, 3, 4, 128, 2, 1}, 1};
    EXPECT_EQ(WrittenAs(opened, groups), GroupsRequest({0, 0, 1, 0, 0, 0, 0, 0, 4, 0, 0, 2, 1}));
}

TEST(PulseGroups, AreReadFromBytes35To47)
{
    COpenInstrument opened(0x3407u);
    opened.device.SetReply(kGroupsHead,
                           GroupsReply(0xFF, {0, 0xAB, 0xCD, 9, 9, 4, 1, 2, 4, 3, 0, 5, 255}));
    Groups groups = {{77, 9, 9, 9, 9, 9, 9, 9}, 9};
    const CStopwatch watch;
    ASSERT_TRUE(ReadGroups(groups));
    EXPECT_GE(watch.Ms(), 40.0);
    EXPECT_EQ(opened.device.Exchanges().at(0).request, Padded({0xEA, 0xFF}));
    EXPECT_EQ(groups.word, 0xABCD);
    // The first code stays; 3 is no code on the wire.
    EXPECT_EQ(Bytes(groups.codes, groups.codes + 8), (Bytes{77, 1, 2, 3, 0, 0, 0, 0}));
}

TEST(PulseGroups, ThatAreFixedReadAsCode3AndNoWord)
{
    COpenInstrument opened(0x3407u);
    opened.device.SetReply(kGroupsHead,
                           GroupsReply(0xFF, {1, 0xAB, 0xCD, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2}));
    Groups groups = {{77, 9, 9, 9, 9, 9, 9, 9}, 9};
    ASSERT_TRUE(ReadGroups(groups));
    EXPECT_EQ(groups.word, 0);
    EXPECT_EQ(Bytes(groups.codes, groups.codes + 8), (Bytes{3, 1, 1, 1, 2, 2, 2, 2}));
    opened.device.SetReply(kGroupsHead, GroupsReply(0xFF, {2, 0xAB, 0xCD}));
    ASSERT_TRUE(ReadGroups(groups));
    EXPECT_EQ(groups.word, 0xABCD);
}

TEST(PulseGroups, ThatAreNotAcknowledgedAreNotStored)
{
    Groups groups = {{7, 7, 7, 7, 7, 7, 7, 7}, 7};
    EXPECT_FALSE(ReadGroups(groups));  // no port
    EXPECT_FALSE(WriteGroups(groups));
    COpenInstrument opened(0x3407u);
    opened.device.SetReply(kGroupsHead, GroupsReply(0xFE, {1}));
    EXPECT_FALSE(ReadGroups(groups));
    EXPECT_FALSE(WriteGroups(groups));
    opened.device.ClearReplies();
    opened.device.Inject(Short(Request::PulseGroups));
    EXPECT_FALSE(ReadGroups(groups));
    opened.device.Inject(FaultOn(Request::PulseGroups, FaultKind::Silence));
    EXPECT_FALSE(WriteGroups(groups));
    for (const std::uint8_t code : groups.codes) EXPECT_EQ(code, 7);
    EXPECT_EQ(groups.word, 7);
}

TEST(PulseGroups, AreRefusedForANullPointerAndWhilePlaying)
{
    COpenInstrument opened(0x3407u);
    EXPECT_FALSE(VRAXReadLEDPulseGroupSetting(nullptr));
    EXPECT_FALSE(VRAXWriteLEDPulseGroupSetting(nullptr));
    Groups groups = {};
    for (Shared<bool>* busy : {&s_ECGGoing, &g_PPG_PDSamplingRunning}) {
        *busy = true;
        EXPECT_FALSE(ReadGroups(groups));
        EXPECT_FALSE(WriteGroups(groups));
        *busy = false;
    }
    EXPECT_TRUE(opened.device.Exchanges().empty());
}
