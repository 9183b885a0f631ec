// What stands behind the port: the commands, and the state that they read and change.
//
// Takes no lock and knows nothing of time or ports; its owner does.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "instrument/Flash.h"
#include "instrument/PulseMaker.h"
#include "instrument/SimulatedInstrument.h"

namespace instrument {

struct Reply {
    std::array<std::uint8_t, 64> bytes{};
    std::size_t size = 64;
    // Where the marks of acknowledgement stand; 0 = there is none.
    std::size_t mark = 3;
    std::size_t secondMark = 0;
};

struct Answer {
    std::string refusal;  // why the request is not answered; empty = it is
    Reply reply;
    bool restarts = false;  // after the reply

    static Answer Refused(std::string reason) { return {std::move(reason), {}, false}; }
};

class Device {
public:
    explicit Device(const Options& options);

    // `request` is complete: it has a length that its leading bytes allow. Not for stream packets.
    Answer Execute(Request kind, std::span<const std::uint8_t> request);

    // What loses power or restarts loses its relays, its control block and the switches; flash and
    // settings are kept, and the programs that are held run.
    void PowerUp();

    PacingCodes Pacing() const;
    FirmwareState Firmware() const;

    // Everything is open to the owner, which guards it.
    Flash flash;
    RelayState relays;
    DeviceState state;
    Measurements measurements;

private:
    using RequestBytes = std::span<const std::uint8_t>;

    Answer Identify(RequestBytes request) const;
    Answer DacLevel(RequestBytes request) const;
    Answer Information(Request kind, RequestBytes request) const;
    Answer BoardVersions(RequestBytes request) const;
    Answer UsbVoltage(RequestBytes request) const;
    Answer ReadFlash(RequestBytes request) const;
    Answer WriteFlash(RequestBytes request);
    Answer EraseFlash(RequestBytes request);
    Answer SetRelays(RequestBytes request);
    Answer SetLeadOff(RequestBytes request);

    // DeviceControl.cpp
    Answer ReadControl(RequestBytes request) const;
    Answer WriteControl(RequestBytes request);
    Answer SetRespiration(RequestBytes request);
    Answer PulseGroups(RequestBytes request);

    // DeviceModule.cpp
    Answer ExecuteModule(Request kind, RequestBytes request);
    Answer Sampling(Request kind, RequestBytes request);
    Answer Rld(Request kind, RequestBytes request);
    Answer Light(Request kind, RequestBytes request);
    Answer Status(Request kind, RequestBytes request) const;
    Answer Ambient(Request kind, RequestBytes request);
    Answer Mode(Request kind, RequestBytes request);
    Answer Setting(Request kind, RequestBytes request);
    Answer RespirationModule(Request kind, RequestBytes request);
    Answer RespirationBaseline(Request kind, RequestBytes request);

    // DeviceFirmware.cpp
    Answer ExecuteFirmware(Request kind, RequestBytes request);
    Answer SetControlMode(RequestBytes request);
    Answer UpdateMcu(Request kind, RequestBytes request);
    void WriteCells(std::uint8_t channel, std::uint32_t address, RequestBytes data);
    void StartPrograms();

    bool HasPpg() const { return options_.ppgModel.has_value(); }
    // The request's first three bytes and the mark: 0xFF, or what stands for "not done".
    Answer Acknowledge(RequestBytes request, bool done = true) const;

    const Options options_;
    FirmwareState firmware_;  // without what is held
};

// True when the bytes from `from` on are 0.
bool IsZeroFrom(std::span<const std::uint8_t> bytes, std::size_t from);
std::uint16_t BigWord(std::span<const std::uint8_t> bytes, std::size_t offset);

}  // namespace instrument
