// WFDB records for tests: the codes of all signals, frame after frame, as a signal file.
#pragma once

#include <fstream>
#include <string>
#include <vector>

// Two codes of 12 bits in three bytes; the second half of the last pair of an odd number is 0.
inline std::string PackFormat212(const std::vector<int>& codes)
{
    std::string bytes;
    for (std::size_t i = 0; i < codes.size(); i += 2) {
        const int first = codes[i] & 0xFFF;
        const int second = (i + 1 < codes.size() ? codes[i + 1] : 0) & 0xFFF;
        bytes += static_cast<char>(first & 0xFF);
        bytes += static_cast<char>((second >> 8) << 4 | first >> 8);
        bytes += static_cast<char>(second & 0xFF);
    }
    return bytes;
}

inline std::string PackFormat16(const std::vector<int>& codes)
{
    std::string bytes;
    for (const int code : codes) {
        bytes += static_cast<char>(code & 0xFF);
        bytes += static_cast<char>((code >> 8) & 0xFF);
    }
    return bytes;
}

// A header of `signals` equal signal lines.
inline std::string WfdbHeaderText(int signals, int samples, const std::string& format,
                                  const std::string& gain = "200", int offset = 0)
{
    std::string text = "rec " + std::to_string(signals) + " 360 " + std::to_string(samples) + "\n";
    for (int i = 0; i < signals; ++i) {
        text += "rec.dat " + format + " " + gain + " 12 " + std::to_string(offset) + " 0 0 0 S" +
                std::to_string(i) + "\n";
    }
    return text;
}
