// The commands of the plug-in modules (groups 0xAD, 0xB0, 0xCC) and the right-leg drive.

#include <algorithm>
#include <bit>

#include <fmt/format.h>

#include "instrument/Device.h"

namespace instrument {

namespace {

constexpr std::uint8_t kSamplingChannels = 0x0F;
constexpr std::uint8_t kRldMask = 0x10;
constexpr std::uint8_t kLastAmbientMode = 14;
constexpr std::uint8_t kLastBaseline = 11;

// LED levels of positions 1, 2, 3 and trigger levels of positions 1, 2, 3.
constexpr std::uint8_t kModeSelectors[] = {1, 2, 18, 3, 4, 19};

bool IsModeSelector(std::uint8_t number)
{
    return std::find(std::begin(kModeSelectors), std::end(kModeSelectors), number) !=
           std::end(kModeSelectors);
}

}  // namespace

Answer Device::ExecuteModule(Request kind, RequestBytes request)
{
    switch (kind) {
        case Request::SamplingStart:
        case Request::SamplingRead:
        case Request::SamplingStop: return Sampling(kind, request);
        case Request::RldStart:
        case Request::RldRead: return Rld(kind, request);
        case Request::DynamicLight:
        case Request::SignalDetection: return Light(kind, request);
        case Request::SamplingStatus:
        case Request::PhotodiodeStatus:
        case Request::TriggerStatus: return Status(kind, request);
        case Request::AmbientWrite:
        case Request::AmbientRead: return Ambient(kind, request);
        case Request::ModeWrite:
        case Request::ModeRead: return Mode(kind, request);
        case Request::SettingWrite:
        case Request::SettingRead: return Setting(kind, request);
        case Request::ModuleWrite:
        case Request::ModuleRead: return RespirationModule(kind, request);
        case Request::BaselineWrite:
        case Request::BaselineRead: return RespirationBaseline(kind, request);
        default: return Answer::Refused("unknown command");
    }
}

Answer Device::Sampling(Request kind, RequestBytes request)
{
    const std::uint8_t mask = request[4];
    if ((mask & ~kSamplingChannels) != 0) {
        return Answer::Refused(fmt::format("photodiode channels {:02X}", mask));
    }
    // Stopping is accepted by every instrument: a host stops before it knows who is there.
    if (kind == Request::SamplingStop) {
        state.samplingMask = 0;
        state.rldMeasurement = false;
        return Acknowledge(request);
    }
    if (mask == 0) return Answer::Refused("no photodiode channel");
    // A host takes one channel, two, or all.
    if (std::popcount(mask) == 3)
        return Answer::Refused(fmt::format("three channels {:02X}", mask));
    if (HasPpg() && kind == Request::SamplingStart) state.samplingMask = mask;
    Answer answer = Acknowledge(request, HasPpg());
    answer.reply.bytes[4] = mask;
    return answer;
}

Answer Device::Rld(Request kind, RequestBytes request)
{
    if (request[4] != kRldMask) return Answer::Refused(fmt::format("byte 4 is {:02X}", request[4]));
    Answer answer = Acknowledge(request);
    if (kind == Request::RldStart) {
        state.rldMeasurement = true;
        return answer;
    }
    for (std::size_t i = 0; i < measurements.rldCounts.size(); ++i) {
        const std::uint16_t count = measurements.rldCounts[i];
        answer.reply.bytes[6 + 2 * i] = static_cast<std::uint8_t>(count >> 8);
        answer.reply.bytes[7 + 2 * i] = static_cast<std::uint8_t>(count & 0xFF);
    }
    return answer;
}

// These two are acknowledged in byte 4.
Answer Device::Light(Request kind, RequestBytes request)
{
    if (kind == Request::DynamicLight && request[4] > 1) {
        return Answer::Refused(fmt::format("byte 4 is {:02X}, not 00 or 01", request[4]));
    }
    if (HasPpg() && kind == Request::DynamicLight) state.dynamicLight = request[4] != 0;
    if (HasPpg() && kind == Request::SignalDetection) state.signalDetection = request[4];
    Answer answer = Acknowledge(request, HasPpg());
    answer.reply.bytes[4] = answer.reply.bytes[3];
    answer.reply.secondMark = 4;
    return answer;
}

Answer Device::Status(Request kind, RequestBytes request) const
{
    Answer answer = Acknowledge(request, HasPpg());
    auto& bytes = answer.reply.bytes;
    if (kind == Request::SamplingStatus && request[4] != 0) {
        return Answer::Refused(fmt::format("byte 4 is {:02X}, not 00", request[4]));
    }
    if (!HasPpg()) return answer;
    if (kind == Request::TriggerStatus) {
        std::copy(measurements.trigger.begin(), measurements.trigger.end(), bytes.begin() + 4);
        return answer;
    }
    bytes[8] = measurements.statusFlags;
    std::copy(measurements.photodiode.begin(), measurements.photodiode.end(), bytes.begin() + 9);
    return answer;
}

Answer Device::Ambient(Request kind, RequestBytes request)
{
    const std::uint8_t mode = request[4];
    if (request[5] != 0 || (kind == Request::AmbientRead && mode != 0)) {
        return Answer::Refused("the trailing bytes are not 0");
    }
    if (mode > kLastAmbientMode) return Answer::Refused(fmt::format("ambient mode {}", mode));
    if (HasPpg() && kind == Request::AmbientWrite) state.ambientMode = mode;
    Answer answer = Acknowledge(request, HasPpg());
    if (HasPpg()) answer.reply.bytes[4] = state.ambientMode;
    return answer;
}

Answer Device::Mode(Request kind, RequestBytes request)
{
    const std::uint8_t number = request[2];
    if (!IsModeSelector(number)) return Answer::Refused(fmt::format("no mode {}", number));
    if (kind == Request::ModeRead && request[4] != 0) {
        return Answer::Refused(fmt::format("byte 4 is {:02X}, not 00", request[4]));
    }
    if (HasPpg() && kind == Request::ModeWrite) state.settings[number] = request[4];
    Answer answer = Acknowledge(request, HasPpg());
    if (HasPpg()) answer.reply.bytes[4] = static_cast<std::uint8_t>(state.settings[number] & 0xFF);
    return answer;
}

// A value is one or two bytes, the low one first.
Answer Device::Setting(Request kind, RequestBytes request)
{
    const std::uint8_t number = request[2];
    if (!IsZeroFrom(request, kind == Request::SettingWrite ? 6 : 4)) {
        return Answer::Refused("bytes after the value are not 0");
    }
    auto& value = state.settings[number];
    if (HasPpg() && kind == Request::SettingWrite) {
        value = static_cast<std::uint16_t>(request[4] | request[5] << 8);
    }
    Answer answer = Acknowledge(request, HasPpg());
    if (HasPpg()) {
        answer.reply.bytes[4] = static_cast<std::uint8_t>(value & 0xFF);
        answer.reply.bytes[5] = static_cast<std::uint8_t>(value >> 8);
    }
    return answer;
}

Answer Device::RespirationModule(Request kind, RequestBytes request)
{
    if (kind == Request::ModuleWrite && HasPpg()) return Setting(Request::SettingWrite, request);
    if (kind == Request::ModuleWrite && !IsZeroFrom(request, 12)) {
        return Answer::Refused("bytes after the four words are not 0");
    }
    Answer answer = Acknowledge(request, options_.respirationModule);
    if (!options_.respirationModule) return answer;
    for (std::size_t i = 0; i < state.moduleWords.size(); ++i) {
        auto& word = state.moduleWords[i];
        if (kind == Request::ModuleWrite) word = BigWord(request, 4 + 2 * i);
        answer.reply.bytes[4 + 2 * i] = static_cast<std::uint8_t>(word >> 8);
        answer.reply.bytes[5 + 2 * i] = static_cast<std::uint8_t>(word & 0xFF);
    }
    return answer;
}

Answer Device::RespirationBaseline(Request kind, RequestBytes request)
{
    Answer answer = Acknowledge(request, options_.respirationModule);
    if (kind == Request::BaselineWrite) {
        const std::uint8_t lead = request[5];
        if (lead == 3 || lead > 4) return Answer::Refused(fmt::format("lead code {}", lead));
        if (!options_.respirationModule) return answer;
        if (request[4] > kLastBaseline) return Acknowledge(request, false);
        state.baselineIndex = request[4];
        state.baselineLead = lead;
    }
    if (!options_.respirationModule) return answer;
    answer.reply.bytes[4] = state.baselineIndex;
    answer.reply.bytes[5] = state.baselineLead;
    return answer;
}

}  // namespace instrument
