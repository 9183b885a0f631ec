// Recordings read from files: the loaders of the record that output function 13 plays.

#include <cstdlib>
#include <limits>
#include <new>

#include "api/Setters.h"
#include "sources/EcgAha.h"
#include "sources/EcgBinary.h"
#include "sources/EcgText.h"
#include "sources/RawArray.h"
#include "sources/SampleBuffer.h"
#include "sources/Wfdb.h"
#include "sources/edfFile.h"
#include "streaming/Change.h"
#include "vrax.h"

namespace {
constexpr int kNoHeaderFile = -1;
constexpr int kNoSignalFile = -2;
constexpr int kNoSuchChannel = -3;
constexpr int kNothingLoaded = -4;
constexpr int kRateOutOfRange = -5;
constexpr double kMvPerMicrovolt = 0.001;

// What a loader gives, or its code where there is no memory: nothing is thrown to the application.
template <class Loader>
int Load(int noMemory, Loader loader)
{
    int result = noMemory;
    try {
        result = loader();
    } catch (const std::bad_alloc&) {
        EmptyRawArray();
    }
    RecordReplaced();
    return result;
}

// Takes over the samples. A rate that cannot be played is told, but the record stays.
int TakeRecord(double* samples, int count, int rate)
{
    ReplaceRawArray(samples, count, rate);
    ECGFileUnitMV = 1;
    return IsOutside(rate, kLowestSampleRate, kHighestSampleRate) ? kRateOutOfRange : count;
}

// The physical values of a recording are microvolts. Null without memory.
double* ToMillivolts(const float* microvolts, int count)
{
    const auto size = static_cast<std::size_t>(count);
    auto* samples = static_cast<double*>(std::malloc(size * sizeof(double)));
    for (std::size_t i = 0; samples != nullptr && i < size; ++i) {
        samples[i] = ClampToRecordRange(kMvPerMicrovolt * static_cast<double>(microvolts[i]));
    }
    return samples;
}

int LoadEdf(const char* path, int channel)
{
    EdfFile file;
    const int error = file.readFile(path);
    if (error != EdfFile::kOpened) return error;
    const EdfHeader& header = file.Header();
    if (channel < 0 || channel > header.numberOfSignals) return kNoSuchChannel;
    float* values = nullptr;
    const int count = file.retrieveSignalSampleValues(channel, values);
    const MallocArray<float> microvolts(values);
    if (count < 0 && count != EdfFile::kNoMemory) return kNoSuchChannel;

    EmptyRawArray();
    if (count == EdfFile::kNoMemory) return kNothingLoaded;
    double* samples = count == 0 ? nullptr : ToMillivolts(microvolts.get(), count);
    if (samples == nullptr && count > 0) return kNothingLoaded;
    const int perRecord = header.signals[static_cast<std::size_t>(channel)]->samplesPerDataRecord;
    return TakeRecord(samples, count, perRecord / header.durationOfDataRecordInSeconds);
}

int LoadWfdb(const char* heaPath, const char* datPath, int channel)
{
    HeaFile header;
    if (!header.OpenFile(heaPath)) return kNoHeaderFile;
    DatFile signals;
    if (!signals.OpenFile(datPath, header)) return kNoSignalFile;
    if (channel < 0 || channel >= header.GetWavformlNum()) return kNoSuchChannel;

    EmptyRawArray();
    double maximum = 0.0;
    double minimum = 0.0;
    double* samples = nullptr;
    const int count = signals.ReadChannel(channel, maximum, minimum, samples);
    if (count == 0) {
        std::free(samples);
        return kNothingLoaded;
    }
    return TakeRecord(samples, count, header.GetSampleRate());
}
}  // namespace

int CheckECGTxtChannel(const char* path, char** names)
{
    try {
        return ReadEcgTextNames(path, names);
    } catch (const std::bad_alloc&) {
        return kNoHeaderFile;
    }
}

int VRAXLoadECGtxt(const char* path, int channel)
{
    constexpr int kNoMemory = -6;
    CApiLock lock;
    return Load(kNoMemory, [=] { return LoadEcgText(path, channel); });
}

int LoadECGBin(const char* path)
{
    return Load(kNothingLoaded, [=] { return LoadEcgBinary(path); });
}

int LoadECGAHA(const char* path, int channel)
{
    constexpr int kNoMemory = -5;
    return Load(kNoMemory, [=] { return LoadEcgAha(path, channel); });
}

int VRAXLoadECGedf(const char* path, int channel)
{
    CApiLock lock;
    return Load(kNothingLoaded, [=] { return LoadEdf(path, channel); });
}

int VRAXLoadECGdat(const char* heaPath, const char* datPath, int channel)
{
    CApiLock lock;
    return Load(kNothingLoaded, [=] { return LoadWfdb(heaPath, datPath, channel); });
}
