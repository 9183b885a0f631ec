// An application of the library as tests/link plays it: a listener that can be waited for, a
// connection that is freed, and what the library may leave behind.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "instrument/SimulatedInstrument.h"
#include "support/Descriptors.h"
#include "support/TempDir.h"
#include "support/Waiting.h"
#include "vrax.h"

constexpr unsigned kConnectMs = 60000;
constexpr unsigned kUsbVoltage = 250;  // what the instrument measures unless it is told otherwise

// Records what the library tells the application about its connection.
class Listener {
public:
    static void OnConnected(bool connected)
    {
        const std::lock_guard lock(State().mutex);
        State().told.push_back(connected);
        State().changed.notify_all();
    }
    static std::vector<bool> Told()
    {
        const std::lock_guard lock(State().mutex);
        return State().told;
    }
    // Until `connected` has been told `count` times since the start of the test.
    static bool WaitFor(bool connected, std::ptrdiff_t count = 1,
                        std::chrono::milliseconds timeout = std::chrono::milliseconds(kConnectMs))
    {
        std::unique_lock lock(State().mutex);
        return State().changed.wait_for(lock, timeout, [=] {
            return std::count(State().told.begin(), State().told.end(), connected) >= count;
        });
    }

private:
    struct Record {
        std::mutex mutex;
        std::condition_variable changed;
        std::vector<bool> told;
    };
    static Record& State()
    {
        static Record& record = *new Record;  // told until the process has ended
        return record;
    }
};

// For tests that count on every reply: on a busy machine the instrument may answer later than the
// 100 ms that are given to it otherwise. Each connection takes so much longer.
constexpr unsigned kPatientMs = 1000;

// The calibration file of the test's own: none is read or left in the working directory.
class CHost {
public:
    explicit CHost(unsigned replyMs = 100)
    {
        SetDeviceTimeoutSetting(replyMs, 200);
        SetCalibrationDataPath((folder_.Path() + "/").c_str());
    }
    ~CHost()
    {
        if (!ComesBack([] { VRAXFree(); })) ADD_FAILURE() << "VRAXFree does not return";
    }
    CHost(const CHost&) = delete;
    CHost& operator=(const CHost&) = delete;

private:
    TempDir folder_;
};

// With a listener, as most applications have it.
class CListeningHost : public CHost {
public:
    explicit CListeningHost(unsigned replyMs = 100) : CHost(replyMs)
    {
        EXPECT_TRUE(VRAXInit(Listener::OnConnected));
    }
};

// Connected to port 0.
class CConnectedHost : public CListeningHost {
public:
    explicit CConnectedHost(unsigned replyMs = 100) : CListeningHost(replyMs)
    {
        EXPECT_TRUE(Listener::WaitFor(true));
    }
};

inline instrument::Options RealTime()
{
    instrument::Options options;
    options.pace = instrument::Pace::RealTime;
    return options;
}

inline instrument::Fault MakeFault(instrument::FaultKind kind, instrument::Request match,
                                   unsigned count = 1, unsigned skip = 0)
{
    instrument::Fault fault;
    fault.kind = kind;
    fault.match = match;
    fault.count = count;
    fault.skip = skip;
    return fault;
}

constexpr unsigned kForEver = 0;  // as a fault's count

// The instrument understood everything that it was sent.
inline void ExpectNoRefusals(const instrument::SimulatedInstrument& instrument)
{
    for (const instrument::Refusal& refusal : instrument.Refusals()) {
        ADD_FAILURE() << "refused: " << refusal.reason << " (" << refusal.request.size()
                      << " bytes)";
    }
}

inline std::string LockFilePath(int port)
{
    return "/var/lock/tessarin.ACM" + std::to_string(port) + ".lock";
}

inline std::ptrdiff_t CountLockFiles() { return CountEntries("/var/lock"); }
