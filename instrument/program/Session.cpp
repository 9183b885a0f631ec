#include "instrument/program/Session.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "instrument/ControlLine.h"
#include "instrument/Framing.h"

namespace instrument {

namespace {

constexpr int kStrictFailure = 3;
constexpr int kFailure = 1;
constexpr int kFlashSaveMs = 1000;
constexpr std::size_t kShownBytes = 20;

void Say(const std::string& text) { fmt::print(stderr, "vrax-instrument: {}\n", text); }

}  // namespace

Session::Session(const CommandLine& line) : line_(line)
{
    if (line_.hasCommand) child_ = std::make_unique<Child>(line_.command);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGTTIN, SIG_IGN);  // in the background there are no lines to take
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) sigaddset(&set, number);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    signals_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    readsInput_ = !line_.hasCommand;

    LoadFlash();
    OpenFiles();
    OpenControl();
    instrument_ = std::make_unique<SimulatedInstrument>(line_.options);
    savedGeneration_ = instrument_->FlashGeneration();
}

Session::~Session()
{
    instrument_.reset();  // its thread writes to the files
    if (control_ >= 0) close(control_);
    if (madeControl_) unlink(line_.controlPath.c_str());
    if (signals_ >= 0) close(signals_);
}

void Session::OpenControl()
{
    const std::string& path = line_.controlPath;
    if (path.empty()) return;
    madeControl_ = mkfifo(path.c_str(), 0600) == 0;
    // Opened for both directions, so that it does not end with its first writer.
    control_ = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    struct stat info {};
    if (control_ < 0 || fstat(control_, &info) != 0) {
        throw std::runtime_error(fmt::format("{}: {}", path, std::strerror(errno)));
    }
    if (!S_ISFIFO(info.st_mode)) throw std::runtime_error(fmt::format("{} is no FIFO", path));
}

void Session::OpenFiles()
{
    Options& options = line_.options;
    options.keepPackets = 1;
    options.keepExchanges = 0;
    options.onRefusal = [this](const Refusal& refusal) {
        Say(fmt::format("refused: {} [{}]", refusal.reason, Hex(refusal.request, kShownBytes)));
        if (trace_) trace_->Write(refusal);
    };
    if (!line_.recordPath.empty()) {
        csv_.emplace(line_.recordPath);
        options.onSamples = [this](std::span<const Sample> samples) { csv_->Write(samples); };
    }
    if (!line_.tracePath.empty()) {
        trace_.emplace(line_.tracePath);
        options.onExchange = [this](const Exchange& exchange) { trace_->Write(exchange); };
    }
}

void Session::LoadFlash()
{
    if (line_.flashPath.empty()) return;
    std::ifstream file(line_.flashPath, std::ios::binary);
    if (!file) {
        if (errno == ENOENT) return;
        throw std::runtime_error(fmt::format("{}: {}", line_.flashPath, std::strerror(errno)));
    }
    line_.options.initialFlash.assign(std::istreambuf_iterator<char>(file), {});
    if (line_.options.initialFlash.empty()) {
        throw std::runtime_error(fmt::format("{} is empty", line_.flashPath));
    }
}

// Whole or not at all: a run that is killed while it writes leaves the old file.
void Session::SaveFlash()
{
    if (line_.flashPath.empty()) return;
    const std::uint64_t generation = instrument_->FlashGeneration();
    const std::string temporary = line_.flashPath + ".new";
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    file << instrument_->SaveFlash();
    file.close();
    if (!file || std::rename(temporary.c_str(), line_.flashPath.c_str()) != 0) {
        Say(fmt::format("{} cannot be written: {}", line_.flashPath, std::strerror(errno)));
        isWritten_ = false;
    }
    savedGeneration_ = generation;
}

int Session::Run()
{
    if (child_) child_->Start();
    else
        Say(fmt::format("serving {} ({}); help for control lines", instrument_->Path(),
                        instrument_->TerminalPath()));
    while (!isOver_) {
        WaitForEvents();
        if (instrument_->FlashGeneration() != savedGeneration_) SaveFlash();
    }
    return Finish();
}

void Session::WaitForEvents()
{
    pollfd descriptors[] = {{signals_, POLLIN, 0},
                            {control_, POLLIN, 0},
                            {readsInput_ ? STDIN_FILENO : -1, POLLIN, 0}};
    const bool keepsFlash = !line_.flashPath.empty();
    if (poll(descriptors, std::size(descriptors), keepsFlash ? kFlashSaveMs : -1) <= 0) return;
    if (descriptors[0].revents != 0) TakeSignal();
    if (descriptors[1].revents != 0) TakeLines(control_, controlRest_, stderr);
    if (descriptors[2].revents != 0) TakeLines(STDIN_FILENO, inputRest_, stdout);
}

void Session::TakeSignal()
{
    signalfd_siginfo info{};
    while (read(signals_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        const int number = static_cast<int>(info.ssi_signo);
        if (number == SIGCHLD) continue;
        if (!child_) isOver_ = true;
        // What the terminal sends, it sends to the child too.
        else if (info.ssi_code != SI_KERNEL) child_->Signal(number);
    }
    if (child_ && child_->HasEnded(status_)) isOver_ = true;
}

void Session::TakeLines(int descriptor, std::string& rest, std::FILE* answers)
{
    char buffer[4096];
    const ssize_t count = read(descriptor, buffer, sizeof buffer);
    const bool isOver = count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR);
    if (isOver && descriptor == STDIN_FILENO) readsInput_ = false;  // goes on without
    if (count <= 0) return;
    rest.append(buffer, static_cast<std::size_t>(count));
    for (std::size_t end = rest.find('\n'); end != std::string::npos; end = rest.find('\n')) {
        const std::string told = RunControlLine(*instrument_, rest.substr(0, end));
        if (!told.empty()) fmt::print(answers, "{}\n", told);
        rest.erase(0, end + 1);
    }
    std::fflush(answers);
}

void Session::EndFiles()
{
    if (csv_ && !csv_->Close()) {
        Say(fmt::format("{} is not complete: the disk is full?", line_.recordPath));
        isWritten_ = false;
    }
    if (trace_ && !trace_->Close()) {
        Say(fmt::format("{} is not complete: the disk is full?", line_.tracePath));
        isWritten_ = false;
    }
}

int Session::Finish()
{
    instrument_->Unplug();
    const StreamStatistics stream = instrument_->Statistics();
    const bool hasErrors = instrument_->RefusalCount() > 0 || stream.sequenceErrors > 0 ||
                           stream.modeErrors > 0 || stream.codeErrors > 0;
    const std::string summary = SummaryLine(*instrument_);
    if (instrument_->FlashGeneration() != savedGeneration_) SaveFlash();
    instrument_.reset();
    EndFiles();
    if (line_.summary) Say(summary);
    if (status_ != 0) return status_;
    if (!isWritten_) return kFailure;
    return line_.strict && hasErrors ? kStrictFailure : 0;
}

}  // namespace instrument
