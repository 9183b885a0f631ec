#include "sources/edfFile.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <optional>

#include "platform/File.h"
#include "sources/SampleBuffer.h"
#include "sources/SampleFile.h"

namespace {
constexpr std::int64_t kHeaderBytes = 256;  // the fixed header, and as much for each signal
constexpr std::int64_t kSampleBytes = 2;
constexpr std::int64_t kBlockSamples = kBlockBytes / kSampleBytes;

// Where a signal's samples lie: a run in each data record.
struct SignalRuns {
    std::int64_t first;    // byte of the first run
    std::int64_t stride;   // bytes from run to run
    std::int64_t samples;  // in a run
    std::int64_t runs;
};

// Empty for what holds no samples: no such signal, annotations, a number of samples below 0.
std::optional<SignalRuns> FindRuns(const EdfHeader& header, int signal)
{
    const auto count = static_cast<int>(header.signals.size());
    if (signal < 0 || signal >= count || header.numberOfDataRecords < 0) return {};
    if (header.signals[static_cast<std::size_t>(signal)]->label == "EDF Annotations") return {};
    SignalRuns found{(count + 1) * kHeaderBytes, 0, 0, header.numberOfDataRecords};
    for (int i = 0; i < count; ++i) {
        const std::int64_t samples =
            header.signals[static_cast<std::size_t>(i)]->samplesPerDataRecord;
        if (samples < 0) return {};
        if (i < signal) found.first += samples * kSampleBytes;
        if (i == signal) found.samples = samples;
        found.stride += samples * kSampleBytes;
    }
    return found;
}

// The bytes of the signal that are in a file of this size; odd where it ends within a sample.
std::int64_t HeldBytes(const SignalRuns& runs, std::int64_t fileBytes)
{
    const std::int64_t afterFirst = std::max<std::int64_t>(fileBytes - runs.first, 0);
    const std::int64_t runBytes = runs.samples * kSampleBytes;
    return afterFirst / runs.stride * runBytes + std::min(afterFirst % runs.stride, runBytes);
}

class Scale {
public:
    explicit Scale(const EdfSignal& signal)
        : gain_(signal.AmplifierGain()), offset_(signal.Offset())
    {}

    float operator()(std::uint16_t code) const
    {
        return (static_cast<float>(static_cast<std::int16_t>(code)) + offset_) * gain_;
    }

private:
    float gain_;
    float offset_;
};

// The first `count` samples, all of them in the file. Returns the code of the last.
std::uint16_t ReadRuns(std::FILE* file, const SignalRuns& runs, std::int64_t count,
                       const Scale& scale, float* values)
{
    CBlockReader reader(file, runs.stride - runs.samples * kSampleBytes);
    std::uint16_t code = 0;
    std::int64_t offset = runs.first;
    for (std::int64_t done = 0; done < count; offset += runs.stride) {
        const std::int64_t endOfRun = std::min(done + runs.samples, count);
        for (std::int64_t at = offset; done < endOfRun;) {
            const std::int64_t piece = std::min(endOfRun - done, kBlockSamples);
            const auto* bytes =
                reader.From(at, static_cast<std::size_t>(piece * kSampleBytes)).data();
            for (std::int64_t i = 0; i < piece; ++i) {
                values[done + i] = scale(ReadLittle16(bytes + i * kSampleBytes));
            }
            code = ReadLittle16(bytes + (piece - 1) * kSampleBytes);
            done += piece;
            at += piece * kSampleBytes;
        }
    }
    return code;
}

// A sample of which the file holds the low byte alone keeps the high byte of the one before.
std::uint16_t ReadHalfSample(std::FILE* file, const SignalRuns& runs, std::int64_t index,
                             std::uint16_t before)
{
    const std::int64_t at =
        runs.first + index / runs.samples * runs.stride + index % runs.samples * kSampleBytes;
    const std::uint8_t low = CBlockReader(file, runs.stride).From(at, 1)[0];
    return static_cast<std::uint16_t>((before & 0xFF00) | low);
}

void ReadSignal(std::FILE* file, const SignalRuns& runs, std::int64_t heldBytes, const Scale& scale,
                float* values)
{
    const std::int64_t promised = runs.samples * runs.runs;
    const std::int64_t held = std::min(heldBytes / kSampleBytes, promised);
    std::uint16_t code = ReadRuns(file, runs, held, scale, values);
    if (held == promised) return;
    if (heldBytes % kSampleBytes != 0) code = ReadHalfSample(file, runs, held, code);
    std::fill(values + held, values + promised, scale(code));
}
}  // namespace

int EdfFile::readFile(const char* path)
{
    header_ = EdfHeader();
    file_.reset(OpenFileUtf8(path, "rb"));
    if (file_ == nullptr) return kCannotOpen;
    if (ReadHeaders() == kOpened) return kOpened;
    file_.reset();
    return kNotAccepted;
}

int EdfFile::ReadHeaders()
{
    std::vector<char> bytes(kHeaderBytes);
    if (std::fread(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size() ||
        !header_.ParseHeader(static_cast<int>(bytes.size()), bytes.data())) {
        return kNotAccepted;
    }
    bytes.resize(static_cast<std::size_t>(header_.numberOfSignals) * kHeaderBytes);
    if (std::fread(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size() ||
        !header_.ParseSignals(static_cast<int>(bytes.size()), bytes.data())) {
        return kNotAccepted;
    }
    return kOpened;
}

int EdfFile::retrieveSignalSampleValues(int signal, float*& values)
{
    values = nullptr;
    const auto runs = FindRuns(header_, signal);
    if (file_ == nullptr || !runs) return kNoSamples;
    const std::int64_t promised = runs->samples * runs->runs;
    const std::int64_t heldBytes =
        promised > 0 ? HeldBytes(*runs, std::max<std::int64_t>(GetFileSize(file_.get()), 0)) : 0;
    if (promised > INT_MAX || !IsPromiseCredible(promised, heldBytes / kSampleBytes)) {
        return kNoMemory;
    }
    const auto bytes = std::max<std::size_t>(static_cast<std::size_t>(promised), 1) * sizeof(float);
    MallocArray<float> array(static_cast<float*>(std::malloc(bytes)));
    if (array == nullptr) return kNoMemory;
    if (promised > 0) {
        const Scale scale(*header_.signals[static_cast<std::size_t>(signal)]);
        ReadSignal(file_.get(), *runs, heldBytes, scale, array.get());
    }
    values = array.release();
    return static_cast<int>(promised);
}
