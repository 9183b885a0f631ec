#include "storage/Records.h"

#include <algorithm>
#include <cstring>

#include "storage/Flash.h"

SharedRecord<FACTORY_SETTING_MCU> g_FactorySettingMCU;
SharedRecord<PDRatioRow> g_FPGA_PDRatio[3];

namespace {
constexpr std::uint32_t kDCCalibrationAddress = 102400;  // channel 3, the old location
constexpr std::uint32_t kDCProbeAddress = 104400;        // its words 1000 to 1015
constexpr std::size_t kDCProbeWords = 16;
constexpr std::uint32_t kDCVariableAddress = 0;  // channel 18
constexpr std::uint32_t kDCSectors = 14;
constexpr std::uint32_t kMfgInfoAddress = 115712;  // channel 3
constexpr int kMfgInfoBytes = 64;
constexpr std::uint32_t kPDSamplingLed1Address = 1024;  // channel 19
constexpr std::uint32_t kPDSamplingOtherAddress = 3072;
constexpr std::uint32_t kFactorySettingAddress = 5120;
constexpr std::uint32_t kFactorySettingMCUAddress = 5248;
// The ratio rows start where the MCU settings do, deliberately: each reader takes the bytes its own
// way.
constexpr std::uint32_t kPDRatioAddress = kFactorySettingMCUAddress;
constexpr std::uint32_t kPDRatioRowBytes = 32;
constexpr std::uint32_t kPPGDCTableAddress = 5632;
constexpr std::uint32_t kPPGDCTableRowBytes = 8192;
constexpr std::uint8_t kErasedByte = 0xFF;

bool EraseSectors(StorageChannel channel, std::uint32_t address, std::uint32_t sectors)
    REQUIRES(g_APICriticalSection, g_InterruptCriticalSection)
{
    for (std::uint32_t k = 0; k < sectors; ++k) {
        if (!FlashErase(channel, address + static_cast<std::uint32_t>(kFlashSectorBytes) * k)) {
            return false;
        }
    }
    return true;
}
}  // namespace

bool ReadPPGCalibrationDataPDSampling(LEDType led, std::uint16_t* data)
{
    CExchange line;
    const std::uint32_t address = led == kLed1 ? kPDSamplingLed1Address : kPDSamplingOtherAddress;
    return DoReadFlash(address, StorageChannel::kPPGModule, data, kPDSamplingWords);
}

bool ReadDCVariableCalibrationData(void* data)
{
    CExchange line;
    return DoReadFlash(kDCVariableAddress, StorageChannel::kECGVariableDC,
                       static_cast<std::uint16_t*>(data), kDCCalibrationWords);
}

bool WriteDCVariableCalibrationData(const void* data)
{
    CExchange line;
    return DoWriteFlash(kDCVariableAddress, StorageChannel::kECGVariableDC,
                        static_cast<const std::uint16_t*>(data), kDCCalibrationWords);
}

bool CopyDCVariableCalibrationData(const std::uint16_t* data)
{
    return WriteDCVariableCalibrationData(data);
}

bool ClearDCVariableCalibrationData()
{
    CExchange line;
    return EraseSectors(StorageChannel::kECGVariableDC, kDCVariableAddress, kDCSectors);
}

bool ReadFlashCalibrationData(void* data)
{
    CExchange line;
    std::uint16_t probe[kDCProbeWords];
    if (!DoReadFlash(kDCProbeAddress, StorageChannel::kECGBoard, probe, kDCProbeWords)) {
        return false;
    }
    if (std::find(probe, probe + kDCProbeWords, kErasedWord) != probe + kDCProbeWords) {
        return false;
    }
    return DoReadFlash(kDCCalibrationAddress, StorageChannel::kECGBoard,
                       static_cast<std::uint16_t*>(data), kDCCalibrationWords);
}

bool ClearFlashCalibrationData()
{
    CExchange line;
    return EraseSectors(StorageChannel::kECGBoard, kDCCalibrationAddress, kDCSectors);
}

bool ReadECGMfgInfo(std::uint8_t* data, int length)
{
    if (data == nullptr || length < 0) return false;
    CExchange line;
    return FlashRead(StorageChannel::kECGBoard, kMfgInfoAddress, data,
                     static_cast<std::size_t>(std::min(length, kMfgInfoBytes)));
}

bool WriteECGMfgInfo(const void* data, int length)
{
    if (data == nullptr || length < 0) return false;
    CExchange line;
    if (!FlashErase(StorageChannel::kECGBoard, kMfgInfoAddress)) return false;
    return FlashWrite(StorageChannel::kECGBoard, kMfgInfoAddress, data,
                      static_cast<std::size_t>(std::min(length, kMfgInfoBytes)));
}

bool ReadFactorySetting(FACTORY_SETTING* setting)
{
    CExchange line;
    return FlashRead(StorageChannel::kPPGModule, kFactorySettingAddress, setting,
                     sizeof *setting) &&
           setting->valid < kErasedByte;
}

bool WriteFactorySetting(const FACTORY_SETTING* setting)
{
    CExchange line;
    return FlashWrite(StorageChannel::kPPGModule, kFactorySettingAddress, setting, sizeof *setting);
}

bool ReadFactorySettingMCU(FACTORY_SETTING_MCU* setting)
{
    CExchange line;
    return FlashRead(StorageChannel::kPPGModule, kFactorySettingMCUAddress, setting,
                     sizeof *setting);
}

bool ReadPPGDCTable(int row, std::uint16_t* data, std::size_t words)
{
    CExchange line;
    std::uint8_t slot[kPPGDCTableRowBytes] = {};
    const std::uint32_t address =
        kPPGDCTableAddress + static_cast<std::uint32_t>(row) * kPPGDCTableRowBytes;
    if (!FlashRead(StorageChannel::kPPGModule, address, slot, sizeof slot)) return false;
    std::memcpy(data, slot, std::min<std::size_t>(2 * words, sizeof slot));
    return true;
}

bool FPGASyncFromEEPROM()
{
    CExchange line;
    for (std::uint32_t k = 0; k < 3; ++k) {
        PDRatioRow row = {};
        if (!FlashRead(StorageChannel::kPPGModule, kPDRatioAddress + kPDRatioRowBytes * k, &row,
                       sizeof row)) {
            return false;
        }
        // An entry that was never set counts as 1; a NaN stays.
        for (float& value : row.values) {
            if (value == 0.0f) value = 1.0f;
        }
        g_FPGA_PDRatio[k].Store(row);
    }
    return true;
}
