// The lines of a text recording as its loader cuts them.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace vrax {

struct RecordLine {
    std::int64_t offset = 0;  // of its first byte in the file
    std::string_view text;    // without its end
    bool isCut = false;       // longer than a line may be: the next one is its rest
};

// Takes lines one after another; one that has more characters than `most` goes on as the next.
class RecordLines {
public:
    RecordLines(std::string_view bytes, std::size_t most) : bytes_(bytes), most_(most) {}

    // False at the end of the file.
    bool Next(RecordLine& line);

    std::size_t Position() const { return at_; }

private:
    std::string_view bytes_;
    std::size_t most_;
    std::size_t at_ = 0;
};

// The pieces between separators, empty ones too: one more than there are separators.
std::vector<std::string_view> SplitAt(std::string_view text, char separator);

}  // namespace vrax
