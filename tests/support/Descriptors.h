// What this process has open, running, and in its lock directory.
#pragma once

#include <filesystem>
#include <iterator>

inline std::ptrdiff_t CountEntries(const char* directory)
{
    return std::distance(std::filesystem::directory_iterator(directory),
                         std::filesystem::directory_iterator());
}

// One more than there are, for the directory that is read; differences are what counts.
inline std::ptrdiff_t CountDescriptors() { return CountEntries("/proc/self/fd"); }
inline std::ptrdiff_t CountThreads() { return CountEntries("/proc/self/task"); }
