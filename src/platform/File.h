// One way to open a file, and to take one as a whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// fopen on a UTF-8 path, not inherited by programs that the application starts; null for a null
// path.
std::FILE* OpenFileUtf8(const char* path, const char* mode);

// Bytes; -1 for a null path or a file that is not there.
std::int64_t GetFileSizeUtf8(const char* path);

// Bytes of an open regular file; -1 where a size says nothing about what can be read.
std::int64_t GetFileSize(std::FILE* file);

// The whole file as a new array. False, and nothing stored, when it cannot be read or there is no
// memory for it.
bool ReadFileBinaryData(const char* path, std::unique_ptr<std::uint8_t[]>& data, std::size_t& size);

// False when the file cannot be opened or written in full.
bool WriteFileBinaryData(const char* path, const void* data, std::size_t size);
