// Every command in every state of a connected application: twelve faults of its reply.

#include <gtest/gtest.h>

#include <iterator>
#include <ostream>

#include "Cell.h"

using namespace faults;

namespace {

struct Case {
    const Row* row;
    State state;
    std::vector<Column> columns;
};

std::string TitleOf(const Case& tested)
{
    const std::string title = tested.row->name + ", " + tested.row->call + ", ";
    if (tested.columns.size() > 1) return title + NameOf(tested.state);
    return title + NameOf(tested.columns.front()) + ", " + NameOf(tested.state);
}
void PrintTo(const Case& tested, std::ostream* out) { *out << TitleOf(tested); }

std::vector<Case> AllCases()
{
    std::vector<Case> cases;
    for (const Row& row : Rows()) {
        for (const State state : kStates) {
            if (!Applies(row, state)) continue;
            if (!row.isSplit)
                cases.push_back({&row, state, {std::begin(kColumns), std::end(kColumns)}});
            else
                for (const Column column : kColumns) cases.push_back({&row, state, {column}});
        }
    }
    return cases;
}

class Command : public testing::TestWithParam<Case> {};

}  // namespace

TEST_P(Command, GivesItsOwnersValueAndLeavesTheLineUsable)
{
    const auto& [row, state, columns] = GetParam();
    CCells cells(*row, state);
    TableLine line;
    for (const Column column : columns) {
        const CellResult result = cells.Run(column);
        line.Add(static_cast<std::size_t>(column), result);
        if (!result.fault.empty())
            ADD_FAILURE() << FaultText(row->name, NameOf(state), column, result);
    }
    line.Print(NameOf(state), row->name, row->call);
}

INSTANTIATE_TEST_SUITE_P(FaultTable, Command, testing::ValuesIn(AllCases()),
                         [](const auto& parameter) {
                             return Identifier(TitleOf(parameter.param));
                         });
