// The text format of recordings: sample rate, number of samples, number of channels, names, then a
// line of millivolts for each sample, separated by commas.
//
// Lines have at most 127 characters, a longer one goes on as the next; what follows a NUL in a line
// does not count.
#pragma once

#include <cstdio>

// Replaces the record by one channel of a text file. Returns the number of samples; -1 when the
// file cannot be opened, -2 for the rate, -3 for the number of samples, -4 for that of channels, -5
// without names, -6 without memory, -7 for a channel that is not there. The record before is gone
// from -6 on, and with a line that lacks the channel, which leaves -7 as the size of no samples.
int LoadEcgText(const char* path, int channel);

// The number of channels, and copies of the first 128 names from malloc; the codes of LoadEcgText
// up to -5, and -4 for a negative number too. The file's rate becomes that of the record.
int ReadEcgTextNames(const char* path, char** names);

// The same from an open file. `staysOpen` is set where the caller is not to close it: after a rate
// out of range, a header that lacks the channel, and the names.
int LoadEcgText(std::FILE* file, int channel, bool& staysOpen);
int ReadEcgTextNames(std::FILE* file, char** names, bool& staysOpen);
