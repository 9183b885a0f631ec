#include "device/Identification.h"

#include <cstdio>
#include <cstring>

#include "device/Device.h"
#include "device/Exchange.h"
#include "device/ModuleList.h"
#include "platform/ByteOrder.h"

namespace {
constexpr unsigned kIdentifyWaitMs = 80;
constexpr unsigned kInformationWaitMs = 100;
constexpr unsigned kIdentifyReplyBytes = 12;
constexpr unsigned kInformationReplyBytes = 5;
constexpr unsigned kMaxDrainedBlocks = 256;
constexpr LEDType kNoLed = 3;
constexpr std::size_t kSerialNumberLength = 14;
constexpr int kSixteenBits = 16;
constexpr int kTwelveBits = 12;

ProbeCommands s_commands = {};

MODEL_INFORMATION ParseModelRecord(const std::uint8_t (&record)[kModelRecordBytes])
{
    MODEL_INFORMATION info = {};
    info.typeLetters[0] = static_cast<char>(record[1]);
    info.typeLetters[1] = static_cast<char>(record[2]);
    info.modelCode[0] = record[3];
    info.modelCode[1] = record[4];
    info.yearOrLot = record[5];
    info.sequenceNumber = ReadBig16(record + 6);
    for (LEDType& type : info.ledTypes) type = kNoLed;
    return info;
}

int FullModelNumber(const MODEL_INFORMATION& info)
{
    return info.modelCode[0] << 8 | info.modelCode[1];
}

void UpdatePPGLedTypeByModelNumber(MODEL_INFORMATION* info)
{
    const char letters[2] = {info->typeLetters[0], info->typeLetters[1]};
    const LedPattern pattern = LookUpLedPattern(letters, FullModelNumber(*info));
    for (int i = 0; i < 3; ++i) info->ledTypes[i] = pattern.types[i];
}

void UpdateDeviceFeatureByPPGModule(const MODEL_INFORMATION* info)
{
    g_DeviceFeature.Store(LookUpDeviceFeature(FullModelNumber(*info)));
}

// One short information command: two or three bytes, a pause, a reply of its own length.
bool Ask(CExchange& line, const std::uint8_t* request, unsigned length, unsigned waitMs,
         std::uint8_t* reply, unsigned replyLength)
{
    if (!line.Send(request, length)) return false;
    SleepMilliseconds(waitMs);
    return line.Receive(reply, replyLength);
}

// The resolution of the PPG converters in bits.
int DoGetPPGDacLevel(CExchange& line)
{
    const std::uint8_t request[] = {0x55, 0x00, 0x81};
    std::uint8_t reply[kIdentifyReplyBytes];
    if (!line.Send(request, sizeof request) || !line.Receive(reply, sizeof reply)) {
        return kTwelveBits;
    }
    return reply[4] == 1 ? kSixteenBits : kTwelveBits;
}

// Only firmware 1.3 and later answers the information commands.
bool AnswersInformation(const HardwareInformation& info)
{
    return info.firmwareMajor >= 2 || (info.firmwareMajor == 1 && info.firmwareMinor >= 3);
}

bool ReadMainRecord(HardwareInformation& hardware)
{
    std::uint8_t record[kModelRecordBytes];
    if (!s_commands.readMainRecord(record)) return false;
    g_ModelInfo.Store(ParseModelRecord(record));
    hardware.firmwareMajor = record[10];
    hardware.firmwareMinor = record[11];
    hardware.hardwareMajor = record[8];
    hardware.hardwareMinor = record[9];
    g_HWInfo.Store(hardware);
    return true;
}

bool ReadMainVersions(CExchange& line)
{
    const std::uint8_t askHardware[] = {0xAA, 0x02};
    const std::uint8_t askFirmware[] = {0xAA, 0x03};
    std::uint8_t hardware[kInformationReplyBytes];
    std::uint8_t firmware[kInformationReplyBytes];
    if (!Ask(line, askHardware, sizeof askHardware, kInformationWaitMs, hardware,
             sizeof hardware) ||
        !Ask(line, askFirmware, sizeof askFirmware, kInformationWaitMs, firmware,
             sizeof firmware)) {
        return false;
    }
    g_HWInfo.Store({firmware[1], firmware[2], firmware[3], firmware[4], hardware[1], hardware[2]});
    return true;
}

bool ReadModuleRecord(HardwareInformation& versions)
{
    std::uint8_t record[kModelRecordBytes];
    if (!s_commands.readModuleRecord(record)) return false;
    g_PPGModelInfo.Store(ParseModelRecord(record));
    versions = g_PPGHWInfo.Load();
    versions.hardwareMajor = record[8];
    versions.hardwareMinor = record[9];
    g_PPGHWInfo.Store(versions);
    return true;
}

bool ReadModuleVersions(CExchange& line, HardwareInformation& versions)
{
    const bool is3407 = GetPPGFullModelNumber() == kPPGModel3407;
    const std::uint8_t request[] = {static_cast<std::uint8_t>(is3407 ? 0xB9 : 0xB8), 0x00, 0x01};
    std::uint8_t reply[kReplyBytes];
    if (!Ask(line, request, sizeof request, kInformationWaitMs, reply, sizeof reply)) return false;
    versions.firmwareMajor = reply[4];
    versions.firmwareMinor = reply[5];
    versions.firmwareBuild = reply[6];
    versions.firmwareRevision = reply[7];
    g_PPGHWInfo.Store(versions);
    return true;
}

// Stops at the first step that fails; what was read by then stays.
void UpdateDeviceInformation(CExchange& line)
{
    ForgetDevice();
    s_commands.clearPPGFactorySettings();
    g_DeviceFeature.Clear();

    HardwareInformation hardware = {};
    if (!ReadMainRecord(hardware)) return;
    if (!AnswersInformation(hardware)) return;
    if (!ReadMainVersions(line)) return;
    HardwareInformation versions = {};
    if (!ReadModuleRecord(versions)) return;
    if (!ReadModuleVersions(line, versions)) return;

    MODEL_INFORMATION module = g_PPGModelInfo.Load();
    UpdatePPGLedTypeByModelNumber(&module);
    g_PPGModelInfo.Store(module);
    UpdateDeviceFeatureByPPGModule(&module);

    const auto fullScale = static_cast<std::uint16_t>((1 << DoGetPPGDacLevel(line)) - 1);
    g_nPPGDCDacLevel = fullScale;
    g_nPPGACDacLevel = fullScale;
    s_commands.switchDynamicLightOff();
}

// A port of another device may never fall silent: after a number of blocks it is not the target.
bool DrainPort()
{
    unsigned char block[kReplyBytes];
    for (unsigned i = 0; i < kMaxDrainedBlocks; ++i) {
        if (DeviceReadData(block, sizeof block) != 0) continue;
        s_nRepliesPending = 0;  // nothing more comes
        return true;
    }
    return false;
}
}  // namespace

