// A directory of the test's own, removed with everything in it.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class TempDir {
public:
    TempDir() : path_(testing::TempDir() + "vrax-XXXXXX")
    {
        if (mkdtemp(path_.data()) == nullptr) path_.clear();
        EXPECT_FALSE(path_.empty());
    }
    ~TempDir()
    {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return path_; }
    std::string File(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// Empty for a file that is not there.
inline std::string ReadWholeFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
