// The log of the calls made while it lives.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "support/TempDir.h"
#include "vrax.h"

class ApiLogFile {
public:
    ApiLogFile() { EXPECT_EQ(EnableSaveLog(Path().c_str()), 0); }
    ~ApiLogFile() { DisableSaveLog(); }
    ApiLogFile(const ApiLogFile&) = delete;
    ApiLogFile& operator=(const ApiLogFile&) = delete;

    std::string Path() const { return dir_.File("calls.log"); }

    // Everything that was written since the last look.
    std::string NewText()
    {
        const std::string text = ReadWholeFile(Path());
        const std::string added = text.substr(seen_);
        seen_ = text.size();
        return added;
    }
    std::vector<std::string> NewLines()
    {
        std::istringstream text(NewText());
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);) lines.push_back(line);
        return lines;
    }

private:
    TempDir dir_;
    std::size_t seen_ = 0;
};

using Lines = std::vector<std::string>;
