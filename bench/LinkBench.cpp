// The link: packets a second that the library streams to an instrument that answers at once, and the
// round trips a second of two threads that do nothing but pass as many bytes over a pseudo-terminal.
// Both take turns in short windows and the median of the ratios counts: what a wake-up costs changes
// with whatever else the machine does, by more than the library can, and meets both of a pair. Run it
// under `vrax-instrument --none --`, which gives it a /dev of its own.

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "instrument/SimulatedInstrument.h"
#include "vrax.h"

namespace {
using Clock = std::chrono::steady_clock;

constexpr std::size_t kRequestBytes = 3200;
constexpr std::size_t kReplyBytes = 64;
constexpr std::chrono::milliseconds kWindow{200};
constexpr std::chrono::milliseconds kWarmUp{50};
constexpr unsigned kConnectLimitMs = 10000;
constexpr int kPairs = 25;       // windows of each; odd, for the median
constexpr int kLooksEvery = 32;  // round trips between two looks at the clock

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Of all threads of this process: the library, the instrument and the ping-pong.
double CpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

struct Rate {
    double perSecond = 0;
    double cpuUs = 0;  // a packet or round trip, both ends
};

class CRateMeter {
public:
    Rate After(double count) const
    {
        return {count / SecondsSince(start_), (CpuSeconds() - cpu_) * 1e6 / count};
    }
    Clock::time_point Start() const { return start_; }

private:
    double cpu_ = CpuSeconds();
    Clock::time_point start_ = Clock::now();
};

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

Rate MeasurePingPong(int host)
{
    double trips = 0;
    const CRateMeter meter;
    while (Clock::now() - meter.Start() < kWindow) {
        for (int i = 0; i < kLooksEvery; ++i) {
            if (!RoundTrip(host)) throw std::runtime_error("the pseudo-terminal failed");
        }
        trips += kLooksEvery;
    }
    return meter.After(trips);
}

Rate MeasureStream(const instrument::SimulatedInstrument& device)
{
    if (VRAXSetOutputFunction(OUTPUT_ECG) != 0) throw std::runtime_error("the run did not start");
    std::this_thread::sleep_for(kWarmUp);
    const std::size_t before = device.PacketCount();
    const CRateMeter meter;
    std::this_thread::sleep_for(kWindow);
    const Rate rate = meter.After(static_cast<double>(device.PacketCount() - before));
    VRAXSetOutputFunction(OUTPUT_OFF);
    return rate;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// The windows of one kind.
struct Windows {
    std::vector<double> perSecond;
    std::vector<double> cpuUs;
    void Add(const Rate& rate)
    {
        perSecond.push_back(rate.perSecond);
        cpuUs.push_back(rate.cpuUs);
    }
};

void Report(benchmark::State& state, const std::string& name, const Windows& windows)
{
    state.counters[name + "_per_second"] = Median(windows.perSecond);
    state.counters[name + "_best"] =
        *std::max_element(windows.perSecond.begin(), windows.perSecond.end());
    state.counters[name + "_cpu_us"] = Median(windows.cpuUs);
}

// One iteration is a pair of windows.
void CompareLinks(benchmark::State& state, instrument::SimulatedInstrument* device)
{
    const CTerminal terminal;
    std::thread answering(AnswerAtOnce, terminal.Device());
    Windows stream;
    Windows pingPong;
    std::vector<double> ratios;
    for (auto _ : state) {
        stream.Add(MeasureStream(*device));
        pingPong.Add(MeasurePingPong(terminal.Host()));
        ratios.push_back(stream.perSecond.back() / pingPong.perSecond.back());
    }
    const unsigned char last[kRequestBytes] = {};
    WriteWhole(terminal.Host(), last, sizeof last);
    answering.join();
    const instrument::StreamStatistics statistics = device->Statistics();
    if (statistics.sequenceErrors + statistics.frameErrors != 0) {
        state.SkipWithError("the instrument received a faulty stream");
        return;
    }
    Report(state, "stream", stream);
    Report(state, "ping_pong", pingPong);
    state.counters["ratio"] = Median(ratios);
    state.counters["ratio_best"] = *std::max_element(ratios.begin(), ratios.end());
}
}  // namespace

int main(int argc, char** argv)
{
    instrument::SimulatedInstrument device(0);
    if (!VRAXConnect(0, kConnectLimitMs)) {
        std::fprintf(stderr, "bench_link: no connection to the simulated instrument\n");
        return 1;
    }
    benchmark::RegisterBenchmark("stream_against_ping_pong", CompareLinks, &device)
        ->Iterations(kPairs)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    VRAXFree();
    return 0;
}
