// The frames that replace the instrument's programs, and images to replace them with.
#pragma once

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "HostPort.h"
#include "instrument/SimulatedInstrument.h"

namespace instrument_test {

constexpr std::uint32_t kFpgaBytes = 122880;
constexpr std::uint32_t kRecordsBegin = 102400;
constexpr std::uint32_t kRecordsEnd = 116736;
constexpr std::uint32_t kTagAt = 118772;
constexpr std::uint32_t kVersionAt = 118776;

// Every byte tells its place to a reader that is wrong by less than 251 * 241.
inline Bytes MakeImage(std::size_t size, const std::string& tag, const Bytes& version)
{
    Bytes image(size);
    for (std::size_t i = 0; i < size; ++i) {
        image[i] = static_cast<std::uint8_t>(i % 251 ^ i % 241);
    }
    std::copy(tag.begin(), tag.end(), image.begin() + kTagAt);
    std::copy(version.begin(), version.end(), image.begin() + kVersionAt);
    return image;
}

inline Bytes Part(const Bytes& bytes, std::size_t from, std::size_t count)
{
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(from);
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

inline Bytes ControlMode(std::uint8_t mode) { return {0xB9, 0xFF, 0x00, 0x00, mode}; }

inline Bytes McuFrame(std::uint8_t direction, std::uint8_t item, std::size_t length,
                      std::uint32_t address, const Bytes& data = {})
{
    Bytes frame{0xB9,
                direction,
                item,
                0x00,
                static_cast<std::uint8_t>(length),
                static_cast<std::uint8_t>(address >> 16 & 0xFF),
                static_cast<std::uint8_t>(address >> 8 & 0xFF),
                static_cast<std::uint8_t>(address & 0xFF)};
    frame.insert(frame.end(), data.begin(), data.end());
    return Padded(frame);
}

inline Bytes McuErase(std::uint32_t address) { return McuFrame(0xFF, 0x02, 0, address); }
inline Bytes McuWrite(std::uint32_t address, const Bytes& data)
{
    return McuFrame(0xFF, 0x03, data.size(), address, data);
}
inline Bytes McuRead(std::uint32_t address, std::size_t length)
{
    return McuFrame(0x00, 0x03, length, address);
}

inline Bytes FpgaWrite(std::uint32_t address, const Bytes& data)
{
    return FlashFrame(true, 3, address, static_cast<std::uint8_t>(data.size()), data);
}
inline Bytes FpgaRead(std::uint32_t address, std::size_t length)
{
    return FlashFrame(false, 3, address, static_cast<std::uint8_t>(length));
}

// Not answered, and told with this reason.
inline void ExpectRefused(instrument::SimulatedInstrument& device, const HostPort& host,
                          const Bytes& request, const std::string& reason)
{
    device.ClearRefusals();
    ASSERT_TRUE(host.Write(request));
    EXPECT_TRUE(host.IsSilent()) << reason;
    ASSERT_EQ(device.Refusals().size(), 1U) << reason;
    EXPECT_EQ(device.Refusals()[0].reason, reason);
}

}  // namespace instrument_test
