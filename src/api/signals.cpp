// The application's callbacks of the signal path, and the start-synchronisation signal.

#include <algorithm>
#include <new>

#include "api/Setters.h"
#include "streaming/Playback.h"
#include "synthesis/Callbacks.h"
#include "synthesis/PlayClock.h"
#include "vrax.h"

// The opaque handle of the header.
struct VRAXSynchronizationSignalObject {
    CManualResetEvent event{false};
};

namespace {
template <class Callback>
void StoreLocked(Shared<Callback>& slot, Callback callback)
{
    CApiLock lock;
    slot = callback;
}
}  // namespace

void VRAXRegisterOutputSignalCallback(VRAXOutputSignalCallback callback, int divider)
{
    CApiLock lock;
    g_GraphCB = callback;
    s_freqDivider = divider > 0 ? std::min<int>(divider, s_sampleRate) : 1;
}

void VRAXRegisterPacingOutputSignalCallback(VRAXPacingOutputSignalCallback callback)
{
    StoreLocked(g_PacingGraphCB, callback);
}

void VRAXRegisterSyncFrequencyCB(VRAXSyncFrequencyCallback callback)
{
    StoreLocked(g_SyncFreqCB, callback);
}

void VRAXRegisterSyncDCOffsetCB(VRAXSyncDCOffsetCallback callback)
{
    StoreLocked(g_SyncDCOffsetCB, callback);
}

void VRAXRegisterSyncMainFunctionCB(VRAXSyncMainFunctionCallback callback)
{
    StoreLocked(g_SyncMainFuncCB, callback);
}

void RegisterStandardWaveformCB(VRAXStandardWaveformCallback callback)
{
    g_StandardStopCB = callback;
}

void RegisterBaselineResetCB(VRAXBaselineResetCallback callback) { g_BaselineResetCB = callback; }

VRAXSynchronizationSignal VRAXCreateSynchronizationSignal(void)
{
    CApiLock lock;
    return new (std::nothrow) VRAXSynchronizationSignalObject;
}

void VRAXSetSynchronizationSignal(VRAXSynchronizationSignal signal)
{
    CApiLock lock;
    g_PlaySyncEvent = signal != nullptr ? &signal->event : nullptr;
}

void VRAXSynchronizationSignalSetEvent(VRAXSynchronizationSignal signal)
{
    if (signal != nullptr) signal->event.SetEvent();
}

void VRAXSynchronizationSignalResetEvent(VRAXSynchronizationSignal signal)
{
    if (signal != nullptr) signal->event.ResetEvent();
}
