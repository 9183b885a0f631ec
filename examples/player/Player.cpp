#include "player/Player.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <thread>

#include <unistd.h>

#include <CLI/CLI.hpp>

#include "vrax.h"

namespace player {

namespace {

constexpr unsigned kConnectTimeoutMs = 10000;
constexpr int kDivider = 400;  // the callback sees one sample in a hundred
constexpr auto kLook = std::chrono::milliseconds(10);
constexpr auto kStandstill = std::chrono::seconds(5);

// Written by the library's thread that computes the signal.
std::atomic<double> s_signalTime{0.0};
std::string s_name = "player";

extern "C" void OnSignal(double time, double) { s_signalTime = time; }

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

bool IsLive() { return isatty(STDOUT_FILENO) != 0; }

void ShowTime(const std::string& what, double time)
{
    if (!IsLive()) return;
    std::printf("\r\x1b[K  %4.1f s  %s", time, what.c_str());
    std::fflush(stdout);
}

bool Refused(const char* call, int result)
{
    std::fprintf(stderr, "%s: %s was refused (%d)\n", s_name.c_str(), call, result);
    return false;
}

}  // namespace

bool ReadArguments(int argc, char** argv, const std::string& name, const std::string& description,
                   const std::string& logColumns, Arguments& arguments, int& status)
{
    s_name = name;
    CLI::App app(description, name);
    app.add_option("--port", arguments.port, "n of /dev/ttyACM<n>; -1 tries all")
        ->check(CLI::Range(-1, 127))
        ->capture_default_str();
    app.add_option("--log", arguments.logPath, "write when each change was asked: " + logColumns);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        status = app.exit(error) == 0 ? EXIT_SUCCESS : kUsageError;
        return false;
    }
    return true;
}

double SignalTime() { return s_signalTime; }

bool Accepted(const char* call, int result) { return result == 0 || Refused(call, result); }
bool Done(const char* call, int result) { return result == 1 || Refused(call, result); }

void Tell(double time, const std::string& what)
{
    std::printf("%s  %4.1f s  %s\n", IsLive() ? "\r\x1b[K" : "", time, what.c_str());
    std::fflush(stdout);
}

bool PlayUntil(const std::string& what, double end)
{
    double seen = s_signalTime;
    auto lastProgress = std::chrono::steady_clock::now();
    while (seen < end) {
        std::this_thread::sleep_for(kLook);
        const double time = s_signalTime;
        const auto now = std::chrono::steady_clock::now();
        if (time > seen) lastProgress = now;
        seen = time;
        ShowTime(what, seen);
        if (!VRAXIsConnected() || now - lastProgress > kStandstill) {
            std::fprintf(stderr, "%s: the instrument was lost at %.1f s\n", s_name.c_str(), seen);
            return false;
        }
    }
    return true;
}

int Run(const Arguments& arguments, const std::string& logColumns,
        const std::function<bool(std::FILE* log)>& play)
{
    File log;
    if (!arguments.logPath.empty()) {
        log.reset(std::fopen(arguments.logPath.c_str(), "w"));
        if (!log) {
            std::perror((s_name + ": " + arguments.logPath).c_str());
            return kFailure;
        }
        std::fprintf(log.get(), "%s\n", logColumns.c_str());
    }
    if (!VRAXConnect(arguments.port, kConnectTimeoutMs)) {
        std::fprintf(stderr, "%s: no instrument was found within %u s\n", s_name.c_str(),
                     kConnectTimeoutMs / 1000);
        return kFailure;
    }
    std::printf("  connected to %s, firmware %s\n", VRAXGetSerialNumber(), VRAXGetFWVersion());
    VRAXRegisterOutputSignalCallback(OnSignal, kDivider);
    const bool played = play(log.get());
    VRAXFree();
    if (log && (std::fflush(log.get()) != 0 || std::ferror(log.get()) != 0)) {
        std::fprintf(stderr, "%s: %s is not complete\n", s_name.c_str(), arguments.logPath.c_str());
        return kFailure;
    }
    return played ? EXIT_SUCCESS : kFailure;
}

}  // namespace player
