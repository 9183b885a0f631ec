#include <algorithm>
#include <cmath>
#include <cstring>

#include "device/Exchange.h"
#include "device/Identification.h"
#include "platform/ByteOrder.h"
#include "synthesis/Codes.h"
#include "synthesis/Numbers.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/Respiration.h"

Shared<double> g_fPacingDelayPerSecond = 0.0;

namespace {
constexpr double kSecondsPerMinute = 60.0;
constexpr double kTicksPerMinute = 2.4e6;  // of 25 us
constexpr int kTicksPerMinuteInt = 2400000;
constexpr double kTicksPerSecond = 40000.0;
constexpr double kStreamDrift = 3e-5;  // the stream runs 30 ppm slow, see the play clock

constexpr double kRespirationMaxMv = 20.0;
constexpr double kTickMs = 0.025;
constexpr double kModuleTickMs = 0.1;  // with the external respiration module
constexpr unsigned kAmplitudeOffset = 24;
constexpr unsigned kDurationOffset = 26;
constexpr unsigned kClearedFrom = 28;
constexpr unsigned kClearedTo = 38;
constexpr unsigned kAckOffset = 3;
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr std::uint8_t kWrite = 0xFF;

std::uint16_t AmplitudeCode(double amplitude)
{
    if (std::isnan(amplitude)) return 0;
    if (amplitude != 0.0 && g_RespirationEnabled) {
        return static_cast<std::uint16_t>(GetAcDac(amplitude));
    }
    return static_cast<std::uint16_t>(GetPacketDCValue(amplitude) - GetPacketDCValue(0.0));
}

// Rewrites the pacing bytes of the control block.
void FillControlBlock(std::uint8_t (&block)[kReplyBytes])
{
    double amplitude = g_PA;
    double duration = g_PacingDuration;
    if (amplitude == 0.0) {
        duration = 0.0;
    } else if (g_RespirationEnabled) {
        amplitude = std::clamp(amplitude, -kRespirationMaxMv, kRespirationMaxMv) / GetAttenuation();
    }
    const double tick = ExtRespIsAvailable() != 0 ? kModuleTickMs : kTickMs;
    block[1] = kWrite;
    WriteBig16(block + kAmplitudeOffset, AmplitudeCode(amplitude));
    WriteBig16(block + kDurationOffset, SaturateTo<std::uint16_t>(RoundHalfUp(duration / tick)));
    std::memset(block + kClearedFrom, 0, kClearedTo - kClearedFrom);
}
}  // namespace

double ComputeDelayPerSec(int rate)
{
    if (rate == 0) return 0.0;
    const double ticksLeft =
        kTicksPerMinuteInt - Truncate(kTicksPerMinute / rate) * static_cast<double>(rate);
    return ticksLeft / kTicksPerSecond / kSecondsPerMinute;
}

int SetPacing()
{
    CExchange line;
    const std::uint8_t request[] = {0xEA, 0x00, 0x01};
    std::uint8_t block[kReplyBytes];
    if (!line.Transact(request, sizeof request, block)) return 0;
    const int rate = g_pacingSynchronized ? SaturateTo<int>(kSecondsPerMinute * g_F)
                                          : static_cast<int>(g_PacingRate);
    FillControlBlock(block);
    g_fPacingDelayPerSecond = ComputeDelayPerSec(rate) + kStreamDrift;
    std::uint8_t reply[kReplyBytes];
    if (!line.Transact(block, sizeof block, reply)) return 0;
    return reply[kAckOffset] == kAcknowledged ? 1 : 0;
}
