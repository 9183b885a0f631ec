#include "sources/EcgAha.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <string_view>

#include "platform/File.h"
#include "sources/BlockSize.h"
#include "sources/ParseNumber.h"
#include "sources/RawArray.h"
#include "sources/SampleBuffer.h"
#include "sources/SampleFile.h"
#include "sources/TextHelpers.h"

namespace {
constexpr int kNotRecognised = -1;
constexpr int kCannotRead = -2;
constexpr int kNoSuchChannel = -3;
constexpr int kNoSamples = -4;
constexpr int kNoMemory = -5;

constexpr std::size_t kExtensionCharacters = 4;
constexpr int kChannels = 2;
constexpr double kUnitsPerMv = 400.0;
constexpr double kRate = 250.0;  // Hz
constexpr std::size_t kGroupBytes = 5;
constexpr std::size_t kBlockGroups = kBlockBytes / 8;
constexpr std::size_t kLineBytes = 256;         // the two fields stand at its start
constexpr std::int64_t kShortestLineBytes = 4;  // "1,2" and its end
constexpr auto kMostSamples = static_cast<std::size_t>(std::numeric_limits<int>::max());

bool IsSeparator(char character) { return character == ',' || character == ' '; }

// The next field, empty when there is none; moves behind it.
std::string_view TakeField(const char*& text)
{
    while (IsSeparator(*text)) ++text;
    const char* start = text;
    while (*text != '\0' && !IsSeparator(*text)) ++text;
    return {start, static_cast<std::size_t>(text - start)};
}

// False unless the line has both fields and the channel's is a number and nothing else.
bool ParseLine(const char* line, int channel, double& mv)
{
    const std::string_view fields[kChannels] = {TakeField(line), TakeField(line)};
    if (fields[kChannels - 1].empty()) return false;
    const std::string_view field = fields[channel];
    const auto [value, end] = ReadReal<double>(field);
    if (end == field.data()) return false;
    if (!std::all_of(end, field.data() + field.size(), IsSpace)) return false;
    mv = value / kUnitsPerMv;
    return true;
}

// Takes a file in pieces that end with a line. Of a line that does not fit into a piece the start
// is kept and the middle is skipped.
class CLinePieces {
public:
    explicit CLinePieces(std::FILE* file)
        : file_(file), block_(std::make_unique_for_overwrite<char[]>(kBlockBytes))
    {}

    // False at the end of the file.
    bool Next(std::string_view& piece)
    {
        std::copy(block_.get() + taken_, block_.get() + loaded_, block_.get());
        loaded_ -= taken_;
        for (;;) {
            const std::size_t room = kBlockBytes - loaded_;
            const std::size_t got = std::fread(block_.get() + loaded_, 1, room, file_);
            loaded_ += got;
            const std::string_view all(block_.get(), loaded_);
            taken_ = got < room ? loaded_ : all.find_last_of("\r\n") + 1;
            if (taken_ > 0 || loaded_ == 0) break;
            loaded_ = kLineBytes;
        }
        piece = {block_.get(), taken_};
        return taken_ > 0;
    }

private:
    std::FILE* file_;
    std::unique_ptr<char[]> block_;
    std::size_t taken_ = 0;
    std::size_t loaded_ = 0;
};

bool IsLineEnd(char character) { return character == '\n' || character == '\r'; }

// Lines that are not empty, no more than the file can hold. False when it cannot be read.
bool CountLines(std::FILE* file, std::size_t& count)
{
    std::int64_t lines = 1;
    bool isEmpty = true;
    CLinePieces pieces(file);
    std::string_view piece;
    while (pieces.Next(piece)) {
        for (const char character : piece) {
            const bool isEnd = IsLineEnd(character);
            lines += isEnd && !isEmpty ? 1 : 0;
            isEmpty = isEnd;
        }
    }
    const std::int64_t bytes = GetFileSize(file);
    if (bytes >= 0) lines = std::min(lines, (bytes + 1) / kShortestLineBytes);
    count = static_cast<std::size_t>(lines);
    return std::ferror(file) == 0;
}

// False without memory.
bool ReadLines(std::FILE* file, int channel, CSampleBuffer& samples)
{
    char line[kLineBytes];
    CLinePieces pieces(file);
    std::string_view piece;
    while (pieces.Next(piece)) {
        const char* cursor = piece.data();
        const char* const end = cursor + piece.size();
        while (samples.Size() < kMostSamples && ReadTextLine(cursor, end, line, sizeof line)) {
            double mv = 0.0;
            if (ParseLine(line, channel, mv) && !samples.Append(mv)) return false;
        }
    }
    return true;
}

int Finish(CSampleBuffer& samples)
{
    const int size = static_cast<int>(samples.Size());
    if (size == 0) return kNoSamples;
    ReplaceRawArray(samples.Release(), size, kRate);
    return size;
}

int LoadText(const char* path, int channel)
{
    const File file(OpenFileUtf8(path, "rb"));
    std::size_t lines = 0;
    if (!file || !CountLines(file.get(), lines)) return kCannotRead;
    EmptyRawArray();
    CSampleBuffer samples;
    if (!samples.Reserve(std::min(lines, kMostSamples))) return kNoMemory;
    std::rewind(file.get());
    if (!ReadLines(file.get(), channel, samples)) return kNoMemory;
    return Finish(samples);
}

int LoadBinary(const char* path, int channel)
{
    const File file(OpenFileUtf8(path, "rb"));
    const std::int64_t bytes = file ? GetFileSize(file.get()) : -1;
    if (bytes < 0) return kCannotRead;
    EmptyRawArray();
    CSampleBuffer samples;
    const std::size_t count = std::min(static_cast<std::size_t>(bytes) / kGroupBytes, kMostSamples);
    if (!samples.Reserve(count)) return kNoMemory;
    std::array<std::uint8_t, kBlockGroups * kGroupBytes> block;
    while (samples.Size() < count) {
        const std::size_t wanted = std::min(count - samples.Size(), kBlockGroups);
        const std::size_t got = std::fread(block.data(), kGroupBytes, wanted, file.get());
        const std::uint8_t* value = block.data() + 2 * channel;
        for (std::size_t i = 0; i < got; ++i, value += kGroupBytes) {
            if (!samples.Append(ToInt16(ReadLittle16(value)) / kUnitsPerMv)) return kNoMemory;
        }
        if (got < wanted) break;
    }
    return Finish(samples);
}
}  // namespace

int LoadEcgAha(const char* path, int channel)
{
    const std::string_view name = path == nullptr ? "" : path;
    if (name.size() < kExtensionCharacters) return kNotRecognised;
    const bool isText = name.ends_with(".txt");
    if (!isText && !name.ends_with(".ecg")) return kNotRecognised;
    if (channel < 0 || channel >= kChannels) return kNoSuchChannel;
    return isText ? LoadText(path, channel) : LoadBinary(path, channel);
}
