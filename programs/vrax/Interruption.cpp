#include "Interruption.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <limits>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "Failure.h"

namespace vrax {

namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};

std::atomic<bool> s_isAsked{false};
static_assert(std::atomic<bool>::is_always_lock_free, "written by a signal handler");
int s_depth = 0;  // objects that exist
int s_pipe[2] = {-1, -1};
std::array<struct sigaction, kSignals.size()> s_before;
struct sigaction s_pipeBefore;

void NoteSignal(int)
{
    const int error = errno;
    s_isAsked = true;
    [[maybe_unused]] const ssize_t count = write(s_pipe[1], "!", 1);  // wakes WaitFor()
    errno = error;
}

}  // namespace

Interruption::Interruption()
{
    if (s_depth++ > 0) return;
    if (pipe2(s_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        throw Failure("no descriptor is left", "close other programs, or raise ulimit -n");
    s_isAsked = false;
    struct sigaction action {};
    action.sa_handler = NoteSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], &action, &s_before[i]);
        // Under nohup a terminal may close.
        const bool isIgnored = s_before[i].sa_handler == SIG_IGN;
        if (kSignals[i] == SIGHUP && isIgnored) sigaction(SIGHUP, &s_before[i], nullptr);
    }
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, &s_pipeBefore);
}

Interruption::~Interruption()
{
    if (--s_depth > 0) return;
    for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &s_before[i], nullptr);
    sigaction(SIGPIPE, &s_pipeBefore, nullptr);
    close(s_pipe[0]);
    close(s_pipe[1]);
}

bool Interruption::IsAsked() { return s_isAsked; }

bool Interruption::WaitFor(std::chrono::milliseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (!s_isAsked) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        pollfd descriptor = {s_pipe[0], POLLIN, 0};
        constexpr auto kLongest = std::numeric_limits<int>::max();
        poll(&descriptor, 1, static_cast<int>(std::min<long>(left.count(), kLongest)));
    }
    return true;
}

}  // namespace vrax
