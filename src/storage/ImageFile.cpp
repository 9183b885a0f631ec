#include "storage/ImageFile.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <utility>

#include "platform/File.h"

namespace {
constexpr std::size_t kTagOffset = 118772;
constexpr std::size_t kVersionOffset = kTagOffset + 4;

// An image may end before its tag or its version: what is not there is 0.
std::uint8_t ByteAt(const ImageBytes& image, std::size_t offset)
{
    return offset < image.size() ? image[offset] : std::uint8_t{0};
}

// Null without memory.
std::shared_ptr<ImageBytes> MakeImage(std::size_t size)
{
    try {
        return std::make_shared<ImageBytes>(size);
    } catch (const std::exception&) {
        return nullptr;
    }
}

bool IsAccepted(const ImageBytes& image, const ImageRules& rules)
{
    std::uint8_t tag[4];
    for (std::size_t k = 0; k < std::size(tag); ++k) tag[k] = ByteAt(image, kTagOffset + k);
    return rules.acceptsTag(tag);
}

// 0, or the code of what failed.
int ReadImage(const char* path, const ImageRules& rules, std::shared_ptr<ImageBytes>& image)
{
    const std::int64_t fileBytes = GetFileSizeUtf8(path);
    if (fileBytes < 0) return kImageSizeUnknown;
    const std::size_t size = std::min(static_cast<std::size_t>(fileBytes), rules.mostBytes);
    if (size < rules.leastBytes) return kImageRefused;
    // The size is also a result.
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) return kImageNoMemory;
    image = MakeImage(size);
    if (image == nullptr) return kImageNoMemory;
    const File file(OpenFileUtf8(path, "rb"));
    if (!file) return kImageNotOpened;
    if (std::fread(image->data(), 1, size, file.get()) != size) return kImageCut;
    return IsAccepted(*image, rules) ? 0 : kImageRefused;
}
}  // namespace

std::shared_ptr<const ImageBytes> CImageStore::Get()
{
    CAutoCriticalSection lock(section_);
    return image_;
}

// The old image is freed outside the lock.
void CImageStore::Set(std::shared_ptr<const ImageBytes> image)
{
    CAutoCriticalSection lock(section_);
    image_.swap(image);
}

int LoadImageFile(const char* path, const ImageRules& rules, const ImageVersion& version,
                  CImageStore& store)
{
    std::shared_ptr<ImageBytes> image;
    const int error = ReadImage(path, rules, image);
    if (error != 0) return error;
    for (std::size_t k = 0; k < std::size(version.parts); ++k) {
        *version.parts[k] = ByteAt(*image, kVersionOffset + k);
    }
    const int size = static_cast<int>(image->size());
    store.Set(std::move(image));
    return size;
}
