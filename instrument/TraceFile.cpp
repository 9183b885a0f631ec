#include "instrument/TraceFile.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fmt/format.h>

#include "instrument/Framing.h"

namespace instrument {

namespace {

double SecondsSince(Clock::time_point start, Clock::time_point time)
{
    return std::chrono::duration<double>(time - start).count();
}

std::string Describe(const Exchange& exchange)
{
    const Bytes& request = exchange.request;
    if (exchange.kind != Request::Stream || request.size() != kPacketBytes) {
        return fmt::format("{}: {}", NameOf(exchange.kind), Hex(request));
    }
    const auto frames = DecodePacket(request);
    return fmt::format("stream packet: mode {:02X}, frames {} to {}, {} samples each{}",
                       frames.front().mode, frames.front().sequence, frames.back().sequence,
                       frames.front().count, IsOnlyStopPacket(request) ? ", stop" : "");
}

}  // namespace

std::string TraceLines(const Exchange& exchange, Clock::time_point start)
{
    std::string lines =
        fmt::format("{:12.6f} > {}\n", SecondsSince(start, exchange.arrived), Describe(exchange));
    if (exchange.replied == Clock::time_point{}) {
        if (!exchange.refused) lines += fmt::format("{:12} < no reply\n", "");
        return lines;
    }
    lines +=
        fmt::format("{:12.6f} < {} after {:.3f} ms\n", SecondsSince(start, exchange.replied),
                    Hex(exchange.reply), 1000 * SecondsSince(exchange.arrived, exchange.replied));
    return lines;
}

std::string TraceLine(const Refusal& refusal, Clock::time_point start)
{
    return fmt::format("{:12.6f} ! refused: {}\n", SecondsSince(start, refusal.time),
                       refusal.reason);
}

TraceFile::TraceFile(const std::string& path) : file_(std::fopen(path.c_str(), "we"))
{
    if (file_ == nullptr) {
        throw std::runtime_error(
            fmt::format("{} cannot be written: {}", path, std::strerror(errno)));
    }
    std::setvbuf(file_, nullptr, _IOLBF, BUFSIZ);
}

TraceFile::~TraceFile() { Close(); }

void TraceFile::Write(const Exchange& exchange) { Write(TraceLines(exchange, start_)); }
void TraceFile::Write(const Refusal& refusal) { Write(TraceLine(refusal, start_)); }

void TraceFile::Write(const std::string& lines)
{
    if (std::fputs(lines.c_str(), file_) < 0) isGood_ = false;
}

bool TraceFile::Close()
{
    if (file_ == nullptr) return isGood_;
    if (std::fclose(file_) != 0) isGood_ = false;
    file_ = nullptr;
    return isGood_;
}

}  // namespace instrument
