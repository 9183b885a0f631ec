// How long the machine lets a thread of this process wait that has only slept for a moment.
#pragma once

#include <algorithm>
#include <atomic>
#include <thread>

#include "support/Timing.h"

namespace faults {

class CHoldUp {
public:
    CHoldUp()
        : thread_([this] {
              constexpr int kSleepMs = 2;
              while (!stop_) {
                  const CStopwatch watch;
                  std::this_thread::sleep_for(std::chrono::milliseconds(kSleepMs));
                  longestMs_ = std::max<double>(longestMs_, watch.Ms() - kSleepMs);
              }
          })
    {}
    ~CHoldUp()
    {
        stop_ = true;
        thread_.join();
    }
    CHoldUp(const CHoldUp&) = delete;
    CHoldUp& operator=(const CHoldUp&) = delete;

    // Long enough to make a reply late that came in time.
    bool Spoils() const { return longestMs_ > 15.0; }
    // Since the last call.
    double TakeLongestMs() { return longestMs_.exchange(0.0); }

private:
    std::atomic<bool> stop_{false};
    std::atomic<double> longestMs_{0.0};
    std::thread thread_;
};

// Runs a cell; only what a hold-up may have spoilt is tried again.
template <class Function>
auto RunCell(Function runOnce)
{
    constexpr int kAttempts = 4;
    for (int i = 1;; ++i) {
        const CHoldUp holdUp;
        auto result = runOnce();
        result.wasRepeated = i > 1;
        if (result.fault.empty() || !holdUp.Spoils() || i == kAttempts) return result;
    }
}

}  // namespace faults
