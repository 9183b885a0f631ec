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

// A command on the side, which may wait for long. It is inside the library when this returns: a
// call that has not begun cannot be let out.
bool StartCommand()
{
    std::atomic<pid_t> thread{0};
    std::thread([command = LOOK_UP(VRAXGetUSBBusVoltage), &thread] {
        thread = static_cast<pid_t>(syscall(SYS_gettid));
        command();
    }).detach();
    const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(5)); };
    while (thread == 0) pause();
    const pid_t id = thread;
    for (int looks = 0; looks < 3; pause()) looks = Sleeps(id) ? looks + 1 : 0;
    return true;
}

// The end of the process from a thread that the library calls.
bool LeaveFromCallback()
{
    LOOK_UP(VRAXRegisterOutputSignalCallback)([](double, double) { std::exit(0); }, 0);
    return true;
}

bool Do(const std::string& word, int first, unsigned second)
{
    if (word == "connect") return LOOK_UP(VRAXConnect)(first, second);
    if (word == "init") return LOOK_UP(VRAXInit)([](bool) {});
    if (word == "play") return LOOK_UP(VRAXSetOutputFunction)(first) == 0;
    if (word == "playing") return LOOK_UP(VRAXIsPlaying)() == 1;
    if (word == "voltage") return LOOK_UP(VRAXGetUSBBusVoltage)() == second;
    if (word == "free") return Free();
    if (word == "command") return StartCommand();
    if (word == "signal") return SetSignal();
    if (word == "go") return GiveSignal();
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
