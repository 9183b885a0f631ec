// What this process holds: the library, the instrument, and the little that drives them.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <fstream>
#include <string>

#include "support/Descriptors.h"

namespace soak {

struct Resources {
    long residentKb = 0;
    long privateKb = 0;  // of it, without what files hold
    std::ptrdiff_t descriptors = CountDescriptors() - 1;
    std::ptrdiff_t threads = 0;

    Resources()
    {
        std::ifstream status("/proc/self/status");
        for (std::string word; status >> word;) {
            if (word == "VmRSS:") status >> residentKb;
            if (word == "RssAnon:") status >> privateKb;
            if (word == "Threads:") status >> threads;
        }
    }
};

}  // namespace soak
