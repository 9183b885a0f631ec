// The options of vrax-instrument.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "instrument/SimulatedInstrument.h"

namespace instrument {

struct CommandLine {
    Options options;
    std::string recordPath;
    std::string tracePath;
    std::string flashPath;
    std::string controlPath;
    bool none = false;
    bool strict = false;
    bool summary = false;
    bool hasCommand = false;
    std::vector<std::string> command;
};

// Empty when the program ends here, with `status`: help was asked, or an option is wrong.
std::optional<CommandLine> ReadCommandLine(int argc, char** argv, int& status);

}  // namespace instrument
