#include "tools/tables/Record.h"

#include <cmath>
#include <cstddef>
#include <utility>

#include "tools/tables/TextFile.h"

namespace {
constexpr double kDefaultUnitsPerMv = 200.0;  // what a gain of 0 stands for
constexpr double kMicrovoltsPerMv = 1000.0;
constexpr int kMaxSignals = 64;
constexpr std::size_t kMaxFrames = 100'000'000;

struct SignalLine {
    std::string file;
    int format;
    double unitsPerMv;
    int zero;
    std::int32_t firstValue;
    std::int32_t checksum;
};

struct Header {
    std::string name;
    double rate;
    std::size_t frames;
    std::vector<SignalLine> signals;
};

SignalLine ReadSignalLine(const TextLine& line)
{
    SignalLine signal{line.Word(0),    line.Integer(1), line.Number(2),
                      line.Integer(4), line.Integer(5), line.Integer(6)};
    if (signal.format != 16 && signal.format != 212) line.Fail("the format is not 16 or 212");
    if (!(signal.unitsPerMv >= 0.0) || !std::isfinite(signal.unitsPerMv)) {
        line.Fail("the gain is not usable");
    }
    if (signal.unitsPerMv == 0.0) signal.unitsPerMv = kDefaultUnitsPerMv;
    return signal;
}

Header ReadHeader(const std::filesystem::path& file)
{
    const std::vector<TextLine> lines = ReadTextFile(file);
    if (lines.empty()) throw TableError(file.string() + ": holds no record line");
    const TextLine& first = lines.front();
    const int signals = first.Integer(1);
    const int frames = first.Integer(3);
    if (signals < 1 || signals > kMaxSignals) first.Fail("the number of signals is out of range");
    if (frames < 1) first.Fail("the number of samples is out of range");
    Header header{first.Word(0), first.Number(2), static_cast<std::size_t>(frames), {}};
    if (header.frames > kMaxFrames) first.Fail("the number of samples is out of range");
    if (lines.size() - 1 < static_cast<std::size_t>(signals)) {
        throw TableError(file.string() + ": a signal line is missing");
    }
    for (std::size_t i = 1; i <= static_cast<std::size_t>(signals); ++i) {
        header.signals.push_back(ReadSignalLine(lines[i]));
        const SignalLine& signal = header.signals.back();
        if (signal.file != header.signals[0].file || signal.format != header.signals[0].format) {
            lines[i].Fail("all signals must stand in one file and one format");
        }
    }
    return header;
}

int Byte(const std::string& bytes, std::size_t index)
{
    return static_cast<unsigned char>(bytes[index]);
}

// Two bytes a value, the low one first.
std::int16_t Value16(const std::string& bytes, std::size_t index)
{
    return static_cast<std::int16_t>(Byte(bytes, 2 * index) | Byte(bytes, 2 * index + 1) << 8);
}

// Three bytes for two values of 12 bits: the middle one holds the high bits of both.
std::int16_t Value212(const std::string& bytes, std::size_t index)
{
    const std::size_t group = index / 2 * 3;
    const int high = Byte(bytes, group + 1);
    const int value = index % 2 == 0 ? Byte(bytes, group) | (high & 0x0f) << 8
                                     : Byte(bytes, group + 2) | (high & 0xf0) << 4;
    return static_cast<std::int16_t>(value >= 0x800 ? value - 0x1000 : value);
}

std::size_t FileBytes(const Header& header)
{
    const std::size_t values = header.frames * header.signals.size();
    return header.signals[0].format == 16 ? 2 * values : (3 * values + 1) / 2;
}

void CheckSignal(const SignalLine& line, const RecordSignal& signal, const std::string& file)
{
    if (signal.values.front() != line.firstValue) {
        throw TableError(file + ": the first value is not the header's");
    }
    std::uint32_t sum = 0;
    for (const std::int16_t value : signal.values) sum += static_cast<std::uint32_t>(value);
    if (((sum ^ static_cast<std::uint32_t>(line.checksum)) & 0xffff) != 0) {
        throw TableError(file + ": the checksum is not the header's");
    }
}
}  // namespace

Record ReadRecord(const std::filesystem::path& headerFile)
{
    const Header header = ReadHeader(headerFile);
    const std::filesystem::path file = headerFile.parent_path() / header.signals[0].file;
    const std::string bytes = ReadBytes(file);
    if (bytes.size() != FileBytes(header)) {
        throw TableError(file.string() + ": has " + std::to_string(bytes.size()) +
                         " bytes, the header promises " + std::to_string(FileBytes(header)));
    }
    Record record{header.name, header.rate, {}};
    const std::size_t signals = header.signals.size();
    for (std::size_t s = 0; s < signals; ++s) {
        const SignalLine& line = header.signals[s];
        RecordSignal signal{line.unitsPerMv, line.zero, {}};
        signal.values.reserve(header.frames);
        for (std::size_t frame = 0; frame < header.frames; ++frame) {
            const std::size_t index = frame * signals + s;
            signal.values.push_back(line.format == 16 ? Value16(bytes, index)
                                                      : Value212(bytes, index));
        }
        CheckSignal(line, signal, file.string());
        record.signals.push_back(std::move(signal));
    }
    return record;
}

std::vector<std::int32_t> Microvolts(const RecordSignal& signal)
{
    std::vector<std::int32_t> microvolts;
    microvolts.reserve(signal.values.size());
    for (const std::int16_t value : signal.values) {
        const double scaled =
            (static_cast<double>(value) - signal.zero) * kMicrovoltsPerMv / signal.unitsPerMv;
        microvolts.push_back(static_cast<std::int32_t>(std::lround(scaled)));
    }
    return microvolts;
}
