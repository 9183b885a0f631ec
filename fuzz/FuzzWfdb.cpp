// WFDB records: two bytes, low byte first, tell the length of the header; it follows, and the rest
// of the input is the signal file.

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>

#include "InputFile.h"
#include "RecordCheck.h"
#include "sources/Wfdb.h"

namespace {
void CheckChannel(DatFile& file, int channel, int start, int count)
{
    double maximum = 0.0;
    double minimum = 0.0;
    double* samples = nullptr;
    const int read = file.ReadChannelValue(channel, start, count, maximum, minimum, samples);
    Require(read == 0 || (samples != nullptr && read > 0 && read <= count));
    for (int i = 0; i < read; ++i) {
        // What was not read is 0 and not among the extremes.
        Require(!(samples[i] > maximum) || samples[i] == 0.0);
        Require(!(samples[i] < minimum) || samples[i] == 0.0);
    }
    std::free(samples);
}

void CheckHeader(const HeaFile& header)
{
    for (const int row : {INT_MIN, -1, 0, 1, 2, 18, 19, 20, INT_MAX}) {
        Require(header.GetADCGain(row) != 0.0);
        const char* name = header.GetSignalName(row);
        Require(name == nullptr || (row >= 0 && row < HeaFile::kRows));
    }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static CInputFile headerInput("record.hea");
    static CInputFile dataInput("record.dat");
    if (size < 2) return 0;
    const std::size_t headerBytes = std::min<std::size_t>(data[0] + 256u * data[1], size - 2);
    headerInput.Write(data + 2, headerBytes);
    dataInput.Write(data + 2 + headerBytes, size - 2 - headerBytes);

    HeaFile header;
    const bool isOpen = header.OpenFile(headerInput.Path());
    CheckHeader(header);
    Require(isOpen || header.GetFormat() == 0);
    DatFile file;
    if (!file.OpenFile(dataInput.Path(), header)) return 0;
    const int last = std::max(file.NumberOfSignals(), 1) - 1;
    CheckChannel(file, 0, 0, INT_MAX);
    CheckChannel(file, last, 3, 100);
    CheckChannel(file, last + 1, 0, INT_MAX);
    CheckChannel(file, -1, 0, INT_MAX);
    CheckChannel(file, 0, INT_MAX, INT_MAX);
    CheckChannel(file, 0, 1, INT_MIN);
    return 0;
}
