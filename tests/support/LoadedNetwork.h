// The external module's calibration, as a connection would have loaded it.
#pragma once

#include "respiration/ExternalModule.h"
#include "support/RespirationModule.h"

inline void LoadNetwork(const ModuleNetwork& network)
{
    g_fECGExtRespirationCoef[0] = network.first;
    g_fECGExtRespirationCoef[1] = network.second;
    g_fECGExtRespirationCoef[2] = network.correction;
    for (unsigned i = 0; i < network.third.size(); ++i) {
        g_fECGExtRespiratationRDAC3[i] = network.third[i];
    }
}
