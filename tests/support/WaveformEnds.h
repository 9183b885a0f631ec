// The ends of waveforms and records that play once, as the library tells them.
#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <utility>
#include <vector>

#include "support/Waiting.h"
#include "vrax.h"

// Play time and period of every end.
class WaveformEnds {
public:
    static void Register()
    {
        RegisterStandardWaveformCB([](double t, double period) {
            const std::lock_guard lock(State().mutex);
            State().told.emplace_back(t, period);
        });
    }
    static std::vector<std::pair<double, double>> Told()
    {
        const std::lock_guard lock(State().mutex);
        return State().told;
    }

    // Once, with the first sample beyond the period.
    static void ExpectOne(double period, double rate)
    {
        const std::vector<std::pair<double, double>> told = Told();
        ASSERT_EQ(told.size(), 1U);
        EXPECT_EQ(told[0].second, period);
        EXPECT_GT(told[0].first, period);
        EXPECT_LE(told[0].first, period + 1.0 / rate + 1e-9);
    }

private:
    struct Record {
        std::mutex mutex;
        std::vector<std::pair<double, double>> told;
    };
    static Record& State()
    {
        static Record& record = *new Record;  // told until the process has ended
        return record;
    }
};

// The output is off and its run has ended.
inline bool WaitForTheEndOfTheRun()
{
    return Eventually([] { return VRAXGetOutputFunction() == OUTPUT_OFF && VRAXIsPlaying() == 0; });
}
