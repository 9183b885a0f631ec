// Requests as bytes, for comparison with what arrived.
#pragma once

#include <cstdint>
#include <vector>

#include "instrument/SimulatedInstrument.h"

using instrument::Bytes;

// Zeros up to `size` bytes.
inline Bytes Padded(Bytes head, std::size_t size = 64)
{
    head.resize(size);
    return head;
}

inline Bytes FlashRequest(std::uint8_t direction, std::uint8_t channel, std::uint8_t erase,
                          std::uint8_t count, std::uint32_t address, const Bytes& data = {})
{
    Bytes frame = {0x12,
                   0x55,
                   0xAA,
                   direction,
                   0x00,
                   channel,
                   erase,
                   count,
                   static_cast<std::uint8_t>(address >> 24),
                   static_cast<std::uint8_t>(address >> 16),
                   static_cast<std::uint8_t>(address >> 8),
                   static_cast<std::uint8_t>(address)};
    frame.resize(16);
    frame.insert(frame.end(), data.begin(), data.end());
    return Padded(frame);
}

inline Bytes ReadRequest(std::uint8_t channel, std::uint32_t address, std::uint8_t count)
{
    return FlashRequest(0x00, channel, 0, count, address);
}

inline Bytes WriteRequest(std::uint8_t channel, std::uint32_t address, const Bytes& data)
{
    return FlashRequest(0xFF, channel, 0, static_cast<std::uint8_t>(data.size()), address, data);
}

inline Bytes EraseRequest(std::uint8_t channel, std::uint32_t address)
{
    return FlashRequest(0xFF, channel, 1, 0, address);
}

// The requests in the order in which they came.
inline std::vector<Bytes> Requests(const std::vector<instrument::Exchange>& exchanges)
{
    std::vector<Bytes> requests;
    for (const instrument::Exchange& exchange : exchanges) requests.push_back(exchange.request);
    return requests;
}
