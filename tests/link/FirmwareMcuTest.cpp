// Burns of the MCU's program: frames, waits, calls, codes, cancel and failures.

#include <gtest/gtest.h>

#include <ostream>

#include "support/Firmware.h"
#include "support/LinkHost.h"
#include "support/Timing.h"

using namespace instrument;

namespace {

const Bytes kEnterUpdate = {0xB9, 0xFF, 0x00, 0x00, 0x01};
const Bytes kBackToApplication = {0xB9, 0xFF, 0x00, 0x00, 0x00};
const Bytes kRestartIntoProgram = {0xB9, 0xFF, 0x00, 0x00, 0xFF};
constexpr Told kClosing = {BURN_FINISHED, 100};

Bytes McuFrame(std::uint8_t direction, std::uint8_t item, std::size_t count, std::uint32_t address,
               const Bytes& data = {})
{
    Bytes frame = {0xB9,
                   direction,
                   item,
                   0x00,
                   static_cast<std::uint8_t>(count),
                   static_cast<std::uint8_t>(address >> 16),
                   static_cast<std::uint8_t>(address >> 8),
                   static_cast<std::uint8_t>(address)};
    frame.insert(frame.end(), data.begin(), data.end());
    return Padded(frame);
}

std::vector<Bytes> ExpectedFrames(const Bytes& image)
{
    const auto size = static_cast<std::uint32_t>(image.size());
    std::vector<Bytes> frames = {kEnterUpdate};
    for (const ImageFrame& frame : FramesOf(0, size, kSector)) {
        frames.push_back(McuFrame(0xFF, 0x02, 0, frame.address));
    }
    for (const ImageFrame& frame : FramesOf(0, size, kMcuWriteFrame)) {
        frames.push_back(McuFrame(0xFF, 0x03, frame.count, frame.address, Part(image, frame)));
    }
    for (const ImageFrame& frame : FramesOf(0, size, kMcuReadFrame)) {
        frames.push_back(McuFrame(0x00, 0x03, frame.count, frame.address));
    }
    frames.push_back(kRestartIntoProgram);
    return frames;
}

class McuBurnCase {
public:
    McuBurnCase()
    {
        LoadMcu(image);
        instrument.ClearExchanges();
    }

    std::vector<Bytes> Modes() const
    {
        return Requests(instrument.Exchanges(Request::ControlMode));
    }
    void ExpectUsable() const
    {
        EXPECT_TRUE(VRAXIsConnected());
        EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
        EXPECT_EQ(Listener::Told(), std::vector<bool>({true}));
    }

    const Bytes image = McuImage(7);
    SimulatedInstrument instrument{0};
    CConnectedHost host{kPatientMs};
};

// The requests of the burn, from entering update mode to the restart.
std::vector<Exchange> FramesOfTheBurn(const SimulatedInstrument& instrument)
{
    std::vector<Exchange> frames = instrument.Exchanges();
    const auto restart = std::find_if(frames.begin(), frames.end(), [](const Exchange& exchange) {
        return exchange.request == kRestartIntoProgram;
    });
    if (restart != frames.end()) frames.erase(restart + 1, frames.end());
    return frames;
}

}  // namespace

TEST(McuBurn, ErasesWritesVerifiesAndRestarts)
{
    McuBurnCase burn;
    ASSERT_EQ(BurnMcu(Progress::On), 0);
    const std::vector<Bytes> sent = Requests(FramesOfTheBurn(burn.instrument));
    const std::vector<Bytes> expected = ExpectedFrames(burn.image);
    ASSERT_EQ(sent.size(), expected.size());
    for (std::size_t i = 0; i < sent.size(); ++i) ASSERT_EQ(sent[i], expected[i]) << "frame " << i;
    ExpectNoRefusals(burn.instrument);
    EXPECT_EQ(burn.Modes(), (std::vector<Bytes>{kEnterUpdate, kRestartIntoProgram}));
}

TEST(McuBurn, TellsThePercentageOfTheImageAndItsEndTwice)
{
    McuBurnCase burn;
    ASSERT_EQ(BurnMcu(Progress::On), 0);
    ToldList expected = McuCalls();
    expected.insert(expected.end(), {kClosing, kClosing});
    const ToldList told = Progress::Calls();
    ASSERT_EQ(told.size(), expected.size());
    for (std::size_t i = 0; i < told.size(); ++i) ASSERT_EQ(told[i], expected[i]) << "call " << i;
    EXPECT_EQ(told[58], (Told{BURN_ERASE, 49}));  // 59392 of 118785 bytes are 49.9996 %
}

