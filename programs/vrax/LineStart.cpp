#include "LineStart.h"

#include <chrono>

#include <poll.h>
#include <unistd.h>

#include "Failure.h"
#include "Interruption.h"

namespace vrax {

namespace {

constexpr int kLookMs = 20;

// 0 at the end of standard input.
char ReadByte()
{
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    while (poll(&input, 1, kLookMs) <= 0) {
        if (Interruption::IsAsked()) throw Failure("interrupted", "", kInterrupted);
    }
    char byte = 0;
    return read(STDIN_FILENO, &byte, 1) == 1 ? byte : '\0';
}

}  // namespace

LineStart::LineStart() : signal_(VRAXCreateSynchronizationSignal())
{
    if (signal_ == nullptr) throw Failure("no memory is left", "close other programs");
    VRAXSetSynchronizationSignal(signal_);
}

LineStart::~LineStart() { VRAXSetSynchronizationSignal(nullptr); }

void LineStart::Await()
{
    for (char byte = ReadByte(); byte != '\n'; byte = ReadByte()) {
        if (byte == '\0') {
            throw Failure("standard input ended before a line came",
                          "leave out --wait-for-line, or send a line", kWrongUsage);
        }
    }
    VRAXSynchronizationSignalSetEvent(signal_);
}

}  // namespace vrax
