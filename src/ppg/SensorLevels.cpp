#include "ppg/SensorLevels.h"

#include "device/Device.h"
#include "device/Exchange.h"
#include "device/Identification.h"
#include "ppg/CalibrationSettings.h"

SharedRecord<FACTORY_SETTING> g_PPGFactorySettings;

namespace {
constexpr std::uint8_t kGroup = 0xCC;
constexpr std::uint8_t kRead = 0x00;
constexpr std::uint8_t kWrite = 0xFF;
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr unsigned kSelectorOffset = 2;
constexpr unsigned kAckOffset = 3;
constexpr unsigned kValueOffset = 4;
constexpr unsigned kModeWaitMs = 80;
constexpr int kPositions = 3;
constexpr int kHighestLevel = 255;
constexpr LEDType kNoLed = 3;
constexpr std::uint8_t kValidSetting = 1;
// In the place of a factory level 0.
constexpr int kDefaultLedLevel = 150;

using Setting = PPGCalibrationSetting;
constexpr Setting kLedLevels[kPositions] = {Setting::kLedLevel1, Setting::kLedLevel2,
                                            Setting::kLedLevel3};
constexpr Setting kTriggerLevels[kPositions] = {Setting::kTriggerLevel1, Setting::kTriggerLevel2,
                                                Setting::kTriggerLevel3};

bool IsPosition(int position) { return position >= 1 && position <= kPositions; }
bool IsLevel(int level) { return level >= 0 && level <= kHighestLevel; }

// The short form of the setting's frame; the reply need not be an acknowledgement.
bool _SetPPGMode(Setting selector, int value)
{
    CExchange line;
    const std::uint8_t request[] = {kGroup, kWrite, static_cast<std::uint8_t>(selector), 0x00,
                                    static_cast<std::uint8_t>(value)};
    std::uint8_t reply[kReplyBytes];
    return line.Transact(request, sizeof request, reply, kModeWaitMs);
}

// -1 when it could not be read.
int _GetPPGMode(Setting selector)
{
    CExchange line;
    const std::uint8_t request[] = {kGroup, kRead, static_cast<std::uint8_t>(selector), 0x00, 0x00};
    std::uint8_t reply[kReplyBytes];
    if (!line.Transact(request, sizeof request, reply, kModeWaitMs)) return -1;
    const bool isValid = reply[0] == kGroup && reply[kSelectorOffset] == request[kSelectorOffset] &&
                         reply[kAckOffset] == kAcknowledged;
    return isValid ? reply[kValueOffset] : -1;
}

enum class FactoryResult { kValid, kNotRead, kNotValid };

FactoryResult LoadFactorySetting(FACTORY_SETTING& setting)
{
    setting = g_PPGFactorySettings.Load();
    if (setting.valid == kValidSetting) return FactoryResult::kValid;
    if (!ReadFactorySetting(&setting)) return FactoryResult::kNotRead;
    g_PPGFactorySettings.Store(setting);
    return setting.valid == kValidSetting ? FactoryResult::kValid : FactoryResult::kNotValid;
}
}  // namespace

int SetPPGTriggerLevel(int position, int level)
{
    CApiLock lock;
    if (DeviceIsConnected() == 0) return -1;
    if (!IsPosition(position)) return -2;
    if (!IsLevel(level)) return -3;
    return _SetPPGMode(kTriggerLevels[position - 1], level) ? 0 : -4;
}

int GetPPGTriggerLevel(int position)
{
    CApiLock lock;
    if (DeviceIsConnected() == 0) return -1;
    if (!IsPosition(position)) return -2;
    const int level = _GetPPGMode(kTriggerLevels[position - 1]);
    return level < 0 ? -3 : level;
}

int ResetPPGTriggerLevel(void)
{
    CApiLock lock;
    if (DeviceIsConnected() == 0) return -1;
    FACTORY_SETTING setting;
    const FactoryResult result = LoadFactorySetting(setting);
    if (result != FactoryResult::kValid) return result == FactoryResult::kNotRead ? -2 : -3;
    const MODEL_INFORMATION module = g_PPGModelInfo.Load();
    const int levels[] = {setting.triggerLevel1, setting.triggerLevel2, setting.triggerLevel3};
    for (int i = 0; i < kPositions; ++i) {
        if (module.ledTypes[i] == kNoLed) continue;
        if (!_SetPPGMode(kTriggerLevels[i], levels[i])) return -4;
    }
    return 0;
}

int SetPPGLedLevel(int position, int level)
{
    CApiLock lock;
    if (!IsPosition(position)) return -1;
    if (!IsLevel(level)) return -2;
    return _SetPPGMode(kLedLevels[position - 1], level) ? 0 : -3;
}

int ResetPPGLedLevel(void)
{
    CApiLock lock;
    FACTORY_SETTING setting;
    const FactoryResult result = LoadFactorySetting(setting);
    if (result != FactoryResult::kValid) return result == FactoryResult::kNotRead ? -1 : -2;
    const MODEL_INFORMATION module = g_PPGModelInfo.Load();
    const int levels[] = {setting.ledLevel1, setting.ledLevel2, setting.ledLevel3};
    // Positions without an LED are written too, with their level as read.
    for (int i = 0; i < kPositions; ++i) {
        const bool takesDefault = levels[i] == 0 && module.ledTypes[i] != kNoLed;
        if (!_SetPPGMode(kLedLevels[i], takesDefault ? kDefaultLedLevel : levels[i])) return -3;
    }
    return 0;
}
