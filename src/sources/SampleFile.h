// The samples of a binary file, read in blocks, and how far its header is believed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

#include "platform/ByteOrder.h"
#include "sources/BlockSize.h"

// Whether a file that holds `held` samples may deliver `promised`. A recording that was cut short
// still plays: at least half of it is there, or no more is missing than a short one lasts. A
// header that promises more than that is not worth the memory.
bool IsPromiseCredible(std::int64_t promised, std::int64_t held);

class CBlockReader {
public:
    // `stride` is the distance between pieces that are wanted, in bytes: where it is long, what
    // lies between is not read.
    CBlockReader(std::FILE* file, std::int64_t stride);

    // The bytes from `offset` on, at least `least` of them (a block at most); those that cannot be
    // read are 0. Valid until the next call.
    std::span<const std::uint8_t> From(std::int64_t offset, std::size_t least);

private:
    void Load(std::int64_t offset, std::size_t least);

    std::FILE* file_;
    bool readsAhead_;
    std::int64_t start_ = 0;
    std::size_t loaded_ = 0;
    std::unique_ptr<std::uint8_t[]> block_;
};
