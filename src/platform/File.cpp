#include "platform/File.h"

std::FILE* OpenFileUtf8(const char* path, const char* mode)
{
    if (path == nullptr || mode == nullptr) return nullptr;
    char closing[8];
    std::snprintf(closing, sizeof closing, "%se", mode);
    return std::fopen(path, closing);
}
