// Breathing: the impedance respiration, its external module, and the modulation of the beats.

#include <cstdlib>
#include <cstring>

#include "api/Setters.h"
#include "device/Identification.h"
#include "respiration/ModuleCalibration.h"
#include "respiration/ModuleCommands.h"
#include "respiration/Settings.h"
#include "sources/RawArray.h"
#include "streaming/Change.h"
#include "synthesis/Numbers.h"
#include "synthesis/Relays.h"
#include "synthesis/Respiration.h"
#include "vrax.h"

namespace {
constexpr int kLowestVariation = 50;
constexpr int kHighestVariation = 10000;
constexpr int kHighestRate = 200;
constexpr int kHighestRatio = 5;
constexpr int kHighestApnea = 60;
constexpr int kHighestPercent = 100;

bool IsBreathOutside(int rate, int ratio, int apneaSeconds)
{
    return IsOutside(rate, 1, kHighestRate) || IsOutside(ratio, 1, kHighestRatio) ||
           IsOutside(apneaSeconds, 0, kHighestApnea);
}

bool IsPercentOutside(int percent) { return IsOutside(percent, 0, kHighestPercent); }

int Result(bool succeeded) { return succeeded ? 1 : 0; }

std::uint16_t CodeOf(unsigned code) { return SaturateTo<std::uint16_t>(code); }
}  // namespace

int VRAXSetRespiration(int variation, int rate, int ratio, int baseline, int apneaSeconds)
{
    CApiLock lock;
    if (DeviceIsConnected() == 0) return 0;
    if (IsOutside(variation, kLowestVariation, kHighestVariation)) return 0;
    if (IsBreathOutside(rate, ratio, apneaSeconds)) return 0;
    return SetRespiration({variation, rate, ratio, baseline, apneaSeconds});
}

int VRAXSetCalibrationRespiration(int variation, int baseline)
{
    CApiLock lock;
    if (DeviceIsConnected() == 0) return 0;
    return SetCalibrationRespiration(variation, baseline);
}

// The commands share one hold of the line.
int VRAXEnableRespiration(int on)
{
    CExchange line;
    const bool wanted = on != 0;
    StoreRespirationSwitch(wanted);
    _outputLog("VRAXEnableRespiration(%s);", BoolText(wanted));
    if (DeviceIsConnected() == 0 || !line.TakeLine()) return 0;
    _ChangeRequested();
    SetRelays(false);
    if (!wanted && ExtRespIsAvailable() != 0) WriteModuleBaseline(0);
    return 1;
}

int VRAXSetRespirationAlgorithm(int rate, int ratio, int apneaSeconds, int baselinePercent,
                                int amplitudePercent, int frequencyPercent)
{
    CApiLock lock;
    if (IsBreathOutside(rate, ratio, apneaSeconds)) return 0;
    if (IsPercentOutside(baselinePercent) || IsPercentOutside(amplitudePercent) ||
        IsPercentOutside(frequencyPercent)) {
        return 0;
    }
    _outputLog("VRAXSetRespirationAlgorithm(%d, %d, %d, %d, %d, %d);", rate, ratio, apneaSeconds,
               baselinePercent, amplitudePercent, frequencyPercent);
    SetRespirationAlgorithm(
        {rate, ratio, apneaSeconds, baselinePercent, amplitudePercent, frequencyPercent});
    return 1;
}

void VRAXDisableRespireAlgorithm(void)
{
    CApiLock lock;
    _outputLog("VRAXDisableRespireAlgorithm();");
    ClearRespirationAlgorithm();
}

int VRAXSetRespirationRawData(const double* samples, int count, int rate)
{
    CApiLock lock;
    if (samples == nullptr || count < 1 || rate <= 0) return 0;
    const std::size_t bytes = static_cast<std::size_t>(count) * sizeof *samples;
    auto* copy = static_cast<double*>(std::malloc(bytes));
    if (copy == nullptr) return 0;
    std::memcpy(copy, samples, bytes);
    ReplaceRespirationArray(copy, count, rate);
    return 1;
}

int VRAXRespirationModuleIsConnected(void)
{
    CApiLock lock;
    return Result(ExtRespIsAvailable() != 0);
}

// The leads are those that are on, whatever the caller says; kept.
int VRAXExternalRespiratorySetBaseline(int index, int)
{
    CApiLock lock;
    return Result(SetModuleBaseline(index));
}

int VRAXExternalRespiratorySetDAC(unsigned first, unsigned second, unsigned third,
                                  unsigned baseline)
{
    CApiLock lock;
    return Result(
        WriteModuleSettings({{CodeOf(first), CodeOf(second), CodeOf(third), CodeOf(baseline)}}));
}

int VRAXExternalRespiratorySetBaselineDAC(unsigned code)
{
    CApiLock lock;
    return Result(SetModuleBaselineCode(CodeOf(code)));
}

int VRAXExternalRespiratorySetAmplitudeByResistance(double ohms)
{
    CApiLock lock;
    return Result(SetModuleResistance(ohms));
}

int VRAXWriteRespirationRWA(double first, double second, double correction, double reserved)
{
    CApiLock lock;
    return Result(WriteRespirationRWA({first, second, correction, reserved}));
}

int VRAXExternalRespiratoryWriteRDAC3(const double* ohms)
{
    CApiLock lock;
    return Result(ohms != nullptr && WriteRespirationRDAC3(ohms));
}

int VRAXWriteRespirationBaselineDACTable(const unsigned short* codes)
{
    CApiLock lock;
    return Result(codes != nullptr && WriteRespirationBaselineDACTable(codes));
}
