// Do the rate alarms of the monitor come in time? A normal rate, then one below and one above the
// limits, and back. 8 s each, or as many as the command line says.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include <vrax.h>

namespace {
struct Step {
    double beatsAMinute;
    const char* expected;
};
constexpr Step kSteps[] = {{80, "no alarm"},
                           {35, "low rate"},
                           {80, "no alarm"},
                           {160, "high rate"}};
}  // namespace

int main(int argc, char** argv)
{
    const std::chrono::seconds length(argc > 1 ? std::atoi(argv[1]) : 8);
    if (!VRAXConnect(-1, 5000)) return 1;
    VRAXSetAmplitude(1.0);
    for (const Step& step : kSteps) {
        // Takes effect with the next beat, so that none is cut.
        if (VRAXSetFrequency(step.beatsAMinute / 60.0) != 0) return 1;
        if (VRAXIsPlaying() == 0 && VRAXSetOutputFunction(OUTPUT_ECG) != 0) return 1;
        std::printf("%g a minute: %s\n", step.beatsAMinute, step.expected);
        std::fflush(stdout);
        std::this_thread::sleep_for(length);
    }
    VRAXFree();
}
