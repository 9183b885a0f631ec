// Does the monitor see a pacemaker? Pulses of several heights, one before each beat, 2 s each.
#include <stdio.h>
#include <unistd.h>
#include <vrax.h>

static const double kHeightsMv[] = {2, -2, 20, -20, 700};
static const double kWidthMs = 2.0;
static const unsigned kSeconds = 2;

int main(void)
{
    if (!VRAXConnect(-1, 5000)) return 1;
    VRAXSetFrequency(75.0 / 60.0);
    VRAXSetAmplitude(1.0);
    VRAXSetPacingDuration(kWidthMs);
    VRAXSetPacingRateSynchronized();  // one pulse a beat
    VRAXSetPacingAmplitude(kHeightsMv[0]);
    int failed = VRAXSetOutputFunction(OUTPUT_ECG) != 0;  // sends the pacing settings, too
    for (size_t i = 0; i < sizeof kHeightsMv / sizeof kHeightsMv[0] && !failed; ++i) {
        VRAXSetPacingAmplitude(kHeightsMv[i]);
        failed = VRAXApplyPacing() != 1;  // the instrument makes the pulses: it has to be told
        if (!failed) printf("pulses of %g mV, %g ms\n", kHeightsMv[i], kWidthMs);
        fflush(stdout);
        sleep(kSeconds);
    }
    VRAXFree();
    return failed;
}
