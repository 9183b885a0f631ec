// The log of API calls: one line a call, written as the call itself would be.
#pragma once

// Appends the formatted text and a newline, in one write, while logging is on. Numbers are printed
// with a point whatever the locale. A file that cannot be opened drops the line.
void _outputLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

inline const char* BoolText(bool value) { return value ? "true" : "false"; }
