// The MCU's program: loading it from a file, and burning it.
#pragma once

#include "storage/ImageFile.h"
#include "vrax.h"

// The size of the image, or a negative code; the image that was loaded before is freed first.
int MCULoad(const char* path, const ImageVersion& version);

// Takes the locks for one exchange at a time, and calls back without them.
int MCUBurn(VRAXBurnCallback callback);

// At unload.
void FreeMcuImage();
