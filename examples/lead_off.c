// Does the monitor tell that an electrode is off? Each lead-off mode for 2 s, during an ECG.
#include <stdio.h>
#include <unistd.h>
#include <vrax.h>

enum { kModes = 4, kSeconds = 2 };  // mode 0: every electrode is connected

int main(void)
{
    if (!VRAXConnect(-1, 5000)) return 1;
    VRAXSetFrequency(1.0);
    VRAXSetAmplitude(1.0);
    int failed = VRAXSetOutputFunction(OUTPUT_ECG) != 0;
    // A mode holds until the relays are set anew, so nothing else is changed meanwhile. Mode 3 adds
    // to what is set: it comes before the others.
    for (int mode = kModes - 1; mode >= 0 && !failed; --mode) {
        failed = VRAXSetLeadOff(mode) != 1;
        if (!failed) printf("lead-off mode %d\n", mode);
        fflush(stdout);
        sleep(kSeconds);
    }
    VRAXFree();
    return failed;
}
