// A run of vrax beside a simulated instrument, and what the instrument received.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "programs/ProgramRun.h"
#include "support/TempDir.h"

struct ReceivedSample {
    double time;  // s
    double dcMv;
    double acMv;
    int marker;
    double pulseMv;
    std::vector<double> more;  // of the modules
};

// Lines of numbers under a header; an empty field is 0.
inline std::vector<std::vector<double>> ReadTable(const std::string& path)
{
    std::istringstream text(ReadWholeFile(path));
    std::vector<std::vector<double>> rows;
    std::string line;
    std::getline(text, line);
    while (std::getline(text, line)) {
        std::istringstream fields(line);
        std::vector<double> row;
        for (std::string field; std::getline(fields, field, ',');) {
            row.push_back(field.empty() ? 0.0 : std::stod(field));
        }
        rows.push_back(row);
    }
    return rows;
}

class PlayedSignal {
public:
    explicit PlayedSignal(const std::string& arguments, const std::string& instrument = "")
        : outcome(RunApart(VRAX_INSTRUMENT_PROGRAM " --strict --record " + Path() + " " +
                           instrument + " -- " + arguments))
    {
        for (const auto& row : ReadTable(Path())) {
            samples.push_back({row.at(0),
                               row.at(1),
                               row.at(2),
                               static_cast<int>(row.at(3)),
                               row.at(4),
                               {row.begin() + 5, row.end()}});
        }
    }

private:
    std::string Path() const { return folder_.File("received.csv"); }

    TempDir folder_;

public:
    ProgramOutcome outcome;
    std::vector<ReceivedSample> samples;
};
