// The programs of the instrument: loading images and burning them.

#include "storage/Firmware.h"
#include "device/Exchange.h"
#include "storage/McuProgram.h"
#include "vrax.h"

namespace {
bool IsAnyNull(const ImageVersion& version)
{
    for (const int* part : version.parts) {
        if (part == nullptr) return true;
    }
    return false;
}
}  // namespace

int LoadFirmwareFile(const char* path, int* version1, int* version2, int* version3, int* version4)
{
    const ImageVersion version = {{version1, version2, version3, version4}};
    if (path == nullptr || IsAnyNull(version)) return kImageSizeUnknown;
    CExchange line;
    return FlashLoadBinFile(path, version);
}

int BurnFirmware(VRAXBurnCallback callback) { return FlashBurnFlashBlock(callback); }

int LoadMcuFile(const char* path, int* version1, int* version2, int* version3, int* version4)
{
    const ImageVersion version = {{version1, version2, version3, version4}};
    if (path == nullptr || IsAnyNull(version)) return kImageSizeUnknown;
    CApiLock lock;
    return MCULoad(path, version);
}

int BurnMcu(VRAXBurnCallback callback) { return MCUBurn(callback); }
