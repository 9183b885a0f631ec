// LED and trigger levels, and the levels that the module left the factory with.

#include <gtest/gtest.h>

#include "ppg/SensorLevels.h"
#include "support/FittedModule.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/Timing.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
constexpr std::uint8_t kModuleChannel = 19;
constexpr std::uint32_t kFactorySettingAddress = 5120;
constexpr LEDType kNoLed = 3;
// By position.
constexpr std::uint8_t kLedSelectors[] = {1, 2, 18};
constexpr std::uint8_t kTriggerSelectors[] = {3, 4, 19};

Bytes Write(std::uint8_t selector, std::uint8_t level) { return {0xCC, 0xFF, selector, 0, level}; }
Bytes Read(std::uint8_t selector) { return {0xCC, 0x00, selector, 0, 0}; }

instrument::Fault With(Request request, FaultKind kind, Bytes data = {}, unsigned skip = 0)
{
    instrument::Fault fault = FaultOn(request, kind, skip);
    fault.data = std::move(data);
    fault.bytes = 63;
    return fault;
}

// The levels of the positions in the order of the record: LED 1 and 2, trigger 1 and 2, LED 3,
// trigger 3.
void ProgramFactoryLevels(instrument::SimulatedInstrument& device, std::uint8_t marker,
                          const Bytes& levels)
{
    Bytes record(64, 0);
    record[0] = marker;
    std::copy(levels.begin(), levels.end(), record.begin() + 1);
    device.WriteFlash(kModuleChannel, kFactorySettingAddress, record);
    device.ClearExchanges();
}

std::vector<Bytes> ModeWrites(const instrument::SimulatedInstrument& device)
{
    return Requests(device.Exchanges(Request::ModeWrite));
}
}  // namespace

TEST(TriggerLevel, IsWrittenToTheSelectorOfItsPosition)
{
    COpenInstrument opened(0x3407u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(SetPPGTriggerLevel(i + 1, 10 + i), 0);
        EXPECT_EQ(opened.device.Exchanges().back().request,
                  Write(kTriggerSelectors[i], static_cast<std::uint8_t>(10 + i)));
        EXPECT_EQ(GetPPGTriggerLevel(i + 1), 10 + i);
        EXPECT_EQ(opened.device.Exchanges().back().request, Read(kTriggerSelectors[i]));
    }
}

TEST(TriggerLevel, IsRefusedOutsideItsPositionsAndLevels)
{
    COpenInstrument opened(0x3407u);
    EXPECT_EQ(SetPPGTriggerLevel(0, 1), -2);
    EXPECT_EQ(SetPPGTriggerLevel(4, 256), -2);  // the position is looked at first
    EXPECT_EQ(SetPPGTriggerLevel(1, 256), -3);
    EXPECT_EQ(SetPPGTriggerLevel(3, -1), -3);
    EXPECT_EQ(GetPPGTriggerLevel(0), -2);
    EXPECT_EQ(GetPPGTriggerLevel(4), -2);
    EXPECT_TRUE(opened.device.Exchanges().empty());
    EXPECT_EQ(SetPPGTriggerLevel(1, 0), 0);
    EXPECT_EQ(SetPPGTriggerLevel(1, 255), 0);
    EXPECT_EQ(GetPPGTriggerLevel(1), 255);
}

TEST(TriggerLevel, WithoutAnInstrumentComesBeforeEveryOtherCode)
{
    EXPECT_EQ(SetPPGTriggerLevel(0, 256), -1);
    EXPECT_EQ(GetPPGTriggerLevel(0), -1);
    EXPECT_EQ(ResetPPGTriggerLevel(), -1);
}

TEST(TriggerLevel, NeedsAWholeReplyAndNoAcknowledgementToBeWritten)
{
    COpenInstrument opened(0x3407u);
    opened.device.Inject(With(Request::ModeWrite, FaultKind::WrongAcknowledge, {0xFE}));
    EXPECT_EQ(SetPPGTriggerLevel(1, 1), 0);
    for (const FaultKind kind : {FaultKind::Silence, FaultKind::ShortReply}) {
        opened.device.Inject(With(Request::ModeWrite, kind));
        EXPECT_EQ(SetPPGTriggerLevel(1, 1), -4);
    }
}