TEST(McuBurn, RunsTheNewProgramAfterwards)
{
    McuBurnCase burn;
    ASSERT_EQ(BurnMcu(Progress::On), 0);
    EXPECT_EQ(burn.instrument.HeldImage(Image::Mcu, kMcuBytes), burn.image);
    const FirmwareState firmware = burn.instrument.Firmware();
    EXPECT_EQ(firmware.runningMcu.version, (std::array<std::uint8_t, 4>{1, 2, 3, 7}));
    EXPECT_FALSE(firmware.updateMode);
    EXPECT_EQ(firmware.spoiltWrites, 0U);
    burn.ExpectUsable();
    burn.instrument.Unplug();  // the monitor goes on
    EXPECT_TRUE(Listener::WaitFor(false));
}

TEST(McuBurn, WaitsAfterErasesAndAfterTheRestart)
{
    McuBurnCase burn;
    Clock::time_point searched;
    Progress::AnswerBy([&](const Told& told, std::size_t) {
        if (told.stage == BURN_RECONNECT) searched = Clock::now();
        return 0;
    });
    ASSERT_EQ(BurnMcu(Progress::On), 0);
    const auto erases = burn.instrument.Exchanges(Request::McuErase);
    const auto writes = burn.instrument.Exchanges(Request::McuWrite);
    const auto modes = burn.instrument.Exchanges(Request::ControlMode);
    const auto probes = burn.instrument.Exchanges(Request::SamplingStop);
    ASSERT_EQ(erases.size(), kMcuErases);
    EXPECT_GE(MsBetween(erases.front().arrived, writes.front().arrived),
              kMcuErases * 100.0 - kStampJitterMs);
    EXPECT_GE(MedianArrivalGapMs(erases), 100.0 - kStampJitterMs);
    ASSERT_EQ(modes.size(), 2U);
    EXPECT_GE(MsBetween(modes.back().arrived, searched), 5000.0 - kStampJitterMs);
    ASSERT_FALSE(probes.empty());
    EXPECT_GE(MsBetween(searched, probes.front().arrived), 1000.0);
}

TEST(McuBurn, AWholeReplyIsEnough)
{
    McuBurnCase burn;
    // The last read asks for 17 bytes: 118785 - 2284 * 52.
    Fault changed = MakeFault(FaultKind::ChangedByte, Request::McuRead, 1, kMcuReads - 1);
    changed.bytes = 8 + 17;
    burn.instrument.Inject(changed);
    burn.instrument.Inject(MakeFault(FaultKind::WrongAcknowledge, Request::McuErase, kForEver));
    burn.instrument.Inject(MakeFault(FaultKind::WrongAcknowledge, Request::McuWrite, kForEver));
    EXPECT_EQ(BurnMcu(Progress::On), 0);
}

TEST(McuBurn, AnswersOtherThanOneLetItGoOn)
{
    McuBurnCase burn;
    Progress::AnswerBy([](const Told& told, std::size_t) {
        if (told.stage >= BURN_RESTART) return 1;
        return told.value % 2 == 0 ? 2 : -1;
    });
    EXPECT_EQ(BurnMcu(Progress::On), 0);
}

TEST(McuBurn, RestartNeedsNoReply)
{
    McuBurnCase burn;
    burn.instrument.Inject(MakeFault(FaultKind::Silence, Request::ControlMode, 1, 1));
    EXPECT_EQ(BurnMcu(Progress::On), 0);
    EXPECT_EQ(burn.instrument.Firmware().runningMcu.version[3], 7);
}

TEST(McuBurn, AnUpdateModeThatIsRefusedIsNotTold)
{
    McuBurnCase burn;
    burn.instrument.Inject(MakeFault(FaultKind::WrongAcknowledge, Request::ControlMode));
    EXPECT_EQ(BurnMcu(Progress::On), -4);
    EXPECT_TRUE(Progress::Calls().empty());
    EXPECT_EQ(Requests(burn.instrument.Exchanges()), std::vector<Bytes>{kEnterUpdate});
    burn.ExpectUsable();
}

