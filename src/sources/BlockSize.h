// How much of a recording is read at a time.
#pragma once

#include <cstddef>

// The harnesses make blocks small, so that short inputs pass from one to the next.
#ifdef VRAX_SMALL_BLOCKS
constexpr std::size_t kBlockBytes = 512;
constexpr int kLongStrideBytes = 64;
#else
constexpr std::size_t kBlockBytes = 65536;
// Reading on is cheaper than another system call up to about here.
constexpr int kLongStrideBytes = 16384;
#endif
