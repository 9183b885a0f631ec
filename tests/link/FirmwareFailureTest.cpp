// Burns of the FPGA image that fail or are cancelled: the code, what the callback is told, what is
// printed, and what is left.

#include <gtest/gtest.h>

#include <ostream>

#include "support/Firmware.h"
#include "support/LinkHost.h"

using namespace instrument;

namespace {

// The first frames of the upper range.
constexpr unsigned kUpperErase = 100;
constexpr unsigned kUpperFrame = 2134;

class FirmwareBurnCase {
public:
    FirmwareBurnCase() { LoadFpga(image); }

    // The library can be used, the listener heard nothing, and nothing restarted.
    void ExpectUntouchedConnection() const
    {
        EXPECT_TRUE(VRAXIsConnected());
        EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
        EXPECT_EQ(Listener::Told(), std::vector<bool>({true}));
        EXPECT_TRUE(instrument.Exchanges(Request::Restart).empty());
    }

    const Bytes image = FpgaImage(7);
    SimulatedInstrument instrument{0};
    CConnectedHost host{kPatientMs};
};

// A frame that fails.
struct Failure {
    std::string name;
    Request request;
    FaultKind kind;
    unsigned frame;    // of its stage
    std::size_t byte;  // of a changed or short reply
    int stage;
    int told;
    int result;
    std::string printed;
};
void PrintTo(const Failure& failure, std::ostream* out) { *out << failure.name; }

const Failure kFailures[] = {
    {"EraseUnanswered", Request::FlashErase, FaultKind::Silence, 0, 0, BURN_ERASE, -6, -6, ""},
    {"EraseAnsweredShort", Request::FlashErase, FaultKind::ShortReply, 41, 63, BURN_ERASE, -6, -6,
     ""},
    {"UpperEraseUnanswered", Request::FlashErase, FaultKind::Silence, kUpperErase, 0, BURN_ERASE,
     -6, -6, ""},
    {"WriteUnanswered", Request::FlashWrite, FaultKind::Silence, 0, 0, BURN_WRITE, -6, -6, ""},
    {"WriteAnsweredShort", Request::FlashWrite, FaultKind::ShortReply, 1000, 1, BURN_WRITE, -6, -6,
     ""},
    {"UpperWriteUnanswered", Request::FlashWrite, FaultKind::Silence, kUpperFrame + 127, 0,
     BURN_WRITE, -6, -6, ""},
    {"VerifyUnanswered", Request::FlashRead, FaultKind::Silence, 3, 0, BURN_VERIFY, -8, -6,
     "[ERROR] read/verify - read data failed (address: 0x90)\n"},
    {"UpperVerifyAnsweredShort", Request::FlashRead, FaultKind::ShortReply, kUpperFrame + 2, 63,
     BURN_VERIFY, -8, -6, "[ERROR] read/verify - read data failed (address: 0x60)\n"},
    {"VerifyDiffersInItsFirstByte", Request::FlashRead, FaultKind::ChangedByte, 2000, 16,
     BURN_VERIFY, -9, -9, "[ERROR] read/verify - compare data failed (address: 0x17700)\n"},
    {"UpperVerifyDiffersInItsLastByte", Request::FlashRead, FaultKind::ChangedByte, kUpperFrame, 63,
     BURN_VERIFY, -9, -9, "[ERROR] read/verify - compare data failed (address: 0x0)\n"},
};

class FirmwareFailure : public testing::TestWithParam<Failure> {};

}  // namespace

TEST_P(FirmwareFailure, IsToldPrintedAndReturned)
{
    const Failure failure = GetParam();
    FirmwareBurnCase burn;
    Fault fault = MakeFault(failure.kind, failure.request, 1, failure.frame);
    fault.bytes = failure.byte;
    burn.instrument.ClearExchanges();
    burn.instrument.Inject(fault);
    testing::internal::CaptureStdout();
    EXPECT_EQ(BurnFirmware(Progress::On), failure.result);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), failure.printed);
    EXPECT_EQ(Progress::Calls(), Until(FpgaCalls(), FpgaCall(failure.stage, failure.frame),
                                       {{BURN_FINISHED, failure.told}}));
    burn.ExpectUntouchedConnection();
    EXPECT_EQ(burn.instrument.Exchanges(failure.request).size(), failure.frame + 1);
}

