// The input of a harness as a file with a name, for readers that open a path.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

class CInputFile {
public:
    explicit CInputFile(const std::string& name)
        : folder_(MakeFolder()), path_(folder_ + "/" + name)
    {
        descriptor_ = open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (descriptor_ < 0) Give("open");
    }
    ~CInputFile()
    {
        close(descriptor_);
        unlink(path_.c_str());
        rmdir(folder_.c_str());
    }
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;

    void Write(const std::uint8_t* data, std::size_t size)
    {
        if (ftruncate(descriptor_, 0) != 0) Give("ftruncate");
        if (pwrite(descriptor_, data, size, 0) != static_cast<ssize_t>(size)) Give("pwrite");
    }
    const char* Path() const { return path_.c_str(); }

private:
    // In memory where the machine has such a place.
    static std::string MakeFolder()
    {
        struct stat info {};
        std::string folder = stat("/dev/shm", &info) == 0 ? "/dev/shm/" : "/tmp/";
        folder += "vrax-fuzz-XXXXXX";
        if (mkdtemp(folder.data()) == nullptr) Give("mkdtemp");
        return folder;
    }
    [[noreturn]] static void Give(const char* step)
    {
        std::perror(step);
        std::abort();
    }

    std::string folder_;
    std::string path_;
    int descriptor_ = -1;
};
