// A run without threads, timer or port: the test builds the packets itself, one after the other.
#pragma once

#include <cstdint>
#include <vector>

#include "device/Exchange.h"
#include "instrument/StreamPacket.h"
#include "streaming/Change.h"
#include "streaming/Packet.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Relays.h"

class OfflineRun {
public:
    explicit OfflineRun(int function, int sampleRate = kDefaultSampleRate)
    {
        s_sampleRate = sampleRate;
        g_MainOutput = function;
        g_fDelayAccumulated = 0.0;
        s_t = 0.0;
        s_tg = 0.0;
        s_ECGGoing = true;
        Change();
        SetRelays(true);  // as a run begins: operate mode, ranges
    }
    ~OfflineRun()
    {
        s_ECGGoing = false;
        g_MainOutput = OUTPUT_OFF;
    }
    OfflineRun(const OfflineRun&) = delete;
    OfflineRun& operator=(const OfflineRun&) = delete;

    std::vector<std::uint8_t> NextPacket()
    {
        std::vector<std::uint8_t> packet(kPacketBytes);
        CLineOwner line;
        DoSendNextPacket(packet.data());
        return packet;
    }

    // Whole packets with at least so many samples, in order.
    std::vector<instrument::Slot> NextSamples(std::size_t count)
    {
        std::vector<instrument::Slot> samples;
        while (samples.size() < count) {
            for (const instrument::Frame& frame : instrument::DecodePacket(NextPacket())) {
                samples.insert(samples.end(), frame.slots.begin(), frame.slots.end());
            }
        }
        return samples;
    }
};
