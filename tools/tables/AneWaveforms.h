// The nine leads of ANE20000: a likeness that has the published extremes, durations and levels.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

struct AneLead {
    std::string name;
    std::vector<std::int32_t> microvolts;  // one second at 1000 samples a second
};

// Leads I, II, III, V1 to V6, in this order; a TableError says what it refuses.
std::vector<AneLead> ReadAneLeads(const std::filesystem::path& file);
