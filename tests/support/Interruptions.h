// Interrupts the calling thread's system calls again and again while it lives, by a signal whose
// handler does not let them restart.
#pragma once

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <thread>

class CInterruptions {
public:
    CInterruptions() : target_(pthread_self())
    {
        struct sigaction action = {};
        action.sa_handler = [](int) { ++s_count; };
        sigaction(SIGUSR2, &action, nullptr);
        thread_ = std::thread([this] {
            while (!stop_) {
                usleep(20000);
                pthread_kill(target_, SIGUSR2);
            }
        });
    }
    ~CInterruptions()
    {
        stop_ = true;
        thread_.join();
    }
    CInterruptions(const CInterruptions&) = delete;
    CInterruptions& operator=(const CInterruptions&) = delete;

    static int Count() { return s_count; }

private:
    inline static std::atomic<int> s_count{0};
    pthread_t target_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};
