#include "CalibrationTable.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

#include <fmt/format.h>

#include "Failure.h"
#include "vrax.h"

namespace vrax {

namespace {

constexpr char kFileName[] = "calibration.dat";

// Programmed in every calibrated instrument; see ValidateDCCalibrationData().
constexpr int kNeededMv = 500;
// A file with this code in its middle half is refused; see LoadCalibrationData().
constexpr std::uint16_t kRefusedCode = 255;
constexpr std::size_t kRefusedFirst = 1000;
constexpr std::size_t kRefusedLast = 2999;

std::size_t IndexOf(int mv) { return static_cast<std::size_t>(mv - kCalibrationFirstMv); }
int MvOf(std::size_t index) { return static_cast<int>(index) + kCalibrationFirstMv; }

// Empty and of this process alone; removed with what is in it.
class PrivateDirectory {
public:
    PrivateDirectory()
    {
        std::string path = (std::filesystem::temp_directory_path() / "vrax-XXXXXX").string();
        if (mkdtemp(path.data()) == nullptr) {
            throw Failure("no temporary directory can be made", "set TMPDIR to one with room");
        }
        path_ = path + "/";
    }
    ~PrivateDirectory()
    {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    PrivateDirectory(const PrivateDirectory&) = delete;
    PrivateDirectory& operator=(const PrivateDirectory&) = delete;
    const std::string& Path() const { return path_; }

private:
    std::string path_;
};

}  // namespace

const char* NameOf(CalibrationSource source)
{
    switch (source) {
        case CalibrationSource::File: return "file";
        case CalibrationSource::Instrument: return "instrument";
        case CalibrationSource::StraightLine: break;
    }
    return "straight line";
}

std::string FindFault(const CalibrationTable& table)
{
    for (std::size_t i = IndexOf(-kNeededMv); i <= IndexOf(kNeededMv); ++i) {
        if (table[i] != kNeverProgrammed) continue;
        return fmt::format("has no code for {} mV, and all from -{} to {} mV are needed", MvOf(i),
                           kNeededMv, kNeededMv);
    }
    return "";
}

std::string FindFileFault(const CalibrationTable& table)
{
    for (std::size_t i = kRefusedFirst; i <= kRefusedLast; ++i) {
        if (table[i] != kRefusedCode) continue;
        return fmt::format("has the code {} for {} mV, with which applications refuse its file",
                           kRefusedCode, MvOf(i));
    }
    return "";
}

CalibrationTable ReadCalibrationFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw Failure(fmt::format("{} cannot be opened", path), "check the name");
    std::vector<char> bytes(kCalibrationFileBytes + 1);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (file.gcount() != static_cast<std::streamsize>(kCalibrationFileBytes)) {
        throw Failure(fmt::format("{} is no calibration file: it has not {} bytes", path,
                                  kCalibrationFileBytes),
                      "take one that `vrax calibration save` has written");
    }
    CalibrationTable table = {};
    for (std::size_t i = 0; i < table.size(); ++i) {
        const unsigned low = static_cast<unsigned char>(bytes[2 * i]);
        const unsigned high = static_cast<unsigned char>(bytes[2 * i + 1]);
        table[i] = static_cast<std::uint16_t>(high << 8 | low);
    }
    return table;
}

CalibrationTable CurrentCalibration()
{
    const PrivateDirectory directory;
    if (SaveCalibrationData(directory.Path().c_str()) != 0) {
        throw Failure(fmt::format("{} cannot be written", directory.Path() + kFileName),
                      "set TMPDIR to a directory with room");
    }
    return ReadCalibrationFile(directory.Path() + kFileName);
}

double LevelOfCode(const CalibrationTable& table, int code)
{
    if (code <= table.front()) return MvOf(0);
    for (std::size_t i = 1; i < table.size(); ++i) {
        if (code > table[i]) continue;
        const double step = table[i] - table[i - 1];
        return MvOf(i) - (table[i] - code) / step;
    }
    return MvOf(table.size() - 1);
}

CalibrationSource FindCalibrationSource(bool hasFile)
{
    if (hasFile) return CalibrationSource::File;
    const bool isCalibrated = ReadDCCalibrationData() && ValidateDCCalibrationData();
    return isCalibrated ? CalibrationSource::Instrument : CalibrationSource::StraightLine;
}

}  // namespace vrax
