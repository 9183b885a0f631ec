// What the serial line is busy with: the flags and events through which the play thread, the poll
// thread and the command exchanges pass the line to each other.
#pragma once

#include <cstdint>

#include "platform/Platform.h"

// 1 while an instrument is connected and prepared. Written by the connect thread.
extern Shared<int> g_bConnected;

// An image is burnt: the instrument stays connected, but a run stands still and nothing polls.
// Written under the API and the interrupt lock.
extern Shared<bool> s_bPortHeld;

// A run is streaming. Set by every data packet sent, cleared by the stop path of streaming.
extern Shared<bool> s_ECGGoing;

// Photodiode sampling is running. Written by the PPG sensor calls.
extern Shared<bool> g_PPG_PDSamplingRunning;

// The instrument sends photodiode frames: from the start command to a stop command that it answers,
// or to the end of the connection. What is told from a reply hangs on this, what listeners are told
// on the flag above.
extern Shared<bool> s_bFramesMayCome;

// Replies that may still come: to packets, and to commands that got none in time. Touched under
// g_AccessCriticalSection by whoever writes the packet or reads a reply.
extern Shared<int> s_nRepliesPending;
// Replies that a command left unread on purpose; they come before that of the next packet. Touched
// likewise.
extern Shared<int> s_nRepliesUnread;
// When a command gave up the last of those that may still come, MonotonicNs(); 0 while it is the
// reply to a packet, which takes the packet's own time. Touched likewise.
extern Shared<std::int64_t> s_nReplyGivenUpNs;

// How long the packet that was sent last plays, ns. Written before it is sent.
extern Shared<std::int64_t> s_nPacketNs;

// A thread of the library has taken a block in, has nothing more under way and is about to ask for
// the interrupt lock: the play thread with the reply to a packet, the poll thread with a photodiode
// frame. A command that holds the lock may use the line now.
extern Shared<bool> s_bPacketDue;
extern Shared<bool> s_bFrameInHand;

// Held while a packet is built: whoever takes it replaces what the samples are computed from, or
// written to. Nothing else is waited for under it.
extern CSimpleCriticalSection g_PacketCriticalSection;

// Play thread -> poll thread: a packet has been sent, read the reply.
extern CAutoResetEvent& g_hReadEvent;
// Poll thread -> play thread: the instrument has answered, send the next packet.
extern CAutoResetEvent& g_hSendEvent;
// The poll thread is to leave its reply-reading loop.
extern CManualResetEvent g_hStopReceiveEvent;
// Tells commands that wait for the line to look whether it is offered.
extern CManualResetEvent g_hProcessRequestEvent;

// Packets go to the instrument, and commands find their place between them.
inline bool IsInstrumentReady() { return g_bConnected != 0 && !s_bPortHeld; }
// ECG streaming or photodiode sampling keeps the line busy.
inline bool IsLineBusy() { return s_ECGGoing || g_PPG_PDSamplingRunning; }
// A photodiode frame gives no command the gap between two packets.
inline bool IsLineOffered() { return s_ECGGoing ? s_bPacketDue : s_bFrameInHand; }
