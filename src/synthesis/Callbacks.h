// The application's callbacks of the signal path, null until registered. Called on the thread that
// builds packets, or by the setter that causes the change.
#pragma once

#include "platform/Shared.h"
#include "vrax.h"

extern Shared<VRAXOutputSignalCallback> g_GraphCB;
extern Shared<VRAXPacingOutputSignalCallback> g_PacingGraphCB;
extern Shared<VRAXSyncFrequencyCallback> g_SyncFreqCB;
extern Shared<VRAXSyncDCOffsetCallback> g_SyncDCOffsetCB;
extern Shared<VRAXSyncMainFunctionCallback> g_SyncMainFuncCB;
extern Shared<VRAXStandardWaveformCallback> g_StandardStopCB;
extern Shared<VRAXBaselineResetCallback> g_BaselineResetCB;

// Calls the callback if one is registered.
template <class Callback, class... Arguments>
void Tell(const Shared<Callback>& callback, Arguments... arguments)
{
    Callback function = callback;
    if (function != nullptr) function(arguments...);
}
