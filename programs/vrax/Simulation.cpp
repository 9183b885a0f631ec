// The option --simulated: this program again, with an instrument of its own.

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fmt/format.h>
#include <unistd.h>

#include "Program.h"

namespace vrax {

namespace {

constexpr char kInstrument[] = "vrax-instrument";
// Fitted for a signal that is only computed: it has the widest ranges.
constexpr char kOfflinePpgModel[] = "3407";

// Beside this program, as in a build tree, else where PATH leads.
std::string FindInstrument(const std::filesystem::path& self)
{
    const std::filesystem::path beside = self.parent_path() / kInstrument;
    return access(beside.c_str(), X_OK) == 0 ? beside.string() : kInstrument;
}

}  // namespace

void Program::BecomeSimulated() const
{
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) throw Failure("this program cannot be found in /proc", "mount /proc");

    std::vector<std::string> words = {FindInstrument(self)};
    if (port_ >= 0 && !isOffline_) words.insert(words.end(), {"--port", std::to_string(port_)});
    if (!ppgModel_.empty()) words.insert(words.end(), {"--ppg", ppgModel_});
    if (hasRespiration_) words.emplace_back("--respiration");
    if (isOffline_) words.insert(words.end(), {"--pace", "fast"});
    if (isOffline_ && ppgModel_.empty() && !hasRespiration_) {
        words.insert(words.end(), {"--ppg", kOfflinePpgModel});
    }
    words.insert(words.end(), {"--", self.string(), "--inside-simulation"});
    words.insert(words.end(), arguments_.begin() + 1, arguments_.end());

    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    execvp(pointers[0], pointers.data());
    throw Failure(fmt::format("{} cannot be run: {}", kInstrument, std::strerror(errno)),
                  "install it beside vrax, or leave out --simulated");
}

}  // namespace vrax
