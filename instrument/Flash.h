// The instrument's flash: memories of 1024-byte sectors that erase to 0xFF.
//
// Takes no lock; its owner does.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace instrument {

constexpr std::uint8_t kMainChannel = 1;
constexpr std::uint8_t kEcgChannel = 3;
constexpr std::uint8_t kDcChannel = 18;
constexpr std::uint8_t kModuleChannel = 19;
constexpr std::uint32_t kSectorBytes = 1024;

// The program memory of the MCU. It is no storage channel and has commands of its own.
constexpr std::uint8_t kMcuMemory = 0xB9;
constexpr std::size_t kMcuMemoryBytes = 512 * 1024;

class Flash {
public:
    // In the memories of the images, and with `nor` in all, a write can only clear bits; in the
    // others it replaces them.
    explicit Flash(bool nor);

    // 0 for a channel that does not exist.
    std::size_t SizeOf(std::uint8_t channel) const;
    bool Holds(std::uint8_t channel, std::uint32_t address, std::size_t bytes) const;

    // What lies outside the memory reads as 0xFF and is not written.
    std::vector<std::uint8_t> Read(std::uint8_t channel, std::uint32_t address,
                                   std::size_t bytes) const;
    void Write(std::uint8_t channel, std::uint32_t address, std::span<const std::uint8_t> data);
    // As a programming device does it: replaces the bits whatever the kind of memory.
    void Program(std::uint8_t channel, std::uint32_t address, std::span<const std::uint8_t> data);
    void EraseSector(std::uint8_t channel, std::uint32_t address);
    void EraseAll(std::uint8_t channel);

    // Rises with every change.
    std::uint64_t Generation() const { return generation_; }
    std::uint64_t DcGeneration() const { return dcGeneration_; }  // of the DC calibration alone
    std::uint64_t ModuleGeneration() const { return moduleGeneration_; }  // of the module's alone

    // One image of all memories. Load throws std::runtime_error when `image` is not such an image;
    // one without the MCU's memory leaves that as it is.
    std::string Save() const;
    void Load(const std::string& image);

private:
    void Touch(std::uint8_t channel);

    std::map<std::uint8_t, std::vector<std::uint8_t>> memories_;
    bool nor_;
    std::uint64_t generation_ = 0;
    std::uint64_t dcGeneration_ = 0;
    std::uint64_t moduleGeneration_ = 0;
};

}  // namespace instrument
