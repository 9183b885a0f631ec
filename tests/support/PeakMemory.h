// The most memory that this process has had resident since its start.
#pragma once

#include <fstream>
#include <string>

inline long PeakMemoryBytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        long kilobytes = 0;
        if (word == "VmHWM:" && status >> kilobytes) return kilobytes * 1024;
    }
    return 0;
}
