// The poll thread: takes in the replies to stream packets, and what the instrument sends unasked.
#pragma once

#include <cstdint>

// Starts the thread unless one runs that was not told to stop. False when the system gives none.
bool StartPollingThread();
// Tells the thread to end; does not wait for it.
void StopPollingThread();
// Waits for a thread that was told to stop, except on that thread itself.
constexpr unsigned kPollingJoinMs = 10000;
void JoinPollingThread(unsigned withinMs = kPollingJoinMs);

// Takes the blocks of running photodiode sampling; installed by the room above. Called on the poll
// thread under the interrupt lock.
void SetSamplingHandler(void (*handler)(const std::uint8_t* block, unsigned length));
