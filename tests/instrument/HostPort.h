// The host's end of the port, as plain as can be: open, write, read.
#pragma once

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace instrument_test {

using Bytes = std::vector<std::uint8_t>;

// What a test waits for at most; the instrument answers in far less.
constexpr int kPatienceMs = 5000;
// How long silence is watched before it counts as silence.
constexpr int kSilenceMs = 150;

class HostPort {
public:
    explicit HostPort(const std::string& path = "/dev/ttyACM0")
        : port_(open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
    {}
    ~HostPort()
    {
        if (port_ >= 0) close(port_);
    }
    HostPort(const HostPort&) = delete;
    HostPort& operator=(const HostPort&) = delete;

    bool IsOpen() const { return port_ >= 0; }
    int Descriptor() const { return port_; }

    bool Write(const Bytes& bytes) const
    {
        return write(port_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }

    // Up to `count` bytes; fewer when nothing more comes for `patienceMs`, or after a hang-up.
    Bytes Read(std::size_t count, int patienceMs = kPatienceMs) const
    {
        Bytes bytes(count);
        std::size_t got = 0;
        while (got < count) {
            pollfd descriptor{port_, POLLIN, 0};
            if (poll(&descriptor, 1, patienceMs) <= 0) break;
            const ssize_t now = read(port_, bytes.data() + got, count - got);
            if (now <= 0) break;
            got += static_cast<std::size_t>(now);
        }
        bytes.resize(got);
        return bytes;
    }

    Bytes Ask(const Bytes& request, std::size_t replyBytes = 64) const
    {
        return Write(request) ? Read(replyBytes) : Bytes{};
    }

    bool IsSilent() const { return Read(1, kSilenceMs).empty(); }

    // True when the other end has hung up.
    bool WaitForHangUp() const
    {
        pollfd descriptor{port_, 0, 0};
        return poll(&descriptor, 1, kPatienceMs) > 0 && (descriptor.revents & POLLHUP) != 0;
    }

private:
    int port_;
};

// `bytes` followed by zeros up to `size`.
inline Bytes Padded(Bytes bytes, std::size_t size = 64)
{
    bytes.resize(size, 0);
    return bytes;
}

inline Bytes FlashFrame(bool write, std::uint8_t channel, std::uint32_t address, std::uint8_t count,
                        const Bytes& data = {})
{
    Bytes frame = Padded({0x12, 0x55, 0xAA, static_cast<std::uint8_t>(write ? 0xFF : 0x00), 0x00,
                          channel, 0x00, count, static_cast<std::uint8_t>(address >> 24),
                          static_cast<std::uint8_t>(address >> 16 & 0xFF),
                          static_cast<std::uint8_t>(address >> 8 & 0xFF),
                          static_cast<std::uint8_t>(address & 0xFF)});
    for (std::size_t i = 0; i < data.size(); ++i) frame[16 + i] = data[i];
    return frame;
}

inline Bytes EraseFrame(std::uint8_t channel, std::uint32_t address)
{
    Bytes frame = FlashFrame(true, channel, address, 0);
    frame[6] = 1;
    return frame;
}

inline Bytes RelayCommand(std::uint8_t mode, unsigned rate, std::uint32_t word = 0)
{
    return Padded({0x00, 0xFF, mode, static_cast<std::uint8_t>(rate >> 8),
                   static_cast<std::uint8_t>(rate & 0xFF), static_cast<std::uint8_t>(word >> 16),
                   static_cast<std::uint8_t>(word >> 8 & 0xFF),
                   static_cast<std::uint8_t>(word & 0xFF)},
                  17);
}

}  // namespace instrument_test
