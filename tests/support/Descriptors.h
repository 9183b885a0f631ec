// The open descriptors of this process.
#pragma once

#include <filesystem>
#include <iterator>

// One more than there are, for the directory that is read; differences are what counts.
inline std::ptrdiff_t CountDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}
