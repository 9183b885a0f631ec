// An application that samples photodiodes: the listener of photodiode 0 records what it is told.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "support/LinkHost.h"
#include "support/Slowdown.h"
#include "support/Waiting.h"

inline instrument::Options WithModule(instrument::Pace pace = instrument::Pace::Fast)
{
    instrument::Options options;
    options.ppgModel = 0x3407;
    options.pace = pace;
    options.keepStreamExchanges = true;
    return options;
}

// Never is a packet sent before the one before has been answered.
inline void ExpectOnePacketInFlight(const instrument::SimulatedInstrument& instrument)
{
    instrument::Clock::time_point answered;
    for (const auto& packet : instrument.Exchanges(instrument::Request::Stream)) {
        EXPECT_GE(packet.arrived, answered);
        answered = packet.replied;
    }
}

// Written by the poll thread.
struct Record {
    std::mutex mutex;
    std::vector<int> values;
};
inline Record& Heard()
{
    static Record& record = *new Record;
    return record;
}
inline void Hear(int, int value, int)
{
    const std::lock_guard lock(Heard().mutex);
    Heard().values.push_back(value);
}
inline std::vector<int> Values()
{
    const std::lock_guard lock(Heard().mutex);
    return Heard().values;
}
inline std::size_t Count()
{
    const std::lock_guard lock(Heard().mutex);
    return Heard().values.size();
}

constexpr std::size_t kSamplesAFrame = 18;  // 56 bytes of three-byte records

inline bool WaitForFrames(std::size_t count, std::chrono::milliseconds timeout = kLongWait)
{
    return Eventually([=] { return Count() >= count * kSamplesAFrame; }, timeout);
}

// `count` frames of the instrument's own stream, whose samples are numbered from 0.
inline void ExpectNumberedSamples(std::size_t count)
{
    const std::vector<int> values = Values();
    ASSERT_EQ(values.size(), count * kSamplesAFrame);
    for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_EQ(values[i], static_cast<int>(i & 0xFFFF)) << "sample " << i;
    }
}

inline void StartSampling()
{
    ASSERT_EQ(VRAXEnablePPGSampling(0, Hear), 0);
    ASSERT_EQ(VRAXStartPPGSampling(), 0);
}

// While a sensor is silent each command of the start waits a second.
inline void PlaySine(const instrument::SimulatedInstrument& instrument)
{
    const std::size_t packets = instrument.PacketCount();
    CCall<int> play([] { return VRAXSetOutputFunction(OUTPUT_SINE); });
    ASSERT_TRUE(play.HasReturned(std::chrono::minutes(1)));
    ASSERT_EQ(play.Result(), 0);
    ASSERT_TRUE(instrument.WaitForPackets(packets + 2));
}

// A thread that asks for the voltage without a pause, until it is told to end.
class CBackToBack {
public:
    CBackToBack() = default;
    ~CBackToBack() { stop_ = true; }
    CBackToBack(const CBackToBack&) = delete;
    CBackToBack& operator=(const CBackToBack&) = delete;

    struct Answers {
        unsigned right = 0;
        unsigned failed = 0;
        unsigned wrong = 0;
    };
    Answers End()
    {
        stop_ = true;
        return call_.Result();
    }

private:
    std::atomic<bool> stop_{false};
    CCall<Answers> call_{[this] {
        Answers answers;
        while (!stop_) {
            const unsigned voltage = VRAXGetUSBBusVoltage();
            if (voltage == kUsbVoltage) {
                ++answers.right;
            } else {
                ++(voltage == 0 ? answers.failed : answers.wrong);
            }
        }
        return answers;
    }};
};
