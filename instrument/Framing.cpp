#include "instrument/Framing.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace instrument {

namespace {

constexpr int kAny = -1;
constexpr std::uint8_t kStreamStart = 0x01;

// A form of request: the bytes it begins with and its length.
struct Form {
    Request kind;
    std::size_t length;
    std::size_t headBytes;
    std::array<int, 4> head;
};

constexpr Form kForms[] = {
    {Request::Stream, kPacketBytes, 1, {kStreamStart}},
    {Request::Identify, 3, 3, {0x55, 0x00, 0x00}},
    {Request::DacLevel, 3, 3, {0x55, 0x00, 0x81}},
    {Request::HardwareInfo, 2, 2, {0xAA, 0x02}},
    {Request::FirmwareInfo, 2, 2, {0xAA, 0x03}},
    {Request::BoardVersions, 3, 3, {0xB8, 0x00, 0x01}},
    {Request::BoardVersions, 3, 3, {0xB9, 0x00, 0x01}},
    {Request::ControlMode, 5, 4, {0xB9, 0xFF, 0x00, 0x00}},
    {Request::McuErase, 64, 3, {0xB9, 0xFF, 0x02}},
    {Request::McuWrite, 64, 3, {0xB9, 0xFF, 0x03}},
    {Request::McuRead, 64, 3, {0xB9, 0x00, 0x03}},
    {Request::Restart, 1, 1, {0xDD}},
    {Request::UsbVoltage, 3, 3, {0xCC, 0x00, 'B'}},
    {Request::ModuleRead, 4, 4, {0xCC, 0x00, 0x0D, 0x00}},
    {Request::BaselineRead, 4, 4, {0xCC, 0x00, 0x0E, 0x00}},
    {Request::ModeRead, 5, 4, {0xCC, 0x00, kAny, 0x00}},
    {Request::SettingRead, 64, 4, {0xCC, 0x00, kAny, 0x00}},
    {Request::ModuleWrite, 64, 4, {0xCC, 0xFF, 0x0D, 0x00}},
    {Request::BaselineWrite, 6, 4, {0xCC, 0xFF, 0x0E, 0x00}},
    {Request::ModeWrite, 5, 4, {0xCC, 0xFF, kAny, 0x00}},
    {Request::SettingWrite, 64, 4, {0xCC, 0xFF, kAny, 0x00}},
    {Request::FlashRead, 64, 4, {0x12, 0x55, 0xAA, 0x00}},
    {Request::FlashWrite, 64, 4, {0x12, 0x55, 0xAA, 0xFF}},
    {Request::LeadOff, 8, 3, {0x00, 0xFF, 0x03}},
    {Request::Relays, 17, 2, {0x00, 0xFF}},
    {Request::ControlRead, 3, 3, {0xEA, 0x00, 0x01}},
    {Request::Respiration, 19, 3, {0xEA, 0xFF, 0x01}},
    {Request::ControlWrite, 64, 3, {0xEA, 0xFF, 0x01}},
    {Request::PulseGroups, 64, 3, {0xEA, 0xFF, 0x00}},
    {Request::SamplingStart, 5, 4, {0xAD, 0xFF, 0x00, 0x00}},
    {Request::SamplingRead, 5, 4, {0xAD, 0x00, 0x00, 0x00}},
    {Request::RldRead, 5, 4, {0xAD, 0x00, 0x01, 0x00}},
    {Request::DynamicLight, 5, 4, {0xB0, 0xFF, 0x03, 0x00}},
    {Request::SignalDetection, 5, 4, {0xB0, 0xFF, 0x01, 0x00}},
    {Request::PhotodiodeStatus, 3, 3, {0xB0, 0x00, 0x02}},
    {Request::SamplingStatus, 5, 4, {0xB0, 0x00, 0x02, 0x00}},
    {Request::TriggerStatus, 4, 4, {0xB0, 0x00, 0x30, 0x00}},
    {Request::AmbientWrite, 6, 4, {0xB0, 0xFF, 0x10, 0x00}},
    {Request::AmbientRead, 6, 4, {0xB0, 0x00, 0x10, 0x00}},
};

// True when `bytes` begins with the head, as far as both go.
bool HeadFits(const Form& form, std::span<const std::uint8_t> bytes)
{
    const std::size_t count = std::min(form.headBytes, bytes.size());
    for (std::size_t i = 0; i < count; ++i) {
        if (form.head[i] != kAny && form.head[i] != bytes[i]) return false;
    }
    return true;
}

// Requests that share their leading bytes and differ in one byte further on.
Request Refine(Request kind, std::span<const std::uint8_t> request)
{
    if (kind == Request::FlashWrite && request[6] != 0) return Request::FlashErase;
    if (kind == Request::SamplingStart && request[4] == 0x00) return Request::SamplingStop;
    if (kind == Request::SamplingStart && request[4] == 0x10) return Request::RldStart;
    return kind;
}

// What follows a complete request must be a whole request again, or a packet on its way.
bool MayFollow(std::span<const std::uint8_t> rest)
{
    if (rest.empty() || rest[0] == kStreamStart) return true;
    return Classify(rest).arrival == Arrival::Complete;
}

}  // namespace

