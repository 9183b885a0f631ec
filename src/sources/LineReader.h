// The lines of a text file, cut after 127 characters, read in blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

class CLineReader {
public:
    // At most, its LF not counted; a longer line goes on as the next one.
    static constexpr std::size_t kLineCharacters = 127;

    // Borrows the file, which must not be read by anybody else meanwhile.
    explicit CLineReader(std::FILE* file);

    // The next line with its LF; what follows a NUL is part of it. Valid until the next call. False
    // at the end of the file and where it cannot be read.
    bool Next(std::string_view& line)
    {
        if (end_ - cursor_ <= kLineCharacters && !isAtEnd_) Refill();
        if (cursor_ == end_) return false;
        const char* start = block_.get() + cursor_;
        line = {start, LengthFrom(start, end_ - cursor_)};
        cursor_ += line.size();
        return true;
    }

    // False when the block in which the last line stands has none: it need not be searched then.
    bool MayHoldNul() const { return mayHoldNul_; }

    // Bytes of a regular file that no line was made of yet; -1 where that is not known.
    std::int64_t BytesLeft() const;

private:
    static std::size_t LengthFrom(const char* start, std::size_t available);
    void Refill();

    std::FILE* file_;
    std::unique_ptr<char[]> block_;
    std::size_t cursor_ = 0;
    std::size_t end_ = 0;
    std::int64_t bytesRead_ = 0;
    bool isAtEnd_ = false;
    bool mayHoldNul_ = false;
};
