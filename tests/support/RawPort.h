// A bare pseudo-terminal in the place of a port, for devices that answer in no regular way.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

class CRawPort {
public:
    explicit CRawPort(int port) : path_("/dev/ttyACM" + std::to_string(port))
    {
        master_ = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        char name[64] = {};
        if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
            ptsname_r(master_, name, sizeof name) != 0) {
            throw std::runtime_error("no pseudo-terminal");
        }
        terminal_ = name;
        slave_ = open(name, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        termios settings = {};
        tcgetattr(slave_, &settings);
        cfmakeraw(&settings);
        tcsetattr(slave_, TCSANOW, &settings);
        MakeNode();
    }
    ~CRawPort()
    {
        HangUp();
        RemoveNode();
    }
    CRawPort(const CRawPort&) = delete;
    CRawPort& operator=(const CRawPort&) = delete;

    const std::string& Path() const { return path_; }
    const std::string& Terminal() const { return terminal_; }
    int Master() const { return master_; }
    // The terminal's own side, open as long as the port is.
    int Slave() const { return slave_; }

    void MakeNode()
    {
        if (symlink(terminal_.c_str(), path_.c_str()) != 0) throw std::runtime_error(path_);
    }
    void RemoveNode() { unlink(path_.c_str()); }

    // As the device sends them.
    void Send(const std::vector<std::uint8_t>& bytes) const
    {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            pollfd wait = {master_, POLLOUT, 0};
            poll(&wait, 1, 1000);
            const ssize_t count = write(master_, bytes.data() + sent, bytes.size() - sent);
            if (count <= 0) throw std::runtime_error("the terminal takes no more bytes");
            sent += static_cast<std::size_t>(count);
        }
    }

    // What the host has sent: `most` bytes, or fewer when no more come within `timeoutMs`.
    std::vector<std::uint8_t> Receive(std::size_t most, int timeoutMs = 20000) const
    {
        std::vector<std::uint8_t> bytes(most);
        std::size_t got = 0;
        while (got < most) {
            pollfd wait = {master_, POLLIN, 0};
            if (poll(&wait, 1, timeoutMs) <= 0) break;
            const ssize_t count = read(master_, bytes.data() + got, most - got);
            if (count <= 0) break;
            got += static_cast<std::size_t>(count);
        }
        bytes.resize(got);
        return bytes;
    }

    // The host can write nothing more, until somebody receives.
    void FillOutput() const
    {
        const std::vector<std::uint8_t> block(4096, 0xEE);
        pollfd wait = {slave_, POLLOUT, 0};
        while (poll(&wait, 1, 100) > 0) {
            [[maybe_unused]] const ssize_t count = write(slave_, block.data(), block.size());
        }
    }

    // The node stays.
    void HangUp()
    {
        if (slave_ >= 0) close(slave_);
        if (master_ >= 0) close(master_);
        slave_ = master_ = -1;
    }

private:
    std::string path_;
    std::string terminal_;
    int master_ = -1;
    int slave_ = -1;
};
