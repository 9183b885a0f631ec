// Runs a burn and shows how far it is; Ctrl-C cancels it.
#pragma once

#include <chrono>
#include <string>

#include "BurnEstimate.h"
#include "Program.h"

namespace vrax {

// What the callback of a burn does. A bar on a terminal, a line a stage elsewhere, nothing in JSON
// mode.
class BurnProgress {
public:
    BurnProgress(const Program& program, ImageKind kind, std::size_t imageBytes);

    // Burns the image that is loaded and returns the code of the library. One at a time.
    int Burn();

    // Whether anything in the flash has changed.
    bool HasTouched() const { return hasTouched_; }
    // Of the last callback before the end.
    int Stage() const { return stage_; }
    static const char* NameOfStage(int stage);

private:
    static int OnStep(int stage, int value);
    int Step(int stage, int percent);
    void Show(int percent);

    using Clock = std::chrono::steady_clock;
    ImageKind kind_;
    BurnEstimate estimate_;
    bool isBar_;
    bool isLines_;
    bool hasTouched_ = false;
    int stage_ = 0;
    Clock::time_point stageStart_;
    std::string shown_;
};

}  // namespace vrax
