#include "instrument/Flash.h"

#include <algorithm>
#include <stdexcept>

#include <fmt/format.h>

namespace instrument {

namespace {

constexpr std::uint8_t kErasedByte = 0xFF;
constexpr char kImageHead[] = "vrax-instrument flash 1\n";

constexpr std::size_t kKib = 1024;

struct Memory {
    std::uint8_t channel;
    std::size_t bytes;
};
// Channel 3 also holds the 120 KiB image of the FPGA; the others fit the records they hold.
constexpr Memory kMemories[] = {
    {kMainChannel, 4 * kKib},    {kEcgChannel, 120 * kKib},     {kDcChannel, 16 * kKib},
    {kModuleChannel, 32 * kKib}, {kMcuMemory, kMcuMemoryBytes},
};

}  // namespace

Flash::Flash(bool nor) : nor_(nor)
{
    for (const Memory& memory : kMemories) {
        memories_[memory.channel].assign(memory.bytes, kErasedByte);
    }
}

std::size_t Flash::SizeOf(std::uint8_t channel) const
{
    const auto found = memories_.find(channel);
    return found == memories_.end() ? 0 : found->second.size();
}

bool Flash::Holds(std::uint8_t channel, std::uint32_t address, std::size_t bytes) const
{
    const std::size_t size = SizeOf(channel);
    return address < size && bytes <= size - address;
}

std::vector<std::uint8_t> Flash::Read(std::uint8_t channel, std::uint32_t address,
                                      std::size_t bytes) const
{
    std::vector<std::uint8_t> data(bytes, kErasedByte);
    const auto found = memories_.find(channel);
    if (found == memories_.end() || address >= found->second.size()) return data;
    const std::size_t count = std::min(bytes, found->second.size() - address);
    std::copy_n(found->second.begin() + address, count, data.begin());
    return data;
}

void Flash::Write(std::uint8_t channel, std::uint32_t address, std::span<const std::uint8_t> data)
{
    const bool onlyClears = nor_ || channel == kEcgChannel || channel == kMcuMemory;
    if (!onlyClears) return Program(channel, address, data);
    std::vector<std::uint8_t> bytes = Read(channel, address, data.size());
    for (std::size_t i = 0; i < data.size(); ++i) bytes[i] &= data[i];
    Program(channel, address, bytes);
}

void Flash::Program(std::uint8_t channel, std::uint32_t address, std::span<const std::uint8_t> data)
{
    const auto found = memories_.find(channel);
    if (found == memories_.end() || address >= found->second.size()) return;
    const std::size_t count = std::min(data.size(), found->second.size() - address);
    std::copy_n(data.begin(), count, found->second.begin() + address);
    Touch(channel);
}

void Flash::EraseSector(std::uint8_t channel, std::uint32_t address)
{
    const std::vector<std::uint8_t> erased(kSectorBytes, kErasedByte);
    Program(channel, address / kSectorBytes * kSectorBytes, erased);
}

void Flash::EraseAll(std::uint8_t channel)
{
    const std::vector<std::uint8_t> erased(SizeOf(channel), kErasedByte);
    Program(channel, 0, erased);
}

void Flash::Touch(std::uint8_t channel)
{
    ++generation_;
    if (channel == kDcChannel) ++dcGeneration_;
    if (channel == kModuleChannel) ++moduleGeneration_;
}

std::string Flash::Save() const
{
    std::string image = kImageHead;
    for (const auto& [channel, bytes] : memories_) {
        image += fmt::format("channel {} bytes {}\n", channel, bytes.size());
        image.append(bytes.begin(), bytes.end());
    }
    return image;
}

void Flash::Load(const std::string& image)
{
    auto fail = [] { throw std::runtime_error("this is no flash image of this instrument"); };
    std::size_t position = sizeof kImageHead - 1;
    if (image.compare(0, position, kImageHead) != 0) fail();
    for (auto& [channel, bytes] : memories_) {
        if (channel == kMcuMemory && position == image.size()) return;
        const std::string head = fmt::format("channel {} bytes {}\n", channel, bytes.size());
        if (image.compare(position, head.size(), head) != 0) fail();
        position += head.size();
        if (image.size() - position < bytes.size()) fail();
        std::copy_n(image.begin() + static_cast<std::ptrdiff_t>(position), bytes.size(),
                    reinterpret_cast<char*>(bytes.data()));
        position += bytes.size();
        Touch(channel);
    }
    if (position != image.size()) fail();
}

}  // namespace instrument
