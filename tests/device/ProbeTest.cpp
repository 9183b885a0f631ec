// What goes over the wire while a port is probed, and which answers are accepted.

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>
#include <vector>

#include "device/Identification.h"
#include "ppg/Sensor.h"
#include "support/Descriptors.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/RawPort.h"
#include "support/Timing.h"
#include "vrax.h"

using instrument::Exchange;
using instrument::FaultKind;
using instrument::Options;
using instrument::Request;
using instrument::SimulatedInstrument;

namespace {
const Bytes kStopSampling = {0xAD, 0xFF, 0x00, 0x00, 0x00};
const Bytes kIdentify = {0x55, 0x00, 0x00};
const Bytes kReadMainRecord = ReadRequest(1, 0, 12);
const Bytes kAskHardware = {0xAA, 0x02};
const Bytes kAskFirmware = {0xAA, 0x03};
const Bytes kReadModuleRecord = ReadRequest(19, 0, 12);
const Bytes kAskBoard3407 = {0xB9, 0x00, 0x01};
const Bytes kAskBoard = {0xB8, 0x00, 0x01};
const Bytes kAskDacLevel = {0x55, 0x00, 0x81};
const Bytes kDynamicLightOff = {0xB0, 0xFF, 0x03, 0x00, 0x00};

Options WithFirmware(std::uint8_t major, std::uint8_t minor)
{
    Options options = COpenInstrument::WithModule(0x3407);
    options.firmware = {major, minor, 0, 7};
    return options;
}

std::vector<Bytes> ProbeRequests(const Options& options)
{
    SimulatedInstrument device(options);
    EXPECT_EQ(DoFindDevice(options.port), 1);
    DeviceClose();
    return Requests(device.Exchanges());
}

// The port is closed and unlocked again.
void ExpectRejected(const Bytes& identity)
{
    SimulatedInstrument device(0);
    device.SetReply(kIdentify, identity);
    const auto before = CountDescriptors();
    EXPECT_EQ(DoFindDevice(0), 0);
    EXPECT_EQ(g_hDevice, -1);
    EXPECT_EQ(DeviceCheckPath("/dev/ttyACM0"), 0);
    EXPECT_FALSE(std::filesystem::exists("/var/lock/tessarin.ACM0.lock"));
    EXPECT_EQ(CountDescriptors(), before);
    EXPECT_EQ(Requests(device.Exchanges()), (std::vector<Bytes>{kStopSampling, kIdentify}));
}

Bytes Identity(const char* letters)
{
    Bytes reply = {0x55, 0x00, 0x00, 0xFF};
    for (int i = 0; i < 4; ++i) reply.push_back(static_cast<std::uint8_t>(letters[i]));
    return Padded(reply, 12);
}

double ArrivalGapMs(const std::vector<Exchange>& exchanges, const Bytes& first, const Bytes& second)
{
    for (std::size_t i = 1; i < exchanges.size(); ++i) {
        if (exchanges[i - 1].request == first && exchanges[i].request == second) {
            return MsBetween(exchanges[i - 1].arrived, exchanges[i].arrived);
        }
    }
    return -1.0;
}
}  // namespace

TEST(Probe, OfAnInstrumentWithThe3407ModuleSendsItsCommandsInOrder)
{
    EXPECT_EQ(ProbeRequests(COpenInstrument::WithModule(0x3407)),
              (std::vector<Bytes>{kStopSampling, kIdentify, kReadMainRecord, kAskHardware,
                                  kAskFirmware, kReadModuleRecord, kAskBoard3407, kAskDacLevel,
                                  kDynamicLightOff}));
}

TEST(Probe, AsksEveryOtherModulesBoardInAnotherGroup)
{
    EXPECT_EQ(ProbeRequests(COpenInstrument::WithModule(0x3307)),
              (std::vector<Bytes>{kStopSampling, kIdentify, kReadMainRecord, kAskHardware,
                                  kAskFirmware, kReadModuleRecord, kAskBoard, kAskDacLevel,
                                  kDynamicLightOff}));
}

