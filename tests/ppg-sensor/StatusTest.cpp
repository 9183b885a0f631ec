// What the PPG module measures: photodiode status, sampling report, trigger levels of its own.

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "device/LineState.h"
#include "ppg/SensorStatus.h"
#include "storage/Records.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/Timing.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
const Bytes kAskPhotodiodes = {0xB0, 0x00, 0x02};
const Bytes kAskSampling = {0xB0, 0x00, 0x02, 0x00, 0x00};
const Bytes kAskTrigger = {0xB0, 0x00, 0x30, 0x00};
constexpr std::uint32_t kUntouched = 0xDEADBEEF;

using Values = std::array<std::uint32_t, 6>;

int AskPhotodiodes(Values& v) { return GetPDStatus(&v[0], &v[1], &v[2], &v[3], &v[4], &v[5]); }

// A status reply with flags and nine data bytes.
Bytes StatusReply(std::uint8_t acknowledge, std::uint8_t flags, const Bytes& data)
{
    Bytes reply = {0xB0, 0x00, 0x02, acknowledge, 0, 0, 0, 0, flags};
    reply.insert(reply.end(), data.begin(), data.end());
    return Padded(reply);
}
const Bytes kData = {0x12, 0x34, 0x56, 0xFF, 0xFF, 0xFF, 0xA0, 0x0B, 0xCD};

instrument::Fault Short(Request request)
{
    instrument::Fault fault = FaultOn(request, FaultKind::ShortReply);
    fault.bytes = 63;
    return fault;
}

class CBusy {
public:
    CBusy(Shared<bool>& flag) : flag_(flag) { flag_ = true; }
    ~CBusy() { flag_ = false; }
    CBusy(const CBusy&) = delete;
    CBusy& operator=(const CBusy&) = delete;

private:
    Shared<bool>& flag_;
};

void StoreRatios(int row, float first, float second, float third)
{
    g_FPGA_PDRatio[row].Store({{first, second, third, 99, 99, 99, 99, 99}});
}
}  // namespace

TEST(PhotodiodeStatus, GivesThreePairs)
{
    COpenInstrument opened(0x3407u);
    opened.device.SetReply(kAskPhotodiodes, StatusReply(0xFF, 0, kData));
    Values values;
    const CStopwatch watch;
    EXPECT_EQ(AskPhotodiodes(values), 0);
    EXPECT_GE(watch.Ms(), 80.0);
    EXPECT_EQ(opened.device.Exchanges().at(0).request, kAskPhotodiodes);
    EXPECT_EQ(values,
              (Values{0x123, 0x34 * 16 + 0x56, 0xFFF, 0xFF * 16 + 0xFF, 0xA00, 0x0B * 16 + 0xCD}));
    EXPECT_EQ(values[1], 0x396u);
}

TEST(PhotodiodeStatus, IsRefusedWithFaultFlagsAndWithoutAcknowledgement)
{
    COpenInstrument opened(0x3407u);
    Values values;
    values.fill(kUntouched);
    for (int bit = 0; bit < 6; ++bit) {
        opened.device.SetReply(kAskPhotodiodes,
                               StatusReply(0xFF, static_cast<std::uint8_t>(1 << bit), kData));
        EXPECT_EQ(AskPhotodiodes(values), -4);
    }
    opened.device.SetReply(kAskPhotodiodes, StatusReply(0xFE, 0, kData));
    EXPECT_EQ(AskPhotodiodes(values), -4);
    EXPECT_EQ(values[0], kUntouched);
    opened.device.SetReply(kAskPhotodiodes, StatusReply(0xFF, 0xC0, kData));  // no flags of these
    EXPECT_EQ(AskPhotodiodes(values), 0);
}

TEST(PhotodiodeStatus, TellsItsFailuresApart)
{
    Values values;
    EXPECT_EQ(AskPhotodiodes(values), -1);
    COpenInstrument opened(0x3407u);
    {
        const CBusy busy(s_ECGGoing);
        EXPECT_EQ(AskPhotodiodes(values), -2);
    }
    {
        const CBusy busy(g_PPG_PDSamplingRunning);
        EXPECT_EQ(AskPhotodiodes(values), -2);
    }
    EXPECT_EQ(GetPDStatus(&values[0], &values[1], &values[2], nullptr, &values[4], &values[5]), -3);
    EXPECT_TRUE(opened.device.Exchanges().empty());
    opened.device.Inject(FaultOn(Request::PhotodiodeStatus, FaultKind::Silence));
    EXPECT_EQ(AskPhotodiodes(values), -3);
    opened.device.Inject(Short(Request::PhotodiodeStatus));
    EXPECT_EQ(AskPhotodiodes(values), -3);
}

