#include "device/Device.h"

#include <aio.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "vrax.h"

namespace {
constexpr int kPortCount = 128;
constexpr unsigned kRetryPauseMs = 1000;
constexpr useconds_t kBackOffUs = 10000;  // a full or empty driver buffer
constexpr useconds_t kEmptyReadPauseUs = 1000;
constexpr std::int64_t kNsPerUs = 1000;
constexpr std::int64_t kNsPerSecond = 1000000000;
constexpr std::int64_t kAbortCheckNs = 50000000;
constexpr char kDeviceDirectory[] = "/dev";
constexpr char kNodePrefix[] = "ttyACM";
constexpr unsigned char kEndOfFileCharacter = 4;

// Path of the open port, empty when none is open. The monitor reads it.
CSimpleCriticalSection s_pathSection;
char g_szDevicePath[512] GUARDED_BY(s_pathSection) = "";

bool (*s_probe)() = nullptr;
CManualResetEvent s_stopSearch(false);
Shared<bool> s_abortWaits = false;

void SetDevicePath(const char* path)
{
    CAutoCriticalSection lock(s_pathSection);
    std::memset(g_szDevicePath, 0, sizeof g_szDevicePath);
    std::snprintf(g_szDevicePath, sizeof g_szDevicePath, "%s", path);
}

// Raw bytes in both directions; every bit that is not named stays as the port had it. Clearing
// CLOCAL alone among the control flags is kept.
void ConfigurePort(int port)
{
    termios attributes;
    if (tcgetattr(port, &attributes) != 0) return;
    attributes.c_iflag |= IGNPAR;
    attributes.c_iflag &= ~static_cast<tcflag_t>(ICRNL | IXON);
    attributes.c_oflag &= ~static_cast<tcflag_t>(OPOST | ONLCR);
    attributes.c_cflag &= ~static_cast<tcflag_t>(CLOCAL);
    attributes.c_lflag = 0;
    attributes.c_cc[VEOF] = kEndOfFileCharacter;
    cfsetospeed(&attributes, B115200);
    tcsetattr(port, TCSANOW, &attributes);
}

// The budget in nanoseconds. The product in microseconds is 32 bits wide and wraps, deliberately.
std::int64_t BudgetNs(unsigned milliseconds)
{
    const std::uint32_t microseconds = milliseconds * 1000u;
    return microseconds * kNsPerUs;
}

// The node may be back under the same name while the descriptor belongs to what was unplugged.
bool HasHungUp()
{
    pollfd port = {static_cast<int>(g_hDevice), 0, 0};
    return poll(&port, 1, 0) > 0 && (port.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

// > 0 ready, 0 time-out, < 0 error.
int WaitReadyOnce(int port, short events, std::int64_t leftNs)
{
    const timespec left = {static_cast<time_t>(leftNs / kNsPerSecond),
                           static_cast<long>(leftNs % kNsPerSecond)};
    pollfd wait = {port, events, 0};
    return ppoll(&wait, 1, &left, nullptr);
}

int WaitReady(int port, short events, std::int64_t deadlineNs)
{
    for (;;) {
        const std::int64_t leftNs = std::max<std::int64_t>(0, deadlineNs - MonotonicNs());
        const int ready = WaitReadyOnce(port, events, std::min(leftNs, kAbortCheckNs));
        if (ready != 0 || leftNs <= kAbortCheckNs || s_abortWaits) return ready;
    }
}
}  // namespace

void SetDeviceProbe(bool (*probe)()) { s_probe = probe; }

int DoFindDevice(int port)
{
    char path[512];
    std::snprintf(path, sizeof path, "%s/%s%d", kDeviceDirectory, kNodePrefix, port);
    const int file = open(path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (file == -1) return 0;
    // Not the library's port before the lock is: no command may go to another process's instrument.
    if (LockDeviceFile(port) == 0) {
        CloseHandle(file);
        return 0;
    }
    if (s_abortWaits) {
        UnlockDeviceFile();
        CloseHandle(file);
        return 0;
    }
    g_bPortAdopted = false;
    g_hDevice = file;
    DeviceCancelIO();
    ConfigurePort(file);
    if (s_probe == nullptr || !s_probe()) {
        DeviceClose();
        return 0;
    }
    SetDevicePath(path);
    return 1;
}

int FindDevice(int port)
{
    if (port != -1) return DoFindDevice(port);
    for (int candidate = 0; candidate < kPortCount; ++candidate) {
        if (s_stopSearch.WaitTimeout(0) == 0) return 0;
        if (DoFindDevice(candidate) == 1) return 1;
    }
    return 0;
}

int DeviceConnect(int port, int attempts)
{
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (FindDevice(port) == 1) return 1;
        if (s_stopSearch.WaitTimeout(kRetryPauseMs) == 0) return 0;
    }
    return 0;
}

void StopDeviceSearch(bool stop)
{
    if (stop) {
        s_stopSearch.SetEvent();
    } else {
        s_stopSearch.ResetEvent();
    }
}

void PauseDeviceSearch(unsigned milliseconds) { s_stopSearch.WaitTimeout(milliseconds); }

// Under the access lock, so that no thread reads or writes a descriptor number that meanwhile
// belongs to a file of the application.
void DeviceClose()
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    if (g_hDevice == -1) return;
    UnlockDevice();
    SetDevicePath("");
    CloseHandle(static_cast<long>(g_hDevice));
    g_hDevice = -1;
    g_bPortAdopted = false;
}

int DeviceIsAlive()
{
    DIR* directory = opendir(kDeviceDirectory);
    if (directory == nullptr) return 0;
    int alive = 0;
    while (const dirent* entry = readdir(directory)) {
        if (std::strncmp(entry->d_name, kNodePrefix, sizeof kNodePrefix - 1) != 0) continue;
        char path[sizeof kDeviceDirectory + sizeof entry->d_name + 1];
        std::snprintf(path, sizeof path, "%s/%s", kDeviceDirectory, entry->d_name);
        if (DeviceCheckPath(path) == 1) {
            alive = 1;
            break;
        }
    }
    closedir(directory);
    return alive == 1 && !HasHungUp() ? 1 : 0;
}

int DeviceIsConnected() { return g_hDevice != -1 ? 1 : 0; }

int DeviceCancelIO() { return aio_cancel(static_cast<int>(g_hDevice), nullptr); }

int DeviceCheckPath(const char* path)
{
    CAutoCriticalSection lock(s_pathSection);
    if (g_szDevicePath[0] == '\0') return 0;
    return std::strcmp(path, g_szDevicePath) == 0 ? 1 : 0;
}

void SetDeviceTimeoutSetting(unsigned readMs, unsigned writeMs)
{
    g_nDeviceReadTimeout = readMs;
    g_nDeviceWriteTimeout = writeMs;
    const int port = static_cast<int>(g_hDevice);
    if (port == -1) return;
    WaitReady(port, POLLIN, MonotonicNs() + BudgetNs(readMs));
    WaitReady(port, POLLOUT, MonotonicNs() + BudgetNs(writeMs));
}

std::int64_t DeviceReadDeadline(std::int64_t startNs)
{
    return startNs + BudgetNs(g_nDeviceReadTimeout);
}

unsigned DeviceReadData(unsigned char* buffer, unsigned length)
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    return DeviceReadUntil(buffer, length, DeviceReadDeadline(MonotonicNs()));
}

