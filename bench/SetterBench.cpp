// A setter, with the log of calls off and on, at rest and while a run streams. Run it under
// `vrax-instrument --none --`, which gives it a /dev of its own.

#include <benchmark/benchmark.h>

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "instrument/SimulatedInstrument.h"
#include "vrax.h"

namespace {
constexpr unsigned kConnectLimitMs = 10000;
constexpr int kCalls = 20000;  // bounds the log file

// An empty file for the log, deleted at the end.
class CLogFile {
public:
    CLogFile() : path_("/tmp/vrax-bench-log-XXXXXX")
    {
        const int file = mkstemp(path_.data());
        if (file >= 0) close(file);
    }
    ~CLogFile() { unlink(path_.c_str()); }
    CLogFile(const CLogFile&) = delete;
    const char* Path() const { return path_.c_str(); }
    bool IsEmpty() const
    {
        struct stat info {};
        return stat(path_.c_str(), &info) != 0 || info.st_size == 0;
    }

private:
    std::string path_;
};

void SetAmplitude(benchmark::State& state, bool plays, bool logs)
{
    const CLogFile log;
    VRAXSetOutputFunction(plays ? OUTPUT_ECG : OUTPUT_OFF);
    if (logs) EnableSaveLog(log.Path());
    double amplitude = 1.0;
    for (auto _ : state) {
        amplitude = 3.0 - amplitude;
        if (VRAXSetAmplitude(amplitude) != 0) state.SkipWithError("refused");
    }
    DisableSaveLog();
    if (logs == log.IsEmpty()) state.SkipWithError("the log is not what it should be");
    VRAXSetOutputFunction(OUTPUT_OFF);
}
}  // namespace

int main(int argc, char** argv)
{
    instrument::Options options;
    options.pace = instrument::Pace::RealTime;
    instrument::SimulatedInstrument device(options);
    if (!VRAXConnect(0, kConnectLimitMs)) {
        std::fprintf(stderr, "bench_setter: no connection to the simulated instrument\n");
        return 1;
    }
    for (const bool plays : {false, true}) {
        for (const bool logs : {false, true}) {
            const std::string name = std::string("set_amplitude/") +
                                     (plays ? "playing" : "at_rest") +
                                     (logs ? "/log_on" : "/log_off");
            benchmark::RegisterBenchmark(name.c_str(), SetAmplitude, plays, logs)
                ->Iterations(kCalls)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    VRAXFree();
    return 0;
}
