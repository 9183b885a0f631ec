// The switches of the PPG module that a connection and a run need.

#include <gtest/gtest.h>

#include "ppg/Sensor.h"
#include "ppg/SensorSampling.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
Bytes DynamicLight(std::uint8_t on) { return {0xB0, 0xFF, 0x03, 0x00, on}; }
Bytes SignalDetection(std::uint8_t value) { return {0xB0, 0xFF, 0x01, 0x00, value}; }

instrument::Fault Unacknowledged(Request request)
{
    instrument::Fault fault = FaultOn(request, FaultKind::WrongAcknowledge);
    fault.data = {0xFE};
    return fault;
}
}  // namespace

TEST(DynamicLedStrength, IsSentEachTime)
{
    COpenInstrument opened(0x3407u);
    EXPECT_TRUE(EnableDynamicLEDStrength(true));
    EXPECT_TRUE(g_PPGDynamicLEDEnabled);
    EXPECT_TRUE(EnableDynamicLEDStrength(true));
    EXPECT_TRUE(EnableDynamicLEDStrength(false));
    EXPECT_FALSE(g_PPGDynamicLEDEnabled);
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{DynamicLight(1), DynamicLight(1), DynamicLight(0)}));
}

TEST(DynamicLedStrength, IsRecordedBeforeTheExchange)
{
    EXPECT_FALSE(EnableDynamicLEDStrength(true));  // no port
    EXPECT_TRUE(g_PPGDynamicLEDEnabled);
}

TEST(DynamicLedStrength, SucceedsOnlyWhenByte4Acknowledges)
{
    COpenInstrument opened(0x3407u);
    for (const auto& fault : {Unacknowledged(Request::DynamicLight),
                              FaultOn(Request::DynamicLight, FaultKind::Silence)}) {
        opened.device.Inject(fault);
        EXPECT_FALSE(EnableDynamicLEDStrength(true));
    }
    opened.device.SetReply(DynamicLight(1), Padded({0xB0, 0xFF, 0x03, 0x00, 0xFF}));
    EXPECT_TRUE(EnableDynamicLEDStrength(true));
    opened.device.SetReply(DynamicLight(1), Padded({0xB0, 0xFF, 0x03, 0xFF, 0x00}));
    EXPECT_FALSE(EnableDynamicLEDStrength(true));
}

TEST(DynamicLight, IsOnAtLoadAndNotSentAgain)
{
    SetDeviceProbe([] { return true; });
    COpenInstrument opened(0x3407u);
    EXPECT_EQ(SetDynamicLight(1), 0);
    EXPECT_TRUE(opened.device.Exchanges().empty());
    EXPECT_EQ(SetDynamicLight(0), 0);
    EXPECT_EQ(SetDynamicLight(0), 0);
    EXPECT_EQ(Requests(opened.device.Exchanges()), std::vector<Bytes>{DynamicLight(0)});
}

TEST(DynamicLight, IsSentWhenItChanges)
{
    COpenInstrument opened(0x3407u);  // off since the identification
    EXPECT_EQ(SetDynamicLight(0), 0);
    EXPECT_EQ(SetDynamicLight(5), 0);
    EXPECT_EQ(SetDynamicLight(1), 0);
    EXPECT_EQ(SetDynamicLight(0), 0);
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{DynamicLight(1), DynamicLight(0)}));
}

TEST(DynamicLight, NeedsAWholeReplyAndNoAcknowledgement)
{
    COpenInstrument opened(0x3407u);
    opened.device.Inject(Unacknowledged(Request::DynamicLight));
    EXPECT_EQ(SetDynamicLight(1), 0);
    instrument::Fault shortReply = FaultOn(Request::DynamicLight, FaultKind::ShortReply);
    shortReply.bytes = 63;
    opened.device.Inject(shortReply);
    EXPECT_EQ(SetDynamicLight(0), -1);
    // Still on as far as is known, so it is sent again.
    EXPECT_EQ(SetDynamicLight(0), 0);
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{DynamicLight(1), DynamicLight(0), DynamicLight(0)}));
}

TEST(DynamicLight, WithoutAPortFailsUnlessItIsThereAlready)
{
    EXPECT_EQ(SetDynamicLight(1), 0);
    EXPECT_EQ(SetDynamicLight(0), -1);
}

TEST(SignalDetection, SendsTheLowByteAsGiven)
{
    COpenInstrument opened(0x3407u);
    EXPECT_TRUE(EnableSignalStrengthDetection(1));
    EXPECT_TRUE(EnableSignalStrengthDetection(0x1A5));
    EXPECT_TRUE(EnableSignalStrengthDetection(0));
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{SignalDetection(1), SignalDetection(0xA5), SignalDetection(0)}));
}

TEST(SignalDetection, IsWhatFpgaSamplingSwitches)
{
    COpenInstrument opened(0x3407u);
    EXPECT_TRUE(VRAXEnableFPGASampling(true));
    EXPECT_TRUE(VRAXEnableFPGASampling(false));
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{SignalDetection(1), SignalDetection(0)}));
}

TEST(SignalDetection, SucceedsOnlyWhenByte4Acknowledges)
{
    EXPECT_FALSE(VRAXEnableFPGASampling(true));  // no port
    COpenInstrument opened(0x3407u);
    for (const auto& fault : {Unacknowledged(Request::SignalDetection),
                              FaultOn(Request::SignalDetection, FaultKind::Silence)}) {
        opened.device.Inject(fault);
        EXPECT_FALSE(VRAXEnableFPGASampling(true));
    }
    opened.device.SetReply(SignalDetection(1), Padded({0xB0, 0xFF, 0x01, 0xFF, 0x00}));
    EXPECT_FALSE(VRAXEnableFPGASampling(true));
}

TEST(PhotodiodeSampling, IsStoppedByOneCommand)
{
    COpenInstrument opened(0x3407u);
    opened.device.Inject(Unacknowledged(Request::SamplingStop));  // only the length counts
    EXPECT_TRUE(_StopPPGAD());
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              std::vector<Bytes>{(Bytes{0xAD, 0xFF, 0x00, 0x00, 0x00})});
    opened.device.Inject(FaultOn(Request::SamplingStop, FaultKind::Silence));
    EXPECT_FALSE(_StopPPGAD());
}
