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
    // Connected, polling, the listener not told yet, or a burn is over: a run that exists goes on.
    // Under the interrupt lock.
    void (*resume)();
    // The port is closed, or held by a burn: a run that exists stands still. Under the interrupt
    // lock.
    void (*lost)();
    // Forget what was known of the instrument.
    void (*forget)();
    // A call takes the port for itself: nothing is to come from the instrument unasked.
    void (*silence)();
    // After `opened`, in place of `prepare`: the same instrument has restarted. What was read from
    // it is known, its switches are at rest.
    void (*restarted)();
};
void SetConnectionSteps(const ConnectionSteps& steps);

// Starts the connect thread unless it runs. True when it runs.
bool DoInit(void (*callback)(bool connected));
// Tells the connect thread to end.
void StopConnectThread();
// Waits for its end, unless the caller is that thread or in a callback of the library.
void JoinConnectThread();
// Wherever the caller is; leaves a thread behind that needs what the caller holds.
void JoinConnectThread(unsigned withinMs);

// The port in the hands of one call that closes it, searches and opens it again: a burn. Meanwhile
// the poll thread does not exist, a run stands still, the monitor is paused and the connect thread
// leaves the port alone. Afterwards everything goes on, or the instrument counts as lost.
//
// One at a time: a second one waits. Not granted without a connected instrument, nor in a callback
// of the library, which must not wait; the connection listener is none of these. Made without a
// lock held.
class CPortHold {
public:
    CPortHold();
    ~CPortHold();
    CPortHold(const CPortHold&) = delete;
    CPortHold& operator=(const CPortHold&) = delete;

    bool IsGranted() const { return granted_; }
    // The instrument restarts.
    void Close();
    // Ten attempts on all ports, then what the instrument needs, another one all that a connection
    // prepares.
    bool Reopen();

    // Until nobody holds the port. A callback does not wait.
    static void WaitForEnd();

private:
    void Take();
    void GiveBack();

    bool granted_ = false;
};

void ConnectedHandler(bool connected);
void NotifyListener(bool connected);
void ReconnectDevice();

// Callbacks recorded by number. Nothing in the library reads them.
using NotifyCallback = void (*)(unsigned, unsigned, unsigned long);
void RegisterNotifyEvent(unsigned id, NotifyCallback callback);
// 537 (a device change) wakes the connect thread; other messages are ignored.
void WinEventCb(unsigned message, unsigned, unsigned long);
