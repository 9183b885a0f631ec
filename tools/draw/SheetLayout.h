// A sheet of ECG paper with strips of waveforms, and where everything stands on it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/draw/Tachogram.h"

// A piece of one waveform.
struct Strip {
    std::string name;
    std::string caption;
    double start = 0;  // s of the waveform
    double rate = 0;   // samples a second
    std::vector<double> mv;
    std::vector<double> seams;  // s of the waveform's clock at which it starts anew
    std::optional<Tachogram> tachogram;

    double Seconds() const { return static_cast<double>(mv.size()) / rate; }
};

struct Sheet {
    std::string file;  // without its folder
    std::string title;
    std::string remark;
    bool hasSeconds = false;  // under the strips
    std::vector<std::vector<Strip>> rows;
};

// All lengths in mm. A row is a band of paper with one calibration mark and its strips.
struct RowPlace {
    double top;
    double height;               // of the paper; the tachogram comes below it
    double baseline;             // 0 mV
    std::vector<double> strips;  // the left end of each
};

struct SheetLayout {
    double width;
    double height;
    int pixelsPerMm;
    std::vector<RowPlace> rows;
};

constexpr double kMargin = 6.0;
constexpr double kHeader = 21.0;
constexpr double kCalibration = 15.0;  // room for the mark in front of a row
constexpr double kStripGap = 10.0;
constexpr double kTachogramHeight = 26.0;

// Every row is as high as its curves need, in whole squares of the paper.
SheetLayout LayOut(const Sheet& sheet);
