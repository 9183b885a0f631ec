// The application that runs in the private namespace.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace instrument {

// What a program ends with that could not be started.
constexpr int kNotFound = 127;
constexpr int kNotExecutable = 126;

// Becomes `command`. Returns only when it cannot, with the exit status for that, and has said so.
int Become(const std::vector<std::string>& command);

// A process that waits for Start() and then becomes the command, with the signal mask and
// descriptors that this process had. It is ended when this process dies.
class Child {
public:
    // Throws std::runtime_error.
    explicit Child(const std::vector<std::string>& command);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void Start();
    void Signal(int number) const;
    // True when it has ended; `status` is then its exit status, or 128 and the signal's number.
    bool HasEnded(int& status);

private:
    pid_t process_ = -1;
    int gate_ = -1;  // the command begins when a byte arrives, and never does when it closes
};

}  // namespace instrument
