// Photodiode sampling: its commands, its state and the frames that the instrument sends meanwhile.
#pragma once

#include <cstdint>

#include "platform/Shared.h"
#include "vrax.h"

constexpr int kPhotodiodes = 4;

// Sampling may be started. Written by the sampling calls, under the API lock.
extern Shared<bool> g_PPG_PDSamplingEnabled;
// The listener of each photodiode; called by the poll thread.
extern Shared<VRAXPPGSamplingCallback> g_PPGSamplingCBs[kPhotodiodes];

// 0; -1 when no reply came, -2 when it is no acknowledgement.
int _SetPPGAD(std::uint8_t mask);
bool _ReadPPGAD(std::uint8_t mask);
// Stops photodiode sampling; true when a full reply came.
bool _StopPPGAD();

// Tells the listeners every whole record of a frame.
void _CallbackPPGSampling(const std::uint8_t* frame, unsigned length);
