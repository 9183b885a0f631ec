// Plays one channel of a recording once: a text file (.txt), EDF (.edf), or WFDB (.hea).
//
//     play_recording FILE [CHANNEL]
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <vrax.h>

namespace {

std::atomic<bool> s_ended{false};

// Runs on the thread that computes the packets: it may only note what happened.
void OnEnd(double, double)
{
    s_ended = true;
    s_ended.notify_one();
}

// The number of samples, or a negative code that vrax.h explains.
int Load(const std::filesystem::path& file, int channel)
{
    if (file.extension() == ".edf") return VRAXLoadECGedf(file.c_str(), channel);
    if (file.extension() != ".hea") return VRAXLoadECGtxt(file.c_str(), channel);
    std::filesystem::path samples = file;
    return VRAXLoadECGdat(file.c_str(), samples.replace_extension(".dat").c_str(), channel);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fputs("usage: play_recording FILE [CHANNEL]\n", stderr);
        return 2;
    }
    const int count = Load(argv[1], argc > 2 ? std::atoi(argv[2]) : 0);
    if (count <= 0) {
        std::fprintf(stderr, "%s cannot be played: code %d\n", argv[1], count);
        return 1;
    }
    if (!VRAXConnect(-1, 5000)) return 1;
    RegisterStandardWaveformCB(OnEnd);
    VRAXSetFileLoop(0);
    std::printf("%d samples\n", count);
    const bool plays = VRAXSetOutputFunction(OUTPUT_ECG_FILE) == 0;
    if (plays) s_ended.wait(false);  // the library switches the output off by itself
    VRAXFree();
    return plays ? 0 : 1;
}
