#include "sources/EcgBinary.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/ByteOrder.h"
#include "platform/File.h"
#include "sources/BlockSize.h"
#include "sources/RawArray.h"
#include "sources/SampleBuffer.h"

namespace {
constexpr int kCannotOpen = -1;
constexpr int kNoRate = -2;
constexpr int kNoCount = -3;
constexpr int kNoMemory = -4;

constexpr unsigned kLowestRate = 30;
constexpr unsigned kHighestRate = 5000;
constexpr std::uint32_t kMostSamples = 20000000;
constexpr double kMicrovoltsPerMv = 1000.0;

constexpr std::size_t kHeaderBytes = 6;
constexpr std::size_t kWordBytes = 2;
constexpr std::size_t kBlockWords = kBlockBytes / kWordBytes;

double MillivoltsOf(const std::uint8_t* word)
{
    return ClampToRecordRange(static_cast<std::int16_t>(ReadBig16(word)) / kMicrovoltsPerMv);
}

// Words up to the count or the end of the file. False without memory.
bool ReadWords(std::FILE* file, std::size_t count, CSampleBuffer& samples)
{
    std::array<std::uint8_t, kBlockWords * kWordBytes> block;
    while (samples.Size() < count) {
        const std::size_t wanted = std::min(count - samples.Size(), kBlockWords);
        const std::size_t got = std::fread(block.data(), kWordBytes, wanted, file);
        for (std::size_t i = 0; i < got; ++i) {
            if (!samples.Append(MillivoltsOf(block.data() + i * kWordBytes))) return false;
        }
        if (got < wanted) break;
    }
    return true;
}

// Room for what the file can hold of the promised samples.
bool ReserveSamples(std::FILE* file, std::size_t count, CSampleBuffer& samples)
{
    const std::int64_t bytes = GetFileSize(file);
    if (bytes < 0) return true;  // grows as the samples come
    return samples.Reserve(std::min(count, static_cast<std::size_t>(bytes) / kWordBytes));
}
}  // namespace

int LoadEcgBinary(const char* path)
{
    const File file(OpenFileUtf8(path, "rb"));
    if (!file) return kCannotOpen;
    std::uint8_t header[kHeaderBytes] = {};
    const std::size_t got = std::fread(header, 1, kHeaderBytes, file.get());
    const unsigned rate = ReadBig16(header);
    if (got < 2 || rate < kLowestRate || rate > kHighestRate) return kNoRate;
    const std::uint32_t count = ReadBig32(header + 2);
    if (got < kHeaderBytes || count == 0 || count > kMostSamples) return kNoCount;

    EmptyRawArray();
    CSampleBuffer samples;
    if (!ReserveSamples(file.get(), count, samples)) return kNoMemory;
    if (!ReadWords(file.get(), count, samples)) return kNoMemory;
    const int size = static_cast<int>(samples.Size());
    ReplaceRawArray(samples.Release(), size, rate);
    ECGFileUnitMV = 1;
    return size;
}
