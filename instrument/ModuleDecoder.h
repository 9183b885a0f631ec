// Turns the codes of the plug-in modules back into millivolts and ohms, by the calibration that
// the module carries in its flash.
//
// Takes no lock; its owner does.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "instrument/Flash.h"
#include "instrument/SimulatedInstrument.h"

namespace instrument {

// The network of the external respiration module: two programmable resistances of 1024 steps
// behind fixed ones, and an element of 96 steps, all in parallel.
struct RespirationNetwork {
    bool isProgrammed = false;  // else there are no fixed resistances to go by
    std::array<double, 2> fixedOhm{};
    std::array<double, 96> thirdOhm{};
    std::array<std::uint16_t, 12> baselineCodes{};
};

// NaN when a code is beyond its element, or the element has no calibration.
double OhmsOf(const RespirationNetwork& network, std::span<const std::uint16_t, 3> codes);
double BaselineOhmsOf(const RespirationNetwork& network, std::uint16_t code);

class ModuleDecoder {
public:
    explicit ModuleDecoder(const Options& options);

    void ReadCalibration(const Flash& flash);
    // The AC ranges as the relay command states them: of channels 1, 2, 0.
    void SetRanges(const std::array<std::uint8_t, 3>& acCalibration);

    // Fills in what a slot of the mode carries besides the ECG. False when a code is beyond its
    // converter.
    bool Decode(std::uint8_t mode, Sample& sample) const;

private:
    struct Channel {
        double acMvPerCode = 0;
        unsigned acFullScale = 0;
        std::vector<std::uint16_t> dcRow;  // level of each millivolt; empty: the level itself
    };

    void SetScales();
    bool DecodePpg(std::uint8_t mode, Sample& sample) const;
    bool DecodeLevel(const Channel& channel, std::uint16_t dc, std::uint16_t ac,
                     PpgLevel& level) const;
    bool DecodeRespiration(Sample& sample) const;

    const bool hasRespiration_;  // the external module
    const bool hasRanges_;       // the module has AC ranges and DC rows
    const unsigned fullScale_;
    const double dcMaxMv_;
    const double acMaxMv_;
    const std::array<int, 3> ledTypes_;
    std::array<std::uint8_t, 3> ranges_{};         // by channel
    std::array<std::uint16_t, 9> acFullScales_{};  // by row and range; 0: the converter's own
    std::array<Channel, 3> channels_;
    RespirationNetwork network_;
};

}  // namespace instrument
