// Trimming, splitting, lines of a text in memory, dates, times and numbers.

#include "sources/TextHelpers.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "sources/ParseNumber.h"
#include "support/CommaLocale.h"

namespace {
using Change = void (*)(char*);

std::string Changed(Change change, std::string text)
{
    change(text.data());
    return text.c_str();
}

std::vector<std::string> Split(std::string text, int max = 64)
{
    char* fields[64] = {};
    const int count = ParseBySpace(text.data(), fields, max);
    return {fields, fields + count};
}

std::vector<std::string> TextLines(const std::string& data, std::size_t size = 32)
{
    std::vector<std::string> lines;
    std::vector<char> buffer(size, 'x');
    const char* cursor = data.data();
    const char* const end = cursor + data.size();
    while (ReadTextLine(cursor, end, buffer.data(), size)) lines.emplace_back(buffer.data());
    EXPECT_EQ(cursor, end);
    return lines;
}

int DateOf(std::string text, const char* format) { return ParseDate(text.data(), format); }
int TimeOf(std::string text, const char* format) { return ParseTime(text.data(), format); }

TEST(Trim, RemovesEveryKindOfWhiteSpace)
{
    const std::string text = " \t\r\n\v\fa b \t\r\n\v\f";
    EXPECT_EQ(Changed(StringTrimRight, text), " \t\r\n\v\fa b");
    EXPECT_EQ(Changed(StringTrimLeft, text), "a b \t\r\n\v\f");
    EXPECT_EQ(Changed(StringTrim, text), "a b");
}

TEST(Trim, LeavesNothingOfABlankText)
{
    for (const char* text : {"", " ", "\t\r\n"}) {
        for (const Change change : {StringTrimRight, StringTrimLeft, StringTrim}) {
            EXPECT_EQ(Changed(change, text), "");
        }
    }
}

TEST(Trim, KeepsWhatIsNoSpace)
{
    EXPECT_EQ(Changed(StringTrim, "\xA0x\x85"), "\xA0x\x85");
    EXPECT_EQ(Changed(StringTrim, "\x01x\x1F"), "\x01x\x1F");
}

TEST(ParseBySpace, SplitsAtRunsOfSpacesTabsAndLineEnds)
{
    EXPECT_EQ(Split(" a  b\tc\r\nd \t"), (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_EQ(Split("one"), (std::vector<std::string>{"one"}));
    EXPECT_TRUE(Split("").empty());
    EXPECT_TRUE(Split(" \t\r\n").empty());
}

TEST(ParseBySpace, TakesOtherWhiteSpaceAsPartOfAField)
{
    EXPECT_EQ(Split("a\vb\fc d"), (std::vector<std::string>{"a\vb\fc", "d"}));
}

TEST(ParseBySpace, StopsAtTheLargestNumberOfFields)
{
    EXPECT_EQ(Split("a b c", 2), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(Split("a b c", 3), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_TRUE(Split("a b c", 0).empty());
}

TEST(ReadTextLine, EndsALineAtCrOrLfAndLeavesOutBlankOnes)
{
    EXPECT_EQ(TextLines("a\nb\r\nc\rd"), (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_EQ(TextLines("\n\r \t\n x \n\n"), (std::vector<std::string>{" x"}));
    EXPECT_TRUE(TextLines("").empty());
    EXPECT_TRUE(TextLines("\n \r").empty());
}

TEST(ReadTextLine, SkipsTheRestOfALineThatDoesNotFit)
{
    EXPECT_EQ(TextLines("1234567\nab", 8), (std::vector<std::string>{"1234567", "ab"}));
    EXPECT_EQ(TextLines("12345678\nab", 8), (std::vector<std::string>{"1234567", "ab"}));
    EXPECT_EQ(TextLines("1234567890123\nab", 8), (std::vector<std::string>{"1234567", "ab"}));
}

TEST(ReadTextLine, TrimsAfterTheCut)
{
    EXPECT_EQ(TextLines("123    8\nab", 8), (std::vector<std::string>{"123", "ab"}));
}

TEST(ReadTextLine, ZeroesTheWholeBuffer)
{
    char buffer[16];
    std::memset(buffer, 'x', sizeof buffer);
    const std::string data = "ab\ncd";
    const char* cursor = data.data();
    ASSERT_TRUE(ReadTextLine(cursor, data.data() + data.size(), buffer, sizeof buffer));
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string("ab") + std::string(14, '\0'));
    EXPECT_EQ(cursor, data.data() + 3);
}

TEST(ReadTextLine, DoesNotCountWhatFollowsANul)
{
    EXPECT_EQ(TextLines(std::string("a \0b\n\0c\nd", 9)), (std::vector<std::string>{"a", "d"}));
}

TEST(ToInt16, FoldsTheUpperHalfAlone)
{
    EXPECT_EQ(ToInt16(0), 0);
    EXPECT_EQ(ToInt16(32767), 32767);
    EXPECT_EQ(ToInt16(32768), -32768);
    EXPECT_EQ(ToInt16(65535), -1);
    EXPECT_EQ(ToInt16(65536), 65536);
    EXPECT_EQ(ToInt16(-1), -1);
}

TEST(ParseDate, ReadsADayAnEnglishMonthAndAYear)
{
    EXPECT_EQ(DateOf("02-MAY-1951", "dd-MMM-yyyy"), 19510502);
    EXPECT_EQ(DateOf("31-dec-2024", "dd-MMM-yyyy"), 20241231);
    EXPECT_EQ(DateOf("01-Jan-0001", "dd-MMM-yyyy"), 10101);
}

TEST(ParseDate, TakesYearsBelow81AsOfThisCentury)
{
    EXPECT_EQ(DateOf("05.03.80", "dd.MM.yy"), 20800305);
    EXPECT_EQ(DateOf("05.03.81", "dd.MM.yy"), 19810305);
    EXPECT_EQ(DateOf("31.12.99", "dd.MM.yy"), 19991231);
    EXPECT_EQ(DateOf("01.01.00", "dd.MM.yy"), 20000101);
}

TEST(ParseDate, GivesTheFirstOf2011ForAnythingElse)
{
    for (const char* text :
         {"", "X", "2-MAY-1951", "02-MAI-1951", "02.MAY.1951", "02-MAY-19x1", "00-MAY-1951",
          "32-MAY-1951", "02-MAY-1951 ", "02-MAY-51", "05.03.80"}) {
        EXPECT_EQ(DateOf(text, "dd-MMM-yyyy"), 20110101) << text;
    }
    for (const char* text :
         {"", "5.03.80", "05.3.80", "05-03-80", "05.13.80", "05.00.80", "00.03.80", "32.03.80",
          "ab.03.80", "05.03.8x", "05.03.1980", "02-MAY-1951"}) {
        EXPECT_EQ(DateOf(text, "dd.MM.yy"), 20110101) << text;
    }
    EXPECT_EQ(DateOf("2024-05-02", "yyyy-MM-dd"), 20110101);
    EXPECT_EQ(DateOf("02.05.24", ""), 20110101);
}

TEST(ParseDate, NumbersTheMonths)
{
    const char* const months[] = {"JAN", "feb", "Mar", "aPR", "may", "JUn",
                                  "jul", "AUG", "sep", "oct", "nov", "dec"};
    for (int i = 0; i < 12; ++i) EXPECT_EQ(iMMMtoMonth(months[i]), i + 1);
    for (const char* text : {"", "J", "JA", "MAI", "123"}) EXPECT_EQ(iMMMtoMonth(text), 0) << text;
}

TEST(ParseTime, SplitsAtTheDotsOrTakesFixedPositions)
{
    EXPECT_EQ(TimeOf("17.05.09", "HH.mm.ss"), 170509);
    EXPECT_EQ(TimeOf("17:05:09", "HH.mm.ss"), 170509);
    EXPECT_EQ(TimeOf("00.00.01", "HH.mm.ss"), 1);
    EXPECT_EQ(TimeOf("7.05.09", "H.mm.ss"), 70509);
    EXPECT_EQ(TimeOf("23.59.59", "H.mm.ss"), 235959);
}

TEST(ParseTime, GivesZeroForAnythingElse)
{
    for (const char* text :
         {"", "7.05.09", "aa.05.09", "24.00.00", "12.60.00", "12.00.60", "12.00.5"}) {
        EXPECT_EQ(TimeOf(text, "HH.mm.ss"), 0) << text;
    }
    for (const char* text : {"", "7", "7.05", "x.05.09", "24.0.0", "7.60.00", "7.05.9x", "7..09"}) {
        EXPECT_EQ(TimeOf(text, "H.mm.ss"), 0) << text;
    }
    EXPECT_EQ(TimeOf("17.05.09", "ss.mm.HH"), 0);
}

TEST(ReadReal, ReadsWhatStrtodReads)
{
    const char* const texts[] = {"0",
                                 "-0",
                                 "1",
                                 " \t\n\v\f\r1.5",
                                 "+1.5",
                                 "-.5",
                                 "5.",
                                 "1e3",
                                 "1E-3x",
                                 "1e",
                                 "1e+",
                                 "0x10",
                                 "0x1p3",
                                 "-0X.8",
                                 "0x",
                                 "0xg",
                                 "inf",
                                 "-INFINITY",
                                 "infx",
                                 "1e400",
                                 "-1e400",
                                 "1e-400",
                                 "5e-324",
                                 "+-1",
                                 "-+1",
                                 "++1",
                                 "+",
                                 "-",
                                 ".",
                                 "",
                                 "abc",
                                 "1,5",
                                 "1 2",
                                 "+inf",
                                 "+.5e1",
                                 "0.1",
                                 "1e308",
                                 "1.7976931348623159e308",
                                 "123456789012345678901234567890",
                                 "2.2250738585072011e-308",
                                 " +0x1p-1",
                                 "1x2"};
    for (const char* text : texts) {
        char* expectedEnd = nullptr;
        const double expected = std::strtod(text, &expectedEnd);
        const auto [value, end] = ReadReal<double>(text);
        EXPECT_EQ(value, expected) << text;
        EXPECT_EQ(std::signbit(value), std::signbit(expected)) << text;
        EXPECT_EQ(end - text, expectedEnd - text) << text;
    }
    EXPECT_TRUE(std::isnan(ReadReal<double>("nan").value));
    EXPECT_TRUE(std::isnan(ReadReal<double>(" -NaN(1)").value));
}

TEST(ReadReal, ReadsWhatStrtodReadsInAnyText)
{
    std::mt19937 random(1);
    const std::string characters = "00123456789999..+-eE xXpP,nai";
    for (int i = 0; i < 200000; ++i) {
        std::string text;
        for (auto left = random() % 24; left > 0; --left) {
            text += characters[random() % (random() % 2 == 0 ? 14 : characters.size())];
        }
        char* expectedEnd = nullptr;
        const double expected = std::strtod(text.c_str(), &expectedEnd);
        const auto [value, end] = ReadReal<double>(text);
        ASSERT_EQ(std::isnan(value), std::isnan(expected)) << text;
        ASSERT_TRUE(value == expected || std::isnan(expected)) << text;
        ASSERT_EQ(std::signbit(value), std::signbit(expected)) << text;
        ASSERT_EQ(end - text.data(), expectedEnd - text.c_str()) << text;
    }
}

TEST(ReadReal, RoundsAFloatOnce)
{
    // Above the middle of two floats, by less than a double resolves.
    const char* text = "1.00000005960464477540";
    EXPECT_EQ(ReadReal<float>(text).value, std::strtof(text, nullptr));
    EXPECT_EQ(ReadReal<float>("1e39").value, INFINITY);
    EXPECT_EQ(ReadReal<float>("0x1p3").value, 8.0F);
}

TEST(ReadReal, StopsAtTheEndOfTheText)
{
    EXPECT_EQ(ReadReal<double>(std::string_view("12345", 3)).value, 123.0);
    EXPECT_EQ(ReadReal<double>(std::string_view("0x1234", 4)).value, 0x12);
    EXPECT_EQ(ReadReal<double>(std::string_view("1\0005", 3)).value, 1.0);
    EXPECT_EQ(ReadReal<double>(std::string_view("\0005", 2)).value, 0.0);
}

TEST(ReadInteger, ReadsWhatAtoiReadsAndSaturates)
{
    struct Case {
        const char* text;
        int value;
        int length;
    };
    const Case cases[] = {{"0", 0, 1},
                          {" \t\n\v\f\r42x", 42, 8},
                          {"+7", 7, 2},
                          {"-7.9", -7, 2},
                          {"0x10", 0, 1},
                          {"1e3", 1, 1},
                          {"", 0, 0},
                          {"-", 0, 0},
                          {"+-1", 0, 0},
                          {" x", 0, 0},
                          {"2147483647", INT_MAX, 10},
                          {"2147483648", INT_MAX, 10},
                          {"-2147483648", INT_MIN, 11},
                          {"-2147483649", INT_MIN, 11},
                          {"99999999999999999999999999", INT_MAX, 26},
                          {"-99999999999999999999999999", INT_MIN, 27},
                          {"00000000000000000000000012", 12, 26}};
    for (const Case& test : cases) {
        const auto [value, end] = ReadInteger(test.text);
        EXPECT_EQ(value, test.value) << test.text;
        EXPECT_EQ(end - test.text, test.length) << test.text;
    }
}

class NumberUnderACommaLocale : public CommaLocale {};

TEST_F(NumberUnderACommaLocale, HasAPoint)
{
    ASSERT_EQ(HalfByPrintf(), "0,5");
    EXPECT_EQ(ReadReal<double>("1.5").value, 1.5);
    EXPECT_EQ(ReadReal<double>("1,5").value, 1.0);
    EXPECT_EQ(ReadReal<double>("0x1.8p0").value, 1.5);
    EXPECT_EQ(ReadReal<double>("0.5e-400").value, 0.0);
    EXPECT_EQ(HalfByPrintf(), "0,5");
}
}  // namespace
