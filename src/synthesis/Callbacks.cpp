#include "synthesis/Callbacks.h"

Shared<VRAXOutputSignalCallback> g_GraphCB = nullptr;
Shared<VRAXPacingOutputSignalCallback> g_PacingGraphCB = nullptr;
Shared<VRAXSyncFrequencyCallback> g_SyncFreqCB = nullptr;
Shared<VRAXSyncDCOffsetCallback> g_SyncDCOffsetCB = nullptr;
Shared<VRAXSyncMainFunctionCallback> g_SyncMainFuncCB = nullptr;
Shared<VRAXStandardWaveformCallback> g_StandardStopCB = nullptr;
Shared<VRAXBaselineResetCallback> g_BaselineResetCB = nullptr;
