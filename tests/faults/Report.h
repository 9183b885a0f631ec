// A row of the table in one state, as it is printed for scripts/fault-table.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <string>

#include "Table.h"

namespace faults {

struct CellResult {
    std::string fault;  // what is not as it should be; empty when all is
    double callMs = 0;
    bool wasRepeated = false;  // the machine held it up
};

inline std::string FaultText(const std::string& name, const std::string& state, Column column,
                             const CellResult& result)
{
    return "cell: " + state + ", " + name + ", " + NameOf(column) + ": " + result.fault;
}

class TableLine {
public:
    // Columns that are not run are left out.
    void Add(std::size_t column, const CellResult& result)
    {
        marks_.resize(std::max(marks_.size(), column), '-');
        marks_ += result.fault.empty() ? '.' : 'X';
        longestMs_ = std::max(longestMs_, result.callMs);
        if (result.wasRepeated) ++repeated_;
    }
    void Print(const std::string& state, const std::string& name, const std::string& call) const
    {
        const auto failed = std::count(marks_.begin(), marks_.end(), 'X');
        std::printf("fault-table;%s;%s;%s;%s;%.0f;%d\n", state.c_str(), name.c_str(), call.c_str(),
                    marks_.c_str(), longestMs_, repeated_);
        const auto skipped = std::count(marks_.begin(), marks_.end(), '-');
        std::printf("%td cells, %td not as they should be, longest call %.0f ms\n",
                    std::ssize(marks_) - skipped, failed, longestMs_);
    }

private:
    std::string marks_;
    double longestMs_ = 0;
    int repeated_ = 0;
};

// The words of a title, as the name of a test.
inline std::string Identifier(const std::string& title)
{
    std::string name;
    bool isNewWord = false;
    for (const char letter : title) {
        if (std::isalnum(static_cast<unsigned char>(letter)) == 0) {
            isNewWord = true;
            continue;
        }
        if (isNewWord && !name.empty()) name += '_';
        isNewWord = false;
        name += letter;
    }
    return name;
}

}  // namespace faults
