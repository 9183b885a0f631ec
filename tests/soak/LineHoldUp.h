// How long the machine keeps a byte on its way through a pseudo-terminal that the library has nothing
// to do with. What stands between two processes of a busy machine stands between the library and the
// instrument too.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "support/Timing.h"

namespace soak {

class CLineHoldUp {
public:
    CLineHoldUp() : device_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        char name[64] = {};
        if (device_ < 0 || grantpt(device_) != 0 || unlockpt(device_) != 0 ||
            ptsname_r(device_, name, sizeof name) != 0) {
            throw std::runtime_error("no pseudo-terminal");
        }
        host_ = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios settings{};
        if (host_ < 0 || tcgetattr(host_, &settings) != 0) throw std::runtime_error(name);
        cfmakeraw(&settings);
        tcsetattr(host_, TCSANOW, &settings);
        thread_ = std::thread([this] { Run(); });
    }
    ~CLineHoldUp()
    {
        stop_ = true;
        thread_.join();
        close(host_);
        close(device_);
    }
    CLineHoldUp(const CLineHoldUp&) = delete;
    CLineHoldUp& operator=(const CLineHoldUp&) = delete;

    // Since the last call; a byte that is still on its way counts.
    double TakeLongestMs()
    {
        const double underWayMs = isUnderWay_ ? MsBetween(sent_, instrument::Clock::now()) : 0.0;
        return std::max(underWayMs, longestMs_.exchange(0.0));
    }

private:
    void Run()
    {
        while (!stop_) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            SendOne();
        }
    }
    void SendOne()
    {
        char byte = 1;
        sent_ = instrument::Clock::now();
        isUnderWay_ = write(device_, &byte, 1) == 1;
        while (isUnderWay_ && !stop_) {
            constexpr int kLookMs = 100;
            pollfd wait = {host_, POLLIN, 0};
            if (poll(&wait, 1, kLookMs) <= 0) continue;
            isUnderWay_ = read(host_, &byte, 1) != 1;
            const double ms = MsBetween(sent_, instrument::Clock::now());
            longestMs_ = std::max<double>(longestMs_, ms);
        }
    }

    int device_;
    int host_ = -1;
    std::atomic<bool> stop_{false};
    std::atomic<bool> isUnderWay_{false};
    std::atomic<instrument::Clock::time_point> sent_{};
    std::atomic<double> longestMs_{0.0};
    std::thread thread_;
};

}  // namespace soak
