// What a host has set, in its own terms.

#include <stdexcept>

#include "instrument/Device.h"

namespace instrument {

namespace {

// The numbers of positions 1, 2, 3.
constexpr std::uint8_t kLedSettings[] = {1, 2, 18};
constexpr std::uint8_t kTriggerSettings[] = {3, 4, 19};

constexpr unsigned kVariationUnit = 100;
constexpr unsigned kInternalBaselinesOhm[] = {500, 1000, 1500, 2000, 2500};

std::size_t IndexOf(unsigned position)
{
    if (position < 1 || position > 3) throw std::out_of_range("LED positions are 1 to 3");
    return position - 1;
}

}  // namespace

std::uint8_t DeviceState::LedLevel(unsigned position) const
{
    return static_cast<std::uint8_t>(settings[kLedSettings[IndexOf(position)]] & 0xFF);
}

std::uint8_t DeviceState::TriggerLevel(unsigned position) const
{
    return static_cast<std::uint8_t>(settings[kTriggerSettings[IndexOf(position)]] & 0xFF);
}

RespirationSettings DeviceState::Respiration() const
{
    RespirationSettings respiration;
    respiration.breathsPerMinute = controlBlock[8];
    respiration.variation = kVariationUnit * controlBlock[9];
    respiration.ratio = controlBlock[10] + 1U;
    const std::size_t index = controlBlock[11];
    if (index < std::size(kInternalBaselinesOhm)) {
        respiration.baselineOhm = kInternalBaselinesOhm[index];
    }
    respiration.apnea = controlBlock[12] != 0;
    return respiration;
}

LedPulseGroups DeviceState::PulseGroups() const
{
    LedPulseGroups result;
    result.isFixed = pulseGroups[0] != 0;
    result.value = BigWord(pulseGroups, 1);
    for (std::size_t i = 0; i < result.groups.size(); ++i) {
        const std::uint8_t code = pulseGroups[5 + i];
        result.groups[i] = code == 4 ? std::uint8_t{3} : code;
    }
    return result;
}

}  // namespace instrument
