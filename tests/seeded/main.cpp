// Runs seeds, each in a process of its own, and prints a line for each of them.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "Faults.h"
#include "OneSeed.h"

namespace {
using Clock = std::chrono::steady_clock;

struct Settings {
    std::uint64_t first = 1;
    std::uint64_t seeds = 1;
    std::uint64_t oneIn = 400;
    int limitSeconds = 300;
    bool inThisProcess = false;
};

// What a process has told.
struct Told {
    std::string step = "the start";
    std::string faults = "-";
    std::string failure;
    int released = 0;  // steps that came back once the output was switched off

    void Take(std::string_view line)
    {
        const auto semicolon = line.find(';');
        if (semicolon == std::string_view::npos) return;
        const auto key = line.substr(0, semicolon);
        const auto value = line.substr(semicolon + 1);
        if (key == "step") step = value;
        if (key == "faults") faults = value;
        if (key == "failed") failure = value;
        if (key == "released") ++released;
    }
};

struct Process {
    pid_t id;
    int output;
};

Process Start(const Settings& settings, std::uint64_t seed)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    const std::string number = std::to_string(seed);
    setenv(SEEDED_FAULTS_SEED, number.c_str(), 1);
    setenv(SEEDED_FAULTS_ONE_IN, std::to_string(settings.oneIn).c_str(), 1);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const char* arguments[] = {"seeded_faults", "--first", number.c_str(), "--in-this-process",
                               nullptr};
    Process process = {-1, ends[0]};
    const int error = posix_spawn(&process.id, "/proc/self/exe", &actions, nullptr,
                                  const_cast<char**>(arguments), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error != 0) throw std::runtime_error("the process cannot be started");
    return process;
}

// Takes what the process tells until it closes its end. False when the time is over first.
bool Listen(const Process& process, Clock::time_point end, Told& told)
{
    std::string rest;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd output = {process.output, POLLIN, 0};
        if (left <= 0 || poll(&output, 1, static_cast<int>(left)) == 0) return false;
        char block[4096];
        const ssize_t count = read(process.output, block, sizeof block);
        if (count <= 0) return true;
        rest.append(block, static_cast<std::size_t>(count));
        for (std::size_t at; (at = rest.find('\n')) != std::string::npos; rest.erase(0, at + 1)) {
            told.Take(std::string_view(rest).substr(0, at));
        }
    }
}

// Removes what a process has left behind, so that the next seed is judged by itself. True when that
// was a lock file; the node of an instrument stays when its process ends in the middle.
bool LockFileWasLeft()
{
    std::filesystem::remove("/dev/ttyACM0");
    bool found = false;
    for (const auto& entry : std::filesystem::directory_iterator("/var/lock")) {
        std::filesystem::remove(entry.path());
        found = true;
    }
    return found;
}

std::string Judge(int status, bool ended, const Told& told)
{
    if (!ended) return "does not come back: " + told.step;
    if (WIFSIGNALED(status)) return fmt::format("signal {}: {}", WTERMSIG(status), told.step);
    if (!told.failure.empty()) return told.failure;
    if (WEXITSTATUS(status) != 0) {
        return fmt::format("status {}: {}", WEXITSTATUS(status), told.step);
    }
    return {};
}

// True when all is well. The line: seed, milliseconds, scenario, faults and calls by kind, steps
// that were released, and what is wrong.
bool RunInProcess(const Settings& settings, std::uint64_t seed)
{
    const auto start = Clock::now();
    const Process process = Start(settings, seed);
    Told told;
    const bool ended = Listen(process, start + std::chrono::seconds(settings.limitSeconds), told);
    if (!ended) kill(process.id, SIGKILL);
    int status = 0;
    waitpid(process.id, &status, 0);
    close(process.output);
    std::string verdict = Judge(status, ended, told);
    if (LockFileWasLeft() && verdict.empty()) verdict = "a lock file is left";
    const auto ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    fmt::print("seed;{};{};{};{};{};{}\n", seed, ms, ScenarioOf(seed).name, told.faults,
               told.released, verdict);
    std::fflush(stdout);
    return verdict.empty();
}
}  // namespace

int main(int argc, char** argv)
{
    Settings settings;
    CLI::App app(
        "Scenarios over failing calls. Run it as: vrax-instrument --none -- seeded_faults");
    app.add_option("--first", settings.first, "The first seed");
    app.add_option("--seeds", settings.seeds, "How many seeds follow each other");
    app.add_option("--one-in", settings.oneIn, "One in so many calls of a kind fails");
    app.add_option("--limit", settings.limitSeconds, "Seconds that a seed may take");
    app.add_flag("--in-this-process", settings.inThisProcess,
                 "One seed; the environment tells of the faults (" SEEDED_FAULTS_SEED
                 ", " SEEDED_FAULTS_ONE_IN ")");
    CLI11_PARSE(app, argc, argv);
    try {
        if (settings.inThisProcess) return RunSeed(settings.first);
        bool good = true;
        for (std::uint64_t i = 0; i < settings.seeds; ++i) {
            good = RunInProcess(settings, settings.first + i) && good;
        }
        return good ? 0 : 1;
    } catch (const std::exception& error) {
        fmt::print(stderr, "seeded_faults: {}\n", error.what());
        return 1;
    }
}
