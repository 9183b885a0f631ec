// The binary format: the input is the file.

#include <cstdint>

#include "InputFile.h"
#include "RecordCheck.h"
#include "sources/EcgBinary.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static CInputFile input("record.bin");
    input.Write(data, size);
    ReplaceRawArray(nullptr, 0, 1.0);
    const int result = LoadEcgBinary(input.Path());
    Require(result <= 0 || static_cast<std::size_t>(result) <= (size - 6) / 2);
    CheckRecord(result, true);
    return 0;
}
