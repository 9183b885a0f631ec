// The link: packets a second that the library streams to an instrument that answers at once, and the
// round trips a second of two threads that do nothing but pass as many bytes over a pseudo-terminal.
// Both take turns, so that whatever else the machine does meets both. Run it under
// `vrax-instrument --none --`, which gives it a /dev of its own.

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include "instrument/SimulatedInstrument.h"
#include "vrax.h"

namespace {
using Clock = std::chrono::steady_clock;

constexpr std::size_t kRequestBytes = 3200;
constexpr std::size_t kReplyBytes = 64;
constexpr std::chrono::milliseconds kWindow{250};
constexpr std::chrono::milliseconds kWarmUp{100};
constexpr unsigned kConnectLimitMs = 10000;
constexpr int kWindows = 2;       // a repetition
constexpr int kRepetitions = 15;  // the best one counts
constexpr int kLooksEvery = 32;   // round trips between two looks at the clock

double s_bestStream = 0.0;    // packets/s
double s_bestPingPong = 0.0;  // round trips/s

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

bool ReadWhole(int file, unsigned char* buffer, std::size_t length)
{
    while (length > 0) {
        const ssize_t count = read(file, buffer, length);
        if (count <= 0) return false;
        buffer += count;
        length -= static_cast<std::size_t>(count);
    }
    return true;
}

bool WriteWhole(int file, const unsigned char* buffer, std::size_t length)
{
    while (length > 0) {
        const ssize_t count = write(file, buffer, length);
        if (count <= 0) return false;
        buffer += count;
        length -= static_cast<std::size_t>(count);
    }
    return true;
}

// A raw pseudo-terminal with blocking ends.
class CTerminal {
public:
    CTerminal() : device_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        char name[64] = {};
        if (device_ < 0 || grantpt(device_) != 0 || unlockpt(device_) != 0 ||
            ptsname_r(device_, name, sizeof name) != 0) {
            throw std::runtime_error("no pseudo-terminal");
        }
        host_ = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios settings{};
        if (host_ < 0 || tcgetattr(host_, &settings) != 0) throw std::runtime_error(name);
        cfmakeraw(&settings);
        tcsetattr(host_, TCSANOW, &settings);
    }
    ~CTerminal()
    {
        close(host_);
        close(device_);
    }
    CTerminal(const CTerminal&) = delete;

    int Host() const { return host_; }
    int Device() const { return device_; }

private:
    int device_;
    int host_ = -1;
};

// Answers until a request begins with a zero.
void AnswerAtOnce(int device)
{
    unsigned char request[kRequestBytes];
    const unsigned char reply[kReplyBytes] = {};
    while (ReadWhole(device, request, sizeof request) && request[0] != 0) {
        if (!WriteWhole(device, reply, sizeof reply)) return;
    }
}

bool RoundTrip(int host)
{
    unsigned char request[kRequestBytes] = {1};
    unsigned char reply[kReplyBytes];
    return WriteWhole(host, request, sizeof request) && ReadWhole(host, reply, sizeof reply);
}

void PingPong(benchmark::State& state)
{
    const CTerminal terminal;
    std::thread device(AnswerAtOnce, terminal.Device());
    double trips = 0;
    double seconds = 0;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        while (Clock::now() - start < kWindow) {
            for (int i = 0; i < kLooksEvery; ++i) RoundTrip(terminal.Host());
            trips += kLooksEvery;
        }
        const double elapsed = SecondsSince(start);
        seconds += elapsed;
        state.SetIterationTime(elapsed);
    }
    const unsigned char last[kRequestBytes] = {};
    WriteWhole(terminal.Host(), last, sizeof last);
    device.join();
    state.counters["packets_per_second"] = trips / seconds;
    s_bestPingPong = std::max(s_bestPingPong, trips / seconds);
}

void Stream(benchmark::State& state, instrument::SimulatedInstrument* device)
{
    if (VRAXSetOutputFunction(OUTPUT_ECG) != 0) {
        state.SkipWithError("the run did not start");
        return;
    }
    std::this_thread::sleep_for(kWarmUp);
    double packets = 0;
    double seconds = 0;
    for (auto _ : state) {
        const std::size_t before = device->PacketCount();
        const Clock::time_point start = Clock::now();
        std::this_thread::sleep_for(kWindow);
        const std::size_t after = device->PacketCount();
        const double elapsed = SecondsSince(start);
        packets += static_cast<double>(after - before);
        seconds += elapsed;
        state.SetIterationTime(elapsed);
    }
    VRAXSetOutputFunction(OUTPUT_OFF);
    const instrument::StreamStatistics statistics = device->Statistics();
    if (statistics.sequenceErrors + statistics.frameErrors != 0) {
        state.SkipWithError("the instrument received a faulty stream");
        return;
    }
    state.counters["packets_per_second"] = packets / seconds;
    s_bestStream = std::max(s_bestStream, packets / seconds);
}

benchmark::internal::Benchmark* Configure(benchmark::internal::Benchmark* benchmark)
{
    return benchmark->UseManualTime()
        ->Iterations(kWindows)
        ->Repetitions(kRepetitions)
        ->Unit(benchmark::kMillisecond);
}
}  // namespace

int main(int argc, char** argv)
{
    instrument::SimulatedInstrument device(0);
    if (!VRAXConnect(0, kConnectLimitMs)) {
        std::fprintf(stderr, "bench_link: no connection to the simulated instrument\n");
        return 1;
    }
    Configure(benchmark::RegisterBenchmark("ping_pong", PingPong));
    Configure(benchmark::RegisterBenchmark("stream", Stream, &device));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    VRAXFree();
    if (s_bestPingPong > 0.0 && s_bestStream > 0.0) {
        std::fprintf(stderr, "stream / ping-pong, best of each: %.0f / %.0f = %.3f\n", s_bestStream,
                     s_bestPingPong, s_bestStream / s_bestPingPong);
    }
    return 0;
}
