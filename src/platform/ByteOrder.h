// Wire words are big-endian, high byte first; some files are little-endian.
#pragma once

#include <cstdint>
#include <cstring>

inline std::uint16_t ReadBig16(const std::uint8_t* bytes)
{
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

inline std::uint32_t ReadBig32(const std::uint8_t* bytes)
{
    return std::uint32_t{ReadBig16(bytes)} << 16 | ReadBig16(bytes + 2);
}

inline std::uint16_t ReadLittle16(const std::uint8_t* bytes)
{
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

inline void WriteBig16(std::uint8_t* bytes, std::uint16_t value)
{
    const auto wire = static_cast<std::uint16_t>(value << 8 | value >> 8);
    std::memcpy(bytes, &wire, sizeof wire);
}

inline void WriteBig32(std::uint8_t* bytes, std::uint32_t value)
{
    WriteBig16(bytes, static_cast<std::uint16_t>(value >> 16));
    WriteBig16(bytes + 2, static_cast<std::uint16_t>(value));
}
