// Tells when the instrument comes and goes, until Enter is pressed or standard input ends. A signal
// that plays goes on when the instrument is back.
#include <stdio.h>
#include <vrax.h>

// Runs on the library's connect thread, without a lock: every setter may be called from here.
static void OnConnected(bool connected)
{
    if (!connected) {
        puts("gone");
    } else {
        printf("here: %s\n", VRAXGetSerialNumber());
        if (VRAXGetOutputFunction() == OUTPUT_OFF) VRAXSetOutputFunction(OUTPUT_ECG);
    }
    fflush(stdout);
}

int main(void)
{
    if (!VRAXInit(OnConnected)) return 1;  // returns at once; the search goes on by itself
    getchar();
    VRAXFree();
    return 0;
}
