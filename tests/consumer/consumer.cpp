// Plays half a second of a sine and tells which library and instrument did it. C++17.

#include <chrono>
#include <cstdio>
#include <future>

#include <vrax.h>

namespace {

constexpr auto kLimit = std::chrono::seconds(20);
std::promise<void> s_halfSecondBuilt;

void OnSample(double time, double)
{
    static bool isTold = false;
    if (time < 0.5 || isTold) return;
    isTold = true;
    s_halfSecondBuilt.set_value();
}

// A failure has the number of its step as the status.
int Play()
{
    if (!VRAXConnect(0, 20000)) return 1;
    std::printf("library %s\n", VRAXGetSDKVersion());
    std::printf("instrument %s\n", VRAXGetSerialNumber());
    VRAXRegisterOutputSignalCallback(OnSample, 1);
    if (VRAXSetFrequency(10.0) != 0 || VRAXSetAmplitude(2.0) != 0) return 2;
    if (VRAXSetOutputFunction(OUTPUT_SINE) != 0) return 3;
    if (s_halfSecondBuilt.get_future().wait_for(kLimit) != std::future_status::ready) return 4;
    return VRAXSetOutputFunction(OUTPUT_OFF) == 0 ? 0 : 5;
}

}  // namespace

int main()
{
    const int status = Play();
    VRAXFree();
    return status;
}
