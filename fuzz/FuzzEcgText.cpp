// The text format: the first byte chooses the channel, the rest is the file.

#include <array>
#include <cstdint>
#include <cstdlib>

#include "InputFile.h"
#include "RecordCheck.h"
#include "platform/File.h"
#include "sources/EcgText.h"

namespace {
constexpr int kChannels = 4;
constexpr int kMostNames = 128;

void ReadNames(std::FILE* file)
{
    std::array<char*, kMostNames> names = {};
    bool staysOpen = false;
    const int channels = ReadEcgTextNames(file, names.data(), staysOpen);
    Require(staysOpen == (channels > 0));
    for (int i = 0; i < kMostNames; ++i) {
        Require((names[static_cast<std::size_t>(i)] != nullptr) == (i < channels));
        std::free(names[static_cast<std::size_t>(i)]);
    }
}

void LoadColumn(std::FILE* file, int channel)
{
    const double empty = 0.0;
    auto* old = static_cast<double*>(std::malloc(sizeof empty));
    Require(old != nullptr);
    *old = empty;
    ReplaceRawArray(old, 1, 1.0);
    bool staysOpen = false;
    const int result = LoadEcgText(file, channel, staysOpen);
    // The record before is in place where the header was refused.
    const bool isRefused = result < 0 && g_pECGRawData != nullptr;
    if (isRefused) {
        Require(g_pECGRawData == old && g_nECGRawSize == 1);
    } else {
        CheckRecord(result, true);
    }
    Require(!staysOpen || isRefused);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    static CInputFile input("record.txt");
    input.Write(data + 1, size - 1);
    const File file(OpenFileUtf8(input.Path(), "r"));
    Require(file != nullptr);
    LoadColumn(file.get(), data[0] % kChannels);
    std::rewind(file.get());
    ReadNames(file.get());
    return 0;
}
