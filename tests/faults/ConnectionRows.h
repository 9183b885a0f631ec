// The commands of identification and preparation, and what a connection knows without their reply.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Table.h"

namespace faults {

struct ConnectionRow {
    std::string name;
    instrument::Request kind = instrument::Request::Unknown;
    instrument::Bytes prefix;
    Fitted fitted = Fitted::Ppg;
    unsigned waitMs = 0;
    std::size_t replyBytes = 64;
    bool isIdentity = false;  // without it the port is another device's, and tried again later
    bool isProbe = true;      // sent to a port that the application has opened, too
    // The instrument as the application knows it, and as it is known when the reply is whole,
    // missing, unmarked or wrong.
    std::function<std::string()> known;
    std::string whole;
    std::string missing;
    std::string unmarked;
    std::string wrong;
    // While connected: makes the next connection send the command.
    std::function<void()> arrange{};
};

const std::vector<ConnectionRow>& ConnectionRows();
instrument::Options OptionsFor(const ConnectionRow& row);
instrument::Fault FaultOf(const ConnectionRow& row, Column column);

bool IsWhole(const ConnectionRow& row, Column column);
const std::string& KnownOf(const ConnectionRow& row, Column column);

}  // namespace faults
