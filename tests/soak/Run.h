// A soak run: an application that changes parameters, asks the instrument and restarts its signal at
// random, and an instrument that is unplugged and plugged in again at random.
#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include "Actions.h"
#include "Departures.h"
#include "Disturbance.h"
#include "Durations.h"
#include "LineHoldUp.h"
#include "Resources.h"
#include "Scenario.h"
#include "StreamWatch.h"

namespace soak {

struct Figures {
    explicit Figures(std::size_t mostCommands) : commands(mostCommands) {}

    CDurations commands;  // undisturbed ones
    std::size_t disturbedCommands = 0;
    std::size_t heldUpCommands = 0;  // failed because the machine made a reply late
    double longestDisturbedMs = 0;
    std::size_t changes = 0;
    std::size_t restarts = 0;
    std::size_t replugs = 0;
    double longestReplugMs = 0;  // from the plug to the first packet
    double longestHoldUpMs = 0;
};

class CRun {
public:
    explicit CRun(const Scenario& scenario);

    // `onTenth` is told the number of the tenth that has been played; 0 is the start.
    void Play(const std::function<void(int tenth, const Resources&)>& onTenth);

    const Figures& GetFigures() const { return figures_; }
    Figures& GetFigures() { return figures_; }
    instrument::StreamStatistics Stream() const { return instrument_.Statistics(); }
    std::size_t Refusals() const { return instrument_.RefusalCount(); }
    double LongestGapMs() const { return watch_.LongestMs(); }
    const CDepartures& Departures() const { return departures_; }

private:
    Generator Seeded(unsigned part) const;
    // False when the run is over first.
    bool LetPlay(std::size_t packets);
    bool LetPlayAbout(double seconds, Generator& random);
    bool WaitUntilOver(std::uint64_t samples);
    Resources MeasureAtRest();

    void Change();
    void Command();
    void CommandOnce(Generator& random);
    void Restart();
    void Replug();
    void ReplugOnce(Generator& random);
    void CheckEnd();

    const Scenario scenario_;
    CDepartures departures_;
    CStreamWatch watch_;
    CDisturbances disturbances_;
    Figures figures_;
    CLineHoldUp holdUp_;
    std::mutex plug_;    // held while the plug is out
    std::mutex signal_;  // held while the signal is off
    std::atomic<bool> isOver_{false};
    instrument::SimulatedInstrument instrument_;
};

}  // namespace soak
