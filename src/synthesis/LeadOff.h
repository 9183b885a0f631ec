// Lead-off conditions and the right-leg drive (RLD): bits of the relay word that the relays keep until
// SetRelays rebuilds the word, and the measurement.
#pragma once

// Each is one command with its reply, or two; false when a reply is missing or refuses.

// Mode 0 to 3.
bool SetLeadOff(int mode);
bool MeasureRLD(bool on);
// V
struct RldReading {
    double first = 0.0;
    double second = 0.0;
};
bool ReadRLD(RldReading& reading);
