// How near the descriptions come to the public records.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

struct FitQuality {
    std::string name;
    std::string record;
    std::size_t samples;
    double rms;      // of the difference, as all that follow in uV
    double largest;  // difference of a sample
    double lowest;   // of the record
    double highest;  // of the record
    double lowestDifference;
    double highestDifference;
    std::size_t extremes;      // that stand out by 200 uV or more
    double extremeDifference;  // the largest one
    std::size_t bytes;         // of its text, without pieces
};

FitQuality MeasureFit(const std::filesystem::path& description, const std::string& record,
                      const std::vector<double>& microvolts);

// A table in Markdown.
std::string ReportTable(const std::vector<FitQuality>& qualities);

// Puts the table between the two marker lines of `document`, or, where there is no such file, into
// a new one. Throws TableError when the file cannot be written or lacks the markers.
void WriteReport(const std::filesystem::path& document, const std::string& table);
