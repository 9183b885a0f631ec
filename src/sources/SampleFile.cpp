#include "sources/SampleFile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {
constexpr std::int64_t kAlwaysMissing = 1000000;  // samples, 46 minutes at 360 Hz

// Fewer bytes than asked for at the end of the file and where it cannot be read.
std::size_t ReadAt(int descriptor, std::int64_t offset, std::uint8_t* bytes, std::size_t count)
{
    std::size_t got = 0;
    while (got < count) {
        const auto step =
            pread(descriptor, bytes + got, count - got, offset + static_cast<std::int64_t>(got));
        if (step < 0 && errno == EINTR) continue;
        if (step <= 0) break;
        got += static_cast<std::size_t>(step);
    }
    return got;
}
}  // namespace

bool IsPromiseCredible(std::int64_t promised, std::int64_t held)
{
    return promised - held <= std::max(held, kAlwaysMissing);
}

CBlockReader::CBlockReader(std::FILE* file, std::int64_t stride)
    : file_(file),
      readsAhead_(stride < kLongStrideBytes),
      block_(std::make_unique_for_overwrite<std::uint8_t[]>(kBlockBytes))
{}

std::span<const std::uint8_t> CBlockReader::From(std::int64_t offset, std::size_t least)
{
    const std::int64_t skipped = offset - start_;
    if (skipped < 0 ||
        skipped + static_cast<std::int64_t>(least) > static_cast<std::int64_t>(loaded_)) {
        Load(offset, least);
    }
    return {block_.get() + (offset - start_), loaded_ - static_cast<std::size_t>(offset - start_)};
}

void CBlockReader::Load(std::int64_t offset, std::size_t least)
{
    const std::size_t wanted = readsAhead_ ? kBlockBytes : least;
    const std::size_t got = ReadAt(fileno(file_), offset, block_.get(), wanted);
    if (got < least) std::fill(block_.get() + got, block_.get() + least, std::uint8_t{0});
    start_ = offset;
    loaded_ = std::max(got, least);
}
