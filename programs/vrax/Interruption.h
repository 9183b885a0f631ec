// Ctrl-C as a question that a command asks, so that it can stop the instrument safely.
#pragma once

#include <chrono>

namespace vrax {

// From the construction on SIGINT, SIGTERM and SIGHUP are noted instead of ending the process, and a
// reader of the output that goes away ends nothing; the destructor restores what was before. One
// inside another adds nothing. Main thread only, but for IsAsked().
class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    // Whether one has come. Callbacks of the library may ask too.
    static bool IsAsked();

    // Sleeps until one comes, at most for `time`; true when one has come. Only while one exists.
    static bool WaitFor(std::chrono::milliseconds time);
};

}  // namespace vrax
