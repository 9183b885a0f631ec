// The lock file of a port: who holds it may open the port.

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "device/Device.h"

namespace {
constexpr char kLockDirectory[] = "/var/lock";
constexpr mode_t kLockDirectoryMode = 0755;
constexpr mode_t kLockFileMode = 0600;
constexpr int kAttempts = 2;

// Path of the lock file that this process created or last tried to create.
char g_szLockFilePath[128] GUARDED_BY(g_AccessCriticalSection) = "";

enum class Attempt { kLocked, kRefused, kAgain };

// The file did not exist: it is this process's now, if its process id can be written.
Attempt WriteOwner(int file) REQUIRES(g_AccessCriticalSection)
{
    const pid_t self = getpid();
    if (write(file, &self, sizeof self) == static_cast<ssize_t>(sizeof self)) {
        g_nLockFile = file;
        return Attempt::kLocked;
    }
    close(file);
    unlink(g_szLockFilePath);
    return Attempt::kRefused;
}

// The file exists: its owner holds it as long as that process lives.
Attempt CheckOwner() REQUIRES(g_AccessCriticalSection)
{
    const int file = open(g_szLockFilePath, O_RDWR | O_CLOEXEC);
    if (file == -1) return Attempt::kRefused;
    pid_t owner = 0;
    if (read(file, &owner, sizeof owner) < static_cast<ssize_t>(sizeof owner)) {
        close(file);
        return Attempt::kAgain;  // an empty or cut file stays and blocks the port
    }
    if (kill(owner, 0) == 0) {
        close(file);
        return Attempt::kRefused;
    }
    // The owner is gone. The descriptor stays open, deliberately.
    unlink(g_szLockFilePath);
    return Attempt::kAgain;
}
}  // namespace

int LockDeviceFile(int port)
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    struct stat status;
    if (stat(kLockDirectory, &status) != 0) mkdir(kLockDirectory, kLockDirectoryMode);
    std::snprintf(g_szLockFilePath, sizeof g_szLockFilePath, "%s/tessarin.ACM%d.lock",
                  kLockDirectory, port);
    for (int i = 0; i < kAttempts; ++i) {
        const int file =
            open(g_szLockFilePath, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kLockFileMode);
        if (file == -1 && errno != EEXIST) return 0;
        const Attempt attempt = file != -1 ? WriteOwner(file) : CheckOwner();
        if (attempt != Attempt::kAgain) return attempt == Attempt::kLocked ? 1 : 0;
    }
    return 0;
}

void UnlockDeviceFile()
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    if (g_nLockFile != -1) {
        close(g_nLockFile);
        unlink(g_szLockFilePath);
        g_nLockFile = -1;
    }
    std::memset(g_szLockFilePath, 0, sizeof g_szLockFilePath);
}

void UnlockDevice()
{
    UnlockDeviceFile();
    if (g_hDevice == -1) return;
    // No path takes such a record lock; releasing it is kept as part of closing.
    struct flock whole = {};
    whole.l_type = F_UNLCK;
    whole.l_whence = SEEK_SET;
    fcntl(static_cast<int>(g_hDevice), F_SETLK, &whole);
}
