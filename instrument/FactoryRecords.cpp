#include "instrument/FactoryRecords.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace instrument {

namespace {

using Bytes = std::vector<std::uint8_t>;

// Byte addresses in the module's memory.
constexpr std::uint32_t kSamplingTable1 = 1024;
constexpr std::uint32_t kSamplingTable2 = 3072;
constexpr std::uint32_t kFactorySetting = 5120;

std::uint8_t Byte(unsigned value) { return static_cast<std::uint8_t>(value & 0xFF); }

void AppendLittle(Bytes& bytes, unsigned word)
{
    bytes.push_back(Byte(word));
    bytes.push_back(Byte(word >> 8));
}

void AppendBig(Bytes& bytes, unsigned word)
{
    bytes.push_back(Byte(word >> 8));
    bytes.push_back(Byte(word));
}

template <typename T>
void AppendRaw(Bytes& bytes, T value)
{
    const std::size_t end = bytes.size();
    bytes.resize(end + sizeof value);
    std::memcpy(bytes.data() + end, &value, sizeof value);
}

void ProgramSamplingTable(Flash& flash, std::uint32_t address, unsigned offset)
{
    Bytes bytes;
    for (unsigned i = 0; i < 1024; ++i) AppendBig(bytes, i + offset);
    flash.Program(kModuleChannel, address, bytes);
}

void ProgramFactorySetting(Flash& flash)
{
    // Marker, LED levels of positions 1 and 2, trigger levels 1 and 2, LED and trigger level of 3.
    Bytes bytes{1, 150, 151, 60, 61, 152, 62};
    bytes.resize(64, 0);
    flash.Program(kModuleChannel, kFactorySetting, bytes);
}

// 128 little-endian words. The first six are also three photodiode ratios; every other word differs
// from its neighbours, so that a host that takes the wrong one is seen.
void ProgramFactorySettingMcu(Flash& flash)
{
    Bytes bytes;
    for (const float ratio : {1.0F, 0.98F, 1.02F}) AppendRaw(bytes, ratio);
    for (unsigned word = 6; word < 128; ++word) {
        const bool fullScale = word >= 9 && word <= 17;
        AppendLittle(bytes, fullScale ? 60000 + 100 * word : 700 + word);
    }
    flash.Program(kModuleChannel, kFactorySettingMcu, bytes);
}

// Each row is lower than a level itself by another part: 4, 2 and 1 of a hundred.
void ProgramDcRows(Flash& flash)
{
    constexpr unsigned kPercent[] = {96, 98, 99};
    for (unsigned row = 0; row < std::size(kDcRows); ++row) {
        Bytes bytes;
        for (unsigned mv = 0; mv <= 3000; ++mv) AppendLittle(bytes, kPercent[row] * mv / 100);
        flash.Program(kModuleChannel, kDcRows[row], bytes);
    }
}

void ProgramPpgModule(Flash& flash, const Options& options)
{
    ProgramFactorySetting(flash);
    ProgramFactorySettingMcu(flash);
    ProgramSamplingTable(flash, kSamplingTable1, 1);
    ProgramSamplingTable(flash, kSamplingTable2, 2);
    if (options.ppgModel == kModelWithTwoChannels) ProgramDcRows(flash);
}

void ProgramRespirationModule(Flash& flash)
{
    Bytes rwa;
    for (const double value : {kRwaMarker, 60.5, 61.5, 80.0, 0.0}) AppendRaw(rwa, value);
    rwa.resize(64, 0);
    flash.Program(kModuleChannel, kRespirationRwa, rwa);

    Bytes baselines;
    for (unsigned i = 0; i < 12; ++i) AppendLittle(baselines, 1000 + 100 * i);
    flash.Program(kModuleChannel, kRespirationBaselines, baselines);

    Bytes table;
    for (int i = 0; i < 96; ++i) AppendRaw(table, 50.0 + 0.25 * i);
    flash.Program(kModuleChannel, kRespirationTable, table);
}

Bytes ModelRecord(const char letters[2], unsigned code, unsigned year, unsigned sequence,
                  const std::array<std::uint8_t, 2>& hardware,
                  const std::array<std::uint8_t, 4>& firmware)
{
    Bytes bytes{'T', static_cast<std::uint8_t>(letters[0]), static_cast<std::uint8_t>(letters[1])};
    AppendBig(bytes, code);
    bytes.push_back(Byte(year));
    AppendBig(bytes, sequence);
    bytes.insert(bytes.end(), {hardware[0], hardware[1], firmware[0], firmware[1]});
    return bytes;
}

}  // namespace

bool HasWideConverters(const Options& options)
{
    return options.dac16.value_or(options.ppgModel == kModelWithTwoChannels);
}

void ProgramModelRecords(Flash& flash, const Options& options)
{
    flash.Program(kMainChannel, 0,
                  ModelRecord(options.typeLetters.data(), options.modelCode, options.year,
                              options.sequenceNumber, options.hardware, options.firmware));
    if (!options.ppgModel && !options.respirationModule) return;
    const bool ppg = options.ppgModel.has_value();
    flash.Program(kModuleChannel, 0,
                  ModelRecord(ppg ? "AP" : "ER", options.ppgModel.value_or(0x4501),
                              options.moduleYear, options.moduleSequenceNumber,
                              options.moduleHardware, options.moduleFirmware));
}

void ProgramFactoryRecords(Flash& flash, const Options& options)
{
    ProgramModelRecords(flash, options);
    if (options.ppgModel) ProgramPpgModule(flash, options);
    else if (options.respirationModule) ProgramRespirationModule(flash);
}

}  // namespace instrument