void SetProbeCommands(const ProbeCommands& commands) { s_commands = commands; }

bool IsTargetDevice()
{
    s_commands.stopSampling();
    if (!DrainPort()) return false;

    CExchange line;
    const std::uint8_t request[] = {0x55, 0x00, 0x00};
    std::uint8_t reply[kIdentifyReplyBytes];
    if (!Ask(line, request, sizeof request, kIdentifyWaitMs, reply, sizeof reply)) return false;
    if (std::memcmp(reply + 4, "TVRP", 4) != 0) return false;

    UpdateDeviceInformation(line);
    MODEL_INFORMATION info = g_ModelInfo.Load();
    info.sequenceNumber = ReadBig16(reply + 10);  // the answer overrides the flash copy
    g_ModelInfo.Store(info);
    return true;
}

void ForgetDevice()
{
    CApiLock lock;
    g_ModelInfo.Clear();
    g_PPGModelInfo.Clear();
    g_HWInfo.Clear();
}

int GetPPGFullModelNumber() { return FullModelNumber(g_PPGModelInfo.Load()); }

bool _IsPPGConnected()
{
    const MODEL_INFORMATION info = g_PPGModelInfo.Load();
    return info.typeLetters[0] == 'A' && info.typeLetters[1] == 'P';
}

int ExtRespIsAvailable()
{
    const MODEL_INFORMATION info = g_PPGModelInfo.Load();
    return info.typeLetters[0] == 'E' && info.typeLetters[1] == 'R' ? 1 : 0;
}

const char* FormatSerialNumber(const MODEL_INFORMATION& record, char* buffer)
{
    constexpr std::size_t kBufferBytes = 32;
    std::memset(buffer, 0, kBufferBytes);
    std::snprintf(buffer, kBufferBytes, "T%c%c%02x%02x-%02d%04d", record.typeLetters[0],
                  record.typeLetters[1], record.modelCode[0], record.modelCode[1],
                  static_cast<int>(record.yearOrLot), static_cast<int>(record.sequenceNumber));
    if (std::strlen(buffer) != kSerialNumberLength) std::memset(buffer, 0, kBufferBytes);
    return buffer;
}
