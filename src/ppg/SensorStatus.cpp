#include "ppg/SensorStatus.h"

#include <cstring>

#include "device/Device.h"
#include "device/Exchange.h"
#include "storage/Records.h"

namespace {
constexpr std::uint8_t kGroup = 0xB0;
constexpr std::uint8_t kRead = 0x00;
constexpr std::uint8_t kSamplingStatus = 0x02;
constexpr std::uint8_t kTriggerStatus = 0x30;
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr unsigned kAckOffset = 3;
constexpr unsigned kPhotodiodeWaitMs = 80;
constexpr unsigned kFlagsOffset = 8;
constexpr unsigned kPairsOffset = 9;
constexpr std::uint8_t kFlags = 0x3F;
constexpr unsigned kTriggerOffset = 4;
constexpr std::uint8_t kLevelsUnsettled = 0x03;
constexpr std::size_t kTriggerWords = 5;
constexpr int kPairs = 3;
constexpr std::uint8_t kFirstFlag = 0x20;
constexpr double kFlagWeight = 6.0;

std::uint16_t SwapBytes(std::uint16_t word)
{
    return static_cast<std::uint16_t>(word << 8 | word >> 8);
}

// The two values of a pair of three bytes.
unsigned FirstOfPair(const std::uint8_t* pair) { return pair[0] * 16u + (pair[1] >> 4); }
unsigned SecondOfPair(const std::uint8_t* pair) { return (pair[1] & 0x0Fu) * 256u + pair[2]; }
// Deliberately not the usual 12 bits: the whole middle byte counts. Callers see it.
std::uint32_t SecondOfStatusPair(const std::uint8_t* pair) { return pair[1] * 16u + pair[2]; }
}  // namespace

bool ReadFGPASamplingStatus(_FGPA_SAMPLING_OUT* out)
{
    CExchange line;
    const std::uint8_t request[] = {kGroup, kRead, kSamplingStatus, 0x00, 0x00};
    std::uint8_t reply[kReplyBytes];
    if (!line.Transact(request, sizeof request, reply)) return false;
    std::memcpy(out, reply, sizeof *out);
    return true;
}

bool VRAXGetFPGAReport(void* out)
{
    CApiLock lock;
    _FGPA_SAMPLING_OUT status;
    if (out == nullptr || !ReadFGPASamplingStatus(&status)) return false;
    const PDRatioRow firstRatios = g_FPGA_PDRatio[0].Load();
    const PDRatioRow secondRatios = g_FPGA_PDRatio[1].Load();
    // The first flag alone is counted, once for each of the six, and stands for all of them:
    // deliberate, callers see it.
    double report[18] = {(status.flags & kFirstFlag) != 0 ? kFlagWeight : 0.0};
    for (int i = 0; i < kPairs; ++i) {
        const double first = FirstOfPair(status.pairs + 3 * i);
        const double second = SecondOfPair(status.pairs + 3 * i);
        report[6 + i] = first;
        report[9 + i] = second;
        report[12 + i] = static_cast<double>(firstRatios.values[i]) * first;
        report[15 + i] = static_cast<double>(secondRatios.values[i]) * second;
    }
    std::memcpy(out, report, sizeof report);
    return true;
}

int GetPDStatus(std::uint32_t* a, std::uint32_t* b, std::uint32_t* c, std::uint32_t* d,
                std::uint32_t* e, std::uint32_t* f)
{
    CExchange line(CExchange::Line::kLater);
    if (DeviceIsConnected() == 0) return -1;
    if (IsLineBusy()) return -2;
    std::uint32_t* const values[] = {a, b, c, d, e, f};
    for (const std::uint32_t* value : values) {
        if (value == nullptr) return -3;
    }
    const std::uint8_t request[] = {kGroup, kRead, kSamplingStatus};
    std::uint8_t reply[kReplyBytes];
    line.TakeLine();
    if (!line.Transact(request, sizeof request, reply, kPhotodiodeWaitMs)) return -3;
    if (reply[kAckOffset] != kAcknowledged || (reply[kFlagsOffset] & kFlags) != 0) return -4;
    for (int i = 0; i < kPairs; ++i) {
        *values[2 * i] = FirstOfPair(reply + kPairsOffset + 3 * i);
        *values[2 * i + 1] = SecondOfStatusPair(reply + kPairsOffset + 3 * i);
    }
    return 0;
}

bool GetAutoTriggerLevelStatus(std::uint16_t* out)
{
    CExchange line(CExchange::Line::kLater);
    if (out == nullptr || DeviceIsConnected() == 0) return false;
    const std::uint8_t request[] = {kGroup, kRead, kTriggerStatus, 0x00};
    std::uint8_t reply[kReplyBytes];
    line.TakeLine();
    if (!line.Transact(request, sizeof request, reply)) return false;
    std::uint16_t status[kTriggerWords];
    std::memcpy(status, reply + kTriggerOffset, sizeof status);
    const bool unsettled = (reply[kTriggerOffset + 2] & kLevelsUnsettled) == kLevelsUnsettled;
    for (const std::size_t level : {std::size_t{3}, std::size_t{4}}) {
        status[level] = unsettled ? std::uint16_t{0} : SwapBytes(status[level]);
    }
    std::memcpy(out, status, sizeof status);
    return true;
}