Classified Classify(std::span<const std::uint8_t> bytes)
{
    const Form* complete = nullptr;
    const Form* partial = nullptr;
    for (const Form& form : kForms) {
        if (!HeadFits(form, bytes)) continue;
        if (form.length > bytes.size()) {
            if (partial == nullptr || form.length < partial->length) partial = &form;
        } else if (complete == nullptr || form.length > complete->length) {
            complete = &form;
        }
    }
    if (complete != nullptr && MayFollow(bytes.subspan(complete->length))) {
        return {Arrival::Complete, Refine(complete->kind, bytes), complete->length};
    }
    if (partial != nullptr) return {Arrival::Partial, partial->kind, partial->length};
    return {};
}

bool Matches(Request wanted, Request kind)
{
    switch (wanted) {
        case Request::Any: return true;
        case Request::Command: return kind != Request::Stream;
        case Request::Firmware: return kind >= Request::Restart && kind <= Request::McuRead;
        default: return kind == wanted;
    }
}

std::string ReasonAgainst(std::span<const std::uint8_t> bytes)
{
    std::string lengths;
    for (const Form& form : kForms) {
        if (!HeadFits(form, bytes) || bytes.size() < form.headBytes) continue;
        lengths +=
            fmt::format("{}{} ({})", lengths.empty() ? "" : " or ", form.length, NameOf(form.kind));
    }
    if (lengths.empty()) return fmt::format("unknown command of {} bytes", bytes.size());
    return fmt::format("{} bytes where {} belong", bytes.size(), lengths);
}

std::string Hex(std::span<const std::uint8_t> bytes, std::size_t most)
{
    std::size_t used = bytes.size();
    while (used > 0 && bytes[used - 1] == 0) --used;
    if (bytes.size() - used < 4) used = bytes.size();
    const std::size_t shown = std::min(used, most);
    std::string text;
    for (std::size_t i = 0; i < shown; ++i) {
        text += fmt::format("{}{:02X}", i == 0 ? "" : " ", bytes[i]);
    }
    if (shown < used) return fmt::format("{} .. ({} bytes)", text, bytes.size());
    if (shown < bytes.size()) {
        text += fmt::format("{}00 x{}", shown == 0 ? "" : " ", bytes.size() - shown);
    }
    return text;
}

const char* NameOf(Request kind)
{
    switch (kind) {
        case Request::Any: return "any request";
        case Request::Command: return "any command";
        case Request::Stream: return "stream packet";
        case Request::Identify: return "identify";
        case Request::DacLevel: return "PPG converter width";
        case Request::HardwareInfo: return "hardware version";
        case Request::FirmwareInfo: return "firmware version";
        case Request::BoardVersions: return "module board versions";
        case Request::UsbVoltage: return "USB voltage";
        case Request::FlashRead: return "flash read";
        case Request::FlashWrite: return "flash write";
        case Request::FlashErase: return "flash erase";
        case Request::Relays: return "relays";
        case Request::LeadOff: return "lead-off relays";
        case Request::ControlRead: return "control block read";
        case Request::ControlWrite: return "control block write";
        case Request::Respiration: return "respiration";
        case Request::PulseGroups: return "LED pulse groups";
        case Request::SamplingStart: return "photodiode sampling start";
        case Request::SamplingRead: return "photodiode sampling read";
        case Request::SamplingStop: return "photodiode sampling stop";
        case Request::RldStart: return "right-leg-drive measurement start";
        case Request::RldRead: return "right-leg-drive measurement read";
        case Request::DynamicLight: return "dynamic LED strength";
        case Request::SignalDetection: return "signal strength detection";
        case Request::SamplingStatus: return "sampling status";
        case Request::PhotodiodeStatus: return "photodiode status";
        case Request::TriggerStatus: return "auto trigger status";
        case Request::AmbientWrite: return "ambient light mode write";
        case Request::AmbientRead: return "ambient light mode read";
        case Request::ModeWrite: return "PPG mode write";
        case Request::ModeRead: return "PPG mode read";
        case Request::SettingWrite: return "setting write";
        case Request::SettingRead: return "setting read";
        case Request::ModuleWrite: return "respiration module write";
        case Request::ModuleRead: return "respiration module read";
        case Request::BaselineWrite: return "respiration baseline write";
        case Request::BaselineRead: return "respiration baseline read";
        case Request::Firmware: return "any firmware request";
        case Request::Restart: return "restart";
        case Request::ControlMode: return "MCU control mode";
        case Request::McuErase: return "MCU erase";
        case Request::McuWrite: return "MCU write";
        case Request::McuRead: return "MCU read";
        case Request::Unknown: return "unknown request";
    }
    return "unknown request";
}

}  // namespace instrument
