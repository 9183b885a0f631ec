// Waiting for the instrument, with Ctrl-C at any moment.

#include <chrono>
#include <filesystem>
#include <future>
#include <thread>
#include <utility>

#include <fmt/format.h>

#include "Interruption.h"
#include "Program.h"
#include "vrax.h"

namespace vrax {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kLook = std::chrono::milliseconds(50);
constexpr auto kQuiet = std::chrono::milliseconds(500);  // nothing is told of a shorter wait
constexpr char kNoDirectory[] = "/dev/null/";            // no file can be made or found in it
constexpr std::size_t kLongestDirectory = 511;
constexpr char kClearLine[] = "\r\x1b[K";

bool HasPort(int port)
{
    if (port >= 0) return std::filesystem::exists(fmt::format("/dev/ttyACM{}", port));
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev", error)) {
        if (entry.path().filename().string().rfind("ttyACM", 0) == 0) return true;
    }
    return false;
}

Failure NoInstrument(int port, double seconds)
{
    const std::string where = port >= 0 ? fmt::format("/dev/ttyACM{}", port) : "/dev/ttyACM*";
    if (!HasPort(port)) {
        return {fmt::format("no instrument was found within {:g} s: there is no {}", seconds,
                            where),
                "plug one in and switch it on, or try --simulated", kNoInstrument};
    }
    return {fmt::format("no instrument on {} answered within {:g} s", where, seconds),
            "vrax doctor tells why", kNoInstrument};
}

// The library's wait cannot be broken off, so it has a thread that is left alone after Ctrl-C.
std::future<bool> StartConnecting(int port, double seconds)
{
    std::promise<bool> promise;
    std::future<bool> result = promise.get_future();
    const auto timeoutMs = static_cast<unsigned>(seconds * 1000.0);
    std::thread([promise = std::move(promise), port, timeoutMs]() mutable {
        promise.set_value(VRAXConnect(port, timeoutMs));
    }).detach();
    return result;
}

}  // namespace

void Program::SetCalibrationDirectory()
{
    const std::string path =
        calibrationDirectory_.empty() ? kNoDirectory : calibrationDirectory_ + "/";
    if (path.size() > kLongestDirectory) {
        throw Failure("the path of the calibration directory is too long", "give a shorter one");
    }
    SetCalibrationDataPath(path.c_str());
    hasCalibrationFile_ = LoadCalibrationData() == 0;
}

void Program::ConnectInstrument()
{
    SetCalibrationDirectory();
    const Interruption interruption;
    const bool isShown = IsTerminal(stderr) && !isJson_;
    const auto start = Clock::now();
    std::future<bool> connected = StartConnecting(port_, timeoutSeconds_);
    bool isTold = false;
    while (connected.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        if (Interruption::WaitFor(kLook)) break;
        const auto waited = Clock::now() - start;
        if (!isShown || waited < kQuiet) continue;
        fmt::print(stderr, "{}waiting for an instrument, {:.0f} of {:g} s", kClearLine,
                   std::chrono::duration<double>(waited).count(), timeoutSeconds_);
        std::fflush(stderr);
        isTold = true;
    }
    if (isTold) fmt::print(stderr, "{}", kClearLine);
    if (Interruption::IsAsked()) throw Failure("interrupted", "", kInterrupted);
    if (!connected.get()) throw NoInstrument(port_, timeoutSeconds_);
}

}  // namespace vrax