TEST(SamplingReport, GivesFlagValuesAndValuesTimesTheirRatios)
{
    COpenInstrument opened(0x3407u);
    StoreRatios(0, 0.5f, 2.0f, -1.0f);
    StoreRatios(1, 0.25f, 4.0f, 3.0f);
    opened.device.SetReply(kAskSampling, StatusReply(0x00, 0x20, kData));
    std::array<double, 18> report;
    report.fill(-1.0);
    EXPECT_TRUE(VRAXGetFPGAReport(report.data()));
    EXPECT_EQ(opened.device.Exchanges().at(0).request, kAskSampling);
    const double a0 = 0x123, b0 = 0x456, a1 = 0xFFF, b1 = 0xFFF, a2 = 0xA00, b2 = 0xBCD;
    EXPECT_EQ(report, (std::array<double, 18>{6, 0, 0, 0, 0, 0, a0, a1, a2, b0, b1, b2, 0.5 * a0,
                                              2.0 * a1, -1.0 * a2, 0.25 * b0, 4.0 * b1, 3.0 * b2}));
}

// Kept: the other five flags are never counted.
TEST(SamplingReport, CountsTheFirstFlagAloneSixTimes)
{
    COpenInstrument opened(0x3407u);
    for (const auto& [flags, expected] :
         {std::pair{0x00, 0.0}, {0x1F, 0.0}, {0xDF, 0.0}, {0x20, 6.0}, {0x3F, 6.0}, {0xFF, 6.0}}) {
        opened.device.SetReply(kAskSampling,
                               StatusReply(0xFF, static_cast<std::uint8_t>(flags), kData));
        double report[18];
        ASSERT_TRUE(VRAXGetFPGAReport(report));
        EXPECT_EQ(report[0], expected) << flags;
        for (int i = 1; i < 6; ++i) EXPECT_EQ(report[i], 0.0);
    }
}

TEST(SamplingReport, ThatIsNotReadWholeIsNotStored)
{
    double report[18] = {-1.0};
    EXPECT_FALSE(VRAXGetFPGAReport(report));  // no port
    COpenInstrument opened(0x3407u);
    opened.device.Inject(FaultOn(Request::SamplingStatus, FaultKind::Silence));
    EXPECT_FALSE(VRAXGetFPGAReport(report));
    opened.device.Inject(Short(Request::SamplingStatus));
    EXPECT_FALSE(VRAXGetFPGAReport(report));
    EXPECT_EQ(report[0], -1.0);
    EXPECT_FALSE(VRAXGetFPGAReport(nullptr));
}

TEST(SamplingStatus, IsTheStartOfTheReplyAsReceived)
{
    COpenInstrument opened(0x3407u);
    Bytes reply(64);
    for (std::size_t i = 0; i < reply.size(); ++i) reply[i] = static_cast<std::uint8_t>(i + 1);
    opened.device.SetReply(kAskSampling, reply);
    _FGPA_SAMPLING_OUT status;
    ASSERT_TRUE(ReadFGPASamplingStatus(&status));
    EXPECT_EQ(std::memcmp(&status, reply.data(), 18), 0);
    EXPECT_EQ(status.flags, 9);
    EXPECT_EQ(status.pairs[8], 18);
}

TEST(OwnTriggerLevels, ArriveHighByteFirstAndTheRestAsItIs)
{
    COpenInstrument opened(0x3407u);
    for (const std::uint8_t flags : Bytes{0x00, 0x01, 0x02, 0xFC}) {
        const Bytes reply = {0xB0, 0x00, 0x30, 0x00, 0x11, 0x22, flags,
                             0x44, 0x55, 0x66, 0x12, 0x34, 0x56, 0x78};
        opened.device.SetReply(kAskTrigger, Padded(reply));
        std::uint16_t status[5];
        ASSERT_TRUE(GetAutoTriggerLevelStatus(status));
        EXPECT_EQ(std::memcmp(status, reply.data() + 4, 6), 0);
        EXPECT_EQ(status[3], 0x1234);
        EXPECT_EQ(status[4], 0x5678);
    }
    EXPECT_EQ(opened.device.Exchanges().at(0).request, kAskTrigger);
}

TEST(OwnTriggerLevels, AreZeroWhileBothLowFlagsAreSet)
{
    COpenInstrument opened(0x3407u);
    for (const std::uint8_t flags : Bytes{0x03, 0xFF}) {
        opened.device.SetReply(kAskTrigger, Padded({0xB0, 0, 0x30, 0, 0x11, 0x22, flags, 0x44, 0x55,
                                                    0x66, 0x12, 0x34, 0x56, 0x78}));
        std::uint16_t status[5];
        ASSERT_TRUE(GetAutoTriggerLevelStatus(status));
        const Bytes expected = {0x11, 0x22, flags, 0x44, 0x55, 0x66, 0, 0, 0, 0};
        EXPECT_EQ(std::memcmp(status, expected.data(), 10), 0);
    }
}

TEST(OwnTriggerLevels, ThatAreNotReadWholeAreNotStored)
{
    std::uint16_t status[5] = {7, 7, 7, 7, 7};
    EXPECT_FALSE(GetAutoTriggerLevelStatus(status));  // no port
    COpenInstrument opened(0x3407u);
    opened.device.Inject(FaultOn(Request::TriggerStatus, FaultKind::Silence));
    EXPECT_FALSE(GetAutoTriggerLevelStatus(status));
    opened.device.Inject(Short(Request::TriggerStatus));
    EXPECT_FALSE(GetAutoTriggerLevelStatus(status));
    for (const std::uint16_t word : status) EXPECT_EQ(word, 7);
    EXPECT_FALSE(GetAutoTriggerLevelStatus(nullptr));
}
