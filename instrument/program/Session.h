// One run of the program: the instrument, its files, its control lines and its child.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "instrument/CsvFile.h"
#include "instrument/SimulatedInstrument.h"
#include "instrument/TraceFile.h"
#include "instrument/program/Child.h"
#include "instrument/program/CommandLine.h"

namespace instrument {

class Session {
public:
    // Forks the child, so it comes before any thread. Throws std::runtime_error.
    explicit Session(const CommandLine& line);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // The exit status.
    int Run();

private:
    void OpenControl();
    void OpenFiles();
    void LoadFlash();
    void SaveFlash();
    void WaitForEvents();
    void TakeSignal();
    void TakeLines(int descriptor, std::string& rest, std::FILE* answers);
    void EndFiles();
    int Finish();

    CommandLine line_;
    int signals_ = -1;
    int control_ = -1;
    bool madeControl_ = false;
    bool readsInput_ = false;
    std::string inputRest_;
    std::string controlRest_;
    std::unique_ptr<Child> child_;
    std::optional<CsvFile> csv_;
    std::optional<TraceFile> trace_;
    std::unique_ptr<SimulatedInstrument> instrument_;
    std::uint64_t savedGeneration_ = 0;
    bool isOver_ = false;
    int status_ = 0;  // of the child
    bool isWritten_ = true;
};

}  // namespace instrument
