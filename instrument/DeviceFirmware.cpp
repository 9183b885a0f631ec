// The restart (0xDD) and the update of the MCU's program (group 0xB9).

#include <algorithm>

#include <fmt/format.h>

#include "instrument/Device.h"
#include "instrument/Images.h"

namespace instrument {

namespace {

constexpr std::uint8_t kBackToApplication = 0;
constexpr std::uint8_t kEnterUpdate = 1;
constexpr std::uint8_t kRestartIntoProgram = 255;

constexpr std::size_t kMcuData = 8;
constexpr std::size_t kMcuWriteBytes = 32;
constexpr std::size_t kMcuReadBytes = 52;

std::uint32_t McuAddress(std::span<const std::uint8_t> frame)
{
    return static_cast<std::uint32_t>(frame[5]) << 16 | BigWord(frame, 6);
}

// Empty when the fixed bytes of the frame are as they have to be.
std::string McuFrameFault(Request kind, std::span<const std::uint8_t> frame)
{
    const bool isErase = kind == Request::McuErase;
    const std::size_t count = frame[4];
    const std::size_t most = kind == Request::McuWrite ? kMcuWriteBytes : kMcuReadBytes;
    const std::uint32_t address = McuAddress(frame);
    if (frame[3] != 0) return "byte 3 is not 0";
    if (isErase && count != 0) return "byte 4 is not 0";
    if (!isErase && (count == 0 || count > most)) return fmt::format("byte count {}", count);
    if (!IsZeroFrom(frame, kMcuData + (kind == Request::McuWrite ? count : 0))) {
        return "bytes after those of the frame are not 0";
    }
    if (isErase && address % kSectorBytes != 0) {
        return fmt::format("an erase at {}, inside a sector", address);
    }
    if (address + std::max<std::size_t>(count, 1) > kMcuMemoryBytes) {
        return fmt::format("{} bytes at {} are outside the program memory", count, address);
    }
    return {};
}

}  // namespace

Answer Device::ExecuteFirmware(Request kind, RequestBytes request)
{
    if (kind == Request::ControlMode) return SetControlMode(request);
    if (kind != Request::Restart) return UpdateMcu(kind, request);
    Answer answer = Acknowledge(request);
    answer.restarts = true;
    return answer;
}

// Until the restart the instrument goes on with the program that it runs; update mode only opens
// the memory of the next one.
Answer Device::SetControlMode(RequestBytes request)
{
    const std::uint8_t mode = request[4];
    if (mode != kBackToApplication && mode != kEnterUpdate && mode != kRestartIntoProgram) {
        return Answer::Refused(fmt::format("control mode {}", mode));
    }
    if (mode == kRestartIntoProgram && !firmware_.updateMode) {
        return Answer::Refused("control mode 255 outside update mode");
    }
    bool isDone = true;
    if (mode == kEnterUpdate) firmware_.updateMode = true;
    if (mode == kBackToApplication) {
        isDone = firmware_.runningMcu.isAccepted;
        firmware_.updateMode = !isDone;
    }
    Answer answer = Acknowledge(request, isDone);
    answer.reply.bytes[4] = mode;
    answer.restarts = mode == kRestartIntoProgram;
    return answer;
}

Answer Device::UpdateMcu(Request kind, RequestBytes request)
{
    if (!firmware_.updateMode) {
        return Answer::Refused(fmt::format("{} outside update mode", NameOf(kind)));
    }
    const std::string fault = McuFrameFault(kind, request);
    if (!fault.empty()) return Answer::Refused(fault);

    const std::uint32_t address = McuAddress(request);
    const std::size_t count = request[4];
    Answer answer = Acknowledge(request);
    std::copy_n(request.begin() + 4, 4, answer.reply.bytes.begin() + 4);
    if (kind == Request::McuErase) flash.EraseSector(kMcuMemory, address);
    if (kind == Request::McuWrite) {
        WriteCells(kMcuMemory, address, request.subspan(kMcuData, count));
    }
    if (kind == Request::McuRead) {
        const auto data = flash.Read(kMcuMemory, address, count);
        std::copy(data.begin(), data.end(), answer.reply.bytes.begin() + kMcuData);
    }
    return answer;
}

// Acknowledged whatever the cells were: only reading back tells.
void Device::WriteCells(std::uint8_t channel, std::uint32_t address, RequestBytes data)
{
    const auto before = flash.Read(channel, address, data.size());
    flash.Write(channel, address, data);
    const auto after = flash.Read(channel, address, data.size());
    if (!std::equal(after.begin(), after.end(), data.begin())) ++firmware_.spoiltWrites;
}

void Device::StartPrograms()
{
    firmware_.runningFpga = DescribeImage(flash, Image::Fpga);
    firmware_.runningMcu = DescribeImage(flash, Image::Mcu);
    firmware_.updateMode = !firmware_.runningMcu.isAccepted;
}

FirmwareState Device::Firmware() const
{
    FirmwareState all = firmware_;
    all.heldFpga = DescribeImage(flash, Image::Fpga);
    all.heldMcu = DescribeImage(flash, Image::Mcu);
    return all;
}

}  // namespace instrument