TEST(TriggerLevel, IsReadFromAnAcknowledgedReplyToItsOwnQuestionAlone)
{
    COpenInstrument opened(0x3407u);
    const auto answer = [&](const Bytes& head) {
        opened.device.SetReply(Read(3), Padded(head));
        return GetPPGTriggerLevel(1);
    };
    EXPECT_EQ(answer({0xCC, 0x00, 3, 0xFF, 77}), 77);
    EXPECT_EQ(answer({0xCC, 0x55, 3, 0xFF, 78}), 78);
    EXPECT_EQ(answer({0xCD, 0x00, 3, 0xFF, 77}), -3);
    EXPECT_EQ(answer({0xCC, 0x00, 4, 0xFF, 77}), -3);
    EXPECT_EQ(answer({0xCC, 0x00, 3, 0xFE, 77}), -3);
    opened.device.ClearReplies();
    for (const FaultKind kind : {FaultKind::Silence, FaultKind::ShortReply}) {
        opened.device.Inject(With(Request::ModeRead, kind));
        EXPECT_EQ(GetPPGTriggerLevel(1), -3);
    }
}

TEST(TriggerLevel, IsAwaited80Ms)
{
    COpenInstrument opened(0x3407u);
    {
        const CStopwatch watch;
        EXPECT_EQ(SetPPGTriggerLevel(1, 1), 0);
        EXPECT_GE(watch.Ms(), 80.0);
    }
    const CStopwatch watch;
    EXPECT_EQ(GetPPGTriggerLevel(1), 1);
    EXPECT_GE(watch.Ms(), 80.0);
}

TEST(LedLevel, IsWrittenToTheSelectorOfItsPosition)
{
    COpenInstrument opened(0x3407u);
    for (int i = 0; i < 3; ++i) {
        const CStopwatch watch;
        EXPECT_EQ(SetPPGLedLevel(i + 1, 253 + i), 0);
        EXPECT_GE(watch.Ms(), 80.0);
        EXPECT_EQ(opened.device.Exchanges().back().request,
                  Write(kLedSelectors[i], static_cast<std::uint8_t>(253 + i)));
    }
}

TEST(LedLevel, IsRefusedOutsideItsPositionsAndLevelsAlsoWithoutAnInstrument)
{
    EXPECT_EQ(SetPPGLedLevel(0, 256), -1);
    EXPECT_EQ(SetPPGLedLevel(4, 1), -1);
    EXPECT_EQ(SetPPGLedLevel(1, 256), -2);
    EXPECT_EQ(SetPPGLedLevel(1, -1), -2);
    EXPECT_EQ(SetPPGLedLevel(1, 1), -3);  // the command fails
}

TEST(LedLevel, NeedsAWholeReplyToBeWritten)
{
    COpenInstrument opened(0x3407u);
    for (const FaultKind kind : {FaultKind::Silence, FaultKind::ShortReply}) {
        opened.device.Inject(With(Request::ModeWrite, kind));
        EXPECT_EQ(SetPPGLedLevel(2, 1), -3);
    }
}

TEST(FactoryTriggerLevels, AreWrittenToThePositionsWithAnLed)
{
    COpenInstrument opened(0x3407u);
    ProgramFactoryLevels(opened.device, 1, {11, 12, 13, 14, 15, 16});
    FitPPGModule(0x3407, 1, 2, 0);
    EXPECT_EQ(ResetPPGTriggerLevel(), 0);
    EXPECT_EQ(ModeWrites(opened.device),
              (std::vector<Bytes>{Write(3, 13), Write(4, 14), Write(19, 16)}));
    opened.device.ClearExchanges();
    FitPPGModule(0x3407, 1, kNoLed, 0);
    EXPECT_EQ(ResetPPGTriggerLevel(), 0);
    EXPECT_EQ(ModeWrites(opened.device), (std::vector<Bytes>{Write(3, 13), Write(19, 16)}));
    opened.device.ClearExchanges();
    FitPPGModule(0x3407, kNoLed, kNoLed, kNoLed);
    EXPECT_EQ(ResetPPGTriggerLevel(), 0);
    EXPECT_TRUE(opened.device.Exchanges().empty());
}

