// The binary format of recordings, all of it big-endian: sample rate (16 bits), number of samples
// (32 bits), then a signed 16-bit word of microvolts for each sample.
#pragma once

// Replaces the record by a file. Returns the number of samples that the file holds, up to the one
// announced; -1 when it cannot be opened, -2 for the rate, -3 for the number of samples, -4 without
// memory. The record before is gone with -4.
int LoadEcgBinary(const char* path);
