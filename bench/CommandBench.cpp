// One command after a second in which nothing was asked: how long its caller waits. Run it under
// `vrax-instrument --none --`, which gives it a /dev of its own.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>
#include <vector>

#include "instrument/SimulatedInstrument.h"
#include "vrax.h"

namespace {
using Clock = std::chrono::steady_clock;

constexpr unsigned kConnectLimitMs = 10000;
constexpr std::chrono::seconds kSilence{1};
constexpr int kRepeats = 60;
constexpr double kUsPerSecond = 1e6;

// The smallest value that at least `share` of the values do not exceed.
double Percentile(const std::vector<double>& sorted, double share)
{
    const double rank = std::ceil(share * static_cast<double>(sorted.size()));
    return sorted[static_cast<std::size_t>(std::max(rank, 1.0)) - 1];
}

void AskBusVoltage(benchmark::State& state, unsigned expected)
{
    std::vector<double> microseconds;
    for (auto _ : state) {
        std::this_thread::sleep_for(kSilence);
        const Clock::time_point start = Clock::now();
        const unsigned voltage = VRAXGetUSBBusVoltage();
        const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
        if (voltage != expected) {
            state.SkipWithError("the command failed");
            return;
        }
        microseconds.push_back(elapsed * kUsPerSecond);
        state.SetIterationTime(elapsed);
    }
    std::sort(microseconds.begin(), microseconds.end());
    state.counters["p50_us"] = Percentile(microseconds, 0.50);
    state.counters["p99_us"] = Percentile(microseconds, 0.99);
    state.counters["max_us"] = microseconds.back();
}
}  // namespace

int main(int argc, char** argv)
{
    instrument::SimulatedInstrument device(0);
    if (!VRAXConnect(0, kConnectLimitMs)) {
        std::fprintf(stderr, "bench_command: no connection to the simulated instrument\n");
        return 1;
    }
    benchmark::RegisterBenchmark("bus_voltage_after_silence", AskBusVoltage, VRAXGetUSBBusVoltage())
        ->Iterations(kRepeats)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    VRAXFree();
    return 0;
}
