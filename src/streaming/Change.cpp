#include "streaming/Change.h"

#include "device/LineState.h"
#include "streaming/PendingChange.h"
#include "streaming/Playback.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Callbacks.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Relays.h"

namespace {
constexpr double kCutSeconds = 2.0;  // second argument of the frequency callback after a cut

CSimpleCriticalSection s_ChangeCriticalSection;
// Somebody called while a thread was inside.
Shared<bool> s_changeMissed = false;

void StoreRewritten(int function, const DerivedParameters& rewritten)
{
    if (function == OUTPUT_BASELINE_PULSE || rewritten.frequencyWasCut) {
        g_F = rewritten.frequency;
    }
    if (function == OUTPUT_BASELINE_PULSE) g_PulseWidth = rewritten.pulseWidth;
    if (rewritten.amplitudeWasLimited) g_Amplitude = rewritten.amplitude;
    if (rewritten.frequencyWasCut) Tell(g_SyncFreqCB, rewritten.frequency, kCutSeconds);
}

void DeriveAndPublish(int function)
{
    DerivedParameters rewritten;
    const CycleQuantities cycle = DeriveCycle(function, _GetSampleRate(), rewritten);
    g_Cycle.Publish(cycle);
    s_tp = cycle.s_tp;
    s_PulsesRequired = cycle.s_PulsesRequired;
    StoreRewritten(function, rewritten);
}

void ChangeOnce()
{
    const int function = g_MainOutput;
    if (function == OUTPUT_OFF) {
        StopRun();
        return;
    }
    DeriveAndPublish(function);
    if (g_MainOutput != function) {  // a callback has selected another one
        s_changeMissed = true;
        return;
    }
    if (s_ECGGoing || !PrepareRun()) return;
    _RefreshOperateMode();
    SetRelays(true);
    StartRun();
}
}  // namespace

void Change()
{
    s_changeMissed = true;
    // The end of a run does not wait for its turn.
    if (g_MainOutput == OUTPUT_OFF) StopRun();
    while (s_changeMissed && s_ChangeCriticalSection.TryLock()) {
        s_changeMissed = false;
        ChangeOnce();
        s_ChangeCriticalSection.Unlock();
    }
}

void _ChangeRequested()
{
    if (s_ECGGoing && g_MainOutput != OUTPUT_OFF) {
        g_bChangeOnNextCycle = true;
        return;
    }
    Change();
}

void RecordReplaced()
{
    if (s_ECGGoing && g_MainOutput == OUTPUT_ECG_FILE && s_tp == 0.0) _ChangeRequested();
}

void ApplyPendingChange()
{
    Change();
    SetRelays(false);
}
