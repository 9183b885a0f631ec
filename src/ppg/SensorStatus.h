// What the PPG module measures and tells of itself.
#pragma once

#include <cstdint>

#include "vrax.h"

// The start of the reply: a head, the status flags, three packed pairs of 12-bit values.
struct _FGPA_SAMPLING_OUT {
    std::uint8_t head[8];
    std::uint8_t flags;
    std::uint8_t pairs[9];
};
static_assert(sizeof(_FGPA_SAMPLING_OUT) == 18);

bool ReadFGPASamplingStatus(_FGPA_SAMPLING_OUT* out);
