#include "ppg/SensorSampling.h"

#include <bit>
#include <optional>

#include "device/Device.h"
#include "device/Exchange.h"
#include "device/Identification.h"
#include "device/SamplingFrames.h"

Shared<bool> g_PPG_PDSamplingEnabled = false;
Shared<VRAXPPGSamplingCallback> g_PPGSamplingCBs[kPhotodiodes];

namespace {
constexpr std::uint8_t kGroup = 0xAD;
constexpr std::uint8_t kRead = 0x00;
constexpr std::uint8_t kWrite = 0xFF;
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr unsigned kAckOffset = 3;
constexpr unsigned kMaskOffset = 4;
constexpr unsigned kRecordsOffset = 8;
constexpr std::uint8_t kAllPhotodiodes = 0x0F;
constexpr int kMostNamed = 2;  // more listeners than these sample every photodiode
constexpr unsigned kStartWaitMs = 80;

bool Transact(std::uint8_t direction, std::uint8_t mask, std::uint8_t (&reply)[kReplyBytes])
{
    CExchange line;
    const std::uint8_t request[] = {kGroup, direction, 0x00, 0x00, mask};
    return line.Transact(request, sizeof request, reply);
}

std::uint8_t ListenersMask()
{
    unsigned mask = 0;
    for (unsigned k = 0; k < kPhotodiodes; ++k) {
        if (g_PPGSamplingCBs[k] != nullptr) mask |= 1u << k;
    }
    return std::popcount(mask) > kMostNamed ? kAllPhotodiodes : static_cast<std::uint8_t>(mask);
}

// 0, or the code of what stands against sampling now.
int FindObstacle()
{
    if (DeviceIsConnected() == 0) return -1;
    if (!_IsPPGConnected()) return -2;
    return IsLineBusy() || s_bPortHeld ? -3 : 0;
}
}  // namespace

int _SetPPGAD(std::uint8_t mask)
{
    std::uint8_t reply[kReplyBytes];
    if (!Transact(kWrite, mask, reply)) return -1;
    return reply[kAckOffset] == kAcknowledged ? 0 : -2;
}

bool _ReadPPGAD(std::uint8_t mask)
{
    std::uint8_t reply[kReplyBytes];
    return Transact(kRead, mask, reply);
}

bool _StopPPGAD()
{
    std::uint8_t reply[kReplyBytes];
    if (!Transact(kWrite, 0, reply)) return false;
    s_bFramesMayCome = false;
    return true;
}

void _CallbackPPGSampling(const std::uint8_t* frame, unsigned length)
{
    if (length < kRecordsOffset) return;
    const unsigned mask = frame[kMaskOffset] & kAllPhotodiodes;
    if (mask == 0) return;
    // A record: a big-endian word for each photodiode of the mask, then a status byte.
    const unsigned statusOffset = 2u * static_cast<unsigned>(std::popcount(mask));
    for (unsigned p = kRecordsOffset; p + statusOffset < length; p += statusOffset + 1) {
        const int status = frame[p + statusOffset];
        const std::uint8_t* sample = frame + p;
        for (int k = 0; k < kPhotodiodes; ++k) {
            if ((mask >> k & 1u) == 0) continue;
            const VRAXPPGSamplingCallback listener = g_PPGSamplingCBs[k];
            if (listener != nullptr) listener(k, sample[0] << 8 | sample[1], status);
            sample += 2;
        }
    }
}

int VRAXEnablePPGSampling(int channel, VRAXPPGSamplingCallback callback)
{
    CApiLock lock;
    if (const int obstacle = FindObstacle(); obstacle != 0) return obstacle;
    g_PPG_PDSamplingEnabled = true;
    // Any number is taken; what is no photodiode has no listener.
    if (channel >= 0 && channel < kPhotodiodes) g_PPGSamplingCBs[channel] = callback;
    return 0;
}

int VRAXDisablePPGSampling(void)
{
    CApiLock lock;
    if (g_PPG_PDSamplingEnabled && !_StopPPGAD()) return -1;
    g_PPG_PDSamplingEnabled = false;
    const CInterruptLock noListenerIsCalled;
    DropKeptFrames();
    for (auto& listener : g_PPGSamplingCBs) listener = nullptr;
    return 0;
}

int VRAXStartPPGSampling(void)
{
    CExchange line(CExchange::Line::kLater);  // nothing comes between the two commands
    if (const int obstacle = FindObstacle(); obstacle != 0) return obstacle;
    if (!g_PPG_PDSamplingEnabled) return -4;
    const std::uint8_t mask = ListenersMask();
    line.TakeLine();
    DropKeptFrames();
    if (_SetPPGAD(mask) != 0) return -4;
    // Set since the end of the last run: it must not let a command onto a line that is busy again.
    g_hProcessRequestEvent.ResetEvent();
    s_bFramesMayCome = true;
    g_PPG_PDSamplingRunning = true;
    SleepMilliseconds(kStartWaitMs);
    _ReadPPGAD(mask);
    return 0;
}

namespace {
// Longer than most packets play; a run may stand still.
constexpr unsigned kStopLimitMs = 2000;

// False when the wait for the line was given up: for another call that stops something and may need
// the API lock for that, or because no gap came.
bool TryStopSampling()
{
    // Commands that wait for the free line give the API lock back.
    std::optional<CReleaseWaitingCommands> release(std::in_place);
    CExchange line(CExchange::Line::kLater);
    release.reset();
    if (!line.TakeLine(kStopLimitMs)) return false;
    _StopPPGAD();
    g_PPG_PDSamplingRunning = false;
    DropKeptFrames();
    return true;
}

void ForgetSampling()
{
    const CInterruptLock noListenerIsCalled;
    g_PPG_PDSamplingRunning = false;
    DropKeptFrames();
}
}  // namespace

void VRAXStopPPGSampling(void)
{
    constexpr int kAttempts = 5;
    for (int i = 0; i < kAttempts; ++i) {
        if (TryStopSampling()) return;
        CReleaseWaitingCommands::WaitForOthers();
    }
    ForgetSampling();
}