TEST(McuBurn, AnUpdateModeThatIsNotAnsweredIsNotTold)
{
    McuBurnCase burn;
    burn.instrument.Inject(MakeFault(FaultKind::Silence, Request::ControlMode));
    EXPECT_EQ(BurnMcu(Progress::On), -4);
    EXPECT_TRUE(Progress::Calls().empty());
    burn.ExpectUsable();
}

TEST(McuBurn, WithoutAnImageTouchesNothing)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    instrument.ClearExchanges();
    EXPECT_EQ(BurnMcu(Progress::On), -2);
    EXPECT_EQ(Progress::Calls(), ToldList({{BURN_FINISHED, -2}}));
    EXPECT_EQ(BurnMcu(nullptr), -2);
    EXPECT_TRUE(instrument.Exchanges().empty());
}

// A load that fails has dropped the program that was loaded before.
TEST(McuBurn, AfterARefusedFileTouchesNothing)
{
    McuBurnCase burn;
    const TempDir folder;
    const std::string path =
        WriteImageFile(folder, "other", MakeImage(kMcuBytes, Bytes(4, 0x41), 99));
    ASSERT_EQ(LoadWith(LoadMcuFile, path).result, -6);
    EXPECT_EQ(BurnMcu(Progress::On), -2);
    EXPECT_TRUE(burn.instrument.Exchanges().empty());
}

namespace {

struct Failure {
    std::string name;
    Request request;
    FaultKind kind;
    unsigned frame;    // of its stage
    std::size_t byte;  // of a changed or short reply
    int stage;
    int told;
    int result;
};
void PrintTo(const Failure& failure, std::ostream* out) { *out << failure.name; }

const Failure kFailures[] = {
    {"EraseUnanswered", Request::McuErase, FaultKind::Silence, 0, 0, BURN_ERASE, -6, -6},
    {"EraseAnsweredShort", Request::McuErase, FaultKind::ShortReply, 5, 63, BURN_ERASE, -6, -6},
    {"WriteUnanswered", Request::McuWrite, FaultKind::Silence, 3, 0, BURN_WRITE, -6, -6},
    {"WriteAnsweredShort", Request::McuWrite, FaultKind::ShortReply, kMcuWrites - 1, 63, BURN_WRITE,
     -6, -6},
    {"VerifyUnanswered", Request::McuRead, FaultKind::Silence, 0, 0, BURN_VERIFY, -8, -6},
    {"VerifyAnsweredShort", Request::McuRead, FaultKind::ShortReply, 100, 8, BURN_VERIFY, -8, -6},
    {"VerifyDiffersInItsFirstByte", Request::McuRead, FaultKind::ChangedByte, 7, 8, BURN_VERIFY, -9,
     -9},
    {"VerifyDiffersInItsLastByte", Request::McuRead, FaultKind::ChangedByte, 7, 59, BURN_VERIFY, -9,
     -9},
};

class McuFailure : public testing::TestWithParam<Failure> {};

}  // namespace

TEST_P(McuFailure, IsToldReturnedAndEndsUpdateMode)
{
    const Failure failure = GetParam();
    McuBurnCase burn;
    Fault fault = MakeFault(failure.kind, failure.request, 1, failure.frame);
    fault.bytes = failure.byte;
    burn.instrument.Inject(fault);
    testing::internal::CaptureStdout();
    EXPECT_EQ(BurnMcu(Progress::On), failure.result);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(Progress::Calls(), Until(McuCalls(), McuCall(failure.stage, failure.frame),
                                       {{BURN_FINISHED, failure.told}, kClosing}));
    EXPECT_EQ(burn.Modes(), (std::vector<Bytes>{kEnterUpdate, kBackToApplication}));
    EXPECT_EQ(burn.instrument.Exchanges(failure.request).size(), failure.frame + 1);
    EXPECT_FALSE(burn.instrument.Firmware().updateMode);
    burn.ExpectUsable();
}

INSTANTIATE_TEST_SUITE_P(Frames, McuFailure, testing::ValuesIn(kFailures),
                         [](const auto& parameter) { return parameter.param.name; });

