#include "instrument/program/PrivateNamespace.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace instrument {

namespace {

constexpr char kLockDirectory[] = "/var/lock";

// What an application finds in /dev. The required ones exist everywhere.
struct Entry {
    const char* name;
    bool isRequired;
};
constexpr Entry kEntries[] = {
    {"null", true}, {"zero", true}, {"full", true},    {"random", true}, {"urandom", true},
    {"tty", false}, {"shm", false}, {"mqueue", false}, {"dri", false},   {"snd", false},
};
struct Link {
    const char* name;
    const char* target;
};
constexpr Link kLinks[] = {
    {"fd", "/proc/self/fd"},       {"stdin", "/proc/self/fd/0"}, {"stdout", "/proc/self/fd/1"},
    {"stderr", "/proc/self/fd/2"}, {"ptmx", "pts/ptmx"},
};

[[noreturn]] void Fail(const std::string& what)
{
    throw std::runtime_error(fmt::format("{}: {}", what, std::strerror(errno)));
}

void WriteFile(const char* path, const std::string& text)
{
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    const bool isWritten =
        file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    const int error = errno;
    if (file >= 0) close(file);
    errno = error;
    if (!isWritten) Fail(fmt::format("a private /dev cannot be made ({})", path));
}

void Unshare()
{
    if (unshare(CLONE_NEWNS) == 0) return;
    const uid_t user = getuid();
    const gid_t group = getgid();
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        Fail(
            "a private /dev cannot be made; it needs root or user namespaces "
            "(sysctl kernel.unprivileged_userns_clone, user.max_user_namespaces)");
    }
    WriteFile("/proc/self/setgroups", "deny");
    WriteFile("/proc/self/uid_map", fmt::format("{} {} 1", user, user));
    WriteFile("/proc/self/gid_map", fmt::format("{} {} 1", group, group));
}

void Mount(const char* source, const std::string& target, const char* type, unsigned long flags,
           const char* data)
{
    if (mount(source, target.c_str(), type, flags, data) != 0) {
        Fail(fmt::format("a private /dev cannot be made (mounting {})", target));
    }
}

// Holds on to the old entries while a new file system covers them.
struct Held {
    std::string name;
    int descriptor;
    bool isDirectory;
};

std::vector<Held> HoldEntries()
{
    std::vector<Held> held;
    for (const Entry& entry : kEntries) {
        const std::string path = fmt::format("/dev/{}", entry.name);
        const int descriptor = open(path.c_str(), O_PATH | O_CLOEXEC);
        struct stat info {};
        if (descriptor >= 0 && fstat(descriptor, &info) == 0) {
            held.push_back({entry.name, descriptor, S_ISDIR(info.st_mode)});
        } else if (entry.isRequired) {
            Fail(path);
        }
    }
    return held;
}

void PutBack(const Held& entry)
{
    const std::string target = fmt::format("/dev/{}", entry.name);
    if (entry.isDirectory) mkdir(target.c_str(), 0755);
    else close(open(target.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0666));
    Mount(fmt::format("/proc/self/fd/{}", entry.descriptor).c_str(), target, nullptr, MS_BIND,
          nullptr);
    close(entry.descriptor);
}

void MakeDev()
{
    const std::vector<Held> held = HoldEntries();
    Mount("vrax-dev", "/dev", "tmpfs", MS_NOSUID | MS_NOEXEC, "mode=0755,size=1m");
    for (const Held& entry : held) PutBack(entry);
    for (const Link& link : kLinks) {
        if (symlink(link.target, fmt::format("/dev/{}", link.name).c_str()) != 0) Fail(link.name);
    }
    // Terminals of its own: those of the old /dev cannot be opened through another path.
    mkdir("/dev/pts", 0755);
    Mount("vrax-pts", "/dev/pts", "devpts", MS_NOSUID | MS_NOEXEC,
          "newinstance,ptmxmode=0666,mode=0600");
}

void MakeLockDirectory()
{
    char resolved[PATH_MAX];
    if (realpath(kLockDirectory, resolved) == nullptr) {
        // A link to a directory that is made at boot, in a container that never booted.
        std::error_code error;
        const std::filesystem::path lock(kLockDirectory);
        const auto target = std::filesystem::read_symlink(lock, error);
        const auto directory = error ? lock : lock.parent_path() / target;
        mkdir(directory.c_str(), 0755);
        if (realpath(kLockDirectory, resolved) == nullptr) {
            Fail(fmt::format("the lock directory {} cannot be made", kLockDirectory));
        }
    }
    if (mount("vrax-lock", resolved, "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777,size=1m") != 0) {
        Fail(fmt::format("the lock directory {} cannot be made private", resolved));
    }
}

}  // namespace

void EnterPrivateNamespace()
{
    Unshare();
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        Fail(
            "a private /dev cannot be made: the root directory is not mounted, so what is mounted "
            "below it would be seen outside; mount the directory on itself before chroot "
            "(mount --bind DIRECTORY DIRECTORY)");
    }
    MakeDev();
    MakeLockDirectory();
}

}  // namespace instrument