TEST(FactoryLedLevels, AreWrittenToEveryPosition)
{
    COpenInstrument opened(0x3407u);
    ProgramFactoryLevels(opened.device, 1, {11, 12, 13, 14, 15, 16});
    FitPPGModule(0x3407, 1, kNoLed, 0);
    EXPECT_EQ(ResetPPGLedLevel(), 0);
    EXPECT_EQ(ModeWrites(opened.device),
              (std::vector<Bytes>{Write(1, 11), Write(2, 12), Write(18, 15)}));
}

TEST(FactoryLedLevels, OfZeroBecome150WhereAnLedIsFitted)
{
    COpenInstrument opened(0x3407u);
    ProgramFactoryLevels(opened.device, 1, {0, 0, 13, 14, 0, 16});
    FitPPGModule(0x3407, 1, kNoLed, 0);
    EXPECT_EQ(ResetPPGLedLevel(), 0);
    EXPECT_EQ(ModeWrites(opened.device),
              (std::vector<Bytes>{Write(1, 150), Write(2, 0), Write(18, 150)}));
}

TEST(FactoryLevels, AreReadOnceForBothKinds)
{
    COpenInstrument opened(0x3407u);
    ProgramFactoryLevels(opened.device, 1, {11, 12, 13, 14, 15, 16});
    EXPECT_EQ(ResetPPGLedLevel(), 0);
    const std::size_t reads = opened.device.Exchanges(Request::FlashRead).size();
    EXPECT_GE(reads, 2u);  // 64 bytes do not fit one frame
    EXPECT_EQ(ResetPPGTriggerLevel(), 0);
    EXPECT_EQ(ResetPPGLedLevel(), 0);
    EXPECT_EQ(opened.device.Exchanges(Request::FlashRead).size(), reads);
}

TEST(FactoryLevels, ThatCannotBeReadAreNotWritten)
{
    COpenInstrument opened(0x3407u);
    ProgramFactoryLevels(opened.device, 1, {11, 12, 13, 14, 15, 16});
    opened.device.Inject(With(Request::FlashRead, FaultKind::Silence));
    EXPECT_EQ(ResetPPGTriggerLevel(), -2);
    opened.device.Inject(With(Request::FlashRead, FaultKind::Silence));
    EXPECT_EQ(ResetPPGLedLevel(), -1);
    opened.device.EraseFlash(kModuleChannel);
    EXPECT_EQ(ResetPPGTriggerLevel(), -2);
    EXPECT_EQ(ResetPPGLedLevel(), -1);
    EXPECT_TRUE(ModeWrites(opened.device).empty());
    EXPECT_EQ(g_PPGFactorySettings.Load().valid, 0);
}

TEST(FactoryLevels, ThatAreNotMarkedAsValidAreNotWritten)
{
    for (const std::uint8_t marker : Bytes{0, 2, 0xFE}) {
        COpenInstrument opened(0x3407u);
        ProgramFactoryLevels(opened.device, marker, {11, 12, 13, 14, 15, 16});
        EXPECT_EQ(ResetPPGTriggerLevel(), -3);
        EXPECT_EQ(ResetPPGLedLevel(), -2);
        EXPECT_TRUE(ModeWrites(opened.device).empty());
    }
}

TEST(FactoryLevels, EndWithTheFirstThatIsNotAnswered)
{
    COpenInstrument opened(0x3407u);
    ProgramFactoryLevels(opened.device, 1, {11, 12, 13, 14, 15, 16});
    FitPPGModule(0x3407, 1, 2, 0);
    opened.device.Inject(With(Request::ModeWrite, FaultKind::Silence, {}, 1));
    EXPECT_EQ(ResetPPGTriggerLevel(), -4);
    EXPECT_EQ(ModeWrites(opened.device), (std::vector<Bytes>{Write(3, 13), Write(4, 14)}));
    opened.device.ClearExchanges();
    opened.device.Inject(With(Request::ModeWrite, FaultKind::Silence));
    EXPECT_EQ(ResetPPGLedLevel(), -3);
    EXPECT_EQ(ModeWrites(opened.device), (std::vector<Bytes>{Write(1, 11)}));
}
