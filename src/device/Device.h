// The serial port of the instrument: lock file, raw mode, bytes in and out within a time budget.
//
// One port per process. Functions return 1 for success and 0 for failure unless said otherwise;
// nothing is reported in words. Knows nothing of commands.
#pragma once

#include <cstdint>

#include "platform/Platform.h"

// Descriptor of the open port, -1 when none is open.
extern Shared<std::int64_t> g_hDevice;
// Milliseconds that one DeviceReadData or DeviceWriteData may take.
extern Shared<unsigned> g_nDeviceReadTimeout;
extern Shared<unsigned> g_nDeviceWriteTimeout;
// Descriptor of the lock file that this process holds, -1 when none.
extern Shared<int> g_nLockFile;
// Port number to connect to, -1 for all. Written by VRAXInit and VRAXConnect.
extern Shared<int> g_nPortNumber;
// The open port was handed over by the application. Written by VRAXSetDeviceHandle, cleared with
// the port.
extern Shared<bool> g_bPortAdopted;
// One read or one write on the port at a time; opening the lock file and closing the port too.
// Innermost of the three locks.
extern CSimpleCriticalSection g_AccessCriticalSection;

// Answers whether the instrument is behind the open port; installed by the room above.
void SetDeviceProbe(bool (*probe)());

int LockDeviceFile(int port);
// Deletes the lock file only when this process holds it.
void UnlockDeviceFile();
void UnlockDevice();

// Opens, locks, configures and probes one port.
int DoFindDevice(int port);
// -1: ports 0 to 127, the first that is accepted.
int FindDevice(int port);
// Sleeps 1 s after every failed attempt, the last one included, unless the search is stopped.
int DeviceConnect(int port, int attempts);
// While set, a search ends as soon as it can.
void StopDeviceSearch(bool stop);
// Waits, unless the search is stopped.
void PauseDeviceSearch(unsigned milliseconds);
void DeviceClose();

// The open port's node is still among /dev/ttyACM*, and the port has not hung up.
int DeviceIsAlive();
int DeviceIsConnected();
int DeviceCancelIO();
int DeviceCheckPath(const char* path);

// The moment, of MonotonicNs(), at which a read that begins at `startNs` has spent its budget. The
// budget in microseconds is 32 bits wide and wraps, deliberately.
std::int64_t DeviceReadDeadline(std::int64_t startNs);
// All `length` bytes, or what came before a hard error; 0 once the budget is spent, whatever had
// come by then.
unsigned DeviceReadData(unsigned char* buffer, unsigned length);
// The same until a moment of MonotonicNs(). `came`: how many bytes have come, whatever the result.
unsigned DeviceReadUntil(unsigned char* buffer, unsigned length, std::int64_t deadlineNs,
                         unsigned* came = nullptr);
// As DeviceReadData for writing. The third argument has no effect.
unsigned DeviceWriteData(const unsigned char* buffer, unsigned length, unsigned ignored);

// Whether bytes are there to be read, after waiting at most `milliseconds`. Takes no lock: the port
// may be closed meanwhile.
bool DeviceWaitReadable(unsigned milliseconds);
bool DeviceWaitReadableUntil(std::int64_t deadlineNs);
// What is there now, at most `length` bytes; never waits.
unsigned DeviceReadAvailable(unsigned char* buffer, unsigned length);
// Every wait for the port ends at once from now on; at unload.
void AbortDeviceWaits();
// Drops what is there now; how many bytes.
unsigned DeviceDiscardInput();
