#include "sources/LineReader.h"

#include <algorithm>
#include <cstring>

#include "platform/File.h"
#include "sources/BlockSize.h"

CLineReader::CLineReader(std::FILE* file)
    : file_(file), block_(std::make_unique_for_overwrite<char[]>(kBlockBytes))
{}

std::size_t CLineReader::LengthFrom(const char* start, std::size_t available)
{
    const std::size_t limit = std::min(available, kLineCharacters + 1);
    const void* lineFeed = std::memchr(start, '\n', limit);
    if (lineFeed == nullptr) return std::min(available, kLineCharacters);
    return static_cast<std::size_t>(static_cast<const char*>(lineFeed) - start) + 1;
}

// Moves what is left to the front and reads on behind it.
void CLineReader::Refill()
{
    std::memmove(block_.get(), block_.get() + cursor_, end_ - cursor_);
    end_ -= cursor_;
    cursor_ = 0;
    const std::size_t got = std::fread(block_.get() + end_, 1, kBlockBytes - end_, file_);
    isAtEnd_ = got < kBlockBytes - end_;
    end_ += got;
    bytesRead_ += static_cast<std::int64_t>(got);
    mayHoldNul_ = std::memchr(block_.get(), '\0', end_) != nullptr;
}

std::int64_t CLineReader::BytesLeft() const
{
    const std::int64_t bytes = GetFileSize(file_);
    if (bytes < 0) return -1;
    const std::int64_t taken = bytesRead_ - static_cast<std::int64_t>(end_ - cursor_);
    return std::max<std::int64_t>(bytes - taken, 0);
}
