#include "BurnProgress.h"

#include <cstdio>
#include <future>

#include <fmt/format.h>

#include "Interruption.h"
#include "vrax.h"

namespace vrax {

namespace {

constexpr int kBarWidth = 30;
constexpr int kGoOn = 0;
constexpr int kCancel = 1;

BurnProgress* s_burning = nullptr;  // the callback has no argument of its own

// Not fmt::print(), which throws when nobody reads any more: this is called from the library.
void Put(const std::string& text)
{
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

}  // namespace

BurnProgress::BurnProgress(const Program& program, ImageKind kind, std::size_t imageBytes)
    : kind_(kind),
      estimate_(kind, imageBytes),
      isBar_(Program::IsTerminal(stderr) && !program.IsJson()),
      isLines_(!isBar_ && !program.IsJson())
{}

const char* BurnProgress::NameOfStage(int stage)
{
    switch (stage) {
        case BURN_ERASE: return "erasing";
        case BURN_WRITE: return "writing";
        case BURN_VERIFY: return "verifying";
        case BURN_RESTART: return "restarting";
        case BURN_RECONNECT: return "searching";
        default: return "preparing";
    }
}

int BurnProgress::OnStep(int stage, int value) { return s_burning->Step(stage, value); }

int BurnProgress::Burn()
{
    const Interruption interruption;
    s_burning = this;
    stageStart_ = Clock::now();
    // On a thread of its own: the main thread takes the signals, so that none breaks off an exchange
    // with the instrument.
    std::future<int> burn = std::async(std::launch::async, [this] {
        return kind_ == ImageKind::Fpga ? BurnFirmware(OnStep) : BurnMcu(OnStep);
    });
    const int result = burn.get();
    s_burning = nullptr;
    if (isBar_) Put("\r\x1b[K");
    return result;
}

int BurnProgress::Step(int stage, int percent)
{
    if (stage >= BURN_FINISHED) return kGoOn;
    if (stage != stage_) {
        stage_ = stage;
        stageStart_ = Clock::now();
        if (isLines_) Put(fmt::format("{}\n", NameOfStage(stage)));
    }
    if (isBar_) Show(percent);
    if (stage <= BURN_VERIFY && Interruption::IsAsked()) return kCancel;
    hasTouched_ = true;  // the sector that this call announces is erased now
    return kGoOn;
}

void BurnProgress::Show(int percent)
{
    const double seconds = std::chrono::duration<double>(Clock::now() - stageStart_).count();
    const int left = static_cast<int>(estimate_.SecondsLeft(stage_, percent, seconds) + 0.5);
    const int filled = kBarWidth * percent / 100;
    std::string text =
        fmt::format("\r\x1b[K{:<10} [{:#<{}}{:-<{}}] {:>3} %, {}:{:02} left", NameOfStage(stage_),
                    "", filled, "", kBarWidth - filled, percent, left / 60, left % 60);
    if (stage_ > BURN_VERIFY && Interruption::IsAsked()) text += "; too late to cancel";
    if (text == shown_) return;
    shown_ = text;
    Put(text);
}

}  // namespace vrax