TEST(Probe, WithoutAModuleEndsWithItsRecord)
{
    EXPECT_EQ(ProbeRequests({}),
              (std::vector<Bytes>{kStopSampling, kIdentify, kReadMainRecord, kAskHardware,
                                  kAskFirmware, kReadModuleRecord}));
}

TEST(Probe, OfOldFirmwareEndsWithTheFlashRecord)
{
    const std::vector<Bytes> expected = {kStopSampling, kIdentify, kReadMainRecord};
    EXPECT_EQ(ProbeRequests(WithFirmware(1, 2)), expected);
    EXPECT_EQ(ProbeRequests(WithFirmware(0, 9)), expected);
}

TEST(Probe, OfFirmware13And20GoesOn)
{
    EXPECT_EQ(ProbeRequests(WithFirmware(1, 3)).size(), 9u);
    // The dynamic light is off by now, so the switch is left alone.
    EXPECT_EQ(ProbeRequests(WithFirmware(2, 0)).size(), 8u);
}

TEST(Probe, SwitchesTheDynamicLightOffOnce)
{
    EXPECT_EQ(ProbeRequests(COpenInstrument::WithModule(0x3307)).back(), kDynamicLightOff);
    EXPECT_EQ(ProbeRequests(COpenInstrument::WithModule(0x3307)).back(), kAskDacLevel);
}

TEST(Probe, WaitsForTheIdentityAndTheVersions)
{
    std::vector<double> drain, identity, record, hardware, firmware, board;
    for (int i = 0; i < 5; ++i) {
        SimulatedInstrument device(COpenInstrument::WithModule(0x3407));
        const CStopwatch watch;
        ASSERT_EQ(DoFindDevice(0), 1);
        EXPECT_GE(watch.Ms(), 100 + 80 + 100 + 100 + 100 + 2 * 6);
        DeviceClose();
        const auto exchanges = device.Exchanges();
        drain.push_back(ArrivalGapMs(exchanges, kStopSampling, kIdentify));
        identity.push_back(ArrivalGapMs(exchanges, kIdentify, kReadMainRecord));
        record.push_back(ArrivalGapMs(exchanges, kReadMainRecord, kAskHardware));
        hardware.push_back(ArrivalGapMs(exchanges, kAskHardware, kAskFirmware));
        firmware.push_back(ArrivalGapMs(exchanges, kAskFirmware, kReadModuleRecord));
        board.push_back(ArrivalGapMs(exchanges, kAskBoard3407, kAskDacLevel));
    }
    EXPECT_GE(MedianMs(drain), 100.0 - kStampJitterMs);  // until nothing comes for a read budget
    EXPECT_GE(MedianMs(identity), 80.0 - kStampJitterMs);
    EXPECT_GE(MedianMs(record), 6.0 - kStampJitterMs);
    EXPECT_GE(MedianMs(hardware), 100.0 - kStampJitterMs);
    EXPECT_GE(MedianMs(firmware), 100.0 - kStampJitterMs);
    EXPECT_GE(MedianMs(board), 100.0 - kStampJitterMs);
}

TEST(Probe, AcceptsTheIdentityWhateverStandsAroundIt)
{
    SimulatedInstrument device(0);
    Bytes identity = Identity("TVRP");
    for (const std::size_t at : {0u, 1u, 2u, 3u, 8u, 9u}) identity[at] = 0x77;
    identity[10] = 0x12;
    identity[11] = 0x34;
    device.SetReply(kIdentify, identity);
    ASSERT_EQ(DoFindDevice(0), 1);
    EXPECT_EQ(g_ModelInfo.Load().sequenceNumber, 0x1234u);
    DeviceClose();
}

