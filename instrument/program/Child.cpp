#include "instrument/program/Child.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace instrument {

namespace {

[[noreturn]] void WaitAndBecome(int gate, pid_t parent, const std::vector<std::string>& command)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(1);
    char go = 0;
    ssize_t count = 0;
    do count = read(gate, &go, 1);
    while (count < 0 && errno == EINTR);
    if (count != 1) _exit(1);
    close(gate);
    _exit(Become(command));
}

}  // namespace

int Become(const std::vector<std::string>& command)
{
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    execvp(words[0], words.data());
    const int error = errno;
    std::fprintf(stderr, "vrax-instrument: %s cannot be run: %s\n", words[0], std::strerror(error));
    return error == ENOENT ? kNotFound : kNotExecutable;
}

Child::Child(const std::vector<std::string>& command)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no descriptor is left");
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ == 0) {
        close(ends[1]);
        WaitAndBecome(ends[0], parent, command);
    }
    close(ends[0]);
    gate_ = ends[1];
    if (process_ < 0) throw std::runtime_error("no process is left");
}

Child::~Child()
{
    if (gate_ >= 0) close(gate_);
    int status = 0;
    if (process_ > 0) waitpid(process_, &status, 0);
}

void Child::Start()
{
    [[maybe_unused]] const ssize_t count = write(gate_, "g", 1);
    close(gate_);
    gate_ = -1;
}

void Child::Signal(int number) const
{
    if (process_ > 0) kill(process_, number);
}

bool Child::HasEnded(int& status)
{
    int raw = 0;
    if (process_ <= 0 || waitpid(process_, &raw, WNOHANG) != process_) return false;
    process_ = -1;
    status = WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : WEXITSTATUS(raw);
    return true;
}

}  // namespace instrument
