// Who is behind the port: the probe, the records read from it, and the capabilities of its modules.
#pragma once

#include <cstdint>

#include "platform/Shared.h"
#include "vrax.h"

// Firmware and hardware versions, six unsigned words.
using HardwareInformation = VRAXHardwareInformation;
using DeviceFeature = VRAXDeviceFeature;

// Written by the connect thread (or VRAXSetDeviceHandle and the manufacturing writers) under the API
// lock, read by any thread.
extern SharedRecord<MODEL_INFORMATION> g_ModelInfo;
extern SharedRecord<MODEL_INFORMATION> g_PPGModelInfo;
extern SharedRecord<HardwareInformation> g_HWInfo;
extern SharedRecord<HardwareInformation> g_PPGHWInfo;
// Holds the default record at load, so that PPG waveforms can be set without an instrument.
extern SharedRecord<DeviceFeature> g_DeviceFeature;
// Full-scale DAC codes of the PPG module.
extern Shared<std::uint16_t> g_nPPGDCDacLevel;
extern Shared<std::uint16_t> g_nPPGACDacLevel;

constexpr int kPPGModel3407 = 0x3407;

// The instrument is behind the open port. Fills the records.
bool IsTargetDevice();
// Clears g_ModelInfo, g_PPGModelInfo and g_HWInfo: the connection has ended.
void ForgetDevice();

// The model code of the PPG module, high byte first.
int GetPPGFullModelNumber();
// The accessory is a PPG module.
bool _IsPPGConnected();
// The accessory is the external respiration module; not 0 when present.
int ExtRespIsAvailable();

// "T%c%c%02x%02x-%02d%04d", or the empty string when that has not 14 characters. `buffer` holds 32.
const char* FormatSerialNumber(const MODEL_INFORMATION& record, char* buffer);

constexpr unsigned kModelRecordBytes = 12;

// What the probe needs of the rooms above.
struct ProbeCommands {
    void (*stopSampling)();
    void (*clearPPGFactorySettings)();
    void (*switchDynamicLightOff)();
    // The records in the instrument's flash; false when they cannot be read.
    bool (*readMainRecord)(std::uint8_t (&record)[kModelRecordBytes]);
    bool (*readModuleRecord)(std::uint8_t (&record)[kModelRecordBytes]);
};
void SetProbeCommands(const ProbeCommands& commands);