TEST(Probe, RejectsAnotherLastLetter) { ExpectRejected(Identity("TVRQ")); }
TEST(Probe, RejectsAnotherFirstLetter) { ExpectRejected(Identity("UVRP")); }
TEST(Probe, RejectsAnotherSecondLetter) { ExpectRejected(Identity("TWRP")); }
TEST(Probe, RejectsAnotherThirdLetter) { ExpectRejected(Identity("TVSP")); }
TEST(Probe, RejectsAShortIdentity)
{
    ExpectRejected({0x55, 0, 0, 0xFF, 'T', 'V', 'R', 'P', 0, 0, 0});
}
TEST(Probe, RejectsASilentPort) { ExpectRejected({}); }

TEST(Probe, RejectsAPortThatTakesNoBytes)
{
    const CRawPort port(0);
    port.FillOutput();
    EXPECT_EQ(DoFindDevice(0), 0);
    EXPECT_EQ(g_hDevice, -1);
}

TEST(Probe, RejectsAPortThatNeverFallsSilent)
{
    const CRawPort port(0);
    std::atomic<bool> stop{false};
    std::thread device([&] {
        const Bytes block(64, 0x24);
        while (!stop) {
            pollfd wait = {port.Master(), POLLOUT, 0};
            if (poll(&wait, 1, 10) <= 0) continue;
            [[maybe_unused]] const ssize_t count = write(port.Master(), block.data(), block.size());
        }
    });
    EXPECT_EQ(DoFindDevice(0), 0);
    stop = true;
    device.join();
    EXPECT_EQ(g_hDevice, -1);
}

TEST(Probe, DropsWhatAnInterruptedSamplingHasLeftOnTheLine)
{
    SimulatedInstrument device(0);
    device.SendUnsolicited(Bytes(640, 0xAD));
    instrument::Fault stray = FaultOn(Request::SamplingStop, FaultKind::Unsolicited);
    stray.data = Bytes(200, 0xAD);
    device.Inject(stray);
    EXPECT_EQ(DoFindDevice(0), 1);
    DeviceClose();
}

TEST(Probe, DoesNotNeedTheAnswerToTheStop)
{
    SimulatedInstrument device(0);
    device.Inject(FaultOn(Request::SamplingStop, FaultKind::Silence));
    EXPECT_EQ(DoFindDevice(0), 1);
    DeviceClose();
}

TEST(FindDevice, PassesPortsThatDoNotIdentifyThemselves)
{
    const CRawPort port0(0);
    const CRawPort port1(1);
    const CRawPort port2(2);
    Options options;
    options.port = 3;
    SimulatedInstrument device(options);
    ASSERT_EQ(FindDevice(-1), 1);
    EXPECT_EQ(DeviceCheckPath("/dev/ttyACM3"), 1);
    DeviceClose();
    Bytes asked = kStopSampling;
    asked.insert(asked.end(), kIdentify.begin(), kIdentify.end());
    for (const CRawPort* port : {&port0, &port1, &port2}) EXPECT_EQ(port->Receive(64, 50), asked);
}

TEST(SetDeviceHandle, ProbesThePortOfTheApplication)
{
    SimulatedInstrument device(COpenInstrument::WithModule(0x3307));
    const int port = open(device.Path().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(port, 0);
    VRAXSetDeviceHandle(port);
    EXPECT_EQ(VRAXGetDeviceHandle(), port);
    EXPECT_EQ(device.Exchanges(Request::Identify).size(), 1u);
    EXPECT_STREQ(VRAXGetSerialNumber(), "TEC1020-250042");
    EXPECT_FALSE(VRAXIsConnected());
    VRAXSetDeviceHandle(-1);
    close(port);
}

TEST(SetDeviceHandle, DoesNotProbeHandle0)
{
    VRAXSetDeviceHandle(0);
    EXPECT_EQ(VRAXGetDeviceHandle(), 0);
    EXPECT_STREQ(VRAXGetSerialNumber(), "");
    VRAXSetDeviceHandle(-1);
    EXPECT_EQ(VRAXGetDeviceHandle(), -1);
}
