// The options with which play, render and plot describe a signal: one for each parameter.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "Parameters.h"
#include "Program.h"
#include "Signals.h"

namespace vrax {

// As it stands on the command line.
struct SignalOptions {
    std::string name;
    std::string kind;  // of a file; empty to find out
    std::vector<int> channels;
    std::vector<std::pair<std::string, std::string>> given;  // parameter, text
    std::vector<std::string> sets;                           // NAME=VALUE
    bool isListWanted = false;
};

struct SignalRequest {
    Signal signal;
    Values values;
    std::vector<int> channels = {0};
    std::vector<std::string> remarks = {};  // what will not play as it was asked

    // "ecg, amplitude 2 mV, rate 75 1/min"
    std::string Title() const;
};

// `options` is filled when the command line is read, and must live until then.
void AddSignalOptions(CLI::App& command, SignalOptions& options);

// Throws Failure with the range where something does not fit.
SignalRequest ReadRequest(const SignalOptions& options);

// Prints the built-in signals; in JSON mode as an array.
void ListSignals(Program& program);

// Prints the remarks on standard error.
void TellRemarks(const SignalRequest& request);

// The files that are played; empty for a built-in signal.
std::vector<std::string> SourcesOf(const Signal& signal);

}  // namespace vrax
