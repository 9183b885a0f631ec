// The parameters of a signal in the answers for machines.
#pragma once

#include "Parameters.h"
#include "Program.h"

namespace vrax {

// {"rate": {"value": 90, "unit": "1/min"}, "dc_common": {"value": true}}, those that were given.
Json ParametersJson(const Values& values);

}  // namespace vrax
