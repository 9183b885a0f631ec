#include "platform/File.h"

#include <sys/stat.h>

#include <new>

std::FILE* OpenFileUtf8(const char* path, const char* mode)
{
    if (path == nullptr || mode == nullptr) return nullptr;
    char closing[8];
    std::snprintf(closing, sizeof closing, "%se", mode);
    return std::fopen(path, closing);
}

std::int64_t GetFileSizeUtf8(const char* path)
{
    struct stat info {};
    if (path == nullptr || stat(path, &info) != 0) return -1;
    return info.st_size;
}

std::int64_t GetFileSize(std::FILE* file)
{
    struct stat info {};
    const int descriptor = fileno(file);
    if (descriptor < 0 || fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode)) return -1;
    return info.st_size;
}

bool ReadFileBinaryData(const char* path, std::unique_ptr<std::uint8_t[]>& data, std::size_t& size)
{
    const File file(OpenFileUtf8(path, "rb"));
    if (!file) return false;
    const std::int64_t bytes = GetFileSize(file.get());
    if (bytes < 0) return false;
    const auto count = static_cast<std::size_t>(bytes);
    std::unique_ptr<std::uint8_t[]> whole(new (std::nothrow) std::uint8_t[count]);
    if (!whole || std::fread(whole.get(), 1, count, file.get()) != count) return false;
    data = std::move(whole);
    size = count;
    return true;
}

bool WriteFileBinaryData(const char* path, const void* data, std::size_t size)
{
    if (data == nullptr && size > 0) return false;
    File file(OpenFileUtf8(path, "wb"));
    if (!file) return false;
    const bool isWritten = size == 0 || std::fwrite(data, 1, size, file.get()) == size;
    return std::fclose(file.release()) == 0 && isWritten;
}
