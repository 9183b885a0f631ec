#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "device/Exchange.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/RawPort.h"
#include "support/Timing.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Milliseconds;
using instrument::Request;

namespace {
constexpr auto kGenerous = std::chrono::seconds(20);
const Bytes kAskVoltage = {0xCC, 0x00, 0x42};

bool IsPollingAllowed() { return g_hPollingEvent.WaitTimeout(0) == 0; }
bool Accept() { return true; }

// As a connected instrument with a run or photodiode sampling, without any thread of the library.
class CBusyLine {
public:
    explicit CBusyLine(bool isStreaming, bool isSampling, bool isConnected = true)
    {
        g_hProcessRequestEvent.ResetEvent();
        g_bConnected = isConnected ? 1 : 0;
        s_ECGGoing = isStreaming;
        g_PPG_PDSamplingRunning = isSampling;
    }
    // As the play thread with a reply and the poll thread with a frame offer it.
    static void Offer()
    {
        (s_ECGGoing ? s_bPacketDue : s_bFrameInHand) = true;
        g_hProcessRequestEvent.SetEvent();
    }
    ~CBusyLine()
    {
        s_bPacketDue = false;
        s_bFrameInHand = false;
        g_bConnected = 0;
        s_ECGGoing = false;
        g_PPG_PDSamplingRunning = false;
    }
};

Bytes VoltageReply(std::uint8_t counts)
{
    Bytes reply(64, 0);
    reply[4] = counts;
    return reply;
}

std::future<unsigned> AskVoltage() { return std::async(std::launch::async, VRAXGetUSBBusVoltage); }
}  // namespace

TEST(Exchange, SendsTheRequestAndGivesTheReply)
{
    COpenInstrument opened;
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
    const auto exchanges = opened.device.Exchanges();
    ASSERT_EQ(exchanges.size(), 1u);
    EXPECT_EQ(exchanges[0].request, kAskVoltage);
    EXPECT_EQ(exchanges[0].reply.size(), 64u);
}

TEST(Exchange, PausesThePollThreadAndResumesIt)
{
    COpenInstrument opened;
    ResumePollingThread();
    {
        const CStopwatch watch;
        CExchange line;
        EXPECT_GE(watch.Ms(), 1.0);  // a read in progress ends
        EXPECT_FALSE(IsPollingAllowed());
        std::uint8_t reply[kReplyBytes];
        EXPECT_TRUE(line.Transact(kAskVoltage.data(), 3, reply));
        EXPECT_FALSE(IsPollingAllowed());
    }
    EXPECT_TRUE(IsPollingAllowed());
}

TEST(Exchange, ResumesThePollThreadWhenTheWriteFails)
{
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);  // no port
    EXPECT_TRUE(IsPollingAllowed());
}

TEST(Exchange, ResumesThePollThreadWhenNoReplyComes)
{
    COpenInstrument opened;
    PausePollingThread();
    opened.device.Inject(FaultOn(Request::UsbVoltage, FaultKind::Silence));
    const CStopwatch watch;
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
    EXPECT_GE(watch.Ms(), 100.0);
    EXPECT_TRUE(IsPollingAllowed());
}

TEST(Exchange, AnInnerOneLeavesTheLineToTheOuterOne)
{
    COpenInstrument opened;
    {
        CExchange outer;
        EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
        EXPECT_FALSE(IsPollingAllowed());
    }
    EXPECT_TRUE(IsPollingAllowed());
}

TEST(Exchange, AShortWriteEndsItWithoutARead)
{
    SetDeviceProbe(Accept);
    const CRawPort port(0);
    ASSERT_EQ(DoFindDevice(0), 1);
    port.FillOutput();
    {
        CExchange line;
        port.Send(Bytes(64, 0xFF));
        std::uint8_t reply[kReplyBytes];
        const CStopwatch watch;
        EXPECT_FALSE(line.Transact(kAskVoltage.data(), 3, reply));
        EXPECT_GE(watch.Ms(), 200.0);
        EXPECT_EQ(DeviceReadData(reply, 64), 64u);  // still there
    }
    port.Send(Bytes(64, 0xFF));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
    EXPECT_TRUE(IsPollingAllowed());
    DeviceClose();
}

TEST(Exchange, AnIncompleteReplyCountsAsNone)
{
    COpenInstrument opened;
    for (const std::size_t bytes : {std::size_t{63}, std::size_t{5}}) {
        instrument::Fault fault = FaultOn(Request::UsbVoltage, FaultKind::ShortReply);
        fault.bytes = bytes;
        opened.device.Inject(fault);
        const CStopwatch watch;
        EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
        EXPECT_GE(watch.Ms(), 100.0);
    }
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
}

TEST(Exchange, NothingIsRetried)
{
    COpenInstrument opened;
    opened.device.Inject(FaultOn(Request::UsbVoltage, FaultKind::Silence));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
    EXPECT_EQ(opened.device.Exchanges().size(), 1u);
}

