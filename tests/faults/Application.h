// An application in one of the states, and the instrument that it has.
#pragma once

#include <memory>
#include <string>

#include "Table.h"
#include "support/LinkHost.h"

namespace faults {

// What is fitted for a row in a state.
instrument::Options OptionsFor(const Row& row, State state);

// On port 0. Every function that can fail says what is wrong; the empty text is well.
class CApplication {
public:
    CApplication(const Row& row, State state);
    ~CApplication();
    CApplication(const CApplication&) = delete;
    CApplication& operator=(const CApplication&) = delete;

    instrument::SimulatedInstrument& Instrument() { return instrument_; }

    // Into the state, from wherever the last cell has left it.
    std::string Enter();
    // What a cell has left behind is not the next one's.
    void StartAnew();
    // After a hang-up: the port was given up.
    std::string ExpectGone();
    // Plugged in again, and found; what played goes on.
    std::string ComeBack();
    // A command gets the right answer, and the streams go on.
    std::string ExpectSound();

private:
    std::string Connect();
    std::string Adopt();
    void GiveBack();
    bool IsIdentified() const;
    std::string Play();
    std::string Sample();
    std::string ExpectStream();

    const State state_;
    const bool hasModule_;
    instrument::SimulatedInstrument instrument_;
    CHost host_;     // freed before the instrument goes
    int file_ = -1;  // the adopted port
    std::uint8_t voltage_ = 0;
};

}  // namespace faults