INSTANTIATE_TEST_SUITE_P(Frames, FirmwareFailure, testing::ValuesIn(kFailures),
                         [](const auto& parameter) { return parameter.param.name; });

namespace {

// The call in which the plug is pulled: the frame that follows cannot be sent.
struct Unplugging {
    std::string name;
    int stage;
    unsigned frame;
    int told;
    int result;
    std::string printed;
};
void PrintTo(const Unplugging& unplugging, std::ostream* out) { *out << unplugging.name; }

const Unplugging kUnpluggings[] = {
    {"BeforeTheFirstErase", BURN_ERASE, 0, -5, -5, ""},
    {"BeforeAnUpperErase", BURN_ERASE, kUpperErase + 5, -5, -5, ""},
    {"BeforeAWrite", BURN_WRITE, 17, -5, -5, ""},
    {"BeforeAVerify", BURN_VERIFY, 2133, -7, -5,
     "[ERROR] read/verify - write data failed (address: 0x18ff0)\n"},
    {"BeforeAnUpperVerify", BURN_VERIFY, kUpperFrame + 1, -7, -5,
     "[ERROR] read/verify - write data failed (address: 0x30)\n"},
};

class FirmwareUnplugging : public testing::TestWithParam<Unplugging> {};

}  // namespace

TEST_P(FirmwareUnplugging, IsToldPrintedReturnedAndSearched)
{
    const Unplugging unplugging = GetParam();
    FirmwareBurnCase burn;
    const std::size_t last = FpgaCall(unplugging.stage, unplugging.frame);
    Progress::DoAt(last, [&] { burn.instrument.Unplug(); });
    testing::internal::CaptureStdout();
    EXPECT_EQ(BurnFirmware(Progress::On), unplugging.result);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), unplugging.printed);
    EXPECT_EQ(Progress::Calls(), Until(FpgaCalls(), last, {{BURN_FINISHED, unplugging.told}}));
    EXPECT_TRUE(Listener::WaitFor(false));
    EXPECT_FALSE(VRAXIsConnected());
    burn.instrument.Plug();
    EXPECT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true, false, true}));
}

INSTANTIATE_TEST_SUITE_P(Moments, FirmwareUnplugging, testing::ValuesIn(kUnpluggings),
                         [](const auto& parameter) { return parameter.param.name; });

namespace {

struct Cancel {
    std::string name;
    std::size_t call;
};
void PrintTo(const Cancel& cancel, std::ostream* out) { *out << cancel.name; }

const Cancel kCancels[] = {
    {"SecondErase", FpgaCall(BURN_ERASE, 1)},
    {"LastErase", FpgaCall(BURN_ERASE, kFpgaErases - 1)},
    {"Erased", FpgaCall(BURN_ERASE, kFpgaErases)},
    {"FirstWrite", FpgaCall(BURN_WRITE, 0)},
    {"UpperWrite", FpgaCall(BURN_WRITE, kUpperFrame)},
    {"Written", FpgaCall(BURN_WRITE, kFpgaWrites)},
    {"FirstVerify", FpgaCall(BURN_VERIFY, 0)},
    {"LastVerify", FpgaCall(BURN_VERIFY, kFpgaWrites - 1)},
    {"Verified", FpgaCall(BURN_VERIFY, kFpgaWrites)},
};

class FirmwareCancel : public testing::TestWithParam<Cancel> {};

}  // namespace

TEST_P(FirmwareCancel, ReturnsMinusOneAndIsNotTold)
{
    FirmwareBurnCase burn;
    burn.instrument.ClearExchanges();
    Progress::CancelAt(GetParam().call);
    EXPECT_EQ(BurnFirmware(Progress::On), -1);
    EXPECT_EQ(Progress::Calls(), Until(FpgaCalls(), GetParam().call));
    // A call stands before each frame and after each stage.
    const auto stages = static_cast<std::size_t>(Progress::Calls().back().stage - 1);
    EXPECT_EQ(burn.instrument.Exchanges().size(), GetParam().call - stages);
    burn.ExpectUntouchedConnection();
}

INSTANTIATE_TEST_SUITE_P(Calls, FirmwareCancel, testing::ValuesIn(kCancels),
                         [](const auto& parameter) { return parameter.param.name; });

