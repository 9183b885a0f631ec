// Starts a signal at the mark of other equipment; here the mark is a line on standard input.
#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>
#include <thread>

#include <vrax.h>

int main()
{
    const VRAXSynchronizationSignal mark = VRAXCreateSynchronizationSignal();
    if (mark == nullptr || !VRAXConnect(-1, 5000)) return 1;
    VRAXSetSynchronizationSignal(mark);
    // Everything is ready after this call, but the first packet waits for the mark.
    if (VRAXSetOutputFunction(OUTPUT_SINE) != 0) return 1;
    std::cout << "ready; press Enter to start" << std::endl;
    std::string line;
    const bool started = static_cast<bool>(std::getline(std::cin, line));
    if (started) {
        VRAXSynchronizationSignalSetEvent(mark);
        std::cout << "started" << std::endl;
        std::this_thread::sleep_for(std::chrono::seconds(2));
    }
    VRAXFree();
    return started ? 0 : 1;
}
