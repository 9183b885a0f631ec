// Small helpers of the record readers. White space is what isspace takes for it in the "C" locale,
// whatever locale the application has set.
#pragma once

#include <cstddef>

constexpr bool IsSpace(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

// Remove white space in place.
void StringTrimRight(char* text);
void StringTrimLeft(char* text);
void StringTrim(char* text);

// Splits in place at runs of spaces, tabs, CR and LF. Stores at most `max` fields, the rest of the
// text is dropped; returns their number.
int ParseBySpace(char* text, char** fields, int max);

// Copies the next line that is not blank into the zeroed `buffer`, without the white space at its
// end. A line ends at CR or LF; what does not fit is skipped, what follows a NUL does not count.
// Moves the cursor behind the line; false at the end of the data.
bool ReadTextLine(const char*& cursor, const char* end, char* buffer, std::size_t size);

// A 16-bit code read without its sign: 32768 to 65535 become -32768 to -1.
constexpr int ToInt16(int value)
{
    return value >= 0x8000 && value <= 0xFFFF ? value - 0x10000 : value;
}

constexpr int kUnknownDate = 20110101;

// yyyymmdd from a text of exactly the format "dd-MMM-yyyy" or "dd.MM.yy" (81 to 99 are 1981 to
// 1999, all below are of this century). kUnknownDate for anything else. Writes into the text.
int ParseDate(char* text, const char* format);

// 1 to 12 from the first three letters of the English name, in either case; 0 for anything else.
int iMMMtoMonth(const char* mmm);

// hhmmss from "H.mm.ss", three numbers split at the dots, or from "HH.mm.ss", two digits at each of
// the positions 0, 3 and 6. 0 for anything else. Writes into the text.
int ParseTime(char* text, const char* format);
