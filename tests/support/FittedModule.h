// The accessory of the instrument, as identification would have stored it.
#pragma once

#include "device/Identification.h"

inline void FitModule(char first, char second, int modelCode, LEDType led1, LEDType led2,
                      LEDType led3)
{
    MODEL_INFORMATION module = {};
    module.typeLetters[0] = first;
    module.typeLetters[1] = second;
    module.modelCode[0] = static_cast<unsigned char>(modelCode >> 8);
    module.modelCode[1] = static_cast<unsigned char>(modelCode);
    module.ledTypes[0] = led1;
    module.ledTypes[1] = led2;
    module.ledTypes[2] = led3;
    g_PPGModelInfo.Store(module);
}

inline void FitPPGModule(int modelCode, LEDType led1, LEDType led2, LEDType led3)
{
    FitModule('A', 'P', modelCode, led1, led2, led3);
}

inline void FitRespirationModule() { FitModule('E', 'R', 0x3101, 0, 0, 0); }
