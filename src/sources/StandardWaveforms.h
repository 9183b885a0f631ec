// The waveforms of the standards, from constant tables: IEC 60601-2-27 / AAMI EC13, IEC 60601-2-25
// and ANE20000. The patterns of IEC 60601-2-47 are in HeartRatePatterns.h.
//
// A number that names no waveform is 0 mV, or null.
#pragma once

#include <cstdint>

constexpr double kNoWaveformPeriod = 1.0;  // s, of a number that names no waveform

// s
double GetIEC227Period(int number);

// mV at a time within the period.
double IEC227Voltage(int number, double t);
double IEC251Voltage(int number, double t);
double ANE20000Voltage(int lead, double t);

struct StandardWaveform {
    const std::int32_t* samples = nullptr;  // uV
    int count = 0;
    int rate = 0;  // samples/s
    const char* name = nullptr;
};
StandardWaveform GetIEC227(int number);
StandardWaveform GetIEC251(int number);
