// Descriptions as text: words separated by blanks, '#' starts a comment. Numbers are read the same
// whatever the locale.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

// What was refused and why: "file: reason" or "file:line: reason".
struct TableError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class TextLine {
public:
    TextLine(const std::filesystem::path& file, int number, std::vector<std::string> words);

    std::size_t Count() const { return words_.size(); }
    // These refuse a word that is missing or is no number.
    const std::string& Word(std::size_t index) const;
    double Number(std::size_t index) const;
    std::int32_t Integer(std::size_t index) const;
    // Refuses a line that has any other number of words.
    void Require(std::size_t count) const;
    [[noreturn]] void Fail(const std::string& reason) const;

private:
    std::string place_;
    std::vector<std::string> words_;
};

// The lines that hold anything.
std::vector<TextLine> ReadTextFile(const std::filesystem::path& file);

// Every byte of a file, or a TableError.
std::string ReadBytes(const std::filesystem::path& file);
