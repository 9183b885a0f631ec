#include "instrument/ModuleDecoder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <span>

#include "instrument/FactoryRecords.h"

namespace instrument {

namespace {

constexpr std::uint8_t kModeEcgAndRespiration = kModeEcg | kModeRespiration;

constexpr double kProgrammableOhm = 20000;
constexpr double kProgrammableSteps = 1024;
constexpr unsigned kBaselinesOhm[] = {0,    100,  200,  500,  1000, 1500,
                                      2000, 2500, 3000, 3500, 4000, 4500};

// The AC ranges of 0x3407. The smallest counts as 1 mV: a host scales by whole millivolts.
constexpr double kRangesMv[] = {300, 15, 1};
constexpr std::size_t kRows[] = {2, 0, 1};  // of channels 0, 1, 2
constexpr std::size_t kFirstFullScaleWord = 9;
constexpr std::size_t kRowWords = 3001;
constexpr std::uint16_t kErased = 0xFFFF;

std::uint16_t LittleWord(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    return static_cast<std::uint16_t>(bytes[offset] | bytes[offset + 1] << 8);
}

double DoubleAt(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < sizeof bits; ++i) {
        bits |= std::uint64_t{bytes[offset + i]} << 8 * i;
    }
    return std::bit_cast<double>(bits);
}

RespirationNetwork ReadNetwork(const Flash& flash)
{
    RespirationNetwork network;
    const auto fixed = flash.Read(kModuleChannel, kRespirationRwa, 24);
    network.isProgrammed = DoubleAt(fixed, 0) == kRwaMarker;
    for (std::size_t i = 0; i < network.fixedOhm.size(); ++i) {
        network.fixedOhm[i] = DoubleAt(fixed, 8 + 8 * i);
    }
    const auto third = flash.Read(kModuleChannel, kRespirationTable, 8 * network.thirdOhm.size());
    for (std::size_t i = 0; i < network.thirdOhm.size(); ++i) {
        network.thirdOhm[i] = DoubleAt(third, 8 * i);
    }
    const auto codes =
        flash.Read(kModuleChannel, kRespirationBaselines, 2 * network.baselineCodes.size());
    for (std::size_t i = 0; i < network.baselineCodes.size(); ++i) {
        network.baselineCodes[i] = LittleWord(codes, 2 * i);
    }
    return network;
}

std::vector<std::uint16_t> ReadRow(const Flash& flash, std::size_t row)
{
    const auto bytes = flash.Read(kModuleChannel, kDcRows[row], 2 * kRowWords);
    std::vector<std::uint16_t> words(kRowWords);
    for (std::size_t i = 0; i < kRowWords; ++i) words[i] = LittleWord(bytes, 2 * i);
    // Never programmed: a level is its own millivolts.
    if (words.back() == kErased) words.clear();
    return words;
}

// The millivolts whose entry a level is, between two entries in proportion.
double Inverse(const std::vector<std::uint16_t>& row, double level)
{
    if (row.empty()) return level;
    const auto above = std::lower_bound(row.begin(), row.end(), level);
    if (above == row.begin()) return 0;
    if (above == row.end()) return static_cast<double>(row.size() - 1);
    const double below = above[-1];
    return static_cast<double>(above - row.begin() - 1) + (level - below) / (*above - below);
}

std::array<int, 3> LedTypesOf(const Options& options)
{
    if (options.ledTypes) return *options.ledTypes;
    if (!options.ppgModel) return {0, 0, 0};
    if ((*options.ppgModel & 0xF0FF) == 0) return {3, 3, 3};
    if (*options.ppgModel == kModelWithTwoChannels) return {1, 2, 0};
    return {1, 2, 3};
}

}  // namespace

double OhmsOf(const RespirationNetwork& network, std::span<const std::uint16_t, 3> codes)
{
    if (!network.isProgrammed) return kNotPlayed;
    if (codes[2] >= network.thirdOhm.size()) return kNotPlayed;
    double conductance = 1 / network.thirdOhm[codes[2]];
    for (std::size_t i = 0; i < network.fixedOhm.size(); ++i) {
        if (codes[i] >= kProgrammableSteps) return kNotPlayed;
        const double programmed = codes[i] / kProgrammableSteps * kProgrammableOhm;
        conductance += 1 / (network.fixedOhm[i] + programmed);
    }
    return 1 / conductance;
}

