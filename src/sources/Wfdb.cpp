#include "sources/Wfdb.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "platform/File.h"
#include "sources/ParseNumber.h"
#include "sources/SampleBuffer.h"
#include "sources/SampleFile.h"

namespace {
constexpr int kLineBytes = 256;  // with the terminator: a longer line goes on as the next one
constexpr int kFewestFields = 4;
constexpr int kInBrackets = 13;  // the column of what stands in brackets, whatever the field
constexpr double kDefaultGain = 200.0;

// Fixed columns of the record line (row 0) and of a signal's line.
constexpr int kSignalCount = 1;
constexpr int kSampleRate = 2;
constexpr int kSampleCount = 3;
constexpr int kFormat = 1;
constexpr int kGain = 2;
constexpr int kAdcOffset = 4;
constexpr int kName = 8;

// Single spaces separate, so consecutive ones make empty fields.
std::vector<std::string> SplitAtSpaces(const std::string& line)
{
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (std::size_t space; (space = line.find(' ', start)) != std::string::npos;) {
        fields.push_back(line.substr(start, space - start));
        start = space + 1;
    }
    fields.push_back(line.substr(start));
    return fields;
}

// Two samples of 12 bits in three bytes.
struct Format212 {
    static constexpr int kNumber = 212;
    static constexpr int kLargestPositive = 2047;
    static constexpr int kRange = 4096;
    static constexpr int kUnitBytes = 3;
    static constexpr int kUnitSamples = 2;

    static int Code(const std::uint8_t* unit, bool second)
    {
        return second ? unit[2] + ((unit[1] & 0xF0) << 4) : unit[0] + ((unit[1] & 0x0F) << 8);
    }
};

struct Format16 {
    static constexpr int kNumber = 16;
    static constexpr int kLargestPositive = 32767;
    static constexpr int kRange = 65536;
    static constexpr int kUnitBytes = 2;
    static constexpr int kUnitSamples = 1;

    static int Code(const std::uint8_t* unit, bool /*second*/) { return ReadLittle16(unit); }
};

// One channel's samples in the file: each `signals` samples on from `firstByte` has one of them.
struct ChannelPlace {
    std::int64_t signals;
    std::int64_t channel;
    std::int64_t firstByte;
    std::int64_t fileBytes;

    std::int64_t BytesThere() const { return std::max<std::int64_t>(fileBytes - firstByte, 0); }

    // How many samples of the channel are among the first `samples` of all signals.
    std::int64_t Among(std::int64_t samples) const
    {
        return samples > channel ? (samples - channel - 1) / signals + 1 : 0;
    }
};

// Those of the channel whose bytes are all there.
template <typename Format>
std::int64_t SamplesThere(const ChannelPlace& place)
{
    return place.Among(place.BytesThere() / Format::kUnitBytes * Format::kUnitSamples);
}

// Two's complement of as many values as there are codes.
template <typename Integer>
Integer Fold(Integer value, Integer largestPositive, Integer range)
{
    return value > largestPositive ? value - range : value;
}

// Physical values, and the extremes of them.
class Converter {
public:
    Converter(int largestPositive, int range, int adcOffset, double gain)
        : largestPositive_(largestPositive), range_(range), adcOffset_(adcOffset), gain_(gain)
    {}

    // The offset goes first and the sign is folded after it. Deliberate: codes near the ends of the
    // range come out otherwise with the order turned round.
    double operator()(int code)
    {
        const std::int64_t shifted = std::int64_t{code} - adcOffset_;
        const double value = static_cast<double>(Fold(shifted, largestPositive_, range_)) / gain_;
        seen_.maximum = value > seen_.maximum ? value : seen_.maximum;
        seen_.minimum = value < seen_.minimum ? value : seen_.minimum;
        return value;
    }

