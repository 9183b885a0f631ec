// The two formats of AHA recordings, two channels at 250 Hz in units of 1/400 mV: text (".txt"), a
// line of at least two fields for each sample, and binary (".ecg"), five bytes for each sample, a
// little-endian 16-bit value for each channel and one byte that is not looked at.
#pragma once

// Replaces the record by one channel of a file, told apart by the last four characters of its path.
// Returns the number of samples; -1 for a path that is null, shorter than four characters or has
// another extension, -2 for a file that cannot be read, -3 for a channel other than 0 and 1, -4
// without samples, -5 without memory. The record before is gone with -4 and -5.
int LoadEcgAha(const char* path, int channel);
