// Numbers on the command line: finite and in range, and times with their units.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace vrax {

// Refuses what is no finite number from `low` to `high`.
CLI::Validator FiniteRange(double low, double high);

enum class Least { Zero, AboveZero };

// Seconds, with the units ms, s, min and h.
void AddDuration(CLI::App& command, const std::string& name, double& seconds,
                 const std::string& help, Least least);

}  // namespace vrax
