// A burn of the FPGA image that succeeds: frames, waits, calls, and the instrument afterwards.

#include <gtest/gtest.h>

#include "support/Firmware.h"
#include "support/LinkHost.h"
#include "support/Slowdown.h"
#include "support/Timing.h"

using namespace instrument;

namespace {

constexpr std::uint8_t kEcgBoard = 3;

std::vector<Bytes> ExpectedFrames(const Bytes& image)
{
    std::vector<Bytes> frames;
    for (const ImageFrame& frame : FpgaFrames(kSector)) {
        frames.push_back(EraseRequest(kEcgBoard, frame.address));
    }
    for (const ImageFrame& frame : FpgaFrames(kFpgaFrame)) {
        frames.push_back(WriteRequest(kEcgBoard, frame.address, Part(image, frame)));
    }
    for (const ImageFrame& frame : FpgaFrames(kFpgaFrame)) {
        frames.push_back(
            ReadRequest(kEcgBoard, frame.address, static_cast<std::uint8_t>(frame.count)));
    }
    frames.push_back({0xDD});
    return frames;
}

// From the first frame to the restart.
std::vector<Exchange> FramesOfTheBurn(const SimulatedInstrument& instrument)
{
    std::vector<Exchange> exchanges = instrument.Exchanges();
    const auto restart =
        std::find_if(exchanges.begin(), exchanges.end(),
                     [](const Exchange& exchange) { return exchange.kind == Request::Restart; });
    if (restart != exchanges.end()) exchanges.erase(restart + 1, exchanges.end());
    return exchanges;
}

std::vector<Exchange> OfKind(const std::vector<Exchange>& exchanges, Request kind)
{
    std::vector<Exchange> found;
    std::copy_if(exchanges.begin(), exchanges.end(), std::back_inserter(found),
                 [kind](const Exchange& exchange) { return exchange.kind == kind; });
    return found;
}

class FirmwareBurn : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(LoadFpga(image_));
        records_ = Records();
        instrument_.ClearExchanges();
    }
    Bytes Records() const
    {
        return instrument_.ReadFlash(kEcgBoard, kRecordsBegin, kRecordsEnd - kRecordsBegin);
    }

    const Bytes image_ = FpgaImage(7);
    SimulatedInstrument instrument_{0};
    CConnectedHost host_{kPatientMs};
    Bytes records_;
};

}  // namespace

TEST_F(FirmwareBurn, ErasesWritesVerifiesAndRestarts)
{
    ASSERT_EQ(BurnFirmware(Progress::On), 0);
    const std::vector<Bytes> sent = Requests(FramesOfTheBurn(instrument_));
    const std::vector<Bytes> expected = ExpectedFrames(image_);
    ASSERT_EQ(sent.size(), expected.size());
    for (std::size_t i = 0; i < sent.size(); ++i) ASSERT_EQ(sent[i], expected[i]) << "frame " << i;
    ExpectNoRefusals(instrument_);
}

TEST_F(FirmwareBurn, TellsThePercentageOfTheAddress)
{
    ASSERT_EQ(BurnFirmware(Progress::On), 0);
    ToldList expected = FpgaCalls();
    expected.push_back({BURN_FINISHED, 100});
    const ToldList told = Progress::Calls();
    ASSERT_EQ(told.size(), expected.size());
    for (std::size_t i = 0; i < told.size(); ++i) ASSERT_EQ(told[i], expected[i]) << "call " << i;
    EXPECT_EQ(told[100], (Told{BURN_ERASE, 95}));  // the first sector of the upper range
    EXPECT_EQ(told[99], (Told{BURN_ERASE, 82}));
}

TEST_F(FirmwareBurn, LeavesTheRecordsOfTheBoardAlone)
{
    const Bytes marks(kRecordsEnd - kRecordsBegin, 0x5A);
    instrument_.WriteFlash(kEcgBoard, kRecordsBegin, marks);
    ASSERT_EQ(BurnFirmware(Progress::On), 0);
    const Bytes held = instrument_.ReadFlash(kEcgBoard, 0, kFpgaBytes);
    EXPECT_EQ(Part(held, {0, kRecordsBegin}), Part(image_, {0, kRecordsBegin}));
    EXPECT_EQ(Part(held, {kRecordsEnd, kFpgaBytes - kRecordsEnd}),
              Part(image_, {kRecordsEnd, kFpgaBytes - kRecordsEnd}));
    EXPECT_EQ(Records(), marks);
}

