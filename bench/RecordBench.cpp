// Loading one channel of a recording, a million samples of each of two channels (one in the binary
// format), beside a plain loop that takes the same file in with one read and decodes the samples of
// that channel into a new array, and knows beforehand what the file holds. Loader and loop take
// turns and the median of the ratios of their CPU times counts.

#include <benchmark/benchmark.h>

#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "vrax.h"

namespace {
constexpr int kSamples = 1000000;
constexpr int kRate = 500;
constexpr int kPairs = 15;  // odd, for the median
constexpr double kHighestMv = 20.0;
constexpr double kStepsPerMv = 200.0;  // of the 212 record
constexpr double kAhaUnitsPerMv = 400.0;
constexpr std::size_t kEdfHeaderBytes = 3 * 256;
constexpr std::size_t kEdfRecordBytes = 2 * 2 * kRate;

// Microvolts from -2000 to 2000, the second channel the first one upside down.
int MicrovoltsAt(int sample, int channel)
{
    const int value = sample * 37 % 4001 - 2000;
    return channel == 0 ? value : -value;
}

void AddLittle16(std::string& bytes, int value)
{
    bytes += static_cast<char>(value & 0xFF);
    bytes += static_cast<char>(value >> 8 & 0xFF);
}

std::string Line(const char* format, double first, double second)
{
    char line[64];
    std::snprintf(line, sizeof line, format, first, second);
    return line;
}

std::string TextFile()
{
    std::string text = std::to_string(kRate) + "\n" + std::to_string(kSamples) + "\n2\nI,II\n";
    for (int i = 0; i < kSamples; ++i) {
        text += Line("%.3f,%.3f\n", MicrovoltsAt(i, 0) / 1e3, MicrovoltsAt(i, 1) / 1e3);
    }
    return text;
}

std::string AhaText()
{
    std::string text;
    for (int i = 0; i < kSamples; ++i) {
        text += Line("%.0f %.0f\n", MicrovoltsAt(i, 0), MicrovoltsAt(i, 1));
    }
    return text;
}

std::string AhaBinary()
{
    std::string bytes;
    for (int i = 0; i < kSamples; ++i) {
        AddLittle16(bytes, MicrovoltsAt(i, 0));
        AddLittle16(bytes, MicrovoltsAt(i, 1));
        bytes += '\0';
    }
    return bytes;
}

std::string BinaryFile()
{
    std::string bytes = {static_cast<char>(kRate >> 8), static_cast<char>(kRate & 0xFF)};
    for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(kSamples >> shift & 0xFF);
    for (int i = 0; i < kSamples; ++i) {
        bytes += static_cast<char>(MicrovoltsAt(i, 1) >> 8 & 0xFF);
        bytes += static_cast<char>(MicrovoltsAt(i, 1) & 0xFF);
    }
    return bytes;
}

std::string Padded(std::string text, std::size_t width)
{
    text.resize(width, ' ');
    return text;
}

// One digital step is a microvolt.
std::string EdfFile()
{
    std::string bytes =
        Padded("0", 8) + Padded("X X X X", 80) + Padded("Startdate 01-JAN-2020 X X X", 80) +
        "01.01.2000.00.00" + Padded(std::to_string(kEdfHeaderBytes), 8) + Padded("EDF+C", 44) +
        Padded(std::to_string(kSamples / kRate), 8) + Padded("1", 8) + Padded("2", 4);
    const struct {
        const char* text;
        std::size_t width;
    } fields[] = {{"ECG", 16},   {"", 80},     {"uV", 8}, {"-32768", 8}, {"32767", 8},
                  {"-32768", 8}, {"32767", 8}, {"", 80},  {"500", 8},    {"", 32}};
    for (const auto& field : fields) {
        for (int signal = 0; signal < 2; ++signal) bytes += Padded(field.text, field.width);
    }
    for (int i = 0; i < kSamples; i += kRate) {
        for (int signal = 0; signal < 2; ++signal) {
            for (int k = i; k < i + kRate; ++k) AddLittle16(bytes, MicrovoltsAt(k, signal));
        }
    }
    return bytes;
}

std::string WfdbHeader()
{
    return "record 2 500 1000000\nrecord.dat 212 200 12 0 0 0 0 I\nrecord.dat 212 200 12 0 0 0 0 "
           "II\n";
}

std::string Format212()
{
    std::string bytes;
    for (int i = 0; i < kSamples; ++i) {
        const int first = MicrovoltsAt(i, 0) & 0xFFF;
        const int second = MicrovoltsAt(i, 1) & 0xFFF;
        bytes += static_cast<char>(first & 0xFF);
        bytes += static_cast<char>((second >> 8) << 4 | first >> 8);
        bytes += static_cast<char>(second & 0xFF);
    }
    return bytes;
}

int Signed16(const std::uint8_t* low, const std::uint8_t* high)
{
    return static_cast<std::int16_t>(*low | *high << 8);
}

// The loops: every sample of the second channel, of the one channel in the binary format.
using Decode = void (*)(const std::uint8_t* bytes, std::size_t size, double* out);

// A column of numbers, with the character that ends the first one.
template <char Separator>
void ParseColumn(const char* text, std::size_t size, double* out, double scale, double limit)
{
    const char* const end = text + size;
    for (int i = 0; i < kSamples; ++i) {
        const auto left = [&] { return static_cast<std::size_t>(end - text); };
        const auto* lineEnd = static_cast<const char*>(std::memchr(text, '\n', left()));
        const auto* field = static_cast<const char*>(std::memchr(text, Separator, left())) + 1;
        double value = 0.0;
        std::from_chars(field, lineEnd, value);
        out[i] = std::clamp(value * scale, -limit, limit);
        text = lineEnd + 1;
    }
}

void LoopText(const std::uint8_t* bytes, std::size_t size, double* out)
{
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    const std::size_t start = text.find("I,II\n") + 5;
    ParseColumn<','>(text.data() + start, size - start, out, 1.0, kHighestMv);
}

void LoopAhaText(const std::uint8_t* bytes, std::size_t size, double* out)
{
    ParseColumn<' '>(reinterpret_cast<const char*>(bytes), size, out, 1.0 / kAhaUnitsPerMv, 1e9);
}

void LoopAhaBinary(const std::uint8_t* bytes, std::size_t, double* out)
{
    for (int i = 0; i < kSamples; ++i, bytes += 5) {
        out[i] = Signed16(bytes + 2, bytes + 3) / kAhaUnitsPerMv;
    }
}

void LoopBinary(const std::uint8_t* bytes, std::size_t, double* out)
{
    bytes += 6;
    for (int i = 0; i < kSamples; ++i, bytes += 2) {
        out[i] = std::clamp(Signed16(bytes + 1, bytes) / 1e3, -kHighestMv, kHighestMv);
    }
}

void LoopEdf(const std::uint8_t* bytes, std::size_t, double* out)
{
    const std::uint8_t* record = bytes + kEdfHeaderBytes + kEdfRecordBytes / 2;
    for (int i = 0; i < kSamples; i += kRate, record += kEdfRecordBytes) {
        for (int k = 0; k < kRate; ++k) {
            const double mv = Signed16(record + 2 * k, record + 2 * k + 1) * 1e-3;
            out[i + k] = std::clamp(mv, -kHighestMv, kHighestMv);
        }
    }
}

void Loop212(const std::uint8_t* bytes, std::size_t, double* out)
{
    for (int i = 0; i < kSamples; ++i, bytes += 3) {
        const int code = bytes[2] | (bytes[1] & 0xF0) << 4;
        out[i] = (code > 2047 ? code - 4096 : code) / kStepsPerMv;
    }
}

class CFolder {
public:
    CFolder() : path_("/tmp/vrax-bench-XXXXXX")
    {
        if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no folder in /tmp");
    }
    ~CFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    CFolder(const CFolder&) = delete;

