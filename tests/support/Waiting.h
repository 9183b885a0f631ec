// Waiting for what has no event of its own, and calls that must come back.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

constexpr std::chrono::milliseconds kLongWait{20000};

// False when it has not come true in time.
inline bool Eventually(const std::function<bool()>& condition,
                       std::chrono::milliseconds timeout = kLongWait)
{
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// A call on a thread of its own. The test ends here and now when the call does not come back, since
// nothing that it uses may be destroyed.
template <class T>
class CCall {
public:
    template <class Function>
    explicit CCall(Function function)
    {
        std::promise<pid_t> started;
        std::future<pid_t> id = started.get_future();
        thread_ = std::thread([this, function, &started] {
            started.set_value(gettid());
            result_.set_value(function());
        });
        id_ = id.get();
    }
    ~CCall()
    {
        if (future_.valid() && !HasReturned()) {
            ADD_FAILURE() << "a call does not return";
            _exit(1);
        }
        thread_.join();
    }
    CCall(const CCall&) = delete;
    CCall& operator=(const CCall&) = delete;

    bool HasReturned(std::chrono::milliseconds timeout = kLongWait)
    {
        return future_.wait_for(timeout) == std::future_status::ready;
    }
    T Result()
    {
        if (!HasReturned()) {
            ADD_FAILURE() << "a call does not return";
            _exit(1);
        }
        return future_.get();
    }

    // Several looks in a row find the thread blocked, or it has returned. This is for getting a
    // call to the place of interest; no result may depend on it.
    void WaitUntilBlocked()
    {
        int blocked = 0;
        Eventually([this, &blocked] {
            if (HasReturned(std::chrono::milliseconds(0))) return true;
            blocked = IsBlocked() ? blocked + 1 : 0;
            return blocked >= 20;
        });
    }

private:
    bool IsBlocked() const
    {
        std::ifstream file("/proc/self/task/" + std::to_string(id_) + "/stat");
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        const std::size_t name = text.rfind(')');
        return name != std::string::npos && text.size() > name + 2 && text[name + 2] == 'S';
    }

    std::promise<T> result_;
    std::future<T> future_ = result_.get_future();
    std::thread thread_;
    pid_t id_ = 0;
};

// Runs the call on the side and tells whether it came back; a hanging one ends the test.
template <class Function>
bool ComesBack(Function function)
{
    CCall<int> call([function] {
        function();
        return 0;
    });
    return call.HasReturned();
}
