// Image files of the instrument's programs, and the image that is loaded of each.
//
// A raw binary file; at byte 118772 four letters tell which program it is, and its version follows
// in four bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/Platform.h"

using ImageBytes = std::vector<std::uint8_t>;

constexpr int kImageNotOpened = -1;
constexpr int kImageSizeUnknown = -2;
constexpr int kImageNoMemory = -4;
constexpr int kImageCut = -5;
constexpr int kImageRefused = -6;

// The image that the next burn takes. A burn keeps the one it began with, whatever is loaded
// meanwhile. May be used from any thread; never destroyed, but emptied at unload.
class CImageStore {
public:
    std::shared_ptr<const ImageBytes> Get();
    void Set(std::shared_ptr<const ImageBytes> image);

private:
    CSimpleCriticalSection section_;
    std::shared_ptr<const ImageBytes> image_ GUARDED_BY(section_);
};

struct ImageRules {
    std::size_t leastBytes;  // of the file
    std::size_t mostBytes;   // that are read; the rest of the file is left out
    bool (*acceptsTag)(const std::uint8_t (&tag)[4]);
};

// Where the four version bytes go.
struct ImageVersion {
    int* parts[4];
};

// Replaces the image in the store and returns its size, or a negative code: then the store stays as
// it is, and so do the numbers of the version.
int LoadImageFile(const char* path, const ImageRules& rules, const ImageVersion& version,
                  CImageStore& store);
