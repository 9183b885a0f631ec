#include "Plot.h"

#include <filesystem>
#include <memory>

#include <fmt/format.h>

#include "SignalOptions.h"
#include "SignalRun.h"
#include "StripChart.h"

namespace vrax {

namespace {

constexpr double kMostSeconds = 120.0;  // a picture that programs still show
constexpr double kUsualResolution = 200.0;
constexpr double kMmPerInch = 25.4;

struct PlotOptions {
    SignalOptions signal;
    double seconds = 10.0;
    double pixelsPerInch = kUsualResolution;
    std::string path;
};

Chart MakeChart(const SignalRequest& request, const PlotOptions& options)
{
    const auto runs = RunChannels(request, options.seconds);
    Chart chart{.title = request.Title(), .strips = {}};
    chart.pixelsPerMm = options.pixelsPerInch / kMmPerInch;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const SignalRun& run = runs[i];
        const std::string name =
            runs.size() == 1 ? "ECG" : fmt::format("channel {}", request.channels[i]);
        if (run.ecgMv.empty()) throw Failure("the signal has no sample", "try a longer --for");
        chart.strips.push_back({name, run.rate, run.ecgMv, run.pacingMv});
    }
    for (std::size_t led = 0; led < runs.front().ppgMv.size(); ++led) {
        const auto& pulse = runs.front().ppgMv[led];
        if (pulse.empty()) continue;
        chart.strips.push_back(
            {fmt::format("PPG {}, without its DC level", led), runs.front().rate, pulse, {}, true});
    }
    return chart;
}

int Plot(Program& program, const PlotOptions& options)
{
    if (options.signal.isListWanted) {
        ListSignals();
        return kDone;
    }
    const SignalRequest request = ReadRequest(options.signal);
    const std::string extension = std::filesystem::path(options.path).extension().string();
    if (extension != ".png" && extension != ".svg" && extension != ".pdf") {
        throw Failure(fmt::format("\"{}\" names no picture", options.path),
                      "end it with .png, .svg or .pdf", kWrongUsage);
    }
    if (options.seconds > kMostSeconds) {
        throw Failure(fmt::format("{:g} s are too long for a picture", options.seconds),
                      fmt::format("--for takes up to {:g} s", kMostSeconds), kWrongUsage);
    }
    const Chart chart = MakeChart(request, options);
    DrawChart(chart, options.path);
    if (program.IsJson()) {
        program.PrintJson({{"file", options.path}, {"strips", chart.strips.size()}});
        return kDone;
    }
    fmt::print("{}: {}\n", options.path, chart.title);
    return kDone;
}

}  // namespace

void AddPlotCommand(CLI::App& app, Program& program)
{
    CLI::App* const command = app.add_subcommand("plot", "Draw a signal on ECG paper");
    const auto options = std::make_shared<PlotOptions>();
    AddSignalOptions(*command, options->signal);
    AddDuration(*command, "--for", options->seconds, "so long from the start on [10s]");
    command->add_option("-o,--output", options->path, "the file: .png .svg .pdf")->required();
    command->add_option("--dpi", options->pixelsPerInch, "pixels an inch of a .png")
        ->check(CLI::Range(50.0, 600.0))
        ->capture_default_str();
    command->footer(
        "25 mm/s and 10 mm/mV, ten seconds a row, without the DC offset. Pacing pulses are spikes\n"
        "of one height. The samples come as in vrax render; no instrument is used.");
    program.SetOfflineAction(*command, [&program, options] { return Plot(program, *options); });
}

}  // namespace vrax
