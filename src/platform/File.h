// One way to open a file.
#pragma once

#include <cstdio>
#include <memory>

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// fopen on a UTF-8 path, not inherited by programs that the application starts; null for a null
// path.
std::FILE* OpenFileUtf8(const char* path, const char* mode);
