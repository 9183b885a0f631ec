// What applications do with the library, each over an instrument of its own.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "instrument/SimulatedInstrument.h"
#include "support/TempDir.h"

// A run whose packet could not be sent stands still, and a command waits for its gap without a limit,
// until somebody switches the output off. Here that is a thread of the application: once a step has
// taken long.
class COutputOff {
public:
    COutputOff() : thread_([this] { Watch(); }) {}
    ~COutputOff();
    COutputOff(const COutputOff&) = delete;
    COutputOff& operator=(const COutputOff&) = delete;

    void StepBegins();

private:
    void Watch();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::uint64_t step_ = 0;
    bool isOver_ = false;
    std::thread thread_;
};

// One pass of a scenario. Without faults every step must succeed; under faults a step only has to
// come back.
class Pass {
public:
    Pass(instrument::SimulatedInstrument& device, const TempDir& folder, bool mustSucceed)
        : instrument(device), files(folder), mustSucceed_(mustSucceed)
    {
        if (!mustSucceed) outputOff_.emplace();
    }

    // Says what is done, so that a step that does not come back has a name; then does it.
    void Do(const char* step, const std::function<bool()>& action);
    // Until the listener of VRAXInit has been told so, at the longest as long as a step may take.
    bool WaitConnected(bool connected) const;
    std::chrono::milliseconds ConnectTime() const;
    // `count` further packets have come.
    bool Packets(std::size_t count) const;
    // The first step that failed though it had to succeed.
    const std::optional<std::string>& Failure() const { return failure_; }

    instrument::SimulatedInstrument& instrument;
    const TempDir& files;

private:
    bool mustSucceed_;
    std::optional<COutputOff> outputOff_;  // under faults
    std::optional<std::string> failure_;
};

struct Scenario {
    const char* name;
    instrument::Options (*options)();
    void (*run)(Pass& pass);  // from before the connection to after VRAXFree
    bool endsProcess;         // without VRAXFree, so there is one pass
    int filesLeftOpen;        // that the library keeps by design in one pass
};

extern const Scenario kScenarios[];
extern const std::size_t kScenarioCount;

// On the standard output, past every buffer: "step;" and the name.
void Say(const char* key, const std::string& value);
