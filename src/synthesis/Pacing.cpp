#include "synthesis/Pacing.h"

#include <charconv>
#include <cmath>

#include "synthesis/Numbers.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/TestSignals.h"

Shared<int> s_PulsesRequired = 0;
Shared<bool> s_PacingPulseRaised = false;
Shared<bool> s_PacingIndicationNeeded = false;
Shared<bool> s_PacingShortPulseNeeded = false;
Shared<bool> g_PacingApplyRequested = false;

namespace {
constexpr double kMsPerSecond = 1000.0;
constexpr double kSecondsPerMinute = 60.0;
constexpr double kPulseDelay = 0.01;         // of the triangular pulse, s
constexpr double kShortestBeat = 1.0 / 6.0;  // synchronised pacing follows the beat
constexpr double kLongestBeat = 6.0;         // between these periods, s
constexpr double kNoPulse = 1000.0;

constexpr double kBeatLead = 0.01;     // s
constexpr double kSecondLead1 = 0.15;  // s, in pulse mode 1
constexpr double kSecondLead2 = 0.25;

constexpr double kPeriodRounding = 1e-6;  // of a period: due times a little early count as reached
constexpr double kReleaseSeconds = 0.01;  // after a due time the next pulse may come

// One of the checks of a sample. Thread that builds packets only.
struct PulseCheck {
    double tau = 0.0;        // of the sample before, s
    bool triggered = false;  // the pulse of this period
};
PulseCheck s_firstCheck;
PulseCheck s_secondCheck;

// The tolerance costs more than the rest of a check and seldom changes. Thread that builds packets
// only.
double ToleranceOf(double period, double dt)
{
    static double lastPeriod = 0.0;
    static double lastDt = 0.0;
    static double tolerance = 0.0;
    if (period != lastPeriod || dt != lastDt) {
        tolerance = GetPulseTolerance(period, dt);
        lastPeriod = period;
        lastDt = dt;
    }
    return tolerance;
}

bool IsPulseOver(const CycleQuantities& c)
{
    return c.g_nPacingDurationCounter - c.g_nPacingPulseCount < 1.0;
}

// Whether a due time lies between two samples, outside the tolerance of both: the second takes it.
bool HasPassedDueTime(double tau, double lastTau, double periods, double period, double dt)
{
    const double step = tau - lastTau;
    if (!(step > 0.0 && step < 2.0 * dt)) return false;  // the clock was set anew
    return FloorOf(lastTau / period + kPeriodRounding) < periods;
}

// Starts a pulse with the current sample when one is due `lead` seconds from now.
void _CheckIfPacingPulseNeeded(CycleQuantities& c, double lead, double dt, PulseCheck& check)
{
    const double period = c.s_pp;
    const double tau = s_t + lead;
    const double periods = FloorOf(tau / period + kPeriodRounding);
    const double phase = tau - periods * period;
    const double lastTau = check.tau;
    check.tau = tau;
    if (phase > kReleaseSeconds && IsPulseOver(c)) check.triggered = false;
    if (check.triggered || phase >= 2.0 * dt) return;
    if (!(std::fabs(phase) < ToleranceOf(period, dt)) &&
        !HasPassedDueTime(tau, lastTau, periods, period, dt)) {
        return;
    }
    c.g_nPacingPulseCount = 0.0;
    s_PacingPulseRaised = true;
    s_PacingIndicationNeeded = true;
    check.triggered = true;
}

double WithoutPulses(const CycleQuantities& c, double tc)
{
    if (g_BaseLineOverload != 0) return 0.0;
    switch (g_MainOutput) {
        case OUTPUT_INPUT_DYNAMIC_RANGE: return c.s_InputDynamicRangeDC;
        case OUTPUT_YY1079_DYNAMIC_RANGE:
            g_DCSetting = SaturateTo<int>(getYY1079DynamicRangeVoltage(tc));
            return g_DCSetting;
        default: return g_DCSetting;
    }
}
}  // namespace

double GetPacingLeadingTime()
{
    return g_MainOutput == OUTPUT_ECG ? g_Pacing_leading - kBeatLead : g_Pacing_leading;
}

void DerivePacing(CycleQuantities& c, int sampleRate)
{
    if (g_PA == 0.0) return;
    const int mode = g_PacingPulse;
    c.s_PulsesRequired = mode == 0 ? 1 : 2;
    if (mode == 1) c.secondPulseLead = kSecondLead1;
    if (mode == 2) c.secondPulseLead = kSecondLead2;
    c.s_PacDelayTP = kPulseDelay;
    c.s_OTC = g_PacingOvershootTC / kMsPerSecond;
    c.g_nPacingDurationCounter = RoundHalfUp(sampleRate * g_PacingDuration / kMsPerSecond);
    c.g_nPacingPulseCount = kNoPulse;
    const bool follows = g_pacingSynchronized && c.s_tp >= kShortestBeat && c.s_tp <= kLongestBeat;
    c.s_pp = follows ? c.s_tp : kSecondsPerMinute / g_PacingRate;
}

double bumpNextToFirstNonZero(double value)
{
    constexpr int kDecimals = 20;
    char digits[400];  // the longest double has 309 digits before the point
    const auto [end, error] =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, kDecimals);
    if (error != std::errc()) return value;
    char* digit = digits;
    while (digit != end && (*digit < '1' || *digit > '9')) ++digit;
    if (digit != end) ++digit;
    if (digit != end && *digit == '.') ++digit;
    if (digit == end) return value;
    *digit = *digit == '9' ? '0' : static_cast<char>(*digit + 1);
    double bumped = value;
    std::from_chars(digits, end, bumped);
    return bumped;
}

double GetPulseTolerance(double period, double dt)
{
    const double rest = period - FloorOf(period / dt) * dt;
    if (rest == 0.0) return dt / 2.0;
    return rest >= dt ? bumpNextToFirstNonZero(rest) : dt;
}

double _GetPacingV5(CycleQuantities& c, double& acExtra, double tc)
{
    if (c.s_PulsesRequired == 0) return WithoutPulses(c, tc);
    s_PacingShortPulseNeeded = false;
    const int rate = _GetSampleRate();
    const double dt = 1.0 / rate;
    const double lead = GetPacingLeadingTime();
    _CheckIfPacingPulseNeeded(c, lead, dt, s_firstCheck);
    if (c.secondPulseLead > 0.0) {
        _CheckIfPacingPulseNeeded(c, lead + c.secondPulseLead, dt, s_secondCheck);
    }

    const double amplitude = g_PA;
    const double left = c.g_nPacingDurationCounter - c.g_nPacingPulseCount;
    if (left >= 1.0) {
        s_PacingShortPulseNeeded = left == 1.0;
        c.g_nPacingPulseCount += 1.0;
        return amplitude;
    }
    if (c.s_OTC == 0.0) return 0.0;
    const double opposed = amplitude > 0.0 ? -1.0 : 1.0;
    acExtra += std::fabs(g_POA) * opposed * std::exp(left / (c.s_OTC * rate));
    c.g_nPacingPulseCount += 1.0;
    return 0.0;
}
