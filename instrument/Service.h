// The thread that serves the port, and everything that it shares with the instrument's owner.
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "instrument/Device.h"
#include "instrument/Faults.h"
#include "instrument/Framing.h"
#include "instrument/Pacer.h"
#include "instrument/PseudoTerminal.h"
#include "instrument/SamplingFrames.h"
#include "instrument/SimulatedInstrument.h"
#include "instrument/StreamReceiver.h"

namespace instrument {

class SimulatedInstrument::CService {
public:
    explicit CService(const Options& options);
    ~CService();

    void SetPlugged(bool plugged);
    void SendUnsolicited(std::span<const std::uint8_t> bytes);
    void DiscardUnread();
    void SetSampling(const SamplingStream& stream);

    // Waits until `isTrue`, which is called with the lock held. False when the time is over.
    template <typename Predicate>
    bool WaitUntilTrue(Milliseconds timeout, Predicate isTrue) const;

    // `function` is called with the lock held.
    template <typename Function>
    auto Locked(Function function) const
    {
        const std::lock_guard lock(mutex_);
        return function();
    }

    // With the lock held.
    Bytes KeptPacket(std::size_t index) const;
    PacingSettings Pacing();

    // Guarded by the lock.
    Device device;
    StreamReceiver receiver;
    Faults faults;
    ScriptedReplies scripted;
    CPseudoTerminal terminal;  // opened, closed, read and waited on by the service thread alone
    Pacer pacer;
    SamplingFrames sampler;
    SamplingStatistics sampling;
    Pace pace;
    RestartBehaviour restart;
    unsigned restarts = 0;  // from which it came back
    std::deque<std::shared_ptr<Exchange>> exchanges;
    std::vector<Refusal> refusals;
    std::size_t refusalCount = 0;

private:
    using ByteView = std::span<const std::uint8_t>;

    // A reply on its way.
    struct Outgoing {
        Clock::time_point due;
        Bytes bytes;
        std::size_t written = 0;
        bool isStream = false;
        bool isSampling = false;  // a photodiode frame that came by itself
        bool hangUpAfter = false;
        bool comesBack = false;              // by itself, after that hang-up
        std::shared_ptr<Exchange> exchange;  // null when it is not recorded
    };
    // The port hangs up when the host has read what was written, or does not read it.
    struct HangUp {
        Clock::time_point next;
        Clock::time_point latest;
        bool comesBack;
    };

    // What the service thread waits for, while others may change it.
    struct WaitPlan {
        int terminal = -1;  // -1: not open, or not read any more
        bool untilWritable = false;
        std::optional<Clock::time_point> deadline;
    };

    // The service thread; all but Run, Wait and RunHooks with the lock held.
    void Run();
    WaitPlan PlanWait() const;
    void Wait(const WaitPlan& plan);
    void RunHooks();
    std::optional<Clock::time_point> NextDeadline() const;
    void ServeOwner();
    void ReadInput();
    void TakeRequests();
    void CheckPartial(Clock::time_point now);
    void CheckHangUp(Clock::time_point now);
    void SendSamplingFrames(Clock::time_point now);
    std::ptrdiff_t WaitingSamplingFrames() const;
    void BeginHangUp(const Outgoing& outgoing);
    void CheckReturn(Clock::time_point now);
    void Connect();
    void Disconnect();

    // ServiceRequests.cpp
    void Handle(Request kind, ByteView request);
    Answer Execute(Request kind, ByteView request, Outgoing& outgoing);
    Answer TakePacket(ByteView packet, Outgoing& outgoing);
    void AfterPacket(ByteView packet);
    void KeepPacket(ByteView packet);
    void RefreshCalibration();
    bool Misbehave(const Fault& fault, const Reply& reply, Outgoing& outgoing);
    std::shared_ptr<Exchange> Record(Request kind, ByteView request);
    void Refuse(ByteView request, const std::string& reason, const std::shared_ptr<Exchange>& of);
    void Send(Outgoing&& outgoing);
    void SendDue(Clock::time_point now);
    bool Advance(Outgoing& outgoing);
    void Finish(const Outgoing& outgoing);
    void Complete(const std::shared_ptr<Exchange>& exchange);

    void Wake() const;

    const Options options_;
    const bool wantsSamples_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    mutable unsigned waiters_ = 0;
    int wakeDescriptor_ = -1;
    bool stopping_ = false;

    std::optional<bool> wantedPlugged_;  // asked by the owner, not yet done
    std::string plugError_;
    bool wasPlugged_ = false;

    std::vector<std::uint8_t> input_;
    std::size_t inputSize_ = 0;
    Clock::time_point arrived_;  // of the newest bytes
    std::optional<Clock::time_point> partialUntil_;

    std::deque<Outgoing> outbox_;
    bool isBlocked_ = false;  // the terminal takes no more bytes for now
    std::optional<HangUp> hangUp_;
    std::optional<Clock::time_point> returnAt_;  // away for a restart until then
    Pace runPace_;
    std::uint64_t dcGeneration_;
    std::uint64_t moduleGeneration_;

    std::vector<std::uint8_t> packets_;  // a ring of the newest
    std::uint64_t keptPackets_ = 0;      // ever put into the ring

    // For the hooks, which run without the lock. Service thread only.
    std::vector<Sample> newSamples_;
    std::vector<Exchange> newExchanges_;
    std::vector<Refusal> newRefusals_;

    std::thread thread_;  // last: it uses everything above
};

template <typename Predicate>
bool SimulatedInstrument::CService::WaitUntilTrue(Milliseconds timeout, Predicate isTrue) const
{
    // Some conditions come true by time alone.
    constexpr Milliseconds kLook{10};
    const Clock::time_point deadline = Clock::now() + timeout;
    std::unique_lock lock(mutex_);
    ++waiters_;
    bool result = isTrue();
    while (!result && Clock::now() < deadline) {
        changed_.wait_until(lock, std::min(deadline, Clock::now() + kLook));
        result = isTrue();
    }
    --waiters_;
    return result;
}

}  // namespace instrument
