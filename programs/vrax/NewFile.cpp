#include "NewFile.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vrax {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kUsualMode = 0666;  // less what the umask takes

Failure NotWritable(const std::string& path)
{
    return {fmt::format("{} cannot be written", path),
            "is the folder there and open to you, and the disk full?"};
}

mode_t ModeOfNewFiles()
{
    const mode_t taken = umask(0);
    umask(taken);
    return kUsualMode & ~taken;
}

// A link stays one: what it leads to is replaced.
std::string PlaceOf(const std::string& path)
{
    std::error_code error;
    const fs::path place = fs::canonical(path, error);
    return error ? path : place.string();
}

}  // namespace

NewFile::NewFile(const std::string& path) : path_(path), place_(PlaceOf(path))
{
    const fs::path place = place_;
    const std::string extension = place.extension().string();
    unfinished_ = (place.parent_path() / (".vrax-XXXXXX" + extension)).string();
    const int file = mkstemps(unfinished_.data(), static_cast<int>(extension.size()));
    if (file < 0) throw NotWritable(path_);
    struct stat before {};
    const bool isThere = stat(place_.c_str(), &before) == 0;
    fchmod(file, isThere ? before.st_mode & 07777U : ModeOfNewFiles());
    close(file);
}

NewFile::~NewFile()
{
    if (!unfinished_.empty()) std::remove(unfinished_.c_str());
}

void NewFile::Finish()
{
    if (std::rename(unfinished_.c_str(), place_.c_str()) != 0) throw NotWritable(path_);
    unfinished_.clear();
}

Failure NoTarget(const std::string& kinds)
{
    return {"the name of the file is missing", fmt::format("give -o a name with {}", kinds),
            kWrongUsage};
}

void CheckTarget(const std::string& path, bool isReplaced, const std::vector<std::string>& sources)
{
    std::error_code error;
    for (const std::string& source : sources) {
        if (!fs::equivalent(path, source, error) || error) continue;
        throw Failure(fmt::format("{} is the recording itself", path), "give -o another name",
                      kWrongUsage);
    }
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) return;
    if (!fs::is_regular_file(status)) {
        throw Failure(fmt::format("{} is no file that can be replaced", path), "give another name",
                      kWrongUsage);
    }
    if (isReplaced) return;
    throw Failure(fmt::format("{} is there already", path),
                  "give another name, or --force to replace it", kWrongUsage);
}

}  // namespace vrax
