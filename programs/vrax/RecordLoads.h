// What the library's loaders make of a recording, channel by channel: they are called.
#pragma once

#include <cstdint>
#include <string>

#include "RecordKind.h"

namespace vrax {

struct RecordLoad {
    std::string call;     // as it was made
    int code = 0;         // what it returned
    std::string meaning;  // of the code, in words
    bool isTaken = false;
    bool isAnnotations = false;  // a signal of an EDF+ file that is none

    // Of what is loaded now; zeros where nothing is.
    std::int64_t samples = 0;
    double rate = 0.0;
    double seconds = 0.0;
    double lowest = 0.0;  // mV
    double highest = 0.0;
    // Samples at 20 mV or more. The loader holds them there, or for formats that it takes as they
    // are, the output holds those above 20.48 mV.
    bool isHeld = false;
    std::int64_t atLimit = 0;
    std::int64_t firstAtLimit = -1;
};

constexpr double kRecordLimitMv = 20.0;   // the loaders'
constexpr double kOutputLimitMv = 20.48;  // the instrument's

// Loads one channel, which replaces the record that the library has. `rate` is the header's with
// its fraction, 0 where it has none.
RecordLoad LoadChannel(const Record& record, int channel, const std::string& name, double rate);

// Loads an image of one of the instrument's programs.
RecordLoad LoadImage(const Record& record);

}  // namespace vrax
