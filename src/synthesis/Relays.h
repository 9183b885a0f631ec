// The relay word, the operate mode and the relay command that carries both.
#pragma once

#include <cstdint>

#include "platform/Shared.h"

// 24 bits. Rebuilt from zero by every SetRelays.
extern Shared<std::uint32_t> g_nRelayControl;

// The output leads as bits of the relay word.
std::uint32_t OutputLeadBits();

// Bits 0x03 ECG, 0x04, 0x08 and 0x10 a PPG channel each, 0x20 external respiration; 8 when the
// output is off.
extern Shared<std::uint8_t> g_OperateMode;
constexpr std::uint8_t kModeECG = 0x03;
constexpr std::uint8_t kModePPG1 = 0x04;
constexpr std::uint8_t kModePPG2 = 0x08;
constexpr std::uint8_t kModePPG3 = 0x10;
constexpr std::uint8_t kModeRespiration = 0x20;
constexpr std::uint8_t kModeOff = 0x08;

// Rebuilds word and mode and sends the command to an open port, unless it equals the last one sent
// and `force` is not set.
void SetRelays(bool force);

// Stores a preliminary mode, then sends the relays by force, which replaces it.
void _RefreshOperateMode();
