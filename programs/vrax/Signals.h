// What a command is asked to play: a built-in signal by its name, or a file.
#pragma once

#include <string>
#include <vector>

#include "Parameters.h"
#include "RecordKind.h"

namespace vrax {

struct BuiltInSignal {
    const char* name;
    int function;  // an OutputFunction_E
    const char* help;
    // Selects the signal; returns 0 or the code of a refusal.
    int (*start)(const Values& values);
    double mostHz = 500.0;  // a higher frequency is cut to it, see VRAXSetFrequency()
};

const std::vector<BuiltInSignal>& BuiltInSignals();

// Either a built-in signal or a file.
struct Signal {
    const BuiltInSignal* builtIn = nullptr;
    Record record = {};

    // "ecg", "ecg.edf"
    std::string Name() const;
};

// `kind` is one of FormatWords(), or empty to find out. Throws Failure for a name that is no
// signal, and for a file that is no recording.
Signal FindSignal(const std::string& name, const std::string& kind);

// Makes a channel of the file the record that is played, or selects a lead of ane20000. Throws
// Failure with the reason.
void LoadRecord(const Signal& signal, int channel);

// Selects the signal. Throws Failure when it is refused.
void StartSignal(const Signal& signal, const Values& values);

}  // namespace vrax
