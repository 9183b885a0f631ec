// The public records that tables are compared with, decoded here a second time. They are looked for
// in the folder that VRAX_REFERENCE_DATA names, else where the build was told that they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/TempDir.h"

using RecordSamples = std::vector<std::int32_t>;  // uV; empty where the record is not at hand

inline std::string PublicRecordsFolder()
{
    const char* folder = std::getenv("VRAX_REFERENCE_DATA");
    return folder != nullptr ? folder : VRAX_REFERENCE_DATA_DIR;
}

// An EC13 record: two bytes a sample, the low one first, 2048 for 0 mV. In integers: the quotient
// is rounded by adding half the divisor with the sign of the dividend.
inline RecordSamples PublicEc13Record(const std::string& name, int unitsPerMv)
{
    const std::string bytes = ReadWholeFile(PublicRecordsFolder() + "/aami-ec13/" + name + ".dat");
    RecordSamples samples;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const int value =
            static_cast<unsigned char>(bytes[i]) + 256 * static_cast<signed char>(bytes[i + 1]);
        const int doubled = 2 * 1000 * (value - 2048);
        samples.push_back((doubled + (doubled < 0 ? -unitsPerMv : unitsPerMv)) / (2 * unitsPerMv));
    }
    return samples;
}

// The first signal of a noise record: of each three bytes the first and the low half of the second,
// 12 bits with a sign, 5 uV a unit.
inline RecordSamples PublicNoiseRecord(const std::string& name)
{
    const std::string bytes = ReadWholeFile(PublicRecordsFolder() + "/nstdb/" + name + ".dat");
    RecordSamples samples;
    for (std::size_t i = 0; i + 2 < bytes.size(); i += 3) {
        const int value = static_cast<unsigned char>(bytes[i]) + 256 * (bytes[i + 1] & 15);
        samples.push_back(5 * (value < 2048 ? value : value - 4096));
    }
    return samples;
}
