#include "sources/EcgText.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/File.h"
#include "sources/LineReader.h"
#include "sources/ParseNumber.h"
#include "sources/RawArray.h"
#include "sources/SampleBuffer.h"

namespace {
constexpr int kCannotOpen = -1;
constexpr int kNoRate = -2;
constexpr int kNoCount = -3;
constexpr int kNoChannels = -4;
constexpr int kNoNames = -5;
constexpr int kNoMemory = -6;
constexpr int kNoSuchChannel = -7;

constexpr double kLowestRate = 100.0;
constexpr double kHighestRate = 40000.0;
constexpr std::size_t kNameBytes = 128;
constexpr int kMostNames = CLineReader::kLineCharacters + 1;  // all of them empty

// A count may be a guess that was never put right, so up to a million samples anything is believed,
// and above as much as eight times what fits into the file.
constexpr std::int64_t kBelievedSamples = 1000000;
constexpr std::int64_t kBelievedTimes = 8;

// False when the line is missing or its number is 0.
bool NextReal(CLineReader& lines, double& value)
{
    std::string_view line;
    if (!lines.Next(line)) return false;
    value = ReadReal<double>(line).value;
    return value != 0.0;
}

bool NextInteger(CLineReader& lines, int& value)
{
    std::string_view line;
    if (!lines.Next(line)) return false;
    value = ReadInteger(line).value;
    return value != 0;
}

// Room for what the file can hold of the promised samples. A line takes a comma for each channel
// before this one and its end.
bool ReserveSamples(const CLineReader& lines, int count, int channel, CSampleBuffer& samples)
{
    if (count < 0) return false;
    const std::int64_t bytesLeft = lines.BytesLeft();
    if (bytesLeft < 0) return true;  // grows as the samples come
    const std::int64_t fitting = bytesLeft / (std::int64_t{channel} + 1) + 1;
    if (count > std::max(kBelievedSamples, kBelievedTimes * fitting)) return false;
    return samples.Reserve(static_cast<std::size_t>(std::min<std::int64_t>(count, fitting)));
}

// From the start of a field to the end of the line; null when the line has no such field.
const char* FindField(std::string_view line, int field, bool mayHoldNul)
{
    const char* start = line.data();
    const char* end = start + line.size();
    for (int i = 0; i < field; ++i) {
        const void* comma = std::memchr(start, ',', static_cast<std::size_t>(end - start));
        if (comma == nullptr) return nullptr;
        start = static_cast<const char*>(comma) + 1;
    }
    const auto before = static_cast<std::size_t>(start - line.data());
    const bool isCut = mayHoldNul && std::memchr(line.data(), '\0', before) != nullptr;
    return isCut ? nullptr : start;
}

// kNoSuchChannel when a line lacks the channel, kNoMemory, or 0.
int ReadColumn(CLineReader& lines, int channel, int count, CSampleBuffer& samples)
{
    const auto wanted = static_cast<std::size_t>(count);
    std::string_view line;
    while (samples.Size() < wanted && lines.Next(line)) {
        const char* field = FindField(line, channel, lines.MayHoldNul());
        if (field == nullptr) return kNoSuchChannel;
        const std::string_view rest(field, static_cast<std::size_t>(line.end() - field));
        if (!samples.Append(ClampToRecordRange(ReadReal<double>(rest).value))) return kNoMemory;
    }
    return 0;
}

char* CopyName(std::string_view name)
{
    auto* copy = static_cast<char*>(std::calloc(kNameBytes, 1));
    if (copy != nullptr) std::memcpy(copy, name.data(), std::min(name.size(), kNameBytes - 1));
    return copy;
}

// The line without its end and without what follows a NUL.
std::string_view TextOf(std::string_view line)
{
    return line.substr(0, line.find_first_of(std::string_view("\r\n\0", 3)));
}

void CopyNames(std::string_view text, int channels, char** names)
{
    for (int i = 0; i < std::min(channels, kMostNames); ++i) {
        const std::size_t comma = std::min(text.find(','), text.size());
        names[i] = CopyName(text.substr(0, comma));
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
}
// The file stays open for good where the reader says so, kept so.
template <class Reader>
int ReadFile(const char* path, const Reader& reader)
{
    File file(OpenFileUtf8(path, "r"));
    if (!file) return kCannotOpen;
    bool staysOpen = false;
    const int result = reader(file.get(), staysOpen);
    if (staysOpen) static_cast<void>(file.release());
    return result;
}
}  // namespace

int LoadEcgText(std::FILE* file, int channel, bool& staysOpen)
{
    CLineReader lines(file);
    double rate = 0.0;
    if (!NextReal(lines, rate)) return kNoRate;
    staysOpen = rate < kLowestRate || rate > kHighestRate;
    if (staysOpen) return kNoRate;
    int count = 0;
    if (!NextInteger(lines, count)) return kNoCount;
    int channels = 0;
    if (!NextInteger(lines, channels)) return kNoChannels;
    staysOpen = channel < 0 || channels <= channel;
    if (staysOpen) return kNoSuchChannel;
    std::string_view names;
    if (!lines.Next(names)) return kNoNames;

    EmptyRawArray();
    CSampleBuffer samples;
    if (!ReserveSamples(lines, count, channel, samples)) return kNoMemory;
    const int error = ReadColumn(lines, channel, count, samples);
    if (error == kNoMemory) return error;
    const int size = error == 0 ? static_cast<int>(samples.Size()) : error;
    // A line without the channel frees the samples before it, but leaves its code as their number.
    ReplaceRawArray(error == 0 ? samples.Release() : nullptr, size, rate);
    ECGFileUnitMV = 1;
    return size;
}

int ReadEcgTextNames(std::FILE* file, char** names, bool& staysOpen)
{
    CLineReader lines(file);
    double rate = 0.0;
    if (!NextReal(lines, rate)) return kNoRate;
    int count = 0;
    if (!NextInteger(lines, count)) return kNoCount;
    int channels = 0;
    if (!NextInteger(lines, channels) || channels < 0) return kNoChannels;
    std::string_view line;
    if (!lines.Next(line)) return kNoNames;
    CopyNames(TextOf(line), channels, names);
    g_nECGRawSampleRate = rate;  // though nothing is loaded, kept so
    staysOpen = true;
    return channels;
}

int LoadEcgText(const char* path, int channel)
{
    return ReadFile(path, [channel](std::FILE* file, bool& staysOpen) {
        return LoadEcgText(file, channel, staysOpen);
    });
}

int ReadEcgTextNames(const char* path, char** names)
{
    if (names == nullptr) return kCannotOpen;
    return ReadFile(path, [names](std::FILE* file, bool& staysOpen) {
        return ReadEcgTextNames(file, names, staysOpen);
    });
}
