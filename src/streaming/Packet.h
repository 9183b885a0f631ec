// The stream packet: 50 frames of 64 bytes, built sample by sample; no threads, no I/O.
//
// Frame: 0x01, operate mode, 0, 0, pacing marker, sample count, sequence number (big-endian), then
// 56 bytes of sample slots. Three layouts: ECG alone (mode 3: 14 slots of DC and AC code), ECG with
// external respiration (mode 35: 4 slots of six words), ECG with PPG channels (every other mode).
#pragma once

#include <cstdint>

#include "platform/Shared.h"

constexpr unsigned kPacketBytes = 3200;
constexpr unsigned kFrameBytes = 64;
constexpr unsigned kFramesPerPacket = 50;

// One number a frame, wrapping. Written by the thread that builds packets, zeroed at a run's start.
extern Shared<std::uint16_t> s_SeqCheck;
// Time by which the play clock is behind the sample count, s.
extern Shared<double> g_fDelayAccumulated;
extern Shared<double> g_fPacingDelayAccumulated;

// Fills a zeroed packet with the next samples of the running signal, advancing the play clock, then
// sends what waits for the end of a packet. On the thread that builds packets, which owns the line.
void DoSendNextPacket(unsigned char* buffer);

// Fills a zeroed packet with resting values; the clock stands.
void DoSendFirstPacket(unsigned char* buffer);

// Fills a zeroed packet that ends a run, and starts the sequence anew.
void BuildStopPacket(unsigned char* buffer);
