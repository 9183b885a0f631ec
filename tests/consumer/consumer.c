/* Plays half a second of an ECG and tells which library and instrument did it. C99. */
#define _POSIX_C_SOURCE 200809L

#include <semaphore.h>
#include <stdio.h>
#include <time.h>

#include <vrax.h>

static sem_t halfSecondBuilt;

static void OnSample(double time, double mv)
{
    static bool told;
    (void)mv;
    if (time < 0.5 || told) return;
    told = true;
    sem_post(&halfSecondBuilt);
}

/* A failure has the number of its step as the status. */
static int Play(void)
{
    struct timespec limit;
    if (!VRAXConnect(0, 20000)) return 1;
    printf("library %s\n", VRAXGetSDKVersion());
    printf("instrument %s\n", VRAXGetSerialNumber());
    VRAXRegisterOutputSignalCallback(OnSample, 1);
    if (VRAXSetFrequency(1.0) != 0 || VRAXSetAmplitude(1.5) != 0) return 2;
    if (VRAXSetOutputFunction(OUTPUT_ECG) != 0) return 3;
    clock_gettime(CLOCK_REALTIME, &limit);
    limit.tv_sec += 20;
    if (sem_timedwait(&halfSecondBuilt, &limit) != 0) return 4;
    return VRAXSetOutputFunction(OUTPUT_OFF) == 0 ? 0 : 5;
}

int main(void)
{
    int status;
    if (sem_init(&halfSecondBuilt, 0, 0) != 0) return 6;
    status = Play();
    VRAXFree();
    return status;
}
