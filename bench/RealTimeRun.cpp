// What a run in real time costs its application: CPU time in percent of a core and resident memory,
// printed as one JSON object. Run it under `vrax-instrument --`: the instrument is another process.
//
//     bench_realtime [seconds a signal]

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "vrax.h"

namespace {
using Clock = std::chrono::steady_clock;

constexpr unsigned kConnectLimitMs = 10000;
constexpr int kDefaultSeconds = 12;
constexpr std::chrono::seconds kSettle{1};

double Seconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double CpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

// A line such as "VmRSS:   5123 kB" of this process's status; -1 without one.
long StatusKilobytes(const char* key)
{
    std::FILE* file = std::fopen("/proc/self/status", "r");
    if (file == nullptr) return -1;
    long kilobytes = -1;
    char line[256];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (std::strncmp(line, key, std::strlen(key)) == 0) {
            kilobytes = std::strtol(line + std::strlen(key), nullptr, 10);
        }
    }
    std::fclose(file);
    return kilobytes;
}

// Percent of a core while the signal plays; negative when it does not.
double PlayAndMeasure(int function, int seconds)
{
    if (VRAXSetOutputFunction(function) != 0) return -1.0;
    std::this_thread::sleep_for(kSettle);
    const double cpuBefore = CpuSeconds();
    const Clock::time_point start = Clock::now();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    const double percent = 100.0 * (CpuSeconds() - cpuBefore) / elapsed;
    return VRAXIsPlaying() == 1 ? percent : -1.0;
}
}  // namespace

int main(int argc, char** argv)
{
    const int seconds = argc > 1 ? std::atoi(argv[1]) : kDefaultSeconds;
    if (!VRAXConnect(0, kConnectLimitMs)) {
        std::fprintf(stderr, "bench_realtime: no connection to the instrument\n");
        return 1;
    }
    const double beat = PlayAndMeasure(OUTPUT_ECG, seconds);
    VRAXSetOutputFunction(OUTPUT_OFF);
    const double sine = PlayAndMeasure(OUTPUT_SINE, seconds);
    const long residentKb = StatusKilobytes("VmRSS:");
    const long privateKb = StatusKilobytes("RssAnon:");
    VRAXSetOutputFunction(OUTPUT_OFF);
    VRAXFree();
    if (beat < 0.0 || sine < 0.0 || residentKb < 0) {
        std::fprintf(stderr, "bench_realtime: the signal did not play\n");
        return 1;
    }
    std::printf(
        "{\"seconds\": %d, \"beat_cpu_percent\": %.4f, \"sine_cpu_percent\": %.4f, "
        "\"sine_resident_kb\": %ld, \"sine_private_kb\": %ld}\n",
        seconds, beat, sine, residentKb, privateKb);
    return 0;
}
