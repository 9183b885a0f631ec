// vrax-instrument: a simulated instrument on /dev/ttyACM<n>, beside applications or around one.

#include <exception>

#include <fmt/format.h>

#include "instrument/program/Child.h"
#include "instrument/program/CommandLine.h"
#include "instrument/program/PrivateNamespace.h"
#include "instrument/program/Session.h"

int main(int argc, char** argv)
{
    using namespace instrument;

    int status = 0;
    const auto line = ReadCommandLine(argc, argv, status);
    if (!line) return status;
    try {
        if (line->hasCommand) EnterPrivateNamespace();
        if (line->none) return Become(line->command);
        Session session(*line);
        return session.Run();
    } catch (const std::exception& error) {
        fmt::print(stderr, "vrax-instrument: {}\n", error.what());
        return 1;
    }
}
