// UTF-8 into wide characters, as far as sequences of three bytes go.
#pragma once

#include <cstddef>

constexpr wchar_t kInvalidUtf8 = 0x22E0;

// The first character of a text and the number of its bytes. kInvalidUtf8 and length 0 for a null
// pointer and for what is no sequence of one to three bytes: a cut one, a longer form than needed
// and half a surrogate pair too.
wchar_t UTF8ToUnicodeChar(const char* text, int& length);

// Decodes a text up to its end, its first invalid sequence or `size` - 1 characters; `buffer` is
// terminated. Returns the number of characters.
std::size_t UTF8ToUnicodeBuf(const char* text, wchar_t* buffer, std::size_t size);
