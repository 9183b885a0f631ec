// The instrument's own copy of the ECG DC calibration: millivolts to codes and back.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace instrument {

constexpr std::size_t kDcTableWords = 4001;  // entry i is the code for i - 2000 mV
using DcWords = std::array<std::uint16_t, kDcTableWords>;

// The table of an instrument that was never calibrated: 0 below -1000 mV, then 32.7675 codes a
// millivolt, 65535 above +1000 mV.
const DcWords& DefaultDcWords();

// The code that a host which uses `words` sends for `mv`: linear between whole millivolts.
std::uint16_t DcCode(const DcWords& words, double mv);
std::uint16_t DefaultDcCode(double mv);

// True when the words around zero (-500 to +500 mV) are all programmed.
bool IsProgrammed(const DcWords& words);

// 8002 flash bytes, most significant byte of a word first, and back.
std::vector<std::uint8_t> ToFlashBytes(const DcWords& words);
DcWords FromFlashBytes(std::span<const std::uint8_t> bytes);

// Codes to millivolts: one table look-up a sample.
class DcDecoder {
public:
    explicit DcDecoder(const DcWords& words = DefaultDcWords());
    // Where several millivolts share a code, the one nearest to zero.
    double Mv(std::uint16_t code) const { return mv_[code]; }
    std::uint16_t RestCode() const { return restCode_; }

private:
    std::vector<double> mv_;  // 65536 entries
    std::uint16_t restCode_;  // the code of 0 mV
};

}  // namespace instrument
