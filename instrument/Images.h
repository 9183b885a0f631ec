// The two programs that a host can replace: where they lie in the flash, and how they are told.
//
// Takes no lock; its owner does.
#pragma once

#include <cstdint>
#include <span>

#include "instrument/Flash.h"
#include "instrument/SimulatedInstrument.h"

namespace instrument {

// The FPGA image fills the ECG board's memory but for the board's records in between.
constexpr std::uint32_t kFpgaImageBytes = 122880;
constexpr std::uint32_t kEcgRecords = 102400;
constexpr std::uint32_t kEcgRecordsEnd = 116736;

// Of both images.
constexpr std::uint32_t kImageTag = 118772;
constexpr std::uint32_t kImageVersion = kImageTag + 4;

bool IsInFpgaImage(std::uint32_t address);
// Whether a frame keeps to the part in which it begins: image, records, image.
bool StaysInOnePart(std::uint32_t address, std::size_t bytes);

ImageState DescribeImage(const Flash& flash, Image image);

void ProgramFactoryImages(Flash& flash, const Options& options);

// As a programming device does it. Throws std::out_of_range when `bytes` is no FPGA image's length
// or does not fit the MCU's memory.
void HoldImage(Flash& flash, Image image, std::span<const std::uint8_t> bytes);

}  // namespace instrument
