#include "RecordLines.h"

#include <algorithm>

namespace vrax {

bool RecordLines::Next(RecordLine& line)
{
    if (at_ >= bytes_.size()) return false;
    const std::string_view rest = bytes_.substr(at_);
    const std::size_t lineFeed = rest.find('\n');
    const std::size_t length = std::min({lineFeed, rest.size(), most_});
    line.offset = static_cast<std::int64_t>(at_);
    line.isCut = length == most_ && lineFeed != most_ && length < rest.size();
    line.text = rest.substr(0, length);
    at_ += length + (length == lineFeed ? 1 : 0);
    line.text = line.text.substr(0, line.text.find('\0'));
    while (!line.text.empty() && line.text.back() == '\r') line.text.remove_suffix(1);
    return true;
}

std::vector<std::string_view> SplitAt(std::string_view text, char separator)
{
    std::vector<std::string_view> pieces;
    for (std::size_t end; (end = text.find(separator)) != std::string_view::npos;) {
        pieces.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    pieces.push_back(text);
    return pieces;
}

}  // namespace vrax