unsigned DeviceReadUntil(unsigned char* buffer, unsigned length, std::int64_t deadline,
                         unsigned* came)
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    unsigned ignored = 0;
    unsigned& obtained = came != nullptr ? *came : ignored;
    obtained = 0;
    const int port = static_cast<int>(g_hDevice);
    if (port == -1) return 0;
    while (obtained < length) {
        if (WaitReady(port, POLLIN, deadline) <= 0) return 0;  // what came so far does not count
        const ssize_t count = read(port, buffer + obtained, length - obtained);
        if (count < 0 && errno == EAGAIN) {
            usleep(kBackOffUs);
        } else if (count < 0) {
            return obtained;
        } else if (count == 0) {
            // A port that has hung up is readable and empty for ever.
            if (MonotonicNs() >= deadline) return 0;
            usleep(kEmptyReadPauseUs);
        } else {
            obtained += static_cast<unsigned>(count);
        }
    }
    return obtained;
}

unsigned DeviceWriteData(const unsigned char* buffer, unsigned length, unsigned)
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    const int port = static_cast<int>(g_hDevice);
    if (port == -1) return 0;
    const std::int64_t deadline = MonotonicNs() + BudgetNs(g_nDeviceWriteTimeout);
    unsigned written = 0;
    while (written < length) {
        const int ready = WaitReady(port, POLLOUT, deadline);
        if (ready < 0 && errno == EINTR) continue;  // unlike reading, deliberately
        if (ready <= 0) return 0;
        const ssize_t count = write(port, buffer + written, length - written);
        if (count < 0 && errno == EAGAIN) {
            usleep(kBackOffUs);
        } else if (count < 0 && errno == EINTR) {
            continue;  // as in the wait
        } else if (count < 0) {
            return written;
        } else {
            written += static_cast<unsigned>(count);
        }
    }
    return written;
}

bool DeviceWaitReadableUntil(std::int64_t deadlineNs)
{
    const int port = static_cast<int>(g_hDevice);
    return port != -1 && WaitReady(port, POLLIN, deadlineNs) > 0;
}

bool DeviceWaitReadable(unsigned milliseconds)
{
    return DeviceWaitReadableUntil(MonotonicNs() + BudgetNs(milliseconds));
}

unsigned DeviceReadAvailable(unsigned char* buffer, unsigned length)
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    const int port = static_cast<int>(g_hDevice);
    if (port == -1 || WaitReady(port, POLLIN, 0) <= 0) return 0;
    const ssize_t count = read(port, buffer, length);
    return count > 0 ? static_cast<unsigned>(count) : 0;
}

void AbortDeviceWaits() { s_abortWaits = true; }

unsigned DeviceDiscardInput()
{
    constexpr int kMostBlocks = 1024;  // a port that never falls silent must not hold the caller
    unsigned char block[64];
    unsigned dropped = 0;
    for (int i = 0; i < kMostBlocks; ++i) {
        const unsigned count = DeviceReadAvailable(block, sizeof block);
        if (count == 0) break;
        dropped += count;
    }
    return dropped;
}
