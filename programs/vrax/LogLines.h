// The lines of an API log and the calls that they stand for.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vrax {

using LogValue = std::variant<bool, double>;

struct LoggedFunction;

// A call that can be made.
struct LogCall {
    int line = 0;  // of the file, from 1
    std::string text;
    const LoggedFunction* function = nullptr;
    std::vector<LogValue> values = {};
};

struct LoggedFunction {
    const char* name;        // as a log has it
    const char* parameters;  // a letter each: b for a bool, i for an int, d for a double
    int (*call)(const std::vector<LogValue>& values);
    bool isOneDone = false;  // returns 1, not 0, when it has done it
    bool isCount = false;    // returns a number above 0 when it has done it
};

// Every function that the library logs; a few by the name of the call as well.
const std::vector<LoggedFunction>& LoggedFunctions();

// What a line says. Throws Failure without the line's number: no call, an unknown one, or other
// arguments than it takes.
LogCall ReadLogLine(std::string_view text);

// Makes the call; its result and whether that means done.
struct LogResult {
    int code;
    bool isDone;
};
LogResult MakeLogCall(const LogCall& call);

}  // namespace vrax