TEST(Exchange, ALateReplyIsNotTakenForTheNextOne)
{
    COpenInstrument opened;
    g_nDeviceReadTimeout = 100u;
    instrument::Fault late = FaultOn(Request::UsbVoltage, FaultKind::LateReply);
    late.delay = Milliseconds(200);
    opened.device.Inject(late);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
    pollfd there = {static_cast<int>(g_hDevice), POLLIN, 0};
    ASSERT_EQ(poll(&there, 1, 20000), 1);  // it is there now

    instrument::Measurements other;
    other.usbVoltage = 7;
    opened.device.SetMeasurements(other);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 7u);
}

// What was late has come by then, or does not come.
TEST(Exchange, OneThatFailedLongAgoHoldsNoOtherUp)
{
    constexpr unsigned kBudgetMs = 1000;
    COpenInstrument opened;
    SetDeviceTimeoutSetting(kBudgetMs, 200);
    opened.device.Inject(FaultOn(Request::UsbVoltage, FaultKind::Silence));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
    std::this_thread::sleep_for(std::chrono::milliseconds(kBudgetMs));
    const CStopwatch watch;
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
    EXPECT_LT(watch.Ms(), 0.8 * kBudgetMs);
}

TEST(Exchange, OneAfterAnotherWithoutAReplyCostsABudgetEach)
{
    constexpr unsigned kBudgetMs = 1000;
    COpenInstrument opened;
    SetDeviceTimeoutSetting(kBudgetMs, 200);
    instrument::Fault silence = FaultOn(Request::UsbVoltage, FaultKind::Silence);
    silence.count = 2;
    opened.device.Inject(silence);
    const CStopwatch watch;
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
    EXPECT_GE(watch.Ms(), 2.0 * kBudgetMs);
    EXPECT_LT(watch.Ms(), 2.8 * kBudgetMs);
}

// The late reply comes after the next request has gone out: before its reply, or behind it.
TEST(Exchange, TellsItsReplyFromALateOne)
{
    SetDeviceProbe(Accept);
    const CRawPort port(0);
    ASSERT_EQ(DoFindDevice(0), 1);
    g_nDeviceReadTimeout = 2000u;
    const Bytes late = VoltageReply(88);
    const Bytes own = VoltageReply(7);
    for (const bool lateIsFirst : {true, false}) {
        EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
        EXPECT_EQ(port.Receive(3), kAskVoltage);
        auto answer = AskVoltage();
        EXPECT_EQ(port.Receive(3), kAskVoltage);
        if (!lateIsFirst) port.Send(own);
        std::this_thread::sleep_for(std::chrono::milliseconds(600));
        port.Send(late);
        if (lateIsFirst) port.Send(own);
        EXPECT_EQ(answer.get(), 7u);
    }
    DeviceClose();
}

// Nobody else reads from a port that the application handed over.
TEST(Exchange, OnAnAdoptedPortTheReplyMayLieThereAlready)
{
    const CRawPort port(0);
    VRAXSetDeviceHandle(port.Slave());
    port.Send(VoltageReply(88));
    port.Send(VoltageReply(7));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 88u);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 7u);
    VRAXSetDeviceHandle(-1);
}

// 4294968 ms are 2^32 + 704 us.
TEST(Exchange, TheBudgetOfAReplyWrapsAsThatOfARead)
{
    COpenInstrument opened;
    PausePollingThread();
    instrument::Fault late = FaultOn(Request::UsbVoltage, FaultKind::LateReply);
    late.delay = Milliseconds(150);
    opened.device.Inject(late);
    SetDeviceTimeoutSetting(4294968, 200);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
}

TEST(Exchange, BytesThatCameUnaskedAreNotItsReply)
{
    COpenInstrument opened;
    opened.device.SendUnsolicited(Bytes(200, 0x11));
    pollfd there = {static_cast<int>(g_hDevice), POLLIN, 0};
    ASSERT_EQ(poll(&there, 1, 20000), 1);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
}

TEST(Exchange, AReplyIsWholeOrItsBufferIsZeroBehindWhatCame)
{
    COpenInstrument opened;
    CExchange line;
    std::uint8_t reply[kReplyBytes];
    std::memset(reply, 0xEE, sizeof reply);
    instrument::Fault fault = FaultOn(Request::UsbVoltage, FaultKind::ShortReply);
    fault.bytes = 5;
    opened.device.Inject(fault);
    EXPECT_FALSE(line.Transact(kAskVoltage.data(), 3, reply));
    EXPECT_EQ(reply[4], 250);
    EXPECT_EQ(Bytes(reply + 5, reply + 64), Bytes(59, 0));
}

TEST(Exchange, WaitsForTheFreeLineWhileAnInstrumentStreams)
{
    COpenInstrument opened;
    const CBusyLine busy(true, false);
    auto answer = AskVoltage();
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(1500)), std::future_status::timeout);
    EXPECT_TRUE(opened.device.Exchanges().empty());
    CBusyLine::Offer();
    ASSERT_EQ(answer.wait_for(kGenerous), std::future_status::ready);
    EXPECT_EQ(answer.get(), 250u);
}

