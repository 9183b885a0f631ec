// What each kind of run is drawn and told as. Each returns 0 when all agrees with what was asked,
// and kDisagrees when it does not.
#pragma once

#include <string>

#include "draw_ecg/Recording.h"

namespace ecg {

constexpr int kDisagrees = 3;

struct Arguments {
    std::string signal;
    std::string requests;
    std::string figures;
    std::string output;
    double pixelsPerMm = 8.0;
};

int ReportEcg(const Arguments& arguments);
int ReportPpg(const Arguments& arguments);
int ReportRespiration(const Arguments& arguments);

// Every sample that the instrument counted stands in its record, and none was in disorder.
bool IsWhole(const Statistics& statistics, const Recording& recording);

// What arrived, and the errors of the stream.
void PrintStream(const Statistics& statistics, const Recording& recording);
std::string StreamFigures(const Statistics& statistics, const Recording& recording);

}  // namespace ecg
