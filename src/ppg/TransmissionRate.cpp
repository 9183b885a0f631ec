#include "ppg/TransmissionRate.h"

#include <algorithm>

#include "device/Exchange.h"
#include "device/Identification.h"
#include "ppg/CalibrationSettings.h"
#include "storage/Records.h"

namespace {
constexpr int kModes = 6;
constexpr int kFirstChannel = 1;
constexpr int kLastChannel = 3;
// Word indices of the tables in the MCU factory setting.
constexpr int kLowTable = 18;
constexpr int kHighTable = 36;
constexpr int kLowTable2 = 24;
constexpr int kHighTable2 = 42;
constexpr std::uint16_t kDefaultLow = 800;
constexpr std::uint16_t kDefaultHigh = 1023;

Shared<int> s_transmissionMode = 0;
// The last values written, a, b, c, d. They live for the process.
Shared<std::uint16_t> s_kept[4];

bool WriteChanged(Shared<std::uint16_t>& kept, std::uint16_t value, PPGCalibrationSetting setting,
                  std::uint16_t written)
{
    if (kept == value) return true;
    if (!WriteCalibrationSetting(setting, written)) return false;
    kept = value;
    return true;
}
}  // namespace

bool UpdateMCUTransmissionRate(std::uint16_t a, std::uint16_t b, std::uint16_t c, std::uint16_t d)
{
    if (GetPPGFullModelNumber() != kPPGModel3407) return true;
    CApiLock lock;  // what is kept is what was written last
    // b and c are crossed between the comparison and the write, deliberately: a change of b writes
    // c to setting 2, a change of c writes b to setting 25.
    return WriteChanged(s_kept[0], a, PPGCalibrationSetting::kRate1, a) &&
           WriteChanged(s_kept[1], b, PPGCalibrationSetting::kRate2, c) &&
           WriteChanged(s_kept[2], c, PPGCalibrationSetting::kRate3, b) &&
           WriteChanged(s_kept[3], d, PPGCalibrationSetting::kRate4, d);
}

bool ApplyDefaultTransmissionRate()
{
    return UpdateMCUTransmissionRate(kDefaultLow, kDefaultHigh, kDefaultLow, kDefaultHigh);
}

bool VRAXConfigureTransmissionRate(int mode)
{
    CApiLock lock;
    const int index = std::clamp(mode, 0, kModes - 1);
    s_transmissionMode = index;
    const FACTORY_SETTING_MCU setting = g_FactorySettingMCU.Load();
    return UpdateMCUTransmissionRate(setting.words[kLowTable + index],
                                     setting.words[kHighTable + index],
                                     setting.words[kLowTable2 + index],
                                     setting.words[kHighTable2 + index]);
}

bool VRAXGetTransmissionRate(int channel, unsigned* a, unsigned* b)
{
    CApiLock lock;
    if (a == nullptr || b == nullptr) return false;
    if (channel < kFirstChannel || channel > kLastChannel) return false;
    if (GetPPGFullModelNumber() != kPPGModel3407) return false;
    const FACTORY_SETTING_MCU setting = g_FactorySettingMCU.Load();
    const int offset = kModes * (channel - kFirstChannel) + s_transmissionMode;
    *a = setting.words[kHighTable + offset] + 1u;
    *b = setting.words[kLowTable + offset] + 1u;
    return true;
}
