// What is known of the instrument: records, versions, serial numbers, the bus voltage.

#include <cstdio>
#include <cstring>

#include "api/Setters.h"
#include "device/Exchange.h"
#include "device/Identification.h"
#include "ppg/Sensor.h"
#include "storage/ModelRecord.h"
#include "storage/Records.h"
#include "vrax.h"

namespace {
constexpr std::size_t kTextBytes = 32;

template <class Record>
bool CopyRecord(const SharedRecord<Record>& record, void* target)
{
    CApiLock lock;
    if (target == nullptr) return false;
    const Record copy = record.Load();
    std::memcpy(target, &copy, sizeof copy);
    return true;
}

const char* FormatFirmware(const HardwareInformation& info, char (&text)[kTextBytes])
{
    std::snprintf(text, sizeof text, "%d.%d.%02d.%02d", static_cast<int>(info.firmwareMajor),
                  static_cast<int>(info.firmwareMinor), static_cast<int>(info.firmwareBuild),
                  static_cast<int>(info.firmwareRevision));
    return text;
}
}  // namespace

bool VRAXGetDeviceInformation(MODEL_INFORMATION* info)
{
    CApiLock lock;
    return g_bConnected != 0 && CopyRecord(g_ModelInfo, info);
}

bool VRAXGetPPGDeviceInformation(MODEL_INFORMATION* info)
{
    CApiLock lock;
    const MODEL_INFORMATION module = g_PPGModelInfo.Load();
    if (module.typeLetters[0] == '\0' || module.typeLetters[1] == '\0') return false;
    return CopyRecord(g_PPGModelInfo, info);
}

bool VRAXGetHWInformation(void* info) { return CopyRecord(g_HWInfo, info); }
bool VRAXGetPPGHWInformation(void* info) { return CopyRecord(g_PPGHWInfo, info); }
void VRAXGetDeviceFeature(void* feature) { CopyRecord(g_DeviceFeature, feature); }

// Each of these texts stands in one buffer: the next call overwrites it.
const char* VRAXGetSerialNumber(void)
{
    static char s_text[kTextBytes];
    CApiLock lock;
    return FormatSerialNumber(g_ModelInfo.Load(), s_text);
}

const char* VRAXGetPPGSerialNumber(void)
{
    static char s_text[kTextBytes];
    CApiLock lock;
    return FormatSerialNumber(g_PPGModelInfo.Load(), s_text);
}

const char* VRAXGetFWVersion(void)
{
    static char s_text[kTextBytes];
    CApiLock lock;
    return FormatFirmware(g_HWInfo.Load(), s_text);
}

const char* GetPPGFwVersion(void)
{
    static char s_text[kTextBytes];
    CApiLock lock;
    return FormatFirmware(g_PPGHWInfo.Load(), s_text);
}

const char* VRAXGetHWVersion(void)
{
    static char s_text[kTextBytes];
    CApiLock lock;
    const HardwareInformation info = g_HWInfo.Load();
    std::snprintf(s_text, sizeof s_text, "%d.%d", static_cast<int>(info.hardwareMajor),
                  static_cast<int>(info.hardwareMinor));
    return s_text;
}

unsigned GetFWMainVer(void)
{
    CApiLock lock;
    return g_HWInfo.Load().firmwareMajor;
}

unsigned GetPPGFwMainVer(void)
{
    CApiLock lock;
    return g_PPGHWInfo.Load().firmwareMajor;
}

unsigned VRAXGetUSBBusVoltage(void)
{
    constexpr unsigned kVoltageOffset = 4;
    CExchange line;
    const std::uint8_t request[] = {0xCC, 0x00, 'B'};
    std::uint8_t reply[kReplyBytes];
    return line.Transact(request, sizeof request, reply) ? reply[kVoltageOffset] : 0;
}

bool VRAXSetDeviceInformation(const MODEL_INFORMATION* info)
{
    CApiLock lock;
    return info != nullptr && DeviceIsConnected() == 1 && SetModelInfo(info);
}

bool VRAXSetHWInformation(int major, int minor)
{
    CApiLock lock;
    return DeviceIsConnected() == 1 && SetHWInfo(major, minor);
}

bool VRAXReadMfgInfo(void* buffer, int length)
{
    CApiLock lock;
    return DeviceIsConnected() == 1 && ReadECGMfgInfo(static_cast<std::uint8_t*>(buffer), length);
}

bool VRAXWriteMfgInfo(const void* buffer, int length)
{
    CApiLock lock;
    return DeviceIsConnected() == 1 && WriteECGMfgInfo(buffer, length);
}

long VRAXGetDeviceHandle(void)
{
    CApiLock lock;
    return static_cast<long>(g_hDevice);
}

void VRAXSetDeviceHandle(long handle)
{
    CApiLock lock;
    g_hDevice = handle;
    g_bPortAdopted = handle != -1;
    if (handle != 0) IsTargetDevice();
    ForgetReplies();  // who answers is the application's affair from here on
}

bool VRAXEnableFPGASampling(bool enable)
{
    CApiLock lock;
    return EnableSignalStrengthDetection(enable ? 1 : 0);
}
