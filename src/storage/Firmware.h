// The FPGA image in the ECG board's flash: loading it from a file, and burning it.
#pragma once

#include "storage/ImageFile.h"
#include "vrax.h"

// 122880, or a negative code; then the image that was loaded before stays.
int FlashLoadBinFile(const char* path, const ImageVersion& version);

// Holds the API and the interrupt lock throughout, and calls back under them.
int FlashBurnFlashBlock(VRAXBurnCallback callback);

// At unload.
void FreeFirmwareImage();
