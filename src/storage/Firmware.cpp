#include "storage/Firmware.h"

#include <cstring>

#include "storage/Burn.h"
#include "storage/Flash.h"

namespace {
constexpr std::size_t kImageBytes = 122880;
constexpr std::uint8_t kRestart[] = {0xDD};

// In between lie the calibration and the manufacturing records of the board.
constexpr BurnRange kRanges[] = {{0, 102400}, {116736, kImageBytes}};

NeverDestroyed<CImageStore> s_image;

bool AcceptsTag(const std::uint8_t (&tag)[4]) { return std::memcmp(tag, "VRAX", sizeof tag) == 0; }

BurnFrame ToBurnFrame(const FlashFrame& flash)
{
    BurnFrame frame;
    static_assert(sizeof frame.bytes == sizeof flash.bytes);
    std::memcpy(frame.bytes, flash.bytes, sizeof frame.bytes);
    return frame;
}

BurnFrame MakeErase(std::uint32_t address, const std::uint8_t*, std::size_t)
{
    return ToBurnFrame(MakeEraseFrame(StorageChannel::kECGBoard, address));
}

BurnFrame MakeWrite(std::uint32_t address, const std::uint8_t* data, std::size_t count)
{
    return ToBurnFrame(MakeWriteFrame(StorageChannel::kECGBoard, address, data, count));
}

BurnFrame MakeRead(std::uint32_t address, const std::uint8_t*, std::size_t count)
{
    return ToBurnFrame(MakeReadFrame(StorageChannel::kECGBoard, address, count));
}

constexpr BurnPlan kPlan = {
    .erase = {kFlashSectorBytes, kFlashEraseWaitMs, MakeErase},
    .write = {kFlashFrameData, 0, MakeWrite},
    .verify = {kFlashFrameData, 0, MakeRead},
    .replyDataOffset = kFlashDataOffset,
    .printsVerifyErrors = true,
};

int BurnAndRestart(const CBurn& burn, CPortHold& port)
{
    CExchange line;
    const int result = burn.BurnRanges(kRanges);
    if (result != kBurnDone) return result;

    burn.Tell(BURN_RESTART, 99);
    if (!line.Send(kRestart, sizeof kRestart)) return burn.Fail(kBurnNotRestarted);
    std::uint8_t ignored[kReplyBytes];
    line.Receive(ignored);
    port.Close();
    burn.Tell(BURN_RECONNECT, 100);
    return burn.Reconnect(port);
}
}  // namespace

int FlashLoadBinFile(const char* path, const ImageVersion& version)
{
    constexpr ImageRules kRules = {kImageBytes, kImageBytes, AcceptsTag};
    return LoadImageFile(path, kRules, version, s_image.Get());
}

int FlashBurnFlashBlock(VRAXBurnCallback callback)
{
    const std::shared_ptr<const ImageBytes> image = s_image.Get().Get();
    return BurnImage(kPlan, image.get(), callback, BurnAndRestart);
}

void FreeFirmwareImage() { s_image.Get().Set(nullptr); }
