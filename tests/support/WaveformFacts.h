// The built-in waveforms as their standards name and time them.
#pragma once

struct Iec227Facts {
    const char* name;
    double seconds;
    unsigned samples;  // at 720 a second, rounded
};
constexpr Iec227Facts kIec227Facts[] = {
    {"AAMI 3A / IEC A1", 59.834722222222226, 43081},
    {"AAMI 3B / IEC A2", 59.919444444444444, 43142},
    {"AAMI 3C / IEC A3", 59.922222222222224, 43144},
    {"AAMI 3D / IEC A4", 47.93194444444445, 34511},
    {"AAMI 4A / IEC B1", 90.57083333333334, 65211},
    {"AAMI 4A / IEC B1 x2", 90.575, 65214},
    {"AAMI 4A / IEC B1 /2", 90.56527777777778, 65207},
    {"AAMI 4B / IEC B2", 90.60833333333333, 65238},
    {"AAMI 4B / IEC B2 x2", 90.60972222222222, 65239},
    {"AAMI 4B / IEC B2 /2", 90.60694444444445, 65237},
};
constexpr int kIec227Count = 10;
constexpr unsigned kIec227Row = 66000;

constexpr const char* kIec251Names[] = {"CAL05000", "CAL10000", "CAL15000", "CAL20000",
                                        "CAL30000", "CAL50000", "CAL20002", "CAL20100",
                                        "CAL20110", "CAL20160", "CAL20200", "CAL20210",
                                        "CAL20260", "CAL20500", "CAL20502", "CAL40000"};
constexpr int kIec251Count = 16;

struct Iec247Facts {
    const char* name;
    int samples;       // of 1 ms
    double mean;       // of the intervals between beats, s
    double deviation;  // s
    double frequency;  // of the variation, Hz
};
constexpr Iec247Facts kIec247Facts[] = {
    {"Test pattern 1", 60000, 1.0, 0.0, 0.0},
    {"Test pattern 2", 3996, 0.8, 0.035, 0.25},
    {"Test pattern 3", 9972, 1.0, 0.07, 0.1},
    {"Test pattern 4", 29874, 3.0, 0.28, 0.033333},
    {"Test pattern 5", 3599521, 1.5, 0.14, 0.000278},
};
constexpr int kIec247Count = 5;
