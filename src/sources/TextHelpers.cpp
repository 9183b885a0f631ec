#include "sources/TextHelpers.h"

#include <strings.h>

#include <algorithm>
#include <cstring>

namespace {
constexpr int kFirstYearOf1900s = 81;
constexpr int kLongestNumber = 4;  // digits of a year

bool IsFieldEnd(char character)
{
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

bool IsDigit(char character) { return character >= '0' && character <= '9'; }

// A text of digits alone, at most four; -1 for anything else.
int NumberFrom(const char* digits)
{
    int value = 0;
    int length = 0;
    for (; IsDigit(digits[length]); ++length) {
        if (length == kLongestNumber) return -1;
        value = 10 * value + (digits[length] - '0');
    }
    return length > 0 && digits[length] == '\0' ? value : -1;
}

int DateFrom(int year, int month, int day)
{
    const bool isDate = year >= 0 && month >= 1 && month <= 12 && day >= 1 && day <= 31;
    return isDate ? (year * 100 + month) * 100 + day : kUnknownDate;
}

int TimeFrom(int hour, int minute, int second)
{
    const bool isTime =
        hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59 && second >= 0 && second <= 59;
    return isTime ? (hour * 100 + minute) * 100 + second : 0;
}

// Ends a text of that length at its two separators.
bool CutAt(char* text, std::size_t length, std::size_t first, std::size_t second, char separator)
{
    if (std::strlen(text) != length) return false;
    if (text[first] != separator || text[second] != separator) return false;
    text[first] = '\0';
    text[second] = '\0';
    return true;
}

int TimeSplitAtDots(char* text)
{
    char* minute = std::strchr(text, '.');
    char* second = minute == nullptr ? nullptr : std::strchr(minute + 1, '.');
    if (second == nullptr) return 0;
    *minute++ = '\0';
    *second++ = '\0';
    return TimeFrom(NumberFrom(text), NumberFrom(minute), NumberFrom(second));
}

// What stands between the fields is not looked at.
int TimeAtPositions(char* text)
{
    if (std::strlen(text) < 8) return 0;
    text[2] = '\0';
    text[5] = '\0';
    text[8] = '\0';
    return TimeFrom(NumberFrom(text), NumberFrom(text + 3), NumberFrom(text + 6));
}
}  // namespace

void StringTrimRight(char* text)
{
    std::size_t length = std::strlen(text);
    while (length > 0 && IsSpace(text[length - 1])) --length;
    text[length] = '\0';
}

void StringTrimLeft(char* text)
{
    const char* start = text;
    while (IsSpace(*start)) ++start;
    std::memmove(text, start, std::strlen(start) + 1);
}

void StringTrim(char* text)
{
    StringTrimRight(text);
    StringTrimLeft(text);
}

int ParseBySpace(char* text, char** fields, int max)
{
    int count = 0;
    while (count < max) {
        while (IsFieldEnd(*text)) ++text;
        if (*text == '\0') break;
        fields[count++] = text;
        while (*text != '\0' && !IsFieldEnd(*text)) ++text;
        if (*text == '\0') break;
        *text++ = '\0';
    }
    return count;
}

bool ReadTextLine(const char*& cursor, const char* end, char* buffer, std::size_t size)
{
    while (cursor != end) {
        const char* line = cursor;
        while (cursor != end && *cursor != '\r' && *cursor != '\n') ++cursor;
        std::size_t length = std::min(static_cast<std::size_t>(cursor - line), size - 1);
        if (cursor != end) ++cursor;
        length = strnlen(line, length);
        while (length > 0 && IsSpace(line[length - 1])) --length;
        if (length == 0) continue;
        std::memcpy(buffer, line, length);
        std::memset(buffer + length, 0, size - length);
        return true;
    }
    return false;
}

int ParseDate(char* text, const char* format)
{
    if (std::strcmp(format, "dd-MMM-yyyy") == 0) {
        if (!CutAt(text, 11, 2, 6, '-')) return kUnknownDate;
        return DateFrom(NumberFrom(text + 7), iMMMtoMonth(text + 3), NumberFrom(text));
    }
    if (std::strcmp(format, "dd.MM.yy") == 0) {
        if (!CutAt(text, 8, 2, 5, '.')) return kUnknownDate;
        const int year = NumberFrom(text + 6);
        if (year < 0) return kUnknownDate;
        const int century = year < kFirstYearOf1900s ? 2000 : 1900;
        return DateFrom(century + year, NumberFrom(text + 3), NumberFrom(text));
    }
    return kUnknownDate;
}

int iMMMtoMonth(const char* mmm)
{
    constexpr const char* kMonths[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                       "jul", "aug", "sep", "oct", "nov", "dec"};
    for (int month = 0; month < 12; ++month) {
        if (strncasecmp(mmm, kMonths[month], 3) == 0) return month + 1;
    }
    return 0;
}

int ParseTime(char* text, const char* format)
{
    if (std::strcmp(format, "H.mm.ss") == 0) return TimeSplitAtDots(text);
    if (std::strcmp(format, "HH.mm.ss") == 0) return TimeAtPositions(text);
    return 0;
}
