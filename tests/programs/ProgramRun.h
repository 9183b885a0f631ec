// The program vrax, run to its end, and what it said.
#pragma once

#include <cstdlib>
#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

#include "support/Command.h"
#include "support/TempDir.h"

struct ProgramOutcome {
    int status = -1;
    std::string output;  // standard output
    std::string errors;  // standard error
};

// A shell command line with both streams apart; standard input is empty and no terminal.
inline ProgramOutcome RunApart(const std::string& command)
{
    const TempDir folder;
    const std::string output = folder.File("output");
    const std::string errors = folder.File("errors");
    const int status =
        std::system(("exec </dev/null >" + output + " 2>" + errors + "\n" + command).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadWholeFile(output),
            ReadWholeFile(errors)};
}

inline ProgramOutcome RunVrax(const std::string& arguments)
{
    return RunApart(VRAX_PROGRAM " " + arguments);
}

// On a terminal, where `keys` are typed; both streams are then one.
inline CommandOutcome RunVraxOnTerminal(const std::string& arguments, const std::string& keys)
{
    return RunCommand("printf '" + keys + "' | script -qec '" VRAX_PROGRAM " " + arguments +
                      "' /dev/null");
}

// The one object on standard output; null when it is anything else.
inline nlohmann::json JsonOf(const ProgramOutcome& outcome)
{
    return nlohmann::json::parse(outcome.output, nullptr, false).is_discarded()
               ? nlohmann::json()
               : nlohmann::json::parse(outcome.output);
}

inline bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}
