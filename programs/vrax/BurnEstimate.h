// How long a burn still takes.
#pragma once

#include <array>
#include <cstddef>

#include "vrax.h"

namespace vrax {

enum class ImageKind { Fpga, Mcu };

class BurnEstimate {
public:
    BurnEstimate(ImageKind kind, std::size_t imageBytes);

    // Seconds left at `percent` of `stage`, which has lasted for `seconds`. A stage under way is
    // judged by its own pace once it has one, those to come by what is usual.
    double SecondsLeft(int stage, int percent, double seconds) const;

private:
    std::array<double, BURN_FINISHED> usual_ = {};  // seconds, by stage; the first is not used
};

}  // namespace vrax
