#include "tools/tables/TextFile.h"

#include <charconv>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>
#include <utility>

namespace {
template <class T>
T Parse(const TextLine& line, const std::string& word, const char* kind)
{
    T value{};
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    if (error != std::errc{} || stop != end) line.Fail("'" + word + "' is not " + kind);
    return value;
}

std::vector<std::string> Words(const std::string& text)
{
    std::istringstream stream(text.substr(0, text.find('#')));
    return {std::istream_iterator<std::string>(stream), {}};
}
}  // namespace

TextLine::TextLine(const std::filesystem::path& file, int number, std::vector<std::string> words)
    : place_(file.string() + ":" + std::to_string(number)), words_(std::move(words))
{}

const std::string& TextLine::Word(std::size_t index) const
{
    if (index >= words_.size()) Fail("the line ends too early");
    return words_[index];
}

double TextLine::Number(std::size_t index) const
{
    return Parse<double>(*this, Word(index), "a number");
}

std::int32_t TextLine::Integer(std::size_t index) const
{
    return Parse<std::int32_t>(*this, Word(index), "a whole number");
}

void TextLine::Require(std::size_t count) const
{
    if (words_.size() == count) return;
    Fail("needs " + std::to_string(count) + " words, has " + std::to_string(words_.size()));
}

void TextLine::Fail(const std::string& reason) const { throw TableError(place_ + ": " + reason); }

std::vector<TextLine> ReadTextFile(const std::filesystem::path& file)
{
    std::istringstream text(ReadBytes(file));
    std::vector<TextLine> lines;
    std::string line;
    for (int number = 1; std::getline(text, line); ++number) {
        if (auto words = Words(line); !words.empty()) {
            lines.emplace_back(file, number, std::move(words));
        }
    }
    return lines;
}

std::string ReadBytes(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream bytes;
    if (!stream || !(bytes << stream.rdbuf())) {
        throw TableError(file.string() + ": cannot be read, or is empty");
    }
    return bytes.str();
}
