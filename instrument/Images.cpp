#include "instrument/Images.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include <fmt/format.h>

namespace instrument {

namespace {

constexpr std::array<std::uint8_t, 4> kFpgaTag{'V', 'R', 'A', 'X'};
constexpr std::array<std::uint8_t, 4> kMcuTag{'2', 'T', 'F', '2'};
constexpr std::size_t kFactoryMcuBytes = 128 * 1024;

constexpr std::uint8_t MemoryOf(Image image)
{
    return image == Image::Fpga ? kEcgChannel : kMcuMemory;
}

std::array<std::uint8_t, 4> FourBytes(const Flash& flash, Image image, std::uint32_t address)
{
    std::array<std::uint8_t, 4> bytes{};
    const auto read = flash.Read(MemoryOf(image), address, bytes.size());
    std::copy(read.begin(), read.end(), bytes.begin());
    return bytes;
}

// The MCU's tag is taken with one right byte in its place.
bool IsTagAccepted(Image image, const std::array<std::uint8_t, 4>& tag)
{
    if (image == Image::Fpga) return tag == kFpgaTag;
    for (std::size_t i = 0; i < tag.size(); ++i) {
        if (tag[i] == kMcuTag[i]) return true;
    }
    return false;
}

// No two sectors alike and hardly a byte erased, so that what was not erased or went to a wrong
// address is seen.
std::vector<std::uint8_t> FactoryImage(std::size_t size, std::uint32_t seed,
                                       const std::array<std::uint8_t, 4>& tag,
                                       const std::array<std::uint8_t, 4>& version)
{
    std::vector<std::uint8_t> bytes(size);
    for (std::uint8_t& byte : bytes) {
        seed = seed * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(seed >> 24);
    }
    std::copy(tag.begin(), tag.end(), bytes.begin() + kImageTag);
    std::copy(version.begin(), version.end(), bytes.begin() + kImageVersion);
    return bytes;
}

}  // namespace

bool IsInFpgaImage(std::uint32_t address)
{
    return address < kEcgRecords || (address >= kEcgRecordsEnd && address < kFpgaImageBytes);
}

bool StaysInOnePart(std::uint32_t address, std::size_t bytes)
{
    const std::size_t end = address + bytes;
    if (address < kEcgRecords) return end <= kEcgRecords;
    return address >= kEcgRecordsEnd || end <= kEcgRecordsEnd;
}

ImageState DescribeImage(const Flash& flash, Image image)
{
    ImageState state;
    state.tag = FourBytes(flash, image, kImageTag);
    state.version = FourBytes(flash, image, kImageVersion);
    state.isAccepted = IsTagAccepted(image, state.tag);
    return state;
}

void ProgramFactoryImages(Flash& flash, const Options& options)
{
    HoldImage(flash, Image::Fpga, FactoryImage(kFpgaImageBytes, 1, kFpgaTag, options.fpgaVersion));
    HoldImage(flash, Image::Mcu, FactoryImage(kFactoryMcuBytes, 2, kMcuTag, options.firmware));
}

void HoldImage(Flash& flash, Image image, std::span<const std::uint8_t> bytes)
{
    if (image == Image::Mcu) {
        if (bytes.size() > kMcuMemoryBytes) {
            throw std::out_of_range(
                fmt::format("an MCU image has at most {} bytes", kMcuMemoryBytes));
        }
        flash.EraseAll(kMcuMemory);
        flash.Program(kMcuMemory, 0, bytes);
        return;
    }
    if (bytes.size() != kFpgaImageBytes) {
        throw std::out_of_range(fmt::format("an FPGA image has {} bytes", kFpgaImageBytes));
    }
    flash.Program(kEcgChannel, 0, bytes.first(kEcgRecords));
    flash.Program(kEcgChannel, kEcgRecordsEnd, bytes.subspan(kEcgRecordsEnd));
}

}  // namespace instrument
