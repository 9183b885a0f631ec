// Packets with module codes, written byte by byte.
#pragma once

#include <gtest/gtest.h>

#include "HostPort.h"
#include "instrument/SimulatedInstrument.h"

namespace instrument_test {

using Codes = std::vector<std::uint16_t>;

// Every slot holds `codes`: the ECG's two, then those of the modules. `samples` in a frame.
inline Bytes SlotPacket(std::uint8_t mode, unsigned firstSequence, std::size_t samples,
                        std::size_t slotBytes, const Codes& codes)
{
    Bytes packet(3200, 0);
    for (std::size_t i = 0; i < 50; ++i) {
        std::uint8_t* frame = &packet[64 * i];
        frame[0] = 0x01;
        frame[1] = mode;
        frame[5] = static_cast<std::uint8_t>(samples);
        const std::size_t sequence = firstSequence + i;
        frame[6] = static_cast<std::uint8_t>(sequence >> 8 & 0xFF);
        frame[7] = static_cast<std::uint8_t>(sequence & 0xFF);
        for (std::size_t slot = 0; slot < samples; ++slot) {
            for (std::size_t code = 0; code < codes.size(); ++code) {
                std::uint8_t* at = frame + 8 + slot * slotBytes + 2 * code;
                at[0] = static_cast<std::uint8_t>(codes[code] >> 8);
                at[1] = static_cast<std::uint8_t>(codes[code] & 0xFF);
            }
        }
    }
    return packet;
}

// One packet of such slots, and the first sample that the instrument made of it.
inline instrument::Sample Play(instrument::SimulatedInstrument& instrument, const Bytes& packet)
{
    instrument.KeepSamples(0);
    instrument.KeepSamples(1000);
    const HostPort host(instrument.Path());
    EXPECT_EQ(host.Ask(packet).size(), 64U);
    host.Ask({0xCC, 0x00, 'B'});  // a packet is decoded after its reply, before the next request
    const auto samples = instrument.Samples();
    return samples.empty() ? instrument::Sample{} : samples.front();
}

}  // namespace instrument_test
