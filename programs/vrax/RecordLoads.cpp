#include "RecordLoads.h"

#include <cmath>
#include <map>

#include <fmt/format.h>

#include "vrax.h"

namespace vrax {

namespace {

using Meanings = std::map<int, const char*>;

const Meanings kText = {
    {-1, "the file cannot be opened"},
    {-2, "the rate is missing, 0 or outside 100 to 40000"},
    {-3, "the number of samples is missing or 0"},
    {-4, "the number of channels is missing or 0"},
    {-5, "the names are missing"},
    {-6, "no memory, or the number of samples is negative or far above what the file holds"},
    {-7, "there is no such channel, or a line lacks it"},
};
const Meanings kBinary = {
    {-1, "the file cannot be opened"},
    {-2, "the rate is missing or outside 30 to 5000"},
    {-3, "the number of samples is missing, 0 or above 20000000"},
    {-4, "no memory"},
};
const Meanings kAha = {
    {-1, "the name ends in neither .txt nor .ecg"},
    {-2, "the file cannot be read"},
    {-3, "there is no such channel"},
    {-4, "the file has no sample"},
    {-5, "no memory"},
};
const Meanings kEdf = {
    {-1, "the file cannot be opened"},
    {-2, "the header is short or not accepted"},
    {-3, "there is no such signal, it holds annotations, or the number of records is unknown"},
    {-4, "no memory, or the header promises far more than the file holds"},
    {-5, "the rate is outside 100 to 40000"},
};
const Meanings kWfdb = {
    {-1, "the header cannot be opened or is not accepted"},
    {-2, "the signal file cannot be opened, or has another format"},
    {-3, "there is no such signal"},
    {-4, "no samples, no memory, or the header promises far more than the file holds"},
    {-5, "the rate is outside 100 to 40000"},
};
const Meanings kImage = {
    {-1, "the file cannot be opened"},
    {-2, "the size of the file cannot be read"},
    {-4, "no memory"},
    {-5, "the file could not be read to its end"},
    {-6, "the file is too short, or the letters are others"},
};

std::string MeaningOf(const Meanings& meanings, int code)
{
    const auto found = meanings.find(code);
    return found == meanings.end() ? "a code that the interface does not name" : found->second;
}

struct Answer {
    int code;
    std::string call;
    const Meanings& meanings;
};

Answer CallLoader(const Record& record, int channel)
{
    const char* path = record.path.c_str();
    const auto told = [&](const char* function) {
        return fmt::format("{}(\"{}\", {})", function, record.path, channel);
    };
    switch (record.kind) {
        case RecordKind::Text:
            return {VRAXLoadECGtxt(path, channel), told("VRAXLoadECGtxt"), kText};
        case RecordKind::AhaText:
        case RecordKind::AhaBinary: return {LoadECGAHA(path, channel), told("LoadECGAHA"), kAha};
        case RecordKind::Edf: return {VRAXLoadECGedf(path, channel), told("VRAXLoadECGedf"), kEdf};
        case RecordKind::Wfdb:
            return {VRAXLoadECGdat(path, record.signalPath.c_str(), channel),
                    fmt::format("VRAXLoadECGdat(\"{}\", \"{}\", {})", record.path,
                                record.signalPath, channel),
                    kWfdb};
        default: return {LoadECGBin(path), fmt::format("LoadECGBin(\"{}\")", record.path), kBinary};
    }
}

bool HoldsValues(RecordKind kind)
{
    return kind == RecordKind::Text || kind == RecordKind::Binary || kind == RecordKind::Edf;
}

void Measure(RecordLoad& load, double headerRate)
{
    unsigned count = 0;
    unsigned rate = 0;
    const double* samples = GetFileArray(&count, &rate);
    if (samples == nullptr || count == 0) return;
    load.samples = count;
    load.rate = headerRate > 0.0 ? headerRate : rate;
    load.seconds = load.rate > 0.0 ? count / load.rate : 0.0;
    load.lowest = load.highest = samples[0];
    for (unsigned i = 0; i < count; ++i) {
        load.lowest = std::fmin(load.lowest, samples[i]);
        load.highest = std::fmax(load.highest, samples[i]);
        const double size = std::fabs(samples[i]);
        if (load.isHeld ? size < kRecordLimitMv : size <= kOutputLimitMv) continue;
        if (load.atLimit++ == 0) load.firstAtLimit = i;
    }
}

}  // namespace

RecordLoad LoadChannel(const Record& record, int channel, const std::string& name, double rate)
{
    ClearRawArray();  // so that what is there afterwards is this file's
    const Answer answer = CallLoader(record, channel);
    RecordLoad load;
    load.call = answer.call;
    load.code = answer.code;
    load.isTaken = answer.code > 0;
    load.isAnnotations = record.kind == RecordKind::Edf && name == "EDF Annotations";
    load.isHeld = HoldsValues(record.kind);
    if (answer.code > 0) load.meaning = fmt::format("{} samples", answer.code);
    else
        load.meaning = answer.code == 0 ? "a header without samples: the record is empty"
                                        : MeaningOf(answer.meanings, answer.code);
    if (answer.code > 0) Measure(load, rate);
    return load;
}

RecordLoad LoadImage(const Record& record)
{
    const bool isFpga = record.kind == RecordKind::Fpga;
    int version[4] = {};
    const auto loader = isFpga ? LoadFirmwareFile : LoadMcuFile;
    RecordLoad load;
    load.call = fmt::format("{}(\"{}\")", isFpga ? "LoadFirmwareFile" : "LoadMcuFile", record.path);
    load.code = loader(record.path.c_str(), &version[0], &version[1], &version[2], &version[3]);
    load.isTaken = load.code > 0;
    load.meaning = load.isTaken ? fmt::format("{} bytes, version {}.{}.{}.{}", load.code,
                                              version[0], version[1], version[2], version[3])
                                : MeaningOf(kImage, load.code);
    return load;
}

}  // namespace vrax
