#include "sources/Utf8.h"

namespace {
constexpr unsigned kPayloadBits = 6;  // of a byte behind the first
constexpr unsigned kPayloadMask = 0x3F;

bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// Bytes of the sequence that starts with this one; 0 when none of up to three bytes does.
int LengthFrom(unsigned char first)
{
    if (first < 0x80) return 1;
    if ((first & 0xE0) == 0xC0) return 2;
    return (first & 0xF0) == 0xE0 ? 3 : 0;
}

bool IsShortestForm(unsigned character, int length)
{
    constexpr unsigned kFirstOfLength[] = {0, 0, 0x80, 0x800};
    return character >= kFirstOfLength[length];
}

bool IsSurrogate(unsigned character) { return character >= 0xD800 && character <= 0xDFFF; }
}  // namespace

wchar_t UTF8ToUnicodeChar(const char* text, int& length)
{
    length = 0;
    if (text == nullptr) return kInvalidUtf8;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    const int count = LengthFrom(bytes[0]);
    if (count == 0) return kInvalidUtf8;
    unsigned character = count == 1 ? bytes[0] : bytes[0] & (0x7FU >> count);
    for (int i = 1; i < count; ++i) {
        if (!IsContinuation(bytes[i])) return kInvalidUtf8;
        character = character << kPayloadBits | (bytes[i] & kPayloadMask);
    }
    if (!IsShortestForm(character, count) || IsSurrogate(character)) return kInvalidUtf8;
    length = count;
    return static_cast<wchar_t>(character);
}

std::size_t UTF8ToUnicodeBuf(const char* text, wchar_t* buffer, std::size_t size)
{
    if (buffer == nullptr || size == 0) return 0;
    std::size_t count = 0;
    while (text != nullptr && *text != '\0' && count + 1 < size) {
        int length = 0;
        const wchar_t character = UTF8ToUnicodeChar(text, length);
        if (length == 0) break;
        buffer[count++] = character;
        text += length;
    }
    buffer[count] = L'\0';
    return count;
}
