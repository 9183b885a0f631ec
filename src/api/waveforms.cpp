// The built-in waveforms of the standards: their samples, their text files, and whether they repeat.

#include <cstdio>
#include <memory>
#include <new>

#include "api/Setters.h"
#include "platform/CLocale.h"
#include "platform/File.h"
#include "sources/HeartRatePatterns.h"
#include "sources/StandardWaveforms.h"
#include "synthesis/Numbers.h"
#include "synthesis/Parameters.h"
#include "vrax.h"

namespace {
constexpr int kCannotOpen = -3;
constexpr int kCannotWrite = -6;
constexpr double kMicrovoltsPerMv = 1000.0;

const int* Samples(const StandardWaveform& wave, unsigned* count, unsigned* rate)
{
    if (count != nullptr) *count = static_cast<unsigned>(wave.count);
    if (rate != nullptr) *rate = static_cast<unsigned>(wave.rate);
    return count != nullptr && rate != nullptr ? wave.samples : nullptr;
}

int Dump(const StandardWaveform& wave, const char* path)
{
    return DumpStandardWaveform(wave.samples, wave.count, wave.rate, wave.name, path);
}

// Rows of large unsigned numbers are no rows.
int RowOf(unsigned n) { return SaturateTo<int>(n); }
}  // namespace

void VRAXSetSpecialWaveformLoop(int loop)
{
    CApiLock lock;
    s_loopPlay = loop != 0;
}

const int* GetSpecialWave227Array(int n, unsigned* count, unsigned* rate)
{
    return Samples(GetIEC227(n), count, rate);
}

const int* GetSpecialWave251Array(int n, unsigned* count, unsigned* rate)
{
    return Samples(GetIEC251(n), count, rate);
}

const double* GetSpecialWave247Array(int n, unsigned* count, unsigned* rate)
{
    if (count == nullptr || rate == nullptr) return nullptr;
    const HeartRatePattern* pattern = GetHeartRatePattern(n);
    *count = pattern != nullptr ? static_cast<unsigned>(pattern->hrvperiod) : 0;
    *rate = pattern != nullptr ? static_cast<unsigned>(kHeartRatePatternRate) : 0;
    return getIEC47RawArray(n);
}

int DumpStandardWaveform(const int* samples, int count, int rate, const char* name,
                         const char* path)
{
    if (name == nullptr || (samples == nullptr && count > 0)) return kCannotOpen;
    std::FILE* file = OpenFileUtf8(path, "w+");
    if (file == nullptr) return kCannotOpen;
    const CAutoCLocale locale;
    // The file is left open and partly written where a line cannot be written, kept so.
    if (std::fprintf(file, "%d\n%d\n1\n%s\n", rate, count, name) < 0) return kCannotWrite;
    for (int i = 0; i < count; ++i) {
        if (std::fprintf(file, "%.3f\n", samples[i] / kMicrovoltsPerMv) < 0) return kCannotWrite;
    }
    if (std::fflush(file) != 0) return kCannotWrite;
    std::fclose(file);
    return kOk;
}

int DumpIEC227Waveform(unsigned n, const char* path) { return Dump(GetIEC227(RowOf(n)), path); }
int DumpIEC251Waveform(unsigned n, const char* path) { return Dump(GetIEC251(RowOf(n)), path); }

int DumpIEC247Waveform(unsigned n, const char* path)
{
    const HeartRatePattern* pattern = GetHeartRatePattern(RowOf(n));
    const double* samples = getIEC47RawArray(RowOf(n));
    if (pattern == nullptr || samples == nullptr) return kCannotOpen;
    const auto count = static_cast<std::size_t>(pattern->hrvperiod);
    const std::unique_ptr<int[]> microvolts(new (std::nothrow) int[count]);
    if (microvolts == nullptr) return kCannotWrite;
    for (std::size_t i = 0; i < count; ++i) {
        microvolts[i] = static_cast<int>(kMicrovoltsPerMv * samples[i]);
    }
    return DumpStandardWaveform(microvolts.get(), pattern->hrvperiod, kHeartRatePatternRate,
                                pattern->name, path);
}
