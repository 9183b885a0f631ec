// Numbers as strtod, strtof and atoi read them in the "C" locale, from text that need not end with
// a NUL, whatever locale the application has set.
#pragma once

#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "platform/CLocale.h"
#include "sources/TextHelpers.h"

template <class T>
struct ParsedNumber {
    T value;          // 0 when there is none
    const char* end;  // behind the number; the start of the text when there is none
};

// What std::from_chars refuses or reads differently: hexadecimal digits, values outside the range
// of the type. Looks at the first 255 characters, more than a line of any format has.
template <class Real>
ParsedNumber<Real> ReadRealSlowly(std::string_view text)
{
    char copy[256] = {};
    std::memcpy(copy, text.data(), text.size() < sizeof copy ? text.size() : sizeof copy - 1);
    char* end = nullptr;
    const CAutoCLocale locale;
    Real value;
    if constexpr (std::is_same_v<Real, float>) {
        value = std::strtof(copy, &end);
    } else {
        value = std::strtod(copy, &end);
    }
    return {value, text.data() + (end - copy)};
}

// A plain decimal with at most 15 digits, its sign taken off before: both parts of the quotient are
// exact then, and it is rounded once. Null for anything else.
inline const char* ReadShortDecimal(const char* text, const char* end, double& value)
{
    constexpr int kExactDigits = 15;
    constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    std::uint64_t digits = 0;  // no more than 31, of which the last may not fit
    const auto takeDigits = [&] {
        const char* const first = text;
        const char* const last = end - text > kExactDigits + 1 ? text + kExactDigits + 1 : end;
        for (; text != last && *text >= '0' && *text <= '9'; ++text) {
            digits = 10 * digits + static_cast<unsigned>(*text - '0');
        }
        return static_cast<int>(text - first);
    };
    const int whole = takeDigits();
    if (whole > kExactDigits) return nullptr;
    const bool hasPoint = text != end && *text == '.';
    if (hasPoint) ++text;
    const int fraction = hasPoint ? takeDigits() : 0;
    const int count = whole + fraction;
    const bool isLonger = text != end && ((*text | 0x20) == 'e' || (*text | 0x20) == 'x');
    if (count == 0 || count > kExactDigits || isLonger) return nullptr;
    value = static_cast<double>(static_cast<std::int64_t>(digits)) / kPowersOfTen[fraction];
    return text;
}

// White space, a number, whatever follows; also "inf", "nan" and "0x1p3".
template <class Real>
ParsedNumber<Real> ReadReal(std::string_view text)
{
    const char* start = text.data();
    const char* end = start + text.size();
    while (start != end && IsSpace(*start)) ++start;
    if (end - start > 1 && *start == '+' && start[1] != '-') ++start;
    if constexpr (std::is_same_v<Real, double>) {
        const bool isNegative = start != end && *start == '-';
        double size = 0.0;
        const char* behind = ReadShortDecimal(start + (isNegative ? 1 : 0), end, size);
        if (behind != nullptr) return {isNegative ? -size : size, behind};
    }
    Real value = 0;
    const auto [behind, error] = std::from_chars(start, end, value);
    if (error == std::errc::invalid_argument) return {0, text.data()};
    const bool isHexadecimal = behind != end && (*behind == 'x' || *behind == 'X');
    if (error == std::errc() && !isHexadecimal) return {value, behind};
    return ReadRealSlowly<Real>(text);
}

// White space, a sign, decimal digits, whatever follows. Saturates.
inline ParsedNumber<int> ReadInteger(std::string_view text)
{
    const char* start = text.data();
    const char* end = start + text.size();
    while (start != end && IsSpace(*start)) ++start;
    const bool isNegative = start != end && *start == '-';
    if (isNegative || (start != end && *start == '+')) ++start;
    const char* digits = start;
    long long value = 0;
    for (; start != end && *start >= '0' && *start <= '9'; ++start) {
        if (value <= INT_MAX) value = 10 * value + (*start - '0');
    }
    if (start == digits) return {0, text.data()};
    if (isNegative) value = -value;
    if (value > INT_MAX) value = INT_MAX;
    if (value < INT_MIN) value = INT_MIN;
    return {static_cast<int>(value), start};
}
