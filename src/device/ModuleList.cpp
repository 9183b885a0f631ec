// Device data. The two modules below are the ones whose data is known here; every other code gets
// the default record and LED pattern. To add a module, add a line to kModules with the values of
// its data sheet; the first entry with a code wins.

#include "device/ModuleList.h"

namespace {
constexpr LedPattern kNoLeds = {{3, 3, 3}};
constexpr LedPattern kOneTwoThree = {{1, 2, 3}};  // the pattern of unknown modules too
constexpr LedPattern kThreeLeds = {{1, 2, 0}};

// The number of photodiode channels, PPG AC minimum and maximum and PPG DC minimum and maximum in
// millivolts; the other cells are the same in every known record.
constexpr VRAXDeviceFeature MakeFeature(int photodiodes, double acMin, double acMax, double dcMin,
                                        double dcMax)
{
    return {{1, 0}, 0, photodiodes, {0, 0}, acMin, acMax, dcMin, dcMax, 0.025, 30.0, {8, 8}};
}

constexpr VRAXDeviceFeature kDefaultFeature = MakeFeature(0, 0.75, 30.0, 100.0, 3000.0);

struct Module {
    int fullModelNumber;
    LedPattern leds;
    VRAXDeviceFeature feature;
};

constexpr Module kModules[] = {
    {0x3307, kOneTwoThree, kDefaultFeature},
    {0x3407, kThreeLeds, MakeFeature(2, 0.75, 300.0, 100.0, 3000.0)},
};

const Module* FindModule(int fullModelNumber)
{
    for (const Module& module : kModules) {
        if (module.fullModelNumber == fullModelNumber) return &module;
    }
    return nullptr;
}
}  // namespace

VRAXDeviceFeature DefaultDeviceFeature() { return kDefaultFeature; }

VRAXDeviceFeature LookUpDeviceFeature(int fullModelNumber)
{
    const Module* module = FindModule(fullModelNumber);
    return module != nullptr ? module->feature : kDefaultFeature;
}

// Modules with the letters 'A','T' are told apart by ranges of the masked code, the others by the
// code itself. No range is known here, so both end at the list.
LedPattern LookUpLedPattern(const char (&)[2], int fullModelNumber)
{
    constexpr int kWithoutLowBitsOfHighByte = 0xF0FF;
    if ((fullModelNumber & kWithoutLowBitsOfHighByte) == 0) return kNoLeds;
    const Module* module = FindModule(fullModelNumber);
    return module != nullptr ? module->leds : kOneTwoThree;
}