namespace {

struct Unplugging {
    std::string name;
    int stage;
    unsigned frame;
    int told;
};
void PrintTo(const Unplugging& unplugging, std::ostream* out) { *out << unplugging.name; }

const Unplugging kUnpluggings[] = {
    {"BeforeAnErase", BURN_ERASE, 2, -5},
    {"BeforeAWrite", BURN_WRITE, 17, -5},
    {"BeforeAVerify", BURN_VERIFY, 3, -7},
};

class McuUnplugging : public testing::TestWithParam<Unplugging> {};

}  // namespace

TEST_P(McuUnplugging, IsToldReturnedAndSearched)
{
    const Unplugging unplugging = GetParam();
    McuBurnCase burn;
    const std::size_t last = McuCall(unplugging.stage, unplugging.frame);
    Progress::DoAt(last, [&] { burn.instrument.Unplug(); });
    EXPECT_EQ(BurnMcu(Progress::On), -5);
    EXPECT_EQ(Progress::Calls(),
              Until(McuCalls(), last, {{BURN_FINISHED, unplugging.told}, kClosing}));
    EXPECT_TRUE(Listener::WaitFor(false));
    burn.instrument.Plug();
    EXPECT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
}

INSTANTIATE_TEST_SUITE_P(Moments, McuUnplugging, testing::ValuesIn(kUnpluggings),
                         [](const auto& parameter) { return parameter.param.name; });

namespace {

struct Cancel {
    std::string name;
    std::size_t call;
};
void PrintTo(const Cancel& cancel, std::ostream* out) { *out << cancel.name; }

const Cancel kCancels[] = {
    {"FirstErase", McuCall(BURN_ERASE, 0)},        {"SomeErase", McuCall(BURN_ERASE, 4)},
    {"Erased", McuCall(BURN_ERASE, kMcuErases)},   {"FirstWrite", McuCall(BURN_WRITE, 0)},
    {"Written", McuCall(BURN_WRITE, kMcuWrites)},  {"SomeVerify", McuCall(BURN_VERIFY, 8)},
    {"Verified", McuCall(BURN_VERIFY, kMcuReads)},
};

class McuCancel : public testing::TestWithParam<Cancel> {};

}  // namespace

TEST_P(McuCancel, ReturnsMinusOneAndEndsUpdateMode)
{
    McuBurnCase burn;
    const Bytes before = burn.instrument.HeldImage(Image::Mcu, kMcuBytes);
    Progress::CancelAt(GetParam().call);
    EXPECT_EQ(BurnMcu(Progress::On), -1);
    EXPECT_EQ(Progress::Calls(), Until(McuCalls(), GetParam().call, {kClosing}));
    EXPECT_EQ(burn.Modes(), (std::vector<Bytes>{kEnterUpdate, kBackToApplication}));
    if (GetParam().call == 0) {
        EXPECT_EQ(burn.instrument.HeldImage(Image::Mcu, kMcuBytes), before);
        EXPECT_EQ(burn.instrument.Exchanges().size(), 2U);
    }
    burn.ExpectUsable();
}

INSTANTIATE_TEST_SUITE_P(Calls, McuCancel, testing::ValuesIn(kCancels),
                         [](const auto& parameter) { return parameter.param.name; });

TEST(McuRestart, WithoutReturnIsToldReturnedAndSearched)
{
    McuBurnCase burn;
    burn.instrument.SetRestart({Milliseconds(300), false});
    EXPECT_EQ(BurnMcu(Progress::On), -11);
    ToldList expected = McuCalls();
    expected.insert(expected.end(), {{BURN_FINISHED, -11}, kClosing});
    EXPECT_EQ(Progress::Calls(), expected);
    EXPECT_TRUE(Listener::WaitFor(false));
    burn.instrument.Plug();
    EXPECT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_EQ(burn.instrument.Firmware().runningMcu.version[3], 7);
}

TEST(McuAfterAFailure, KeepsTheImageForAnotherBurn)
{
    McuBurnCase burn;
    burn.instrument.Inject(MakeFault(FaultKind::Silence, Request::McuErase, 1, 1));
    ASSERT_EQ(BurnMcu(Progress::On), -6);
    EXPECT_EQ(BurnMcu(Progress::On), 0);
    EXPECT_EQ(burn.instrument.Firmware().runningMcu.version[3], 7);
}
