// One cell of the table: a row in a state, with a fault.
#pragma once

#include <string>

#include "Application.h"
#include "Report.h"
#include "Table.h"

namespace faults {

// Cells of one row in one state, in turn.
class CCells {
public:
    CCells(const Row& row, State state) : row_(row), state_(state), application_(row, state) {}

    CellResult Run(Column column);

private:
    CellResult RunOnce(Column column);
    std::string CheckCall(Column column, long value, double ms) const;
    std::string CheckRefusals(Column column);
    bool IsHit();
    std::string CheckAfterwards(Column column, bool isGone, Scene& scene);

    const Row& row_;
    const State state_;
    CApplication application_;
    unsigned number_ = 0;
};

}  // namespace faults
