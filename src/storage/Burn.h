// What the burns of both programs have in common: the three passes over the image, with progress,
// cancel and the codes, and the end after the restart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "device/Connection.h"
#include "device/Exchange.h"
#include "storage/ImageFile.h"
#include "vrax.h"

constexpr int kBurnDone = 0;
constexpr int kBurnCancelled = -1;
constexpr int kBurnNoImage = -2;
constexpr int kBurnNotConnected = -3;
constexpr int kBurnModeRefused = -4;
constexpr int kBurnNotSent = -5;
constexpr int kBurnNotAnswered = -6;
constexpr int kBurnDiffers = -9;
constexpr int kBurnNotRestarted = -10;
constexpr int kBurnNotFound = -11;

struct BurnFrame {
    std::uint8_t bytes[kReplyBytes];
};

// Makes the frame that erases, writes or reads `count` bytes at an address; `data` are the image's.
using MakeBurnFrame = BurnFrame (*)(std::uint32_t address, const std::uint8_t* data,
                                    std::size_t count);

struct BurnPass {
    std::size_t stepBytes;  // that a frame covers
    unsigned waitMs;        // before its reply
    MakeBurnFrame make;
};

// Addresses of the image, from the first to before the last.
struct BurnRange {
    std::uint32_t first;
    std::uint32_t last;
};

struct BurnPlan {
    BurnPass erase;
    BurnPass write;
    BurnPass verify;
    std::size_t replyDataOffset;  // of what a verify frame reads
    bool printsVerifyErrors;      // on standard output, with the offset in the range
};

// One burn: its image, its plan, and the application's callback.
class CBurn {
public:
    CBurn(const BurnPlan& plan, std::span<const std::uint8_t> image, VRAXBurnCallback callback)
        : plan_(plan), image_(image), callback_(callback)
    {}

    // Erases, writes and verifies the ranges. 0, or the result of the burn; the callback has been
    // told.
    int BurnRanges(std::span<const BurnRange> ranges) const;

    // True when the callback asks to cancel.
    bool Tell(BurnStage_E stage, int value) const { return callback_(stage, value) == 1; }
    // Tells the callback the end, and gives the result.
    int End(int told, int result) const;
    int Fail(int code) const { return End(code, code); }
    // After the restart and BURN_RECONNECT: searches the instrument.
    int Reconnect(CPortHold& port) const;
    std::size_t Bytes() const { return image_.size(); }

private:
    int RunPass(BurnStage_E stage, const BurnPass& pass, std::span<const BurnRange> ranges) const;
    int BurnStep(BurnStage_E stage, const BurnPass& pass, const BurnRange& range,
                 std::uint32_t offset) const;
    int FailVerify(int told, int result, std::uint32_t offset) const;

    const BurnPlan& plan_;
    const std::span<const std::uint8_t> image_;
    const VRAXBurnCallback callback_;
};

// Runs `burn` with the port held. Without an instrument or an image (null) nothing is touched. In a
// callback of the library no instrument counts as connected: nobody may wait there.
int BurnImage(const BurnPlan& plan, const ImageBytes* image, VRAXBurnCallback callback,
              int (*burn)(const CBurn& burn, CPortHold& port));