// Left behind by the end of a run beside sampling, for one.
TEST(Exchange, AnEventOfAnotherGapDoesNotFreeTheLine)
{
    COpenInstrument opened;
    const CBusyLine busy(true, false);
    auto answer = AskVoltage();
    s_bFrameInHand = true;
    g_hProcessRequestEvent.SetEvent();
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
    EXPECT_TRUE(opened.device.Exchanges().empty());
    CBusyLine::Offer();
    ASSERT_EQ(answer.wait_for(kGenerous), std::future_status::ready);
    EXPECT_EQ(answer.get(), 250u);
}

TEST(Exchange, WaitsForABlockWhilePhotodiodesAreSampled)
{
    COpenInstrument opened;
    const CBusyLine busy(false, true);
    const CStopwatch watch;
    auto answer = AskVoltage();
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_TRUE(opened.device.Exchanges().empty());
    CBusyLine::Offer();
    ASSERT_EQ(answer.wait_for(kGenerous), std::future_status::ready);
    EXPECT_EQ(answer.get(), 250u);
}

TEST(Exchange, ASilentSensorHoldsACommandUpForASecondAtMost)
{
    COpenInstrument opened;
    const CBusyLine busy(false, true);
    const CStopwatch watch;
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
    EXPECT_GE(watch.Ms(), 1000.0);
    EXPECT_LT(watch.Ms(), 15000.0);
}

TEST(Exchange, WithoutAConnectedInstrumentNothingWaits)
{
    COpenInstrument opened;
    const CBusyLine busy(true, true, false);
    const CStopwatch watch;
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
    EXPECT_LT(watch.Ms(), 900.0);
}

TEST(Exchange, OneThatWaitsIsReleasedWithItsFailureValue)
{
    COpenInstrument opened;
    const CBusyLine busy(true, false);
    auto answer = AskVoltage();
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    {
        const CReleaseWaitingCommands release;
        ASSERT_EQ(answer.wait_for(kGenerous), std::future_status::ready);
    }
    EXPECT_EQ(answer.get(), 0u);
    EXPECT_TRUE(opened.device.Exchanges().empty());
    EXPECT_TRUE(IsPollingAllowed());
}

TEST(Exchange, OneThatWaitsFailsWhenTheInstrumentGoes)
{
    COpenInstrument opened;
    const CBusyLine busy(true, false);
    auto answer = AskVoltage();
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    g_bConnected = 0;
    ASSERT_EQ(answer.wait_for(kGenerous), std::future_status::ready);
    EXPECT_EQ(answer.get(), 0u);
    EXPECT_TRUE(opened.device.Exchanges().empty());
}

TEST(Exchange, OneThatWaitsGoesOutWhenTheRunEnds)
{
    COpenInstrument opened;
    const CBusyLine busy(true, false);
    auto answer = AskVoltage();
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    s_ECGGoing = false;
    ASSERT_EQ(answer.wait_for(kGenerous), std::future_status::ready);
    EXPECT_EQ(answer.get(), 250u);
}

// The thread that builds packets never waits for the API lock: a call that holds it for long does
// not stall the stream.
TEST(Exchange, TheOwnerOfTheLineSendsWithoutTheApiLock)
{
    COpenInstrument opened;
    CAutoCriticalSection longCall(g_APICriticalSection);
    auto answer = std::async(std::launch::async, [] {
        CLineOwner line;
        return VRAXGetUSBBusVoltage();
    });
    ASSERT_EQ(answer.wait_for(kGenerous), std::future_status::ready);
    EXPECT_EQ(answer.get(), 250u);
}

TEST(Exchange, TheOwnerOfTheLineDoesNotWaitForIt)
{
    COpenInstrument opened;
    const CBusyLine busy(true, false);
    CLineOwner line;
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
}

TEST(Exchange, OthersWaitForTheApiLock)
{
    COpenInstrument opened;
    std::future<unsigned> answer;
    {
        CAutoCriticalSection call(g_APICriticalSection);
        answer = AskVoltage();
        EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
        EXPECT_TRUE(opened.device.Exchanges().empty());
    }
    ASSERT_EQ(answer.wait_for(kGenerous), std::future_status::ready);
    EXPECT_EQ(answer.get(), 250u);
}

TEST(Exchange, OthersWaitForTheInterruptLock)
{
    COpenInstrument opened;
    std::future<unsigned> answer;
    {
        CAutoCriticalSection packet(g_InterruptCriticalSection);
        answer = AskVoltage();
        EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
        EXPECT_TRUE(opened.device.Exchanges().empty());
    }
    ASSERT_EQ(answer.wait_for(kGenerous), std::future_status::ready);
    EXPECT_EQ(answer.get(), 250u);
}

TEST(Exchange, CommandsOfTwoThreadsNeverMix)
{
    COpenInstrument opened;
    auto ask = [] {
        int wrong = 0;
        for (int i = 0; i < 200; ++i) wrong += VRAXGetUSBBusVoltage() != 250u ? 1 : 0;
        return wrong;
    };
    auto other = std::async(std::launch::async, ask);
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(other.get(), 0);
    EXPECT_EQ(opened.device.Exchanges(Request::UsbVoltage).size(), 400u);
    EXPECT_EQ(opened.device.RefusalCount(), 0u);
}