    std::string Write(const char* name, const std::string& bytes) const
    {
        const std::string path = path_ + "/" + name;
        std::FILE* file = std::fopen(path.c_str(), "wb");
        if (file == nullptr) throw std::runtime_error(path);
        const std::size_t written = std::fwrite(bytes.data(), 1, bytes.size(), file);
        if (std::fclose(file) != 0 || written != bytes.size()) throw std::runtime_error(path);
        return path;
    }

private:
    std::string path_;
};

struct Free {
    void operator()(double* samples) const { std::free(samples); }
};
using Samples = std::unique_ptr<double[], Free>;

// As a loader has to: open, read, a new array.
Samples RunLoop(const std::string& path, Decode decode)
{
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) throw std::runtime_error(path);
    const std::size_t size = std::filesystem::file_size(path);
    const std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[size]);
    const std::size_t got = std::fread(bytes.get(), 1, size, file);
    std::fclose(file);
    Samples samples(static_cast<double*>(std::malloc(kSamples * sizeof(double))));
    if (got != size || samples == nullptr) throw std::runtime_error(path);
    decode(bytes.get(), size, samples.get());
    return samples;
}

bool IsRecord(const Samples& samples)
{
    unsigned count = 0;
    unsigned rate = 0;
    const double* record = GetFileArray(&count, &rate);
    if (record == nullptr || count != static_cast<unsigned>(kSamples)) return false;
    for (int i = 0; i < kSamples; ++i) {
        if (std::abs(record[i] - samples[static_cast<std::size_t>(i)]) > 1e-6) return false;
    }
    return true;
}