    const DatFile::Extremes& Seen() const { return seen_; }

private:
    std::int64_t largestPositive_;
    std::int64_t range_;
    std::int64_t adcOffset_;
    double gain_;
    DatFile::Extremes seen_;
};

// The bytes that a reader holds on to when the file has ended: its last whole unit, and over that
// what there is of one more.
template <typename Format>
std::array<std::uint8_t, Format::kUnitBytes> LastUnit(const ChannelPlace& place,
                                                      CBlockReader& reader)
{
    std::array<std::uint8_t, Format::kUnitBytes> unit{};
    const std::int64_t whole = place.BytesThere() / Format::kUnitBytes * Format::kUnitBytes;
    const std::int64_t rest = place.BytesThere() - whole;
    const auto take = [&](std::int64_t at, std::int64_t bytes) {
        const auto there = reader.From(place.firstByte + at, static_cast<std::size_t>(bytes));
        std::copy_n(there.begin(), bytes, unit.begin());
    };
    if (whole > 0) take(whole - Format::kUnitBytes, Format::kUnitBytes);
    if (rest > 0) take(whole, rest);
    return unit;
}

// The first `count` samples of the channel, all of them in the file. Works on a converter of its
// own, which nothing that is stored can change, so that it stays in registers.
template <typename Format>
Converter ReadHeld(const ChannelPlace& place, CBlockReader& reader, std::int64_t count,
                   Converter convert, double* samples)
{
    auto at = static_cast<std::uint64_t>(place.channel);  // counted over all signals
    const auto stride = static_cast<std::uint64_t>(place.signals);
    for (std::int64_t i = 0; i < count;) {
        const std::uint64_t unit = at / Format::kUnitSamples;
        const auto block =
            reader.From(place.firstByte + static_cast<std::int64_t>(unit) * Format::kUnitBytes,
                        static_cast<std::size_t>(Format::kUnitBytes));
        const std::uint64_t units = block.size() / Format::kUnitBytes;
        const std::int64_t here =
            std::min(place.Among(static_cast<std::int64_t>((unit + units) * Format::kUnitSamples)),
                     count);
        at -= unit * Format::kUnitSamples;  // within the block
        for (; i < here; ++i, at += stride) {
            const auto* bytes = block.data() + at / Format::kUnitSamples * Format::kUnitBytes;
            samples[i] = convert(Format::Code(bytes, at % Format::kUnitSamples != 0));
        }
        at += unit * Format::kUnitSamples;
    }
    return convert;
}

// Of an odd number of samples in format 212 the last is not read and stays 0.
template <typename Format>
void ReadSamples(std::FILE* file, const ChannelPlace& place, std::int64_t count, Converter& convert,
                 double* samples)
{
    constexpr std::int64_t kUnitSamples = Format::kUnitSamples;
    CBlockReader reader(file, place.signals * Format::kUnitBytes / kUnitSamples);
    const std::int64_t readable = place.Among(place.signals * count / kUnitSamples * kUnitSamples);
    const std::int64_t held = std::min(SamplesThere<Format>(place), readable);
    convert = ReadHeld<Format>(place, reader, held, convert, samples);
    if (held == readable) return;
    const auto last = LastUnit<Format>(place, reader);
    for (std::int64_t i = held; i < readable; ++i) {
        const std::int64_t at = place.channel + i * place.signals;
        samples[i] = convert(Format::Code(last.data(), at % kUnitSamples != 0));
    }
}
}  // namespace

bool HeaFile::OpenFile(const char* path)
{
    cells_ = {};
    const File file(OpenFileUtf8(path, "r"));
    if (file == nullptr) return false;
    if (ReadHeaderFileIntoArray(file.get()) >= 2) return true;
    cells_ = {};
    return false;
}

// The number of rows, 0 for a header that is refused.
int HeaFile::ReadHeaderFileIntoArray(std::FILE* file)
{
    int rows = 0;
    char buffer[kLineBytes];
    while (std::fgets(buffer, sizeof buffer, file) != nullptr) {
        const std::string_view text(buffer);
        const std::string line(text.substr(0, text.find_last_not_of("\r\n") + 1));
        if (line.empty() || line[0] == '#') continue;
        if (!StoreLine(rows, line)) return 0;
        // A table that is full refuses the header, even if this was its last line: deliberate.
        if (++rows == kRows) return 0;
    }
    return rows;
}

bool HeaFile::StoreLine(int row, const std::string& line)
{
    const auto fields = SplitAtSpaces(line);
    const auto count = static_cast<int>(fields.size());
    if (count < kFewestFields || count >= kColumns) return false;
    for (int i = 0; i < count; ++i) StoreField(row, i, fields[static_cast<std::size_t>(i)]);
    return true;
}

// The column of the brackets is a column like the others: on a line that has a field for it, the
// later of the two stays.
void HeaFile::StoreField(int row, int column, std::string field)
{
    auto& cells = cells_[static_cast<std::size_t>(row)];
    if (const auto slash = field.rfind('/'); slash != std::string::npos) field.resize(slash);
    if (const auto open = field.find('('); open != std::string::npos) {
        std::string inside = field.substr(open + 1);
        if (const auto close = inside.rfind(')'); close != std::string::npos) inside.resize(close);
        cells[kInBrackets] = std::move(inside);
        field.resize(open);
    }
    cells[static_cast<std::size_t>(column)] = std::move(field);
}

