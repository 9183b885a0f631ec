#include "SignalOptions.h"

#include <cmath>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Failure.h"
#include "PulseCalls.h"
#include "RawSamples.h"
#include "vrax.h"

namespace vrax {

namespace {

constexpr double kSecondsPerMinute = 60.0;

// Of the dynamic range tests, either side of zero.
constexpr double kRangeTestMostMv = 20.0;
constexpr double kRangeTriangleMostMv = 5.0;

void AddParameter(CLI::App& command, const Parameter& parameter, SignalOptions& options)
{
    const auto store = [&options, name = parameter.name](const std::string& text) {
        options.given.emplace_back(name, text);
    };
    const std::string initial = std::isnan(parameter.initial)
                                    ? ""
                                    : fmt::format(" [{}]", ValueText(parameter, parameter.initial));
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
    if (signal.builtIn == nullptr) return;
    if (signal.builtIn->function != OUTPUT_ANE20000) {
        throw Failure(fmt::format("{} has no channels", signal.Name()),
                      "--channel is for files and for ane20000", kWrongUsage);
    }
    if (request.values.Has("ane-lead")) {
        throw Failure("--channel and --ane-lead are the same here", "give one of them",
                      kWrongUsage);
    }
    const int most = static_cast<int>(FindParameter("ane-lead").high);
    for (const int channel : request.channels) {
        if (channel <= most) continue;
        throw Failure(fmt::format("ane20000 has no lead {}", channel),
                      fmt::format("--channel takes 0 to {} with it", most), kWrongUsage);
    }
}

// The waveforms of the three standards share one number: that of another would select wrongly.
void CheckWaves(const SignalRequest& request)
{
    for (const char* number : {"227", "251", "247"}) {
        const std::string parameter = std::string("wave") + number;
        const std::string signal = std::string("iec") + number;
        if (!request.values.Has(parameter) || request.signal.Name() == signal) continue;
        throw Failure(fmt::format("{} has no {}", request.signal.Name(), parameter),
                      fmt::format("--{} is for {}", parameter, signal), kWrongUsage);
    }
}

// Above its ceiling a signal plays at the ceiling.
void CutFrequency(SignalRequest& request)
{
    if (request.signal.builtIn == nullptr) return;
    const double mostHz = request.signal.builtIn->mostHz;
    for (const auto& [name, most] :
         {std::pair{"frequency", mostHz}, {"rate", mostHz * kSecondsPerMinute}}) {
        if (!request.values.Has(name) || request.values[name] <= most) continue;
        const Parameter& parameter = FindParameter(name);
        request.remarks.push_back(fmt::format("{} plays at {} instead of {}, its highest {}",
                                              request.signal.Name(), ValueText(parameter, most),
                                              ValueText(parameter, request.values[name]), name));
        request.values.Set(name, fmt::format("{}", most));
    }
}

// A dynamic range test makes room for its small sine, and holds a triangle closer than a square.
void CutAmplitude(SignalRequest& request)
{
    if (request.signal.builtIn == nullptr) return;
    const std::string name = request.signal.Name();
    if (name != "range-triangle" && name != "range-square") return;
    Values& values = request.values;
    const Parameter& amplitude = FindParameter("amplitude");
    const double mostMv = 2.0 * kRangeTestMostMv - values["range-amplitude"];
    if (values["amplitude"] > mostMv) {
        request.remarks.push_back(
            fmt::format("{} plays an amplitude of {} instead of {}: with range-amplitude it stays "
                        "within {:g} mV",
                        name, ValueText(amplitude, mostMv), values.Text("amplitude"),
                        kRangeTestMostMv));
        values.Set("amplitude", fmt::format("{}", mostMv));
    }
    const double heightMv = (std::abs(values["amplitude"]) + values["range-amplitude"]) / 2.0;
    const double holdMv = name == "range-triangle" ? kRangeTriangleMostMv : kRangeTestMostMv;
    if (heightMv <= holdMv) return;
    request.remarks.push_back(
        fmt::format("{} reaches {:g} mV and is cut off at {:g} mV", name, heightMv, holdMv));
}

void CheckModules(const Values& values)
{
    CheckPulses(values);
    if (values.Has("pulse-group-word") && !values.Has("pulse-groups")) {
        throw Failure("pulse-group-word is written with the groups alone", "give --pulse-groups",
                      kWrongUsage);
    }
    if (values.Has("impedance-file")) ReadRawSamples(values.Path("impedance-file"), 1);
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
        ->allow_extra_args(false)
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
    const bool isLevel = request.signal.builtIn != nullptr && request.signal.Name() == "fixed-dc";
    if (isLevel && !request.values.Has("dc-code")) {
        throw Failure("fixed-dc has no level without a code", "give --dc-code 0 to 65535",
                      kWrongUsage);
    }
    CheckWaves(request);
    CheckModules(request.values);
    CutFrequency(request);
    CutAmplitude(request);
    return request;
}

void TellRemarks(const SignalRequest& request)
{
    for (const std::string& remark : request.remarks) fmt::print(stderr, "vrax: {}\n", remark);
}

std::vector<std::string> SourcesOf(const Signal& signal)
{
    if (signal.builtIn != nullptr) return {};
    return {signal.record.path, signal.record.signalPath};
}

void ListSignals(Program& program)
{
    if (program.IsJson()) {
        Json list = Json::array();
        for (const BuiltInSignal& signal : BuiltInSignals()) {
            list.push_back({{"name", signal.name}, {"help", signal.help}});
        }
        program.PrintJson(list);
        return;
    }
    for (const BuiltInSignal& signal : BuiltInSignals()) {
        fmt::print("{:<20} {}\n", signal.name, signal.help);
    }
}

}  // namespace vrax
