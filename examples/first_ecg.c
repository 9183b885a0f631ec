#include <stdio.h>
#include <unistd.h>
#include <vrax.h>

int main(void)
{
    if (!VRAXConnect(-1, 5000)) return 1;  // any port, up to 5 s
    printf("connected to %s\n", VRAXGetSerialNumber());
    VRAXSetFrequency(72.0 / 60.0);  // beats a second
    VRAXSetAmplitude(1.5);          // millivolts
    VRAXSetOutputFunction(OUTPUT_ECG);
    sleep(10);
    VRAXFree();  // stops the signal
    return 0;
}