double BaselineOhmsOf(const RespirationNetwork& network, std::uint16_t code)
{
    const auto& codes = network.baselineCodes;
    const auto found = std::find(codes.begin(), codes.end(), code);
    if (found == codes.end() || code == kErased) return kNotPlayed;
    return kBaselinesOhm[found - codes.begin()];
}

ModuleDecoder::ModuleDecoder(const Options& options)
    : hasRespiration_(options.respirationModule),
      hasRanges_(options.ppgModel == kModelWithTwoChannels),
      fullScale_(HasWideConverters(options) ? 65535 : 4095),
      dcMaxMv_(options.ppgDcMaxMv),
      acMaxMv_(std::trunc(options.ppgAcMaxMv)),
      ledTypes_(LedTypesOf(options))
{
    SetScales();
}

void ModuleDecoder::ReadCalibration(const Flash& flash)
{
    network_ = ReadNetwork(flash);
    if (!hasRanges_) return;
    const auto words = flash.Read(kModuleChannel, kFactorySettingMcu, 256);
    for (std::size_t i = 0; i < acFullScales_.size(); ++i) {
        acFullScales_[i] = LittleWord(words, 2 * (kFirstFullScaleWord + i));
    }
    for (std::size_t i = 0; i < channels_.size(); ++i) {
        channels_[i].dcRow = ReadRow(flash, kRows[i]);
    }
    SetScales();
}

void ModuleDecoder::SetRanges(const std::array<std::uint8_t, 3>& acCalibration)
{
    ranges_ = {acCalibration[2], acCalibration[0], acCalibration[1]};
    SetScales();
}

void ModuleDecoder::SetScales()
{
    for (std::size_t i = 0; i < channels_.size(); ++i) {
        unsigned full = fullScale_;
        double mv = acMaxMv_;
        if (hasRanges_) {
            const std::size_t range = std::min<std::size_t>(ranges_[i], 2);
            const unsigned own = acFullScales_[3 * kRows[i] + range];
            if (own != 0) full = own;
            mv = kRangesMv[range];
        }
        channels_[i].acFullScale = full;
        channels_[i].acMvPerCode = mv / full;
    }
}

bool ModuleDecoder::Decode(std::uint8_t mode, Sample& sample) const
{
    if (mode == kModeEcg) return true;
    return mode == kModeEcgAndRespiration ? DecodeRespiration(sample) : DecodePpg(mode, sample);
}

// A position without an LED takes no room; those after it move up.
bool ModuleDecoder::DecodePpg(std::uint8_t mode, Sample& sample) const
{
    std::size_t at = 0;
    bool isGood = true;
    const auto take = [&](int channel) {
        if (channel < 0 || channel > 2) return;
        const auto index = static_cast<std::size_t>(channel);
        const auto& codes = sample.codes.extra;
        isGood =
            DecodeLevel(channels_[index], codes[at], codes[at + 1], sample.ppg[index]) && isGood;
        at += 2;
    };
    if ((mode & 0x04) != 0) take(ledTypes_[0]);
    if ((mode & 0x08) != 0) take(2);
    if ((mode & 0x10) != 0) take(0);
    return isGood;
}

bool ModuleDecoder::DecodeLevel(const Channel& channel, std::uint16_t dc, std::uint16_t ac,
                                PpgLevel& level) const
{
    level.dcMv = Inverse(channel.dcRow, dc * dcMaxMv_ / fullScale_);
    level.acMv = ac * channel.acMvPerCode;
    return dc <= fullScale_ && ac <= channel.acFullScale;
}

bool ModuleDecoder::DecodeRespiration(Sample& sample) const
{
    if (!hasRespiration_) return false;
    const auto& codes = sample.codes.extra;
    sample.respirationOhm = OhmsOf(network_, std::span(codes).first<3>());
    sample.baselineOhm = BaselineOhmsOf(network_, codes[3]);
    return codes[0] < kProgrammableSteps && codes[1] < kProgrammableSteps &&
           codes[2] < network_.thirdOhm.size();
}

}  // namespace instrument
