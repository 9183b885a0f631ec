#include "RecordFields.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include <fmt/format.h>

namespace vrax {

namespace {

constexpr std::size_t kLongestShown = 64;

bool IsSpace(char character)
{
    return std::string_view(" \t\n\v\f\r").find(character) != std::string_view::npos;
}

void TellRest(std::string_view text, std::size_t taken, std::string_view* rest)
{
    if (rest == nullptr) return;
    *rest = text.substr(std::min(taken, text.size()));
    if (std::all_of(rest->begin(), rest->end(), IsSpace)) *rest = {};
}

}  // namespace

RecordField& RecordFields::Add(const std::string& name, std::int64_t offset, std::string_view value)
{
    fields.push_back({name, offset, Printable(value), "", ""});
    return fields.back();
}

std::string Printable(std::string_view text)
{
    std::string shown;
    for (const char character : text.substr(0, kLongestShown)) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x20 || code >= 0x7F) shown += fmt::format("\\x{:02X}", code);
        else shown += character;
    }
    return text.size() > kLongestShown ? shown + "..." : shown;
}

double NumberIn(std::string_view text, std::string_view* rest)
{
    const std::string copy(text);  // with a NUL behind it
    char* end = nullptr;
    const double value = std::strtod(copy.c_str(), &end);
    TellRest(text, static_cast<std::size_t>(end - copy.c_str()), rest);
    return value;
}

int IntegerIn(std::string_view text, std::string_view* rest)
{
    const std::string copy(text);
    char* end = nullptr;
    const long long value = std::strtoll(copy.c_str(), &end, 10);
    TellRest(text, static_cast<std::size_t>(end - copy.c_str()), rest);
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

std::string NoteOnRest(std::string_view rest)
{
    return rest.empty() ? "" : fmt::format("'{}' behind the number is ignored", Printable(rest));
}

void JudgePromise(RecordField& field, std::int64_t promised, std::int64_t there)
{
    if (there >= promised) return;
    const auto told =
        fmt::format("the header promises {} samples of each channel, the file holds {}", promised,
                    there);
    const std::int64_t missing = promised - there;
    if (missing > kForgivenSamples && missing > promised / 2) {
        field.rule =
            fmt::format("{}; half of them must be there, or all but {}", told, kForgivenSamples);
    } else {
        field.note = told + "; the last one is repeated";
    }
}

}  // namespace vrax
