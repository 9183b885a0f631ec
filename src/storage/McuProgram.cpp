#include "storage/McuProgram.h"

#include <cstring>
#include <limits>

#include "device/Device.h"
#include "storage/Burn.h"

namespace {
constexpr std::uint8_t kGroup = 0xB9;
constexpr std::uint8_t kRead = 0x00;
constexpr std::uint8_t kWrite = 0xFF;
constexpr std::uint8_t kEraseItem = 0x02;
constexpr std::uint8_t kDataItem = 0x03;
constexpr std::uint8_t kAcknowledged = 0xFF;
constexpr unsigned kAckOffset = 3;
constexpr std::size_t kDataOffset = 8;  // of both directions

constexpr std::size_t kSectorBytes = 1024;
constexpr std::size_t kWriteBytes = 32;
constexpr std::size_t kReadBytes = 52;
constexpr unsigned kEraseWaitMs = 100;
constexpr unsigned kRestartWaitMs = 5000;
constexpr unsigned kReopenWaitMs = 1000;

enum class ControlMode : std::uint8_t {
    kApplication = 0,  // after a burn that failed
    kUpdate = 1,
    kRestart = 255,  // into the new program
};

NeverDestroyed<CImageStore> s_image;

// One letter in its place is enough, deliberately.
bool AcceptsTag(const std::uint8_t (&tag)[4])
{
    constexpr std::uint8_t kTag[] = {0x32, 0x54, 0x46, 0x32};
    for (std::size_t k = 0; k < sizeof tag; ++k) {
        if (tag[k] == kTag[k]) return true;
    }
    return false;
}

BurnFrame MakeFrame(std::uint8_t direction, std::uint8_t item, std::size_t count,
                    std::uint32_t address)
{
    return {{kGroup, direction, item, 0x00, static_cast<std::uint8_t>(count),
             static_cast<std::uint8_t>(address >> 16), static_cast<std::uint8_t>(address >> 8),
             static_cast<std::uint8_t>(address)}};
}

BurnFrame MakeErase(std::uint32_t address, const std::uint8_t*, std::size_t)
{
    return MakeFrame(kWrite, kEraseItem, 0, address);
}

BurnFrame MakeWrite(std::uint32_t address, const std::uint8_t* data, std::size_t count)
{
    BurnFrame frame = MakeFrame(kWrite, kDataItem, count, address);
    std::memcpy(frame.bytes + kDataOffset, data, count);
    return frame;
}

BurnFrame MakeRead(std::uint32_t address, const std::uint8_t*, std::size_t count)
{
    return MakeFrame(kRead, kDataItem, count, address);
}

constexpr BurnPlan kPlan = {
    .erase = {kSectorBytes, kEraseWaitMs, MakeErase},
    .write = {kWriteBytes, 0, MakeWrite},
    .verify = {kReadBytes, 0, MakeRead},
    .replyDataOffset = kDataOffset,
    .printsVerifyErrors = false,
};

bool setControlMode(ControlMode mode)
{
    CExchange line;
    const std::uint8_t request[] = {kGroup, kWrite, 0x00, 0x00, static_cast<std::uint8_t>(mode)};
    std::uint8_t reply[kReplyBytes];
    return line.Transact(request, sizeof request, reply) && reply[kAckOffset] == kAcknowledged;
}

int doMcuBurn(const CBurn& burn, CPortHold& port)
{
    const BurnRange whole[] = {{0, static_cast<std::uint32_t>(burn.Bytes())}};
    const int result = burn.BurnRanges(whole);
    if (result != kBurnDone) return result;

    burn.Tell(BURN_RESTART, 99);
    setControlMode(ControlMode::kRestart);  // it may be gone before it answers
    PauseDeviceSearch(kRestartWaitMs);
    burn.Tell(BURN_RECONNECT, 100);
    port.Close();
    PauseDeviceSearch(kReopenWaitMs);
    return burn.Reconnect(port);
}

// The last call comes after every end of a burn that began, a cancel included, deliberately. A
// refused mode is not told at all, deliberately too.
int BurnInUpdateMode(const CBurn& burn, CPortHold& port)
{
    if (!setControlMode(ControlMode::kUpdate)) return kBurnModeRefused;
    const int result = doMcuBurn(burn, port);
    if (result < 0) setControlMode(ControlMode::kApplication);
    return burn.End(100, result);
}
}  // namespace

int MCULoad(const char* path, const ImageVersion& version)
{
    constexpr ImageRules kRules = {0, std::numeric_limits<std::size_t>::max(), AcceptsTag};
    FreeMcuImage();
    return LoadImageFile(path, kRules, version, s_image.Get());
}

int MCUBurn(VRAXBurnCallback callback)
{
    const std::shared_ptr<const ImageBytes> image = s_image.Get().Get();
    return BurnImage(kPlan, image.get(), callback, BurnInUpdateMode);
}

void FreeMcuImage() { s_image.Get().Set(nullptr); }
