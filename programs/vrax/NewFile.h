// A file that appears under its name whole or not at all.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "Failure.h"

namespace vrax {

// Written beside its place under another name until Finish(). What stands in its place is kept
// until then, and for good when Finish() is not reached.
class NewFile {
public:
    // Throws Failure when the folder takes no file.
    explicit NewFile(const std::string& path);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    const std::string& Path() const { return path_; }
    // Where it is written until then; of the same extension.
    const std::string& UnfinishedPath() const { return unfinished_; }
    // Gives it its name. Throws Failure.
    void Finish();

private:
    std::string path_;
    std::string place_;       // the same, but for links
    std::string unfinished_;  // empty when there is none any more
};

using NewFiles = std::deque<NewFile>;

// For a command without -o; `kinds` are the extensions that it takes.
Failure NoTarget(const std::string& kinds);

// Throws Failure when a file of that name is there and not `isReplaced` (--force), and always when
// it is one of `sources`.
void CheckTarget(const std::string& path, bool isReplaced,
                 const std::vector<std::string>& sources = {});

}  // namespace vrax
