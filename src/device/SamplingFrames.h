// Photodiode frames that come where a reply is awaited: they are told from replies, and kept in
// their order until the poll thread hands them on.
#pragma once

#include <cstdint>

#include "device/Device.h"
#include "device/Exchange.h"

// Whether frames may come and the block begins as a frame of it does.
bool IsSamplingBlock(const std::uint8_t* block, unsigned length);
// A command that is acknowledged with the head of a frame, and a block that may be that: it counts
// as the reply where one is awaited.
bool IsSamplingCommand(const std::uint8_t* request, unsigned length);
bool IsSamplingAcknowledge(const std::uint8_t* block, unsigned length);
// A frame where none can come, or the first bytes of it: of a sensor that another program left
// running, perhaps. Without a reason to be a reply it is none.
bool IsStrayFrame(const std::uint8_t* block, unsigned length);
// While frames may come: keeps a whole block that is a frame of it. False for everything else, the
// reply that ends sampling included: a frame names the channels that it carries. The caller holds
// g_AccessCriticalSection, so that frames are kept as they came.
bool KeepSamplingFrame(const std::uint8_t* block, unsigned length)
    REQUIRES(g_AccessCriticalSection);
// Keeps one that was in hand before those that are kept.
void ReturnSamplingFrame(const std::uint8_t* block, unsigned length);
bool HasKeptFrames();
// The oldest; false when none is left.
bool TakeKeptFrame(std::uint8_t (&frame)[kReplyBytes]);
void DropKeptFrames();
