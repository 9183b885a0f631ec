#include "BurnEstimate.h"

#include <algorithm>

namespace vrax {

namespace {

constexpr std::size_t kSectorBytes = 1024;

// The FPGA image leaves out the sectors that hold the instrument's own data.
constexpr double kFpgaSectors = 106.0;
constexpr double kFpgaFrames = 2262.0;
constexpr double kFpgaEraseSeconds = 0.040;   // a sector
constexpr double kFpgaFrameSeconds = 0.0013;  // so that all three passes take ten seconds
constexpr double kFpgaRestartSeconds = 10.0;  // the longest search takes three times that

constexpr std::size_t kMcuWriteBytes = 32;
constexpr std::size_t kMcuVerifyBytes = 52;
constexpr double kMcuEraseSeconds = 0.100;  // a sector
constexpr double kMcuFrameSeconds = 0.002;  // so that 120 KB take half a minute
constexpr double kMcuRestartSeconds = 6.0;
constexpr double kMcuSearchSeconds = 4.0;

constexpr int kPacePercent = 10;  // from here on a stage has a pace of its own

double Steps(std::size_t bytes, std::size_t step)
{
    return static_cast<double>((bytes + step - 1) / step);
}

}  // namespace

BurnEstimate::BurnEstimate(ImageKind kind, std::size_t imageBytes)
{
    if (kind == ImageKind::Fpga) {
        usual_[BURN_ERASE] = kFpgaSectors * kFpgaEraseSeconds;
        usual_[BURN_WRITE] = usual_[BURN_VERIFY] = kFpgaFrames * kFpgaFrameSeconds;
        usual_[BURN_RECONNECT] = kFpgaRestartSeconds;
        return;
    }
    usual_[BURN_ERASE] = Steps(imageBytes, kSectorBytes) * kMcuEraseSeconds;
    usual_[BURN_WRITE] = Steps(imageBytes, kMcuWriteBytes) * kMcuFrameSeconds;
    usual_[BURN_VERIFY] = Steps(imageBytes, kMcuVerifyBytes) * kMcuFrameSeconds;
    usual_[BURN_RESTART] = kMcuRestartSeconds;
    usual_[BURN_RECONNECT] = kMcuSearchSeconds;
}

double BurnEstimate::SecondsLeft(int stage, int percent, double seconds) const
{
    if (stage < BURN_ERASE || stage >= BURN_FINISHED) return 0.0;
    const auto index = static_cast<std::size_t>(stage);
    double left = 0.0;
    for (std::size_t later = index + 1; later < usual_.size(); ++later) left += usual_[later];
    if (stage > BURN_VERIFY) return left + std::max(0.0, usual_[index] - seconds);
    const double done = percent / 100.0;
    const bool hasPace = percent >= kPacePercent;
    return left + (hasPace ? seconds * (1.0 - done) / done : usual_[index] * (1.0 - done));
}

}  // namespace vrax
