// Calibration tables that differ from each other, and a way to look at the one in use.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "storage/Calibration.h"
#include "support/Frames.h"
#include "support/TempDir.h"

using CalibrationWords = std::vector<std::uint16_t>;

// No word is 255 or 65535: word i is start + 8 i.
inline CalibrationWords RisingTable(unsigned start)
{
    CalibrationWords words;
    for (unsigned i = 0; i < 4001; ++i) words.push_back(static_cast<std::uint16_t>(start + 8 * i));
    return words;
}

// Zero, then 65535 codes over 2000 mV, then full scale. 32.7675 codes are 131070 / 4000.
inline CalibrationWords DefaultTable()
{
    CalibrationWords words(4001, 0);
    for (unsigned i = 1000; i <= 3000; ++i) {
        words[i] = static_cast<std::uint16_t>((i - 1000) * 131070u / 4000u);
    }
    for (unsigned i = 3001; i <= 4000; ++i) words[i] = 65535;
    return words;
}

inline CalibrationWords TableInUse()
{
    return {std::begin(g_ECGDCVariableCalibrationData), std::end(g_ECGDCVariableCalibrationData)};
}

inline void UseTable(const CalibrationWords& words)
{
    for (std::size_t i = 0; i < words.size(); ++i) g_ECGDCVariableCalibrationData[i] = words[i];
}

inline Bytes LittleEndian(const CalibrationWords& words)
{
    Bytes bytes;
    for (const std::uint16_t word : words) {
        bytes.push_back(static_cast<std::uint8_t>(word));
        bytes.push_back(static_cast<std::uint8_t>(word >> 8));
    }
    return bytes;
}

inline Bytes BigEndian(const CalibrationWords& words)
{
    Bytes bytes;
    for (const std::uint16_t word : words) {
        bytes.push_back(static_cast<std::uint8_t>(word >> 8));
        bytes.push_back(static_cast<std::uint8_t>(word));
    }
    return bytes;
}

// A folder of the test's own as the place of the calibration file.
class CCalibrationFolder {
public:
    CCalibrationFolder() { SetCalibrationDataPath(Prefix().c_str()); }
    ~CCalibrationFolder() { SetCalibrationDataPath(nullptr); }
    CCalibrationFolder(const CCalibrationFolder&) = delete;
    CCalibrationFolder& operator=(const CCalibrationFolder&) = delete;

    std::string Prefix() const { return folder_.Path() + "/"; }
    std::string FilePath() const { return folder_.File("calibration.dat"); }
    bool HasFile() const { return std::filesystem::exists(FilePath()); }
    Bytes FileBytes() const
    {
        const std::string text = ReadWholeFile(FilePath());
        return {text.begin(), text.end()};
    }
    void WriteFile(const Bytes& bytes) const
    {
        std::ofstream file(FilePath(), std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        EXPECT_TRUE(file.good());
    }

private:
    TempDir folder_;
};
