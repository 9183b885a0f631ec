// What the example players share: the instrument, the time of the signal, and what the user sees.
// Written on vrax.h alone.
#pragma once

#include <cstdio>
#include <functional>
#include <string>

namespace player {

constexpr int kFailure = 1;
constexpr int kUsageError = 2;

struct Arguments {
    int port = -1;  // n of /dev/ttyACM<n>; -1 tries all
    std::string logPath;
};

// Reads --port, --log and --help. False when the program ends with `status`.
bool ReadArguments(int argc, char** argv, const std::string& name, const std::string& description,
                   const std::string& logColumns, Arguments& arguments, int& status);

// Seconds of signal that have been computed since the output was switched on. One sample in a
// hundred tells it.
double SignalTime();

// Whether a setter returned 0; tells the call and the code when it did not.
bool Accepted(const char* call, int result);
// The same for the calls that return 1.
bool Done(const char* call, int result);

// A line of its own; on a terminal it replaces the running time.
void Tell(double time, const std::string& what);

// Waits until the signal has come to `end` seconds. False when it stands still or the instrument
// has gone.
bool PlayUntil(const std::string& what, double end);

// Connects, runs `play` with the log file (null without one), and leaves the library. The log
// begins with the line `logColumns`. Returns the status of the program.
int Run(const Arguments& arguments, const std::string& logColumns,
        const std::function<bool(std::FILE* log)>& play);

}  // namespace player
