#include "respiration/ExternalModule.h"

Shared<std::uint16_t> g_nECGExtRespirationBaselineDAC;

double CalculateECGExtRespiration(double) { return kRestingOhms; }

std::uint16_t ExtRespGetAmplitudeDAC(double, std::uint16_t* codes)
{
    codes[0] = codes[1] = codes[2] = 0;
    return codes[0];
}

void UpdateModuleLeads() {}
