// A command run to its end, as a user runs it.
#pragma once

#include <stdio.h>
#include <sys/wait.h>

#include <string>

struct CommandOutcome {
    int status;          // exit status; -1 when it did not run or was killed
    std::string output;  // both streams
};

inline CommandOutcome RunCommand(const std::string& command)
{
    CommandOutcome outcome{-1, ""};
    FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return outcome;
    char buffer[4096];
    for (std::size_t count; (count = fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
        outcome.output.append(buffer, count);
    }
    const int status = pclose(pipe);
    if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
    return outcome;
}
