#include "ppg/FingerProbe.h"

#include <algorithm>

#include "device/Identification.h"
#include "ppg/Channels.h"
#include "ppg/FingerProbeTables.h"
#include "storage/Calibration.h"
#include "synthesis/Numbers.h"

Shared<bool> g_PPGAmplitudeConversion = true;

namespace {
constexpr int kModel3307 = 0x3307;
constexpr double kGainUnit = 0.113;
constexpr double kValuesPerGain = 100.0;
constexpr double kTenths = 10.0;

std::size_t IndexIn(double position, std::size_t entries)
{
    return std::min<std::size_t>(SaturateTo<std::uint32_t>(position), entries - 1);
}

double DCOf3307(double dc)
{
    const double value = kFingerDCTable[IndexIn(dc, kFingerDCEntries)];
    return value * (kFingerDCGains[IndexIn(value / kValuesPerGain, kFingerGains)] / kGainUnit);
}

double DCOf3407(LEDType led, double dc)
{
    if (!IsPPGChannel(led)) return 0.0;
    return g_PPGDCTable[RowOfPPGChannel(led)][IndexIn(dc, kPPGDCTableWords)];
}
}  // namespace

bool IsAmplitudeConverted()
{
    const int model = GetPPGFullModelNumber();
    return g_PPGAmplitudeConversion && (model == kModel3307 || model == kPPGModel3407);
}

double FingerDCValueConvert(LEDType led, double dc)
{
    switch (GetPPGFullModelNumber()) {
        case kModel3307: return DCOf3307(dc);
        case kPPGModel3407: return DCOf3407(led, dc);
        default: return dc;
    }
}

double FingerACValueConvert(double ac)
{
    if (GetPPGFullModelNumber() != kModel3307) return ac;
    return kFingerACTable[IndexIn(kTenths * ac, kFingerACEntries)] / kTenths;
}
