#include "instrument/PseudoTerminal.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace instrument {

namespace {

[[noreturn]] void Fail(const std::string& what)
{
    throw std::runtime_error(fmt::format("{}: {}", what, std::strerror(errno)));
}

// The port must be the user's alone to make; a tool cannot know of the namespace that would help.
[[noreturn]] void FailNode(const std::string& path)
{
    if (errno == EEXIST) {
        throw std::runtime_error(
            fmt::format("{} exists already: another instrument has this port", path));
    }
    if (errno == EACCES || errno == EPERM) {
        throw std::runtime_error(
            fmt::format("{} cannot be made without permission to write in /dev: run the "
                        "application as 'vrax-instrument -- COMMAND' instead",
                        path));
    }
    Fail(fmt::format("{} cannot be made", path));
}

// The link of an instrument that did not end properly leads nowhere.
void RemoveStaleLink(const std::string& path)
{
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return;
    if (stat(path.c_str(), &info) != 0 && errno == ENOENT) unlink(path.c_str());
}

void RemoveOwnNode(const std::string& path, const std::string& terminalPath)
{
    char target[64] = {};
    const ssize_t length = readlink(path.c_str(), target, sizeof target - 1);
    if (length > 0 && terminalPath == target) unlink(path.c_str());
}

}  // namespace

CPseudoTerminal::CPseudoTerminal(int port) : path_(fmt::format("/dev/ttyACM{}", port)) {}

void CPseudoTerminal::Open()
{
    if (IsOpen()) return;
    try {
        OpenTerminal();
        MakeNode();
    } catch (...) {
        if (slave_ >= 0) close(slave_);
        if (master_ >= 0) close(master_);
        slave_ = master_ = -1;
        terminalPath_.clear();
        throw;
    }
}

void CPseudoTerminal::OpenTerminal()
{
    master_ = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (master_ < 0) Fail("a pseudo-terminal cannot be opened");
    char name[64] = {};
    if (grantpt(master_) != 0 || unlockpt(master_) != 0 ||
        ptsname_r(master_, name, sizeof name) != 0) {
        Fail("a pseudo-terminal cannot be set up");
    }
    terminalPath_ = name;
    slave_ = open(name, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (slave_ < 0) Fail(fmt::format("{} cannot be opened", name));
    termios settings{};
    if (tcgetattr(slave_, &settings) != 0) Fail(fmt::format("{} has no settings", name));
    cfmakeraw(&settings);
    if (tcsetattr(slave_, TCSANOW, &settings) != 0) Fail(fmt::format("{} is not raw", name));
}

void CPseudoTerminal::MakeNode()
{
    RemoveStaleLink(path_);
    if (symlink(terminalPath_.c_str(), path_.c_str()) != 0) FailNode(path_);
}

void CPseudoTerminal::Close()
{
    if (!IsOpen()) return;
    RemoveOwnNode(path_, terminalPath_);
    close(slave_);
    close(master_);
    slave_ = master_ = -1;
    terminalPath_.clear();
}

std::size_t CPseudoTerminal::Read(std::span<std::uint8_t> buffer)
{
    const ssize_t count = read(master_, buffer.data(), buffer.size());
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::size_t CPseudoTerminal::Write(std::span<const std::uint8_t> bytes)
{
    const ssize_t count = write(master_, bytes.data(), bytes.size());
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::size_t CPseudoTerminal::Unread() const
{
    int count = 0;
    return slave_ >= 0 && ioctl(slave_, FIONREAD, &count) == 0 && count > 0
               ? static_cast<std::size_t>(count)
               : 0;
}

void CPseudoTerminal::DiscardUnread()
{
    if (slave_ >= 0) tcflush(slave_, TCIFLUSH);
}

}  // namespace instrument
