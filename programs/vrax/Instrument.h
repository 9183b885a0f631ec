// What the connected instrument tells of itself, gathered through vrax.h.
#pragma once

#include <string>
#include <vector>

#include "vrax.h"

namespace vrax {

enum class ModuleKind { None, Ppg, Respiration, Other };

struct ModuleFacts {
    ModuleKind kind = ModuleKind::None;
    std::string model;   // such as "TAP3407"
    std::string serial;  // empty when its record does not fit the form
    std::string firmware;
    std::string hardware;
    std::vector<int> leds;  // numbers of the channels that are lit
    VRAXDeviceFeature feature = {};
};

struct InstrumentFacts {
    std::string port;  // such as "/dev/ttyACM0"; empty when its node has gone
    std::string model;
    std::string serial;
    std::string firmware;
    std::string hardware;
    unsigned busVoltage = 0;  // on the instrument's own scale; 0 = not answered
    ModuleFacts module;
};

// Asks the instrument; needs a connection.
InstrumentFacts ReadInstrumentFacts();

const char* NameOf(ModuleKind kind);

}  // namespace vrax
