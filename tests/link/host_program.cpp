// An application in a process of its own: does what it is told on its standard input, one word and
// its arguments a line, and answers each with one line. In its second form it loads the library
// itself and can unload it.

#include <dlfcn.h>
#include <grp.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "vrax.h"

namespace {

#ifdef VRAX_LIBRARY_FILE
void* s_library = dlopen(VRAX_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
#define LOOK_UP(name) (reinterpret_cast<decltype(&(name))>(dlsym(s_library, #name)))
bool Unload()
{
    return dlclose(s_library) == 0 && dlopen(VRAX_LIBRARY_FILE, RTLD_NOLOAD) == nullptr;
}
#else
#define LOOK_UP(name) (&(name))
bool Unload() { return false; }
#endif

VRAXSynchronizationSignal s_signal = nullptr;

bool BecomeNobody()
{
    constexpr unsigned kNobody = 65534;
    return setgroups(0, nullptr) == 0 && setresgid(kNobody, kNobody, kNobody) == 0 &&
           setresuid(kNobody, kNobody, kNobody) == 0;
}

bool SetSignal()
{
    s_signal = LOOK_UP(VRAXCreateSynchronizationSignal)();
    LOOK_UP(VRAXSetSynchronizationSignal)(s_signal);
    return s_signal != nullptr;
}

bool GiveSignal()
{
    LOOK_UP(VRAXSynchronizationSignalSetEvent)(s_signal);
    return true;
}

bool Free()
{
    LOOK_UP(VRAXFree)();
    return true;
}

// Whether a thread of this process waits for something. One that has ended waits for nothing more.
bool Sleeps(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    if (!std::getline(file, text)) return true;
    return text.substr(text.rfind(')') + 2, 1) == "S";
}

// Returns when the thread, which tells its id when it runs, has come to wait for something.
void WaitUntilAsleep(const std::atomic<pid_t>& thread)
{
    const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(5)); };
    while (thread == 0) pause();
    const pid_t id = thread;
    for (int looks = 0; looks < 3; pause()) looks = Sleeps(id) ? looks + 1 : 0;
}

// A command on the side, which may wait for long. It is inside the library when this returns: a
// call that has not begun cannot be let out.
bool StartCommand()
{
    std::atomic<pid_t> thread{0};
    std::thread([command = LOOK_UP(VRAXGetUSBBusVoltage), &thread] {
        thread = static_cast<pid_t>(syscall(SYS_gettid));
        command();
    }).detach();
    WaitUntilAsleep(thread);
    return true;
}

// Gives the signal when the last writer of an inherited pipe closes it. Waits for that when this
// returns.
bool GiveSignalAtEndOf(int pipe)
{
    std::atomic<pid_t> thread{0};
    std::thread([pipe, &thread] {
        thread = static_cast<pid_t>(syscall(SYS_gettid));
        char byte;
        if (read(pipe, &byte, 1) == 0) GiveSignal();
    }).detach();
    WaitUntilAsleep(thread);
    return true;
}

// A busy machine may delay replies beyond the time that is given to them otherwise.
bool BePatient()
{
    LOOK_UP(SetDeviceTimeoutSetting)(1000, 200);
    return true;
}

bool StartSampling()
{
    return LOOK_UP(VRAXEnablePPGSampling)(0, [](int, int, int) {}) == 0 &&
           LOOK_UP(VRAXStartPPGSampling)() == 0;
}

// The end of the process from a thread that the library calls.
bool LeaveFromCallback()
{
    LOOK_UP(VRAXRegisterOutputSignalCallback)([](double, double) { std::exit(0); }, 0);
    return true;
}

constexpr int kFpga = 0;

// An image that is taken: zeros and a tag.
bool LoadImage(int kind)
{
    constexpr long kTagOffset = 118772;
    char path[] = "/tmp/vrax-image-XXXXXX";
    const int descriptor = mkstemp(path);
    if (descriptor < 0 || ftruncate(descriptor, 122880) != 0) return false;
    const bool written = pwrite(descriptor, kind == kFpga ? "VRAX" : "2TF2", 4, kTagOffset) == 4;
    close(descriptor);
    const auto load = kind == kFpga ? LOOK_UP(LoadFirmwareFile) : LOOK_UP(LoadMcuFile);
    int version[4];
    const int size = load(path, &version[0], &version[1], &version[2], &version[3]);
    unlink(path);
    return written && size == 122880;
}

constexpr int kWellInside = 3;
std::atomic<int> s_burnCalls{0};

auto BurnOf(int kind) { return kind == kFpga ? LOOK_UP(BurnFirmware) : LOOK_UP(BurnMcu); }

// A burn on the side, a few frames of which are out when this returns.
bool StartBurn(int kind)
{
    if (!LoadImage(kind)) return false;
    std::thread([burn = BurnOf(kind)] {
        burn([](int, int) {
            ++s_burnCalls;
            return 0;
        });
    }).detach();
    while (s_burnCalls < kWellInside) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return true;
}

// The end of the process in the middle of a burn, by its own callback.
bool LeaveFromBurn(int kind)
{
    if (!LoadImage(kind)) return false;
    BurnOf(kind)([](int, int) {
        if (++s_burnCalls == kWellInside) std::exit(0);
        return 0;
    });
    return false;
}

bool Do(const std::string& word, int first, unsigned second)
{
    if (word == "burn") return StartBurn(first);
    if (word == "leave-from-burn") return LeaveFromBurn(first);
    if (word == "connect") return LOOK_UP(VRAXConnect)(first, second);
    if (word == "patient") return BePatient();
    if (word == "init") return LOOK_UP(VRAXInit)([](bool) {});
    if (word == "play") return LOOK_UP(VRAXSetOutputFunction)(first) == 0;
    if (word == "playing") return LOOK_UP(VRAXIsPlaying)() == 1;
    if (word == "voltage") return LOOK_UP(VRAXGetUSBBusVoltage)() == second;
    if (word == "free") return Free();
    if (word == "command") return StartCommand();
    if (word == "signal") return SetSignal();
    if (word == "go") return GiveSignal();
    if (word == "go-with") return GiveSignalAtEndOf(first);
    if (word == "sample") return StartSampling();
    if (word == "nobody") return BecomeNobody();
    if (word == "unload") return Unload();
    if (word == "leave-from-callback") return LeaveFromCallback();
    if (word == "leave") std::exit(0);
    if (word == "leave-at-once") _exit(0);
    return false;
}

}  // namespace

int main()
{
    LOOK_UP(SetCalibrationDataPath)("/no/such/folder/");
    char line[256];
    while (std::fgets(line, sizeof line, stdin) != nullptr) {
        char word[64] = "";
        int first = 0;
        unsigned second = 0;
        std::sscanf(line, "%63s %d %u", word, &first, &second);
        std::puts(Do(word, first, second) ? "yes" : "no");
        std::fflush(stdout);
    }
    return 0;  // with whatever is open, connected or playing
}
