#include "respiration/ModuleCalibration.h"

#include <cstring>

#include "respiration/ExternalModule.h"
#include "storage/Flash.h"

namespace {
// Doubles and words stand in flash as in memory, little-endian. The coefficients share their place
// with settings that a PPG module has there.
constexpr std::uint32_t kCoefficientsAddress = 5248;
constexpr std::uint32_t kBaselinesAddress = 5312;
constexpr std::uint32_t kThirdElementAddress = 5376;
constexpr double kCoefficientsMarker = 0.60991;

struct CoefficientsRecord {
    double marker;
    double coefficients[kModuleCoefficients];
    double rest[3];
};
static_assert(sizeof(CoefficientsRecord) == 64);

template <class T>
bool Read(std::uint32_t address, T& record)
{
    CExchange line;
    return FlashRead(StorageChannel::kPPGModule, address, &record, sizeof record);
}

template <class T>
bool Write(std::uint32_t address, const T& record)
    REQUIRES(g_APICriticalSection, g_InterruptCriticalSection)
{
    return FlashWrite(StorageChannel::kPPGModule, address, &record, sizeof record);
}

// Under the interrupt lock: a packet sees the old values or the new ones.
template <class T, std::size_t N>
void Store(Shared<T> (&target)[N], const T (&values)[N])
{
    CInterruptLock packetIsBuilt;
    for (std::size_t i = 0; i < N; ++i) target[i] = values[i];
}
}  // namespace

void LoadRespirationDACCalibrationData()
{
    LoadRespirationRWA();
    LoadRespirationRDAC3();
    LoadRespirationBaselineDACTable();
}

void LoadRespirationRWA()
{
    CoefficientsRecord record;
    if (!Read(kCoefficientsAddress, record) || record.marker != kCoefficientsMarker) return;
    Store(g_fECGExtRespirationCoef, record.coefficients);
}

void LoadRespirationRDAC3()
{
    double ohms[kThirdElementSteps];
    if (Read(kThirdElementAddress, ohms)) Store(g_fECGExtRespiratationRDAC3, ohms);
}

void LoadRespirationBaselineDACTable()
{
    std::uint16_t codes[kModuleBaselines];
    if (Read(kBaselinesAddress, codes)) Store(g_ECGExtRespirationBaselineDACTable, codes);
}

bool WriteRespirationRWA(const double (&coefficients)[kModuleCoefficients])
{
    CExchange line;
    CoefficientsRecord record = {};
    record.marker = kCoefficientsMarker;
    std::memcpy(record.coefficients, coefficients, sizeof record.coefficients);
    if (!Write(kCoefficientsAddress, record)) return false;
    Store(g_fECGExtRespirationCoef, coefficients);
    return true;
}

bool WriteRespirationRDAC3(const double* ohms)
{
    CExchange line;
    double record[kThirdElementSteps];
    std::memcpy(record, ohms, sizeof record);
    if (!Write(kThirdElementAddress, record)) return false;
    Store(g_fECGExtRespiratationRDAC3, record);
    return true;
}

bool WriteRespirationBaselineDACTable(const std::uint16_t* codes)
{
    CExchange line;
    std::uint16_t record[kModuleBaselines];
    std::memcpy(record, codes, sizeof record);
    if (!Write(kBaselinesAddress, record)) return false;
    Store(g_ECGExtRespirationBaselineDACTable, record);
    return true;
}
