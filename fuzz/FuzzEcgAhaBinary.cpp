// The AHA binary format: the first byte chooses the channel, the rest is the file.

#include <cstdint>

#include "InputFile.h"
#include "RecordCheck.h"
#include "sources/EcgAha.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    static CInputFile input("record.ecg");
    input.Write(data + 1, size - 1);
    ReplaceRawArray(nullptr, 0, 1.0);
    const int result = LoadEcgAha(input.Path(), data[0] % 2);
    Require(result == -4 || result > 0);
    Require(static_cast<std::size_t>(result > 0 ? result : 0) == (size - 1) / 5);
    CheckRecord(result, false);
    return 0;
}
