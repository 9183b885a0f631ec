// The hot-plug monitor: a thread from load to unload that looks once a second whether the open
// port's node is still there, while monitoring is enabled.
#pragma once

#include "platform/Platform.h"

class CAutoMonitor {
public:
    CAutoMonitor();
    ~CAutoMonitor();
    CAutoMonitor(const CAutoMonitor&) = delete;
    CAutoMonitor& operator=(const CAutoMonitor&) = delete;

    void StartMonitor();
    void PauseMonitor();
    bool IsMonitored();
    void WaitUntilMonitored();

private:
    void MakeThread();

    unsigned long thread_ = 0;
    CManualResetEvent enabled_;
};

extern CAutoMonitor g_AutoMonitor;

// Asks the monitor thread to end; set at unload only.
extern Shared<int> g_bStopMonitor;
