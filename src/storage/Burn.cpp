#include "storage/Burn.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {
constexpr int kPercent = 100;

// What the callback is told where a verify frame failed; the results are those of the other passes.
constexpr int kVerifyNotSent = -7;
constexpr int kVerifyNotAnswered = -8;
constexpr int kVerifyDiffers = -9;

enum class Outcome { kAnswered, kNotSent, kNotAnswered };

// A whole reply is enough, whatever it holds.
Outcome Exchange(const BurnFrame& frame, unsigned waitMs, std::uint8_t (&reply)[kReplyBytes])
{
    CExchange line;
    if (!line.Send(frame.bytes, sizeof frame.bytes)) return Outcome::kNotSent;
    if (waitMs != 0) SleepMilliseconds(waitMs);
    return line.Receive(reply) ? Outcome::kAnswered : Outcome::kNotAnswered;
}

int IgnoreProgress(int, int) { return 0; }

void PrintVerifyError(int told, std::uint32_t offset)
{
    const char* step = "compare";
    if (told == kVerifyNotSent) step = "write";
    if (told == kVerifyNotAnswered) step = "read";
    std::printf("[ERROR] read/verify - %s data failed (address: 0x%x)\n", step, offset);
}
}  // namespace

int CBurn::End(int told, int result) const
{
    Tell(BURN_FINISHED, told);
    return result;
}

int CBurn::FailVerify(int told, int result, std::uint32_t offset) const
{
    if (plan_.printsVerifyErrors) PrintVerifyError(told, offset);
    return End(told, result);
}

int CBurn::BurnStep(BurnStage_E stage, const BurnPass& pass, const BurnRange& range,
                    std::uint32_t offset) const
{
    const std::uint32_t address = range.first + offset;
    if (Tell(stage, static_cast<int>(std::size_t{address} * kPercent / image_.size()))) {
        return kBurnCancelled;
    }
    const bool isVerify = stage == BURN_VERIFY;
    const std::size_t count = std::min<std::size_t>(pass.stepBytes, range.last - address);
    const std::uint8_t* data = image_.data() + address;
    std::uint8_t reply[kReplyBytes];
    switch (Exchange(pass.make(address, data, count), pass.waitMs, reply)) {
        case Outcome::kNotSent:
            return isVerify ? FailVerify(kVerifyNotSent, kBurnNotSent, offset) : Fail(kBurnNotSent);
        case Outcome::kNotAnswered:
            return isVerify ? FailVerify(kVerifyNotAnswered, kBurnNotAnswered, offset)
                            : Fail(kBurnNotAnswered);
        case Outcome::kAnswered: break;
    }
    const bool differs = isVerify && std::memcmp(reply + plan_.replyDataOffset, data, count) != 0;
    return differs ? FailVerify(kVerifyDiffers, kBurnDiffers, offset) : kBurnDone;
}

int CBurn::RunPass(BurnStage_E stage, const BurnPass& pass, std::span<const BurnRange> ranges) const
{
    for (const BurnRange& range : ranges) {
        const std::uint32_t size = range.last - range.first;
        for (std::uint32_t offset = 0; offset < size;
             offset += static_cast<std::uint32_t>(pass.stepBytes)) {
            const int result = BurnStep(stage, pass, range, offset);
            if (result != kBurnDone) return result;
            CLongCall::LetOthersIn();
        }
    }
    return Tell(stage, kPercent) ? kBurnCancelled : kBurnDone;
}

int CBurn::BurnRanges(std::span<const BurnRange> ranges) const
{
    int result = RunPass(BURN_ERASE, plan_.erase, ranges);
    if (result == kBurnDone) result = RunPass(BURN_WRITE, plan_.write, ranges);
    if (result == kBurnDone) result = RunPass(BURN_VERIFY, plan_.verify, ranges);
    return result;
}

int CBurn::Reconnect(CPortHold& port) const
{
    if (!port.Reopen()) return Fail(kBurnNotFound);
    return End(kPercent, kBurnDone);
}

int BurnImage(const BurnPlan& plan, const ImageBytes* image, VRAXBurnCallback callback,
              int (*burn)(const CBurn& burn, CPortHold& port))
{
    const CBurn theBurn(plan,
                        image != nullptr ? std::span(*image) : std::span<const std::uint8_t>(),
                        callback != nullptr ? callback : IgnoreProgress);
    if (g_bConnected == 0 || IsInsideLibrary()) return theBurn.Fail(kBurnNotConnected);
    if (image == nullptr) return theBurn.Fail(kBurnNoImage);
    CPortHold port;
    if (!port.IsGranted()) return theBurn.Fail(kBurnNotConnected);
    const CLongCall call;
    return burn(theBurn, port);
}
