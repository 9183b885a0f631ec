#include "instrument/DcTable.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace instrument {

namespace {

constexpr int kZeroIndex = 2000;                  // the word of 0 mV
constexpr unsigned kDefaultCodesPer10V = 327675;  // 32.7675 a millivolt, in whole numbers
constexpr std::uint16_t kErased = 0xFFFF;
constexpr std::size_t kAllCodes = 65536;

DcWords MakeDefaultWords()
{
    DcWords words{};
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::size_t steps = std::clamp<std::size_t>(i, 1000, 3000) - 1000;
        words[i] = static_cast<std::uint16_t>(kDefaultCodesPer10V * steps / 10000);
    }
    return words;
}

// Gives the codes between two neighbouring words their share of the millivolt between them. The
// segments come from the outside in, so the one nearest to zero has the last word.
void FillSegment(std::vector<double>& mv, const DcWords& words, std::size_t index)
{
    const std::ptrdiff_t low = words[index];
    const std::ptrdiff_t high = words[index + 1];
    const double from = static_cast<double>(index) - kZeroIndex;
    const std::ptrdiff_t step = low <= high ? 1 : -1;
    const std::ptrdiff_t codes = std::abs(high - low);
    if (codes == 0) {
        mv[static_cast<std::size_t>(low)] = index >= kZeroIndex ? from : from + 1;
        return;
    }
    for (std::ptrdiff_t i = 0; i <= codes; ++i) {
        const double part = static_cast<double>(i) / static_cast<double>(codes);
        mv[static_cast<std::size_t>(low + i * step)] = from + part;
    }
}

}  // namespace

const DcWords& DefaultDcWords()
{
    static const DcWords s_words = MakeDefaultWords();
    return s_words;
}

std::uint16_t DcCode(const DcWords& words, double mv)
{
    if (std::isnan(mv)) return words[kZeroIndex];
    const double x = std::clamp(mv, -2000.0, 2000.0) + kZeroIndex;
    const auto index = static_cast<std::size_t>(x);
    const double low = words[index];
    const double high = words[std::min<std::size_t>(index, kDcTableWords - 2) + 1];
    return static_cast<std::uint16_t>(low + (x - static_cast<double>(index)) * (high - low));
}

std::uint16_t DefaultDcCode(double mv) { return DcCode(DefaultDcWords(), mv); }

bool IsProgrammed(const DcWords& words)
{
    return std::find(words.begin() + 1500, words.begin() + 2501, kErased) == words.begin() + 2501;
}

std::vector<std::uint8_t> ToFlashBytes(const DcWords& words)
{
    std::vector<std::uint8_t> bytes;
    bytes.reserve(2 * words.size());
    for (const std::uint16_t word : words) {
        bytes.push_back(static_cast<std::uint8_t>(word >> 8));
        bytes.push_back(static_cast<std::uint8_t>(word & 0xFF));
    }
    return bytes;
}

DcWords FromFlashBytes(std::span<const std::uint8_t> bytes)
{
    DcWords words;
    words.fill(kErased);
    const std::size_t count = std::min(words.size(), bytes.size() / 2);
    for (std::size_t i = 0; i < count; ++i) {
        words[i] = static_cast<std::uint16_t>(bytes[2 * i] << 8 | bytes[2 * i + 1]);
    }
    return words;
}

DcDecoder::DcDecoder(const DcWords& words) : mv_(kAllCodes, NAN), restCode_(words[kZeroIndex])
{
    for (std::size_t i = 0; i < kZeroIndex; ++i) {
        FillSegment(mv_, words, i);
        FillSegment(mv_, words, kDcTableWords - 2 - i);
    }
    mv_[restCode_] = 0;
    // Codes that no voltage has: the nearest code below that one has, else the lowest.
    double last = *std::find_if(mv_.begin(), mv_.end(), [](double mv) { return !std::isnan(mv); });
    for (double& mv : mv_) {
        if (std::isnan(mv)) mv = last;
        last = mv;
    }
}

}  // namespace instrument
