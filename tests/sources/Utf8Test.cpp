// UTF-8 into wide characters.

#include "sources/Utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace {
struct Decoded {
    wchar_t character;
    int length;
    bool operator==(const Decoded&) const = default;
};

void PrintTo(const Decoded& decoded, std::ostream* out)
{
    *out << std::hex << static_cast<long>(decoded.character) << " of " << decoded.length;
}

Decoded Decode(const char* text)
{
    int length = -1;
    const wchar_t character = UTF8ToUnicodeChar(text, length);
    return {character, length};
}

std::wstring DecodeAll(const char* text, std::size_t size = 32)
{
    std::wstring buffer(size, L'x');
    const std::size_t count = UTF8ToUnicodeBuf(text, buffer.data(), size);
    EXPECT_EQ(buffer[count], L'\0');
    return buffer.substr(0, count);
}

constexpr Decoded kInvalid = {0x22E0, 0};

TEST(Utf8Char, HasOneToThreeBytes)
{
    EXPECT_EQ(Decode("Ab"), (Decoded{0x41, 1}));
    EXPECT_EQ(Decode(""), (Decoded{0, 1}));
    EXPECT_EQ(Decode("\x7F"), (Decoded{0x7F, 1}));
    EXPECT_EQ(Decode("\xC2\x80"), (Decoded{0x80, 2}));
    EXPECT_EQ(Decode("\xC3\xA4x"), (Decoded{0xE4, 2}));
    EXPECT_EQ(Decode("\xDF\xBF"), (Decoded{0x7FF, 2}));
    EXPECT_EQ(Decode("\xE0\xA0\x80"), (Decoded{0x800, 3}));
    EXPECT_EQ(Decode("\xE6\xB3\xA2"), (Decoded{0x6CE2, 3}));
    EXPECT_EQ(Decode("\xEF\xBF\xBF"), (Decoded{0xFFFF, 3}));
}

TEST(Utf8Char, IsRefusedWhenItIsCutOrNoSequence)
{
    for (const char* text : {"\x80", "\xBF", "\xC3", "\xC3x", "\xE6", "\xE6\xB3", "\xE6\xB3x",
                             "\xE6x\xA2", "\xFF", "\xF0\x9F\x98\x80"}) {
        EXPECT_EQ(Decode(text), kInvalid) << text;
    }
    EXPECT_EQ(Decode(nullptr), kInvalid);
}

TEST(Utf8Char, IsRefusedInALongerFormThanNeededAndAsHalfAPair)
{
    for (const char* text :
         {"\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF"}) {
        EXPECT_EQ(Decode(text), kInvalid) << text;
    }
    EXPECT_EQ(Decode("\xED\x9F\xBF"), (Decoded{0xD7FF, 3}));
    EXPECT_EQ(Decode("\xEE\x80\x80"), (Decoded{0xE000, 3}));
}

TEST(Utf8Text, IsDecodedUpToItsEndOrItsFirstInvalidSequence)
{
    EXPECT_EQ(DecodeAll("a\xC3\xA4\xE6\xB3\xA2z"), L"a\u00E4\u6CE2z");
    EXPECT_EQ(DecodeAll(""), L"");
    EXPECT_EQ(DecodeAll("ab\xFFz"), L"ab");
    EXPECT_EQ(DecodeAll(nullptr), L"");
}

TEST(Utf8Text, IsCutToItsBuffer)
{
    EXPECT_EQ(DecodeAll("abc", 3), L"ab");
    EXPECT_EQ(DecodeAll("abc", 1), L"");
    EXPECT_EQ(UTF8ToUnicodeBuf("abc", nullptr, 8), 0u);
    wchar_t untouched = L'x';
    EXPECT_EQ(UTF8ToUnicodeBuf("abc", &untouched, 0), 0u);
    EXPECT_EQ(untouched, L'x');
}
}  // namespace
