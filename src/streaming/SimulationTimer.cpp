#include "streaming/SimulationTimer.h"

#include "platform/Platform.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Relays.h"

namespace {
constexpr unsigned kSlotBytesPerFrame = 56;
constexpr unsigned kFramesTimesMs = 50000;  // 50 frames, in ms
constexpr std::int64_t kNsPerMs = 1000000;
constexpr unsigned kJoinLimitMs = 10000;

// One thread that runs the ticks in turn: a tick that is due while one runs is dropped, and the
// thread can be waited for.
CJoinableThread s_SimulationTimer;
CManualResetEvent s_stopTimer(false);
Shared<void (*)()> s_tick = nullptr;
Shared<unsigned> s_periodMs = 1u;

void* TimerThread(void*)
{
    const std::int64_t period = static_cast<std::int64_t>(s_periodMs) * kNsPerMs;
    std::int64_t due = MonotonicNs() + period;
    for (;;) {
        const std::int64_t left = due - MonotonicNs();
        const auto leftMs = static_cast<unsigned>(left > 0 ? (left + kNsPerMs - 1) / kNsPerMs : 0);
        if (s_stopTimer.WaitTimeout(leftMs) == 0) return nullptr;
        SimulationTimer_Tick({});
        due += period;
        const std::int64_t now = MonotonicNs();
        if (due < now) due += (now - due) / period * period + period;
    }
}
}  // namespace

unsigned _CalculateTimerPeriod()
{
    const std::uint8_t mode = g_OperateMode;
    unsigned parts = 0;
    for (const std::uint8_t bits : {kModeECG, kModePPG1, kModePPG2, kModePPG3}) {
        if ((mode & bits) != 0) ++parts;
    }
    if (parts == 0) parts = 1;
    const unsigned samples = kSlotBytesPerFrame / (4 * parts);
    return samples * kFramesTimesMs / static_cast<unsigned>(_GetSampleRate());
}

void _StartSimulationTimer(void (*tick)())
{
    CJoinableThread& timer = s_SimulationTimer;
    if (timer.IsRunning() && s_stopTimer.WaitTimeout(0) != 0) return;
    timer.Join(kJoinLimitMs);
    s_tick = tick;
    s_periodMs = _CalculateTimerPeriod();
    s_stopTimer.ResetEvent();
    timer.Start(TimerThread, nullptr);
}

void _StopSimulationTimer() { s_stopTimer.SetEvent(); }

void SimulationTimer_Tick(sigval)
{
    void (*tick)() = s_tick;
    if (tick != nullptr) tick();
}

void JoinSimulationTimer() { s_SimulationTimer.Join(kJoinLimitMs); }