const char* HeaFile::Cell(int row, int column) const
{
    if (row < 0 || row >= kRows) return nullptr;
    const auto& cell = cells_[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
    return cell ? cell->c_str() : nullptr;
}

int HeaFile::IntegerAt(int row, int column) const
{
    const char* cell = Cell(row, column);
    return cell == nullptr ? 0 : ReadInteger(cell).value;
}

int HeaFile::GetWavformlNum() const { return IntegerAt(0, kSignalCount); }

int HeaFile::GetFormat() const { return IntegerAt(1, kFormat); }

int HeaFile::GetSampleRate() const { return IntegerAt(0, kSampleRate); }

int HeaFile::GetSampleNum() const { return IntegerAt(0, kSampleCount); }

int HeaFile::GetADCOffset() const
{
    return IntegerAt(1, Cell(1, kInBrackets) != nullptr ? kInBrackets : kAdcOffset);
}

double HeaFile::GetADCGain(int row) const
{
    const char* cell = Cell(row, kGain);
    const double gain = cell == nullptr ? 0.0 : ReadReal<double>(cell).value;
    return gain == 0.0 ? kDefaultGain : gain;
}

const char* HeaFile::GetSignalName(int row) const { return Cell(row, kName); }

bool DatFile::OpenFile(const char* path, HeaFile& header)
{
    *this = DatFile();
    file_.reset(OpenFileUtf8(path, "rb"));
    if (file_ == nullptr) return false;
    numberOfSignals_ = header.GetWavformlNum();
    format_ = header.GetFormat();
    if (format_ != Format212::kNumber && format_ != Format16::kNumber) {
        file_.reset();
        return false;
    }
    sampleRate_ = header.GetSampleRate();
    const bool packed = format_ == Format212::kNumber;
    largestPositive_ = packed ? Format212::kLargestPositive : Format16::kLargestPositive;
    range_ = packed ? Format212::kRange : Format16::kRange;
    adcOffset_ = header.GetADCOffset();
    // Signals that the header counts and has no line for are as a line without these fields.
    for (int row = 1; row <= numberOfSignals_ && row < HeaFile::kRows; ++row) {
        signalNames_.push_back(header.GetSignalName(row));
        gains_.push_back(header.GetADCGain(row));
    }
    numberOfSamples_ = header.GetSampleNum();
    return true;
}

int DatFile::ReadChannel(int channel, double& maximum, double& minimum, double*& samples)
{
    return ReadChannelValue(channel, 0, numberOfSamples_, maximum, minimum, samples);
}

int DatFile::ReadChannelValue(int channel, int start, int count, double& maximum, double& minimum,
                              double*& samples)
{
    if (file_ == nullptr || channel < 0 || channel >= numberOfSignals_ || start < 0) return 0;
    const int delivered =
        static_cast<int>(std::min<std::int64_t>(count, std::int64_t{numberOfSamples_} - start));
    if (delivered < 1) return 0;
    Extremes extremes;
    const int read = format_ == Format212::kNumber
                         ? Read<Format212>(channel, start, delivered, extremes, samples)
                         : Read<Format16>(channel, start, delivered, extremes, samples);
    if (read == 0) return 0;
    maximum = extremes.maximum;
    minimum = extremes.minimum;
    return read;
}

template <typename Format>
int DatFile::Read(int channel, int start, int count, Extremes& extremes, double*& samples) const
{
    const std::int64_t before = std::int64_t{numberOfSignals_} * start;
    const ChannelPlace place{numberOfSignals_, channel,
                             before / Format::kUnitSamples * Format::kUnitBytes,
                             std::max<std::int64_t>(GetFileSize(file_.get()), 0)};
    std::free(samples);
    samples = nullptr;
    if (!IsPromiseCredible(count, SamplesThere<Format>(place))) return 0;
    MallocArray<double> array(
        static_cast<double*>(std::calloc(static_cast<std::size_t>(count), sizeof *samples)));
    if (array == nullptr) return 0;
    Converter convert(Format::kLargestPositive, Format::kRange, adcOffset_, Gain(channel));
    ReadSamples<Format>(file_.get(), place, count, convert, array.get());
    samples = array.release();
    extremes = convert.Seen();
    return count;
}

int DatFile::Read2sCompliment(int value) const { return Fold(value, largestPositive_, range_); }

const char* DatFile::SignalName(int channel) const
{
    const auto known = static_cast<int>(signalNames_.size());
    return channel >= 0 && channel < known ? signalNames_[static_cast<std::size_t>(channel)]
                                           : nullptr;
}

double DatFile::Gain(int channel) const
{
    const auto known = static_cast<int>(gains_.size());
    return channel < known ? gains_[static_cast<std::size_t>(channel)] : kDefaultGain;
}
