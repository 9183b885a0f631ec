// Recordings as files for tests: writers of the text, binary and AHA formats, and what a loader
// left behind.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "sources/RawArray.h"
#include "support/TempDir.h"
#include "vrax.h"

// The parts of a text recording, each as it stands in the file, so that a test changes the one that
// it is about.
struct TextRecord {
    std::string rate = "360";
    std::string count = "3";
    std::string channels = "2";
    std::string names = "I,II";
    std::vector<std::string> lines = {"0.5,-1.25", "1,2", "-0.3,19.5"};
    std::string lineEnd = "\n";

    std::string Header() const
    {
        return rate + lineEnd + count + lineEnd + channels + lineEnd + names + lineEnd;
    }
    std::string Text() const
    {
        std::string text = Header();
        for (const std::string& line : lines) text += line + lineEnd;
        return text;
    }
};

// The lowest bytes of a number, high byte first.
inline std::string BigEndian(std::uint64_t value, int bytes)
{
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
        text += static_cast<char>(value >> shift & 0xFF);
    }
    return text;
}

struct BinaryRecord {
    unsigned rate = 500;
    std::uint64_t count = 4;
    std::vector<int> microvolts = {0, 1000, -1, 12345};

    std::string Bytes() const
    {
        std::string bytes = BigEndian(rate, 2) + BigEndian(count, 4);
        for (const int value : microvolts) bytes += BigEndian(static_cast<std::uint64_t>(value), 2);
        return bytes;
    }
};

// One group of an AHA binary file, the fifth byte set to something that does not belong.
inline std::string AhaGroup(int first, int second)
{
    std::string bytes;
    for (const int value : {first, second}) {
        bytes += static_cast<char>(value & 0xFF);
        bytes += static_cast<char>(value >> 8 & 0xFF);
    }
    return bytes + '\x5A';
}

class RecordFiles : public testing::Test {
protected:
    std::string Write(const std::string& name, const std::string& bytes) const
    {
        const std::string path = dir_.File(name);
        std::ofstream file(path, std::ios::binary);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return path;
    }

    // A record of the application's, of 3 samples at 77 Hz.
    static void HandOver()
    {
        const double samples[] = {7.0, 8.0, 9.0};
        ASSERT_EQ(SetRawArray(3, samples, 77), 0);
        ECGFileUnitMV = 0;
    }
    static bool HoldsWhatWasHandedOver()
    {
        return Record() == std::vector<double>{7.0, 8.0, 9.0} && g_nECGRawSampleRate == 77.0 &&
               ECGFileUnitMV == 0;
    }

    static std::vector<double> Record()
    {
        const double* samples = g_pECGRawData;
        if (samples == nullptr) return {};
        return {samples, samples + g_nECGRawSize};
    }
    static bool IsEmpty() { return g_pECGRawData == nullptr; }

    TempDir dir_;
};
