// The heart-rate variability patterns of IEC 60601-2-47: beats at intervals that a slow sine
// modulates. Made when they are first used, and kept; the longest, an hour, takes 29 MB.
#pragma once

constexpr int kHeartRatePatterns = 5;
constexpr int kHeartRatePatternRate = 1000;  // samples/s

struct HeartRatePattern {
    const char* name;
    int hrvperiod;   // samples
    double rravg;    // mean interval between beats, s
    double rrdev;    // its amplitude, s
    double hrvfreq;  // of the modulation, Hz
};
// Null for a number outside 0 to 4.
const HeartRatePattern* GetHeartRatePattern(int number);

// s; 1 for a number that names no pattern.
double GetIEC247Period(int number);

// 360 samples of 1 ms in mV: the beat of patterns 1 to 4.
const double* getECG227Array();

// Writes the first `size` samples of a pattern, in mV, into zeros. Its whole length in samples.
int makeIEC247Array(int number, double* out, int size);

// A pattern of hrvperiod samples in mV, null for a number outside 0 to 4. On any thread; the first
// one that asks makes it, which takes milliseconds.
const double* getIEC47RawArray(int number);