// Of this thread, which does all of the work.
double CpuSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Format {
    const char* name;
    const char* file;
    std::string (*bytes)();
    Decode loop;
    int (*load)(const std::string& path);
};

int LoadWfdb(const std::string& path)
{
    const std::string header = std::filesystem::path(path).replace_extension(".hea");
    return VRAXLoadECGdat(header.c_str(), path.c_str(), 1);
}

const Format kFormats[] = {
    {"text_column", "text.txt", TextFile, LoopText,
     [](const std::string& path) { return VRAXLoadECGtxt(path.c_str(), 1); }},
    {"binary", "record.bin", BinaryFile, LoopBinary,
     [](const std::string& path) { return LoadECGBin(path.c_str()); }},
    {"aha_text", "aha.txt", AhaText, LoopAhaText,
     [](const std::string& path) { return LoadECGAHA(path.c_str(), 1); }},
    {"aha_binary", "aha.ecg", AhaBinary, LoopAhaBinary,
     [](const std::string& path) { return LoadECGAHA(path.c_str(), 1); }},
    {"edf_signal", "record.edf", EdfFile, LoopEdf,
     [](const std::string& path) { return VRAXLoadECGedf(path.c_str(), 1); }},
    {"format_212_channel", "record.dat", Format212, Loop212, LoadWfdb},
};

// One iteration is a loader's turn and a loop's.
void LoadRecord(benchmark::State& state, const Format* format, const CFolder* folder)
{
    const std::string path = folder->Write(format->file, format->bytes());
    folder->Write("record.hea", WfdbHeader());
    std::vector<double> loader;
    std::vector<double> loop;
    std::vector<double> ratios;
    Samples expected = RunLoop(path, format->loop);
    if (format->load(path) != kSamples || !IsRecord(expected)) {
        state.SkipWithError("the loader and the loop do not agree");
    }
    for (auto _ : state) {
        const double start = CpuSeconds();
        if (format->load(path) != kSamples) state.SkipWithError("not loaded");
        const double between = CpuSeconds();
        expected.reset();
        expected = RunLoop(path, format->loop);
        loop.push_back(CpuSeconds() - between);
        loader.push_back(between - start);
        ratios.push_back(loop.back() / loader.back());
    }
    if (ratios.empty()) return;
    state.counters["ratio"] = Median(ratios);
    state.counters["loader_samples_per_second"] = kSamples / Median(loader);
    state.counters["loop_samples_per_second"] = kSamples / Median(loop);
    ClearRawArray();
}
}  // namespace

int main(int argc, char** argv)
{
    const CFolder folder;
    for (const Format& format : kFormats) {
        benchmark::RegisterBenchmark((std::string("load/") + format.name).c_str(), LoadRecord,
                                     &format, &folder)
            ->Iterations(kPairs);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
