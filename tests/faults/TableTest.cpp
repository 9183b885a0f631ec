// The table itself: its size, and that no command is missing.

#include <gtest/gtest.h>

#include <cstdio>
#include <iterator>
#include <set>

#include "ConnectionRows.h"
#include "Table.h"

using namespace faults;
using instrument::Request;

TEST(FaultTable, HasARowForEveryCommandThatTheLibrarySends)
{
    std::set<Request> covered;
    for (const Row& row : Rows()) covered.insert(row.kind);
    for (const ConnectionRow& row : ConnectionRows()) covered.insert(row.kind);
    for (int i = static_cast<int>(Request::Stream); i < static_cast<int>(Request::Unknown); ++i) {
        const auto kind = static_cast<Request>(i);
        // Stands for several; nothing in the library asks for the baseline.
        if (kind == Request::Firmware || kind == Request::BaselineRead) continue;
        EXPECT_EQ(covered.count(kind), 1U) << NameOf(kind);
    }
}

TEST(FaultTable, HasEachCellOnce)
{
    std::set<std::string> titles;
    std::size_t lines = 0;
    for (const Row& row : Rows()) {
        for (const State state : kStates) {
            if (!Applies(row, state)) continue;
            titles.insert(row.name + row.call + NameOf(state));
            ++lines;
        }
    }
    EXPECT_EQ(titles.size(), lines);
    std::size_t connectionLines = 0;
    for (const ConnectionRow& row : ConnectionRows()) connectionLines += row.isProbe ? 2U : 1U;
    std::printf("fault-table-size;%zu;%zu;%zu;%zu\n", Rows().size(), ConnectionRows().size(),
                lines + connectionLines, (lines + connectionLines) * std::size(kColumns));
    EXPECT_GT(lines, 0U);
}
