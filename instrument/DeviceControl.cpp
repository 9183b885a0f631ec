// The control block (pacing, respiration, apnea) and the LED pulse groups: command group 0xEA.

#include <algorithm>

#include <fmt/format.h>

#include "instrument/Device.h"

namespace instrument {

namespace {

constexpr std::size_t kRate = 8;        // breaths a minute; byte 9 is the variation, any value
constexpr std::size_t kRatio = 10;      // 0 to 4 for 1:1 to 1:5
constexpr std::size_t kBaseline = 11;   // index, 0 to 4, with the external module to 11
constexpr std::size_t kApnea = 12;      // 0 or 1
constexpr std::size_t kPacing = 24;     // amplitude and duration, two big-endian words
constexpr std::size_t kPacingEnd = 28;  // bytes 28 to 37 are 0, and so stay what they are
constexpr std::size_t kPulseGroups = 35;

constexpr unsigned kPacingUnitUs = 25;
constexpr unsigned kPacingUnitWithModuleUs = 100;  // with the external respiration module
constexpr unsigned kLongestPulseUs = 3000;

std::string RespirationFault(std::span<const std::uint8_t> block, bool hasModule)
{
    if (block[kRate] > 200) return fmt::format("{} breaths a minute", block[kRate]);
    if (block[kRatio] > 4) return fmt::format("ratio index {}", block[kRatio]);
    if (block[kBaseline] > (hasModule ? 11 : 4))
        return fmt::format("baseline index {}", block[kBaseline]);
    if (block[kApnea] > 1) return fmt::format("apnea flag {}", block[kApnea]);
    return {};
}

// Whether a host may set a byte of the block to a value: its own fields to any, the ten bytes after
// the pacing fields to 0.
bool MayWrite(std::size_t index, std::uint8_t value)
{
    constexpr std::size_t kClearedEnd = kPacingEnd + 10;
    if (index >= kPacingEnd && index < kClearedEnd) return value == 0;
    return index < 4 || (index >= kRate && index <= kApnea) ||
           (index >= kPacing && index < kPacingEnd);
}

}  // namespace

// Shaped so that the host can change fields and send it back with byte 1 set.
Answer Device::ReadControl(RequestBytes request) const
{
    Answer answer;
    answer.reply.bytes = state.controlBlock;
    std::copy(request.begin(), request.end(), answer.reply.bytes.begin());
    answer.reply.bytes[3] = 0xFF;
    return answer;
}

PacingCodes Device::Pacing() const
{
    const unsigned unit = options_.respirationModule ? kPacingUnitWithModuleUs : kPacingUnitUs;
    return {BigWord(state.controlBlock, kPacing), BigWord(state.controlBlock, kPacing + 2) * unit,
            relays.HasRespiration()};
}

Answer Device::WriteControl(RequestBytes request)
{
    // The mark of the read reply comes back where the host left it.
    if (request[3] != 0 && request[3] != 0xFF) return Answer::Refused("byte 3 is not 00 or FF");
    for (std::size_t i = 4; i < request.size(); ++i) {
        if (MayWrite(i, request[i]) || request[i] == state.controlBlock[i]) continue;
        return Answer::Refused(fmt::format("byte {} is {:02X}; it was read as {:02X}", i,
                                           request[i], state.controlBlock[i]));
    }
    const std::string fault = RespirationFault(request, options_.respirationModule);
    if (!fault.empty()) return Answer::Refused(fault);
    const unsigned unit = options_.respirationModule ? kPacingUnitWithModuleUs : kPacingUnitUs;
    const unsigned lengthUs = BigWord(request, kPacing + 2) * unit;
    if (lengthUs > kLongestPulseUs) {
        return Answer::Refused(fmt::format("a pacing pulse of {} us", lengthUs));
    }

    std::copy(request.begin() + 4, request.end(), state.controlBlock.begin() + 4);
    return Acknowledge(request);
}

Answer Device::SetRespiration(RequestBytes request)
{
    if (!std::all_of(request.begin() + 3, request.begin() + kRate,
                     [](std::uint8_t byte) { return byte == 0; })) {
        return Answer::Refused("bytes 3 to 7 are not 0");
    }
    if (!IsZeroFrom(request, kApnea)) return Answer::Refused("bytes 12 to 18 are not 0");
    const std::string fault = RespirationFault(request, options_.respirationModule);
    if (!fault.empty()) return Answer::Refused(fault);

    std::copy(request.begin() + kRate, request.begin() + kApnea + 1,
              state.controlBlock.begin() + kRate);
    return Acknowledge(request);
}

// Read and write share their leading bytes; without a payload it is a read. A write that clears
// every group looks the same and so changes nothing.
Answer Device::PulseGroups(RequestBytes request)
{
    const std::size_t end = kPulseGroups + state.pulseGroups.size();
    if (!std::all_of(request.begin() + 3, request.begin() + kPulseGroups,
                     [](std::uint8_t byte) { return byte == 0; }) ||
        !IsZeroFrom(request, end)) {
        return Answer::Refused("bytes outside 35 to 47 are not 0");
    }
    if (request[kPulseGroups] > 1) return Answer::Refused("byte 35 is not 00 or 01");
    if (request[38] != 0 || request[39] != 0) return Answer::Refused("bytes 38, 39 are not 0");
    for (std::size_t i = 40; i < end; ++i) {
        if (request[i] == 3 || request[i] > 4) {
            return Answer::Refused(fmt::format("group code {} in byte {}", request[i], i));
        }
    }
    // A value of 0 with a group in the first slot is what the flag stands for, and nothing else.
    const bool isFixed = BigWord(request, 36) == 0 && request[40] != 0;
    if (request[kPulseGroups] != 0 && BigWord(request, 36) != 0) {
        return Answer::Refused("byte 35 is 01 where bytes 36, 37 have a value");
    }
    if (request[kPulseGroups] == 0 && isFixed) {
        return Answer::Refused(
            "byte 35 is 00 where bytes 36, 37 are 0 and the first slot has a "
            "group");
    }
    Answer answer = Acknowledge(request, HasPpg());
    if (!HasPpg()) return answer;
    if (!IsZeroFrom(request, 3)) {
        std::copy_n(request.begin() + kPulseGroups, state.pulseGroups.size(),
                    state.pulseGroups.begin());
    }
    std::copy(state.pulseGroups.begin(), state.pulseGroups.end(),
              answer.reply.bytes.begin() + kPulseGroups);
    return answer;
}

}  // namespace instrument
