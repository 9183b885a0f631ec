// EDF recordings, headers and samples: the input is the file.

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "InputFile.h"
#include "RecordCheck.h"
#include "sources/edfFile.h"

namespace {
// All promised samples are there, and no more of them than a recording cut short may promise.
void CheckSignal(EdfFile& file, int signal, std::size_t fileBytes)
{
    constexpr std::size_t kMayBeMissing = 1000000;
    float* values = nullptr;
    const int count = file.retrieveSignalSampleValues(signal, values);
    Require((values != nullptr) == (count >= 0));
    Require(count <= 0 || static_cast<std::size_t>(count) <= fileBytes + kMayBeMissing);
    for (int i = 0; i < count; ++i) {
        const EdfSignal& scaling = *file.Header().signals[static_cast<std::size_t>(signal)];
        Require(!std::isnan(values[i]) || !std::isfinite(scaling.AmplifierGain()) ||
                !std::isfinite(scaling.Offset()));
    }
    std::free(values);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static CInputFile input("recording.edf");
    input.Write(data, size);
    EdfFile file;
    const int result = file.readFile(input.Path());
    const auto signals = static_cast<int>(file.Header().signals.size());
    Require(result == EdfFile::kOpened || result == EdfFile::kNotAccepted);
    Require(result != EdfFile::kOpened || (signals >= 1 && signals <= 256));
    if (result != EdfFile::kOpened) return 0;
    for (int signal = -1; signal <= std::min(signals, 3); ++signal) {
        CheckSignal(file, signal, size);
    }
    CheckSignal(file, signals - 1, size);
    CheckSignal(file, INT_MAX, size);
    return 0;
}
