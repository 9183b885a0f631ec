#include "instrument/Device.h"

#include <algorithm>

#include <fmt/format.h>

#include "instrument/FactoryRecords.h"
#include "instrument/Images.h"

namespace instrument {

namespace {

constexpr std::uint8_t kDone = 0xFF;
constexpr std::uint8_t kDefaultMode = 0;  // before the first relay command

// Flash frames: a data frame carries 32 bytes, a frame of the FPGA image 48.
constexpr std::size_t kFlashData = 16;
constexpr std::size_t kFlashDataBytes = 32;
constexpr std::size_t kFlashImageBytes = 48;
constexpr std::size_t kFlashMark = 4;

constexpr std::uint8_t kLastAcRange = 2;
constexpr unsigned kRespirationModuleRate = 5000;     // Hz, whatever is played
constexpr std::uint32_t kUnusedRelayBits = 0x808080;  // 7, 15 and 23
constexpr std::uint32_t kRespirationBit = 1U << 3;    // the internal one, or the module's
constexpr std::uint32_t kModuleBit = 1U << 4;         // the external respiration module
constexpr std::uint32_t kRldBit = 1U << 10;
constexpr std::uint32_t kThirdLeadOffBit = 1U << 11;  // mode 3
constexpr std::uint32_t kLeadOffBit = 1U << 13;       // modes 1 and 2
constexpr std::uint32_t kFirstLeadOffBit = 1U << 14;  // mode 1

std::uint32_t BigAddress(std::span<const std::uint8_t> frame)
{
    return static_cast<std::uint32_t>(BigWord(frame, 8)) << 16 | BigWord(frame, 10);
}

// Older firmware knows no information commands, and a host asks it for nothing more.
bool TellsItsModule(const Options& options)
{
    const auto& firmware = options.firmware;
    return firmware[0] >= 2 || (firmware[0] == 1 && firmware[1] >= 3);
}

bool IsLegalMode(std::uint8_t mode)
{
    if (mode == kModeOff) return true;
    if ((mode & kModeEcg) != kModeEcg || (mode & 0xC0) != 0) return false;
    return (mode & kModeRespiration) == 0 || (mode & 0x1C) == 0;
}

std::string RelayWordFault(std::uint32_t word, bool hasRespirationModule)
{
    if ((word & kUnusedRelayBits) != 0) {
        return fmt::format("relay word {:06X} has unused bits", word);
    }
    if ((word & kModuleBit) != 0 && !hasRespirationModule) {
        return fmt::format("relay word {:06X} names a respiration module, and none is fitted",
                           word);
    }
    return {};
}

// A host that cannot ask for the module keeps the rate that it has without one.
std::string RespirationModuleFault(const Options& options, std::uint8_t mode, unsigned rate)
{
    if (!options.respirationModule) {
        if ((mode & kModeRespiration) == 0) return {};
        return fmt::format("operate mode {:02X} without a respiration module", mode);
    }
    if (rate == kRespirationModuleRate || !TellsItsModule(options)) return {};
    return fmt::format("{} Hz with the respiration module", rate);
}

std::string FlashAddressFault(const Flash& flash, std::span<const std::uint8_t> frame, bool erase)
{
    const std::uint8_t channel = frame[5];
    const std::uint32_t address = BigAddress(frame);
    const std::size_t count = frame[7];
    if (!flash.Holds(channel, address, erase ? 1 : count)) {
        return fmt::format("{} bytes at {} are outside channel {}", count, address, channel);
    }
    if (erase && address % kSectorBytes != 0) {
        return fmt::format("an erase at {}, inside a sector", address);
    }
    if (channel == kEcgChannel && !StaysInOnePart(address, count)) {
        return fmt::format("{} bytes at {} lie in the FPGA image and in the records", count,
                           address);
    }
    return {};
}

// Empty when the fixed bytes of a flash frame are as they have to be.
std::string FlashFrameFault(const Flash& flash, std::span<const std::uint8_t> frame, bool erase)
{
    const std::uint8_t channel = frame[5];
    const std::size_t count = frame[7];
    const bool isImage = channel == kEcgChannel && IsInFpgaImage(BigAddress(frame));
    const std::size_t most = isImage ? kFlashImageBytes : kFlashDataBytes;
    if (frame[4] != 0) return "byte 4 is not 0";
    if (flash.SizeOf(channel) == 0 || channel == kMcuMemory) {
        return fmt::format("no storage channel {}", channel);
    }
    if (frame[6] > 1) return fmt::format("byte 6 is {:02X}, not 00 or 01", frame[6]);
    if (erase && count != 0) return "an erase frame with a byte count";
    if (!erase && (count == 0 || count > most)) return fmt::format("byte count {}", count);
    if (frame[12] != 0 || BigWord(frame, 13) != 0 || frame[15] != 0) {
        return "bytes 12 to 15 are not 0";
    }
    return FlashAddressFault(flash, frame, erase);
}

}  // namespace

bool IsZeroFrom(std::span<const std::uint8_t> bytes, std::size_t from)
{
    return std::all_of(bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.end(),
                       [](std::uint8_t byte) { return byte == 0; });
}

std::uint16_t BigWord(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    return static_cast<std::uint16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}

Device::Device(const Options& options)
    : flash(options.nor), measurements(options.measurements), options_(options)
{
    ProgramFactoryRecords(flash, options);
    ProgramFactoryImages(flash, options);
    if (!options.initialFlash.empty()) flash.Load(options.initialFlash);
    if (options.overwriteRecords) ProgramModelRecords(flash, options);
    // Bytes without a meaning to the host: a host that reads the block, changes fields and writes
    // it back has to keep them.
    for (std::size_t i = 48; i < 64; ++i) {
        state.controlBlock[i] = static_cast<std::uint8_t>(0xC0 + i);
    }
    PowerUp();
}

void Device::PowerUp()
{
    const unsigned commands = relays.commands;
    const unsigned shortCommands = relays.shortCommands;
    relays = {};
    relays.commands = commands;
    relays.shortCommands = shortCommands;
    relays.operateMode = kDefaultMode;
    std::fill_n(state.controlBlock.begin(), 48, std::uint8_t{0});
    state.dynamicLight = false;
    state.signalDetection = 0;
    state.rldMeasurement = false;
    state.samplingMask = 0;
    StartPrograms();
}

Answer Device::Acknowledge(RequestBytes request, bool done) const
{
    Answer answer;
    std::copy_n(request.begin(), std::min<std::size_t>(request.size(), 3),
                answer.reply.bytes.begin());
    answer.reply.bytes[3] = done ? kDone : options_.noModuleMark;
    return answer;
}

Answer Device::Execute(Request kind, RequestBytes request)
{
    switch (kind) {
        case Request::Identify: return Identify(request);
        case Request::DacLevel: return DacLevel(request);
        case Request::HardwareInfo:
        case Request::FirmwareInfo: return Information(kind, request);
        case Request::BoardVersions: return BoardVersions(request);
        case Request::UsbVoltage: return UsbVoltage(request);
        case Request::FlashRead: return ReadFlash(request);
        case Request::FlashWrite: return WriteFlash(request);
        case Request::FlashErase: return EraseFlash(request);
        case Request::Relays: return SetRelays(request);
        case Request::LeadOff: return SetLeadOff(request);
        case Request::ControlRead: return ReadControl(request);
        case Request::ControlWrite: return WriteControl(request);
        case Request::Respiration: return SetRespiration(request);
        case Request::PulseGroups: return PulseGroups(request);
        case Request::Restart:
        case Request::ControlMode:
        case Request::McuErase:
        case Request::McuWrite:
        case Request::McuRead: return ExecuteFirmware(kind, request);
        default: return ExecuteModule(kind, request);
    }
}

Answer Device::Identify(RequestBytes request) const
{
    Answer answer = Acknowledge(request);
    auto& bytes = answer.reply.bytes;
    answer.reply.size = 12;
    answer.reply.mark = 7;  // the last letter of the identity
    std::copy_n("TVRP", 4, bytes.begin() + 4);
    const auto record = flash.Read(kMainChannel, 0, 12);
    const unsigned recorded = record[0] == 'T' ? BigWord(record, 6) : options_.sequenceNumber;
    const unsigned number = options_.identifiedNumber.value_or(recorded);
    bytes[10] = static_cast<std::uint8_t>(number >> 8 & 0xFF);
    bytes[11] = static_cast<std::uint8_t>(number & 0xFF);
    return answer;
}

Answer Device::DacLevel(RequestBytes request) const
{
    Answer answer = Acknowledge(request, HasPpg());
    answer.reply.size = 12;
    answer.reply.mark = 4;
    answer.reply.bytes[4] = HasWideConverters(options_) ? 1 : 0;
    return answer;
}

Answer Device::Information(Request kind, RequestBytes request) const
{
    const auto& firmware = options_.firmware;
    if (!TellsItsModule(options_)) {
        return Answer::Refused(
            fmt::format("firmware {}.{} knows no information commands", firmware[0], firmware[1]));
    }
    Answer answer;
    answer.reply.size = 5;
    answer.reply.mark = 0;
    answer.reply.bytes[0] = request[0];
    if (kind == Request::HardwareInfo) {
        std::copy(options_.hardware.begin(), options_.hardware.end(),
                  answer.reply.bytes.begin() + 1);
    } else {
        std::copy(firmware.begin(), firmware.end(), answer.reply.bytes.begin() + 1);
    }
    return answer;
}

// Each kind of module has a group of its own.
Answer Device::BoardVersions(RequestBytes request) const
{
    const bool wide = options_.ppgModel == kModelWithTwoChannels;
    const bool hasModule = HasPpg() || options_.respirationModule;
    const bool isAsked = hasModule && request[0] == (wide ? 0xB9 : 0xB8);
    Answer answer = Acknowledge(request, isAsked);
    if (isAsked) {
        std::copy(options_.moduleFirmware.begin(), options_.moduleFirmware.end(),
                  answer.reply.bytes.begin() + 4);
    }
    return answer;
}

Answer Device::UsbVoltage(RequestBytes request) const
{
    Answer answer = Acknowledge(request);
    answer.reply.bytes[4] = measurements.usbVoltage;
    return answer;
}

// The reply repeats the frame, so that a host can turn it into a write.
Answer Device::ReadFlash(RequestBytes request) const
{
    const std::string fault = FlashFrameFault(flash, request, false);
    if (!fault.empty()) return Answer::Refused(fault);
    if (request[6] != 0 || !IsZeroFrom(request, kFlashData)) {
        return Answer::Refused("bytes of a read frame that belong to writes are not 0");
    }

    Answer answer;
    auto& bytes = answer.reply.bytes;
    std::copy(request.begin(), request.end(), bytes.begin());
    answer.reply.mark = kFlashMark;
    const bool isFitted = request[5] != kModuleChannel || HasPpg() || options_.respirationModule;
    bytes[kFlashMark] = isFitted ? kDone : options_.noModuleMark;
    if (isFitted) {
        const auto data = flash.Read(request[5], BigAddress(request), request[7]);
        std::copy(data.begin(), data.end(), bytes.begin() + kFlashData);
    }
    return answer;
}

Answer Device::WriteFlash(RequestBytes request)
{
    const std::string fault = FlashFrameFault(flash, request, false);
    if (!fault.empty()) return Answer::Refused(fault);
    const std::size_t count = request[7];
    if (!IsZeroFrom(request, kFlashData + count)) {
        return Answer::Refused(fmt::format("bytes after the {} data bytes are not 0", count));
    }

    Answer answer;
    std::copy_n(request.begin(), kFlashData, answer.reply.bytes.begin());
    answer.reply.mark = kFlashMark;
    const bool isFitted = request[5] != kModuleChannel || HasPpg() || options_.respirationModule;
    answer.reply.bytes[kFlashMark] = isFitted ? kDone : options_.noModuleMark;
    if (isFitted) WriteCells(request[5], BigAddress(request), request.subspan(kFlashData, count));
    return answer;
}

Answer Device::EraseFlash(RequestBytes request)
{
    const std::string fault = FlashFrameFault(flash, request, true);
    if (!fault.empty()) return Answer::Refused(fault);
    if (!IsZeroFrom(request, kFlashData)) return Answer::Refused("an erase frame with data");

    Answer answer;
    std::copy_n(request.begin(), kFlashData, answer.reply.bytes.begin());
    answer.reply.mark = kFlashMark;
    const bool isFitted = request[5] != kModuleChannel || HasPpg() || options_.respirationModule;
    answer.reply.bytes[kFlashMark] = isFitted ? kDone : options_.noModuleMark;
    if (isFitted) flash.EraseSector(request[5], BigAddress(request));
    return answer;
}

Answer Device::SetRelays(RequestBytes request)
{
    const std::uint32_t word = static_cast<std::uint32_t>(request[5]) << 16 | BigWord(request, 6);
    if (!IsLegalMode(request[2])) {
        return Answer::Refused(fmt::format("operate mode {:02X} does not exist", request[2]));
    }
    std::string fault = RespirationModuleFault(options_, request[2], BigWord(request, 3));
    if (fault.empty()) fault = RelayWordFault(word, options_.respirationModule);
    if (!fault.empty()) return Answer::Refused(std::move(fault));
    for (std::size_t i = 11; i < 14; ++i) {
        if (request[i] > kLastAcRange) {
            return Answer::Refused(fmt::format("AC range {} in byte {}", request[i], i));
        }
    }
    if (!IsZeroFrom(request, 14)) return Answer::Refused("bytes 14 to 16 are not 0");

    ++relays.commands;
    relays.operateMode = request[2];
    relays.sampleRate = BigWord(request, 3);
    relays.word = word;
    std::copy_n(request.begin() + 8, 3, relays.ledSync.begin());
    std::copy_n(request.begin() + 11, 3, relays.acCalibration.begin());
    relays.lastCommand.assign(request.begin(), request.end());
    return Acknowledge(request);
}

// Changes the relay word alone. Its mode byte is fixed, so it says nothing of the stream's layout.
Answer Device::SetLeadOff(RequestBytes request)
{
    const std::uint32_t word = static_cast<std::uint32_t>(request[5]) << 16 | BigWord(request, 6);
    std::string fault = RelayWordFault(word, options_.respirationModule);
    if (!fault.empty()) return Answer::Refused(std::move(fault));
    if (BigWord(request, 3) == 0) return Answer::Refused("a sample rate of 0 Hz");
    ++relays.shortCommands;
    relays.word = word;
    relays.lastCommand.assign(request.begin(), request.end());
    return Acknowledge(request);
}

bool RelayState::HasRespiration() const { return (word & kRespirationBit) != 0; }

// Bit 11 alone makes mode 3, whatever a mode before left in bits 13 and 14; bit 14 means nothing
// without bit 13, and stays when a host switches lead-off off.
unsigned RelayState::LeadOffMode() const
{
    if ((word & kThirdLeadOffBit) != 0) return 3;
    if ((word & kLeadOffBit) == 0) return 0;
    return (word & kFirstLeadOffBit) != 0 ? 1 : 2;
}

bool RelayState::MeasuresRld() const { return (word & kRldBit) != 0; }

}  // namespace instrument
