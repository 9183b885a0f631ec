// The times that the output-signal callback is given, for every sample.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <mutex>
#include <vector>

#include "support/PlayClockModel.h"
#include "support/Waiting.h"
#include "vrax.h"

class CallbackTimes {
public:
    static void Register(int divider = 0)
    {
        VRAXRegisterOutputSignalCallback(
            [](double time, double) {
                const std::lock_guard lock(State().mutex);
                State().times.push_back(time);
            },
            divider);
    }
    static std::vector<double> Get()
    {
        const std::lock_guard lock(State().mutex);
        return State().times;
    }
    static std::size_t Count()
    {
        const std::lock_guard lock(State().mutex);
        return State().times.size();
    }
    static bool WaitForMore(std::size_t count)
    {
        const std::size_t until = Count() + count;
        return Eventually([=] { return Count() >= until; });
    }

    // One play clock from the first sample on: no sample is missing, none comes twice, and it never
    // starts again.
    static void ExpectOneClock(double rate)
    {
        const std::vector<double> times = Get();
        const std::vector<long> steps = TimeSteps(times.size(), rate);
        for (std::size_t i = 0; i < times.size(); ++i) {
            ASSERT_NEAR(times[i], static_cast<double>(steps[i]) / rate, 1e-7) << "sample " << i;
        }
    }

private:
    struct Record {
        std::mutex mutex;
        std::vector<double> times;
    };
    static Record& State()
    {
        static Record& record = *new Record;  // packets are built until the process has ended
        return record;
    }
};
