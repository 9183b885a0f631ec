#include "SignalOptions.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Failure.h"
#include "vrax.h"

namespace vrax {

namespace {

void AddParameter(CLI::App& command, const Parameter& parameter, SignalOptions& options)
{
    const auto store = [&options, name = parameter.name](const std::string& text) {
        options.given.emplace_back(name, text);
    };
    const std::string initial = fmt::format(" [{}]", ValueText(parameter, parameter.initial));
    command
        .add_option_function<std::string>("--" + parameter.name, store, parameter.help + initial)
        ->type_name(RangeText(parameter))
        ->group(parameter.group)
        ->take_last();
}

std::pair<std::string, std::string> Split(const std::string& text)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) {
        throw Failure(fmt::format("--set {} has no value", text),
                      "write --set NAME=VALUE, as in --set amplitude=2", kWrongUsage);
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

void CheckChannels(const SignalRequest& request)
{
    const Signal& signal = request.signal;
    if (signal.builtIn == nullptr || signal.builtIn->function == OUTPUT_ANE20000) return;
    throw Failure(fmt::format("{} has no channels", signal.Name()),
                  "--channel is for files and for ane20000", kWrongUsage);
}

}  // namespace

std::string SignalRequest::Title() const
{
    std::vector<std::string> texts = {signal.Name()};
    for (const std::string& text : values.Texts()) texts.push_back(text);
    return fmt::format("{}", fmt::join(texts, ", "));
}

void AddSignalOptions(CLI::App& command, SignalOptions& options)
{
    command.add_option("FUNCTION|FILE", options.name,
                       "a built-in signal, or a recording (.txt .bin .ecg .edf .hea .dat)");
    command.add_flag("--list-functions", options.isListWanted, "tell the built-in signals");
    command.add_option("--as", options.kind, "kind of the file; found out without it")
        ->check(CLI::IsMember(FormatWords()));
    command.add_option("--channel", options.channels, "of the file, or lead of ane20000; from 0")
        ->delimiter(',')
        ->check(CLI::Range(0, kMostChannels - 1));
    command.add_option("--set", options.sets, "a parameter in another form, as in amplitude=2")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    for (const Parameter& parameter : Parameters()) AddParameter(command, parameter, options);
}

SignalRequest ReadRequest(const SignalOptions& options)
{
    if (options.name.empty()) {
        throw Failure("a signal or a file is missing",
                      "vrax play --list-functions tells the signals", kWrongUsage);
    }
    SignalRequest request{.signal = FindSignal(options.name, options.kind), .values = {}};
    for (const auto& [name, text] : options.given) request.values.Set(name, text);
    for (const std::string& text : options.sets) {
        const auto [name, value] = Split(text);
        request.values.Set(name, value);
    }
    if (!options.channels.empty()) {
        request.channels = options.channels;
        CheckChannels(request);
    }
    return request;
}

void ListSignals()
{
    for (const BuiltInSignal& signal : BuiltInSignals()) {
        fmt::print("{:<20} {}\n", signal.name, signal.help);
    }
}

void AddDuration(CLI::App& command, const std::string& name, double& seconds,
                 const std::string& help)
{
    command.add_option(name, seconds, help)
        ->transform(CLI::AsNumberWithUnit(
            std::map<std::string, double>{{"ms", 0.001}, {"s", 1.0}, {"min", 60.0}, {"h", 3600.0}},
            CLI::AsNumberWithUnit::CASE_SENSITIVE, "TIME"));
}

}  // namespace vrax
