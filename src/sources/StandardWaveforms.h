// The waveforms of the standards. Their tables are not built in yet: every sample is 0 mV.
#pragma once

// Periods in s; 1 for a number that names no waveform.
double GetIEC227Period(int number);
double GetIEC247Period(int number);

// mV at a time within the period.
double IEC227Voltage(int number, double t);
double IEC251Voltage(int number, double t);
double IEC247Voltage(int number, double t);
double ANE20000Voltage(int lead, double t);
