#include "Program.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <utility>

#include <fcntl.h>
#include <fmt/color.h>
#include <fmt/format.h>
#include <unistd.h>

#include "Quantities.h"
#include "vrax.h"

namespace vrax {

namespace {

constexpr double kMaxTimeoutSeconds = 3600.0;

constexpr char kStatuses[] =
    "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no instrument, 130 interrupted.\n"
    "Help for a command: vrax COMMAND --help";

fmt::text_style StyleOf(Style style)
{
    switch (style) {
        case Style::Good: return fmt::fg(fmt::terminal_color::green);
        case Style::Warning: return fmt::fg(fmt::terminal_color::yellow);
        case Style::Bad: return fmt::fg(fmt::terminal_color::red) | fmt::emphasis::bold;
        case Style::Strong: return fmt::emphasis::bold;
        case Style::Faint: return fmt::emphasis::faint;
    }
    return {};
}

// The innermost command that was named: its help answers a wrong use.
const CLI::App& NamedCommand(const CLI::App& app)
{
    const auto commands = app.get_subcommands();
    return commands.empty() ? app : NamedCommand(*commands.front());
}

std::string FullName(const CLI::App& command)
{
    const CLI::App* parent = command.get_parent();
    return parent == nullptr ? command.get_name() : FullName(*parent) + " " + command.get_name();
}

}  // namespace

Program::Program(int argc, char** argv) : arguments_(argv, argv + argc) {}

Program::~Program()
{
    if (answers_ != nullptr) std::fclose(answers_);
}

void Program::AddOptions(CLI::App& app)
{
    app.fallthrough();  // the options below may stand behind the command as well
    app.require_subcommand(1);
    app.footer(kStatuses);
    app.set_version_flag("--version", [] { return fmt::format("vrax {}", VRAXGetSDKVersion()); });
    app.add_flag("--json", isJson_,
                 "answer in JSON: one object, or a line for each event of play and replay");
    app.add_option("--port", port_, "n of /dev/ttyACM<n>; all are searched without it")
        ->check(CLI::Range(0, 127));
    app.add_option("--timeout", timeoutSeconds_, "seconds to wait for the instrument")
        ->check(FiniteRange(0.0, kMaxTimeoutSeconds))
        ->capture_default_str();
    app.add_option("--calibration-dir", calibrationDirectory_,
                   "calibrate by the file calibration.dat in this directory, which is made from "
                   "the instrument's own table when there is none")
        ->check(CLI::ExistingDirectory);
    app.add_option("--color", color_, "colours: on terminals, always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->capture_default_str();
    CLI::Option* const simulated =
        app.add_flag("--simulated", isSimulated_, "with a simulated instrument, for this run");
    CLI::Option* const ppg =
        app.add_option("--ppg", ppgModel_, "PPG module of the simulated instrument, such as 3407")
            ->needs(simulated);
    app.add_flag("--respiration", hasRespiration_,
                 "external respiration module of the simulated instrument")
        ->needs(simulated)
        ->excludes(ppg);  // the accessory port has room for one module
    app.add_flag("--inside-simulation", isInsideSimulation_)->group("");  // see BecomeSimulated()
}

void Program::SetAction(CLI::App& command, std::function<int()> action)
{
    command.callback([this, action = std::move(action)] { action_ = action; });
}

void Program::SetOfflineAction(CLI::App& command, std::function<bool()> prepare,
                               std::function<int()> action)
{
    command.callback([this, prepare = std::move(prepare), action = std::move(action)] {
        prepare_ = prepare;
        action_ = action;
        isOffline_ = true;
    });
}

int Program::Run(CLI::App& app)
{
    try {
        std::vector<std::string> words(arguments_.rbegin(), arguments_.rend() - 1);
        app.parse(std::move(words));  // takes them from the end
    } catch (const CLI::ParseError& error) {
        return ShowUsage(app, error);
    }
    try {
        if (!isInsideSimulation_ && prepare_()) return kDone;
        if ((isSimulated_ || isOffline_) && !isInsideSimulation_) BecomeSimulated();
        if (isJson_) RedirectOutput();
        return RunAction();
    } catch (const CLI::ParseError& error) {
        return ShowUsage(app, error);
    } catch (const Failure& failure) {
        return Show(failure);
    } catch (const std::exception& error) {
        return Show(Failure(error.what(), "vrax doctor looks for causes"));
    }
}

int Program::RunAction()
{
    const int status = action_();
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw Failure("the answer could not be written", "is the disk full?");
    }
    return status;
}

bool Program::IsTerminal(std::FILE* stream) { return isatty(fileno(stream)) != 0; }

std::string Program::Paint(std::FILE* stream, Style style, const std::string& text) const
{
    const bool isPlain = std::getenv("NO_COLOR") != nullptr || !IsTerminal(stream);
    if (color_ == "never" || (color_ == "auto" && isPlain)) return text;
    return fmt::format(StyleOf(style), "{}", text);
}

void Program::CheckCanAsk(bool isAnswered) const
{
    if (isAnswered || IsTerminal(stdin)) return;
    throw Failure("nothing was written: there is no terminal to ask for confirmation on",
                  "add --yes to go on without the question", kWrongUsage);
}

void Program::Confirm(const std::string& question, bool isAnswered) const
{
    CheckCanAsk(isAnswered);
    if (isAnswered) return;
    fmt::print(stderr, "{} [y/N] ", question);
    std::fflush(stderr);
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes") {
        throw Failure("nothing was written: the answer was not yes", "answer y to go on");
    }
}

void Program::RedirectOutput()
{
    const int copy = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    if (copy >= 0) answers_ = fdopen(copy, "w");
    if (answers_ == nullptr || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        throw Failure("standard output cannot be used", "do not close it");
    }
}

void Program::PrintJson(const Json& answer)
{
    PrintAnswer(answer.dump(2, ' ', false, Json::error_handler_t::replace));
}

void Program::PrintJsonLine(const Json& answer)
{
    isInLines_ = true;
    PrintAnswer(answer.dump(-1, ' ', false, Json::error_handler_t::replace));
}

void Program::PrintAnswer(const std::string& text)
{
    std::FILE* const stream = answers_ != nullptr ? answers_ : stdout;
    fmt::print(stream, "{}\n", text);
    if (std::fflush(stream) != 0) {
        throw Failure("the answer could not be written", "is the disk full?");
    }
}

int Program::Show(const Failure& failure)
{
    std::fflush(stdout);
    const std::string advice = failure.Advice().empty() ? "" : "; " + failure.Advice();
    const std::string text =
        fmt::format("{} {}{}\n", Paint(stderr, Style::Bad, "vrax:"), failure.Sentence(), advice);
    std::fputs(text.c_str(), stderr);
    if (!isJson_) return failure.Status();
    try {
        if (answers_ == nullptr) RedirectOutput();
        const Json answer = {{"failure", failure.Sentence()},
                             {"advice", failure.Advice()},
                             {"status", static_cast<int>(failure.Status())}};
        isInLines_ ? PrintJsonLine(answer) : PrintJson(answer);
    } catch (const std::exception&) {
        // Standard output takes nothing, which may be the failure itself; the status tells.
    }
    return failure.Status();
}

// Help and the version come this way too.
int Program::ShowUsage(const CLI::App& app, const CLI::ParseError& error)
{
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return app.exit(error);
    // The error may have come before the option was read.
    isJson_ =
        isJson_ || std::find(arguments_.begin(), arguments_.end(), "--json") != arguments_.end();
    return Show(Failure(error.what(), fmt::format("see {} --help", FullName(NamedCommand(app))),
                        kWrongUsage));
}

}  // namespace vrax