TEST(FirmwareCancelAtOnce, LeavesTheFlashUntouched)
{
    FirmwareBurnCase burn;
    burn.instrument.ClearExchanges();
    const std::uint64_t generation = burn.instrument.FlashGeneration();
    Progress::CancelAt(0);
    EXPECT_EQ(BurnFirmware(Progress::On), -1);
    EXPECT_EQ(Progress::Calls(), ToldList({{BURN_ERASE, 0}}));
    EXPECT_EQ(burn.instrument.FlashGeneration(), generation);
    EXPECT_TRUE(burn.instrument.Exchanges().empty());
    burn.ExpectUntouchedConnection();
}

TEST(FirmwareFailureToRestart, IsToldAndReturned)
{
    FirmwareBurnCase burn;
    Progress::AnswerBy([&](const Told& told, std::size_t) {
        if (told.stage == BURN_RESTART) burn.instrument.Unplug();
        return 0;
    });
    EXPECT_EQ(BurnFirmware(Progress::On), -10);
    ToldList expected = FpgaCalls();
    expected.back() = {BURN_FINISHED, -10};
    EXPECT_EQ(Progress::Calls(), expected);
    EXPECT_TRUE(Listener::WaitFor(false));
}

TEST(FirmwareRestart, NeedsNoReply)
{
    FirmwareBurnCase burn;
    burn.instrument.Inject(MakeFault(FaultKind::Silence, Request::Restart));
    EXPECT_EQ(BurnFirmware(Progress::On), 0);
    EXPECT_EQ(burn.instrument.Firmware().runningFpga.version[3], 7);
}

// Ten attempts, each a second.
TEST(FirmwareRestart, WithoutReturnIsToldReturnedAndSearched)
{
    FirmwareBurnCase burn;
    burn.instrument.SetRestart({Milliseconds(300), false});
    std::chrono::steady_clock::time_point searched;
    Progress::AnswerBy([&](const Told& told, std::size_t) {
        if (told.stage == BURN_RECONNECT) searched = std::chrono::steady_clock::now();
        return 0;
    });
    EXPECT_EQ(BurnFirmware(Progress::On), -11);
    EXPECT_GE(std::chrono::steady_clock::now() - searched, std::chrono::seconds(10));
    ToldList expected = FpgaCalls();
    expected.push_back({BURN_FINISHED, -11});
    EXPECT_EQ(Progress::Calls(), expected);
    EXPECT_TRUE(Listener::WaitFor(false));
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_EQ(CountLockFiles(), 0);

    burn.instrument.Plug();
    EXPECT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true, false, true}));
    EXPECT_EQ(burn.instrument.Firmware().runningFpga.version[3], 7);
}

// Slower than the first attempt.
TEST(FirmwareRestart, IsWaitedFor)
{
    FirmwareBurnCase burn;
    burn.instrument.SetRestart({Milliseconds(3000), true});
    EXPECT_EQ(BurnFirmware(Progress::On), 0);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true}));
}

TEST(FirmwareAfterAFailure, KeepsTheImageForAnotherBurn)
{
    FirmwareBurnCase burn;
    burn.instrument.Inject(MakeFault(FaultKind::Silence, Request::FlashErase, 1, 1));
    ASSERT_EQ(BurnFirmware(Progress::On), -6);
    EXPECT_EQ(BurnFirmware(Progress::On), 0);
    EXPECT_EQ(burn.instrument.Firmware().runningFpga.version[3], 7);
}

TEST(FirmwareWithoutACallback, IsBurntAllTheSame)
{
    FirmwareBurnCase burn;
    EXPECT_EQ(BurnFirmware(nullptr), 0);
    EXPECT_EQ(burn.instrument.Firmware().runningFpga.version[3], 7);
}

TEST(FirmwareWithoutAnImage, TouchesNothing)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    instrument.ClearExchanges();
    EXPECT_EQ(BurnFirmware(Progress::On), -2);
    EXPECT_EQ(Progress::Calls(), ToldList({{BURN_FINISHED, -2}}));
    EXPECT_EQ(BurnFirmware(nullptr), -2);
    EXPECT_TRUE(instrument.Exchanges().empty());
    EXPECT_TRUE(VRAXIsConnected());
}
