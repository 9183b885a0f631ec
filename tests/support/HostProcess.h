// An application in a process of its own, which does what it is told (tests/link/host_program.cpp).
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "support/Waiting.h"

class CHostProcess {
public:
    explicit CHostProcess(const char* program)
    {
        int input[2];
        int output[2];
        if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        char* arguments[] = {const_cast<char*>(program), nullptr};
        const int error = posix_spawn(&id_, program, &actions, nullptr, arguments, environ);
        posix_spawn_file_actions_destroy(&actions);
        close(input[0]);
        close(output[1]);
        input_ = input[1];
        output_ = output[0];
        if (error != 0) throw std::runtime_error(program);
    }
    ~CHostProcess()
    {
        if (id_ > 0) {
            kill(id_, SIGKILL);
            waitpid(id_, nullptr, 0);
        }
        CloseInput();
        close(output_);
    }
    CHostProcess(const CHostProcess&) = delete;
    CHostProcess& operator=(const CHostProcess&) = delete;

    pid_t Id() const { return id_; }

    // Asks without waiting for the answer.
    void Tell(const std::string& line) const
    {
        const std::string text = line + "\n";
        ASSERT_EQ(write(input_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    // Whether the answer is yes.
    bool Answer() const
    {
        std::string answer;
        for (char letter = 0; letter != '\n';) {
            pollfd wait = {output_, POLLIN, 0};
            if (poll(&wait, 1, 60000) <= 0 || read(output_, &letter, 1) != 1) {
                ADD_FAILURE() << "no answer";
                return false;
            }
            answer += letter;
        }
        return answer == "yes\n";
    }
    bool Ask(const std::string& line) const
    {
        Tell(line);
        return Answer();
    }

    // The end of its input, at which it returns from main.
    void CloseInput()
    {
        if (input_ >= 0) close(input_);
        input_ = -1;
    }
    void Kill() const { kill(id_, SIGKILL); }

    // False when it goes on running. The status is its exit status, or 128 and its signal.
    bool WaitForEnd(std::chrono::milliseconds timeout, int& status)
    {
        int raw = 0;
        if (!Eventually([&] { return waitpid(id_, &raw, WNOHANG) == id_; }, timeout)) return false;
        id_ = 0;
        status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
        return true;
    }

private:
    pid_t id_ = 0;
    int input_ = -1;
    int output_ = -1;
};
