#include "streaming/PendingChange.h"

#include "synthesis/Parameters.h"

Shared<bool> g_bChangeOnNextCycle = false;

namespace {
constexpr double kWindowSeconds = 0.0004;
constexpr double kAtOnceBelowHz = 0.15;
constexpr double kLastSample = 1.0 + 1e-6;  // one sample interval, and what rounding leaves

void (*s_handler)() = nullptr;
}  // namespace

void SetChangeHandler(void (*handler)()) { s_handler = handler; }

void _CheckIfChangeRequired(double phase, double period, double sampleInterval)
{
    if (!g_bChangeOnNextCycle) return;
    const double left = period - phase;
    // Negated, so that a period that is no number does not hold a change back for ever.
    const bool cycleGoesOn = left >= kWindowSeconds && left > sampleInterval * kLastSample;
    if (cycleGoesOn && !(g_F < kAtOnceBelowHz)) return;
    g_bChangeOnNextCycle = false;
    if (s_handler != nullptr) s_handler();
}