TEST_F(FirmwareBurn, RunsTheNewImageAfterwards)
{
    ASSERT_EQ(BurnFirmware(Progress::On), 0);
    const FirmwareState firmware = instrument_.Firmware();
    EXPECT_EQ(firmware.runningFpga.version, (std::array<std::uint8_t, 4>{1, 2, 3, 7}));
    EXPECT_TRUE(firmware.runningFpga.isAccepted);
    EXPECT_EQ(firmware.restarts, 1U);
    EXPECT_EQ(firmware.spoiltWrites, 0U);
}

TEST_F(FirmwareBurn, WaitsAfterEachEraseAndNotAfterWrites)
{
    ASSERT_EQ(BurnFirmware(Progress::On), 0);
    const std::vector<Exchange> frames = FramesOfTheBurn(instrument_);
    const std::vector<Exchange> erases = OfKind(frames, Request::FlashErase);
    const std::vector<Exchange> writes = OfKind(frames, Request::FlashWrite);
    ASSERT_EQ(erases.size(), kFpgaErases);
    EXPECT_GE(MsBetween(erases.front().arrived, writes.front().arrived),
              kFpgaErases * 40.0 - kStampJitterMs);
    EXPECT_GE(MedianArrivalGapMs(erases), 40.0 - kStampJitterMs);
    EXPECT_LT(MedianArrivalGapMs(writes), 20.0 * kSlowdown);
}

TEST_F(FirmwareBurn, AnswersOtherThanOneLetItGoOn)
{
    Progress::AnswerBy([](const Told& told, std::size_t) {
        if (told.stage >= BURN_RESTART) return 1;
        return told.value % 2 == 0 ? 2 : -1;
    });
    EXPECT_EQ(BurnFirmware(Progress::On), 0);
    EXPECT_EQ(instrument_.HeldImage(Image::Fpga, 1024), Part(image_, {0, 1024}));
}

// What acknowledges a record is not looked at, nor what stands behind the bytes that were asked for:
// 16 in the last frame of the lower range.
TEST_F(FirmwareBurn, AWholeReplyIsEnough)
{
    instrument_.Inject(MakeFault(FaultKind::WrongAcknowledge, Request::FlashErase, kForEver));
    instrument_.Inject(MakeFault(FaultKind::WrongAcknowledge, Request::FlashWrite, kForEver));
    Fault changed = MakeFault(FaultKind::ChangedByte, Request::FlashRead, 1, 2133);
    changed.bytes = 16 + 16;
    instrument_.Inject(changed);
    EXPECT_EQ(BurnFirmware(Progress::On), 0);
}

TEST_F(FirmwareBurn, IsConnectedAndPreparedAfterwards)
{
    ASSERT_EQ(BurnFirmware(Progress::On), 0);
    EXPECT_TRUE(VRAXIsConnected());
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true}));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_STREQ(VRAXGetSerialNumber(), "TEC1020-250042");
    EXPECT_GE(instrument_.Relays().commands, 2U);  // once for each of its starts
    EXPECT_EQ(CountLockFiles(), 1);
    // The monitor goes on.
    instrument_.Unplug();
    EXPECT_TRUE(Listener::WaitFor(false));
}

TEST_F(FirmwareBurn, FindsTheInstrumentAtAnotherPort)
{
    Options elsewhere;
    elsewhere.port = 6;
    elsewhere.plugged = false;
    SimulatedInstrument other(elsewhere);
    Progress::AnswerBy([&](const Told& told, std::size_t) {
        if (told.stage == BURN_RECONNECT) {
            instrument_.Unplug();
            other.Plug();
        }
        return 0;
    });
    EXPECT_EQ(BurnFirmware(Progress::On), 0);
    EXPECT_TRUE(VRAXIsConnected());
    EXPECT_TRUE(std::filesystem::exists(LockFilePath(6)));
    EXPECT_FALSE(std::filesystem::exists(LockFilePath(0)));
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true}));
    EXPECT_TRUE(other.WaitForExchange(Request::Relays));
}

TEST_F(FirmwareBurn, TakesTheImageThatWasLoadedWhenItBegan)
{
    Progress::DoAt(3, [] { LoadFpga(FpgaImage(99)); });
    ASSERT_EQ(BurnFirmware(Progress::On), 0);
    EXPECT_EQ(instrument_.Firmware().runningFpga.version[3], 7);
}

TEST_F(FirmwareBurn, KeepsTheImageOfARefusedFileOut)
{
    const TempDir folder;
    const std::string path = WriteImageFile(folder, "short", FpgaImage(99, 122879));
    ASSERT_EQ(LoadWith(LoadFirmwareFile, path).result, -6);
    ASSERT_EQ(BurnFirmware(Progress::On), 0);
    EXPECT_EQ(instrument_.Firmware().runningFpga.version[3], 7);
}
