// A run that is ready and waits until a line comes on standard input.
#pragma once

#include "vrax.h"

namespace vrax {

class LineStart {
public:
    // From now on a signal that is selected does not play before Await() has returned.
    LineStart();
    ~LineStart();
    LineStart(const LineStart&) = delete;
    LineStart& operator=(const LineStart&) = delete;

    // Throws Failure when standard input ends before a line, and after Ctrl-C. An Interruption is
    // in force.
    void Await();

private:
    VRAXSynchronizationSignal signal_;
};

}  // namespace vrax
