// The managed connection: the connect thread finds the instrument, has it prepared, tells the
// application, and searches again when it went.
#pragma once

#include "device/LineState.h"

// The application's listener, null when none. Called on the connect thread with no lock held.
extern Shared<void (*)(bool)> g_ConnectedCallback;
extern Shared<int> g_bStopConnectDeviceThread;
// Set when the internal listener of VRAXConnect hears of a connection.
extern CAutoResetEvent& g_hConnectedEvent;
// Wakes the connect thread to look at the instrument again.
extern CAutoResetEvent& g_hReconnectEvent;

// What the rooms above do at the steps of a connection; all on the connect thread.
struct ConnectionSteps {
    // The port is open: relays into their connected state.
    void (*opened)();
    // Everything that the instrument needs before it counts as connected.
    void (*prepare)();
    // Connected, polling, the listener not told yet: a run that exists goes on. Under the interrupt
    // lock.
    void (*resume)();
    // The port is closed: a run that exists stands still. Under the interrupt lock.
    void (*lost)();
    // Forget what was known of the instrument.
    void (*forget)();
};
void SetConnectionSteps(const ConnectionSteps& steps);

// Starts the connect thread unless it runs. True when it runs.
bool DoInit(void (*callback)(bool connected));
// Tells the connect thread to end.
void StopConnectThread();
// Waits for its end, unless the caller is that thread or in a callback of the library.
void JoinConnectThread();

void ConnectedHandler(bool connected);
void NotifyListener(bool connected);
void ReconnectDevice();

// Callbacks recorded by number. Nothing in the library reads them.
using NotifyCallback = void (*)(unsigned, unsigned, unsigned long);
void RegisterNotifyEvent(unsigned id, NotifyCallback callback);
// 537 (a device change) wakes the connect thread; other messages are ignored.
void WinEventCb(unsigned message, unsigned, unsigned long);
