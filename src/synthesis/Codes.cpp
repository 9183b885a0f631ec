#include "synthesis/Codes.h"

#include "device/Identification.h"
#include "synthesis/Respiration.h"

namespace {
struct Attenuation {
    int baselineOhms;
    double divisor;
};

// Measured on the instrument. The entry for 4500 ohms breaks the pattern on purpose.
constexpr Attenuation kWithModule[] = {
    {100, 1.04},   {200, 2.04},   {500, 5.04},   {1000, 10.04}, {1500, 15.04}, {2000, 20.04},
    {2500, 25.04}, {3000, 30.04}, {3500, 35.04}, {4000, 40.04}, {4500, 45.05},
};
constexpr Attenuation kInternal[] = {
    {500, 4.793}, {1000, 9.534}, {1500, 14.096}, {2000, 18.419}, {2500, 22.597},
};

template <std::size_t N>
double Find(const Attenuation (&table)[N], int baselineOhms)
{
    for (const Attenuation& entry : table) {
        if (entry.baselineOhms == baselineOhms) return entry.divisor;
    }
    return 0.0;
}
}  // namespace

double GetAttenuation()
{
    const int baseline = s_RespBaseline;
    double divisor = 0.0;
    if (ExtRespIsAvailable() != 0) divisor = Find(kWithModule, baseline);
    if (divisor == 0.0) divisor = Find(kInternal, baseline);
    return divisor == 0.0 ? 1.0 : divisor;
}
