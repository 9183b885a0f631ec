#include "Plot.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include <fmt/format.h>

#include "Interruption.h"
#include "NewFile.h"
#include "Quantities.h"
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
    bool isReplacing = false;
};

bool IsConstant(const std::vector<double>& mv)
{
    return std::all_of(mv.begin(), mv.end(), [&](double value) { return value == mv.front(); });
}

// The ECG and the DC part below it where it moves. Of a signal that is DC alone, the DC part.
void AddStrips(Chart& chart, const SignalRun& run, const std::string& name,
               const std::string& dcName)
{
    const bool isDcAlone = IsConstant(run.ecgMv) && run.ecgMv.front() == 0.0 &&
                           run.pacingMv.empty() && run.dcMv.front() != 0.0;
    if (!isDcAlone) chart.strips.push_back({name, run.rate, run.ecgMv, run.pacingMv});
    if (isDcAlone || !IsConstant(run.dcMv)) {
        chart.strips.push_back({dcName, run.rate, run.dcMv, {}, Scaling::Level});
    }
}

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
        AddStrips(chart, run, name, runs.size() == 1 ? "DC" : name + ", DC");
    }
    for (std::size_t led = 0; led < runs.front().ppgMv.size(); ++led) {
        const auto& pulse = runs.front().ppgMv[led];
        if (pulse.empty()) continue;
        chart.strips.push_back({fmt::format("PPG {}, without its DC level", led),
                                runs.front().rate,
                                pulse,
                                {},
                                Scaling::Pulse});
    }
    return chart;
}

void CheckPicture(const SignalRequest& request, const PlotOptions& options)
{
    if (options.path.empty()) throw NoTarget(".png, .svg or .pdf");
    const std::string extension = std::filesystem::path(options.path).extension().string();
    if (extension != ".png" && extension != ".svg" && extension != ".pdf") {
        throw Failure(fmt::format("\"{}\" names no picture", options.path),
                      "end it with .png, .svg or .pdf", kWrongUsage);
    }
    if (options.seconds > kMostSeconds) {
        throw Failure(fmt::format("{:g} s are too long for a picture", options.seconds),
                      fmt::format("--for takes up to {:g} s", kMostSeconds), kWrongUsage);
    }
    CheckTarget(options.path, options.isReplacing, SourcesOf(request.signal));
}

// Whether nothing is left to do.
bool Prepare(Program& program, const PlotOptions& options)
{
    if (options.signal.isListWanted) {
        ListSignals(program);
        return true;
    }
    CheckPicture(ReadRequest(options.signal), options);
    return false;
}

int Plot(Program& program, const PlotOptions& options)
{
    const Interruption interruption;
    const SignalRequest request = ReadRequest(options.signal);
    TellRemarks(request);
    NewFile file(options.path);
    program.SetCalibrationDirectory();
    const Chart chart = MakeChart(request, options);
    try {
        DrawChart(chart, file.UnfinishedPath());
    } catch (const std::runtime_error&) {
        throw Failure(
            fmt::format("{} cannot be written", options.path),
            "is the disk full? A .png may have 32767 pixels in height: try a lower --dpi");
    }
    if (Interruption::IsAsked()) throw Failure("interrupted", "", kInterrupted);
    file.Finish();
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
    AddDuration(*command, "--for", options->seconds, "so long from the start on [10s]",
                Least::AboveZero);
    command->add_option("-o,--output", options->path, "the file: .png .svg .pdf");
    command->add_flag("--force", options->isReplacing, "replace a file that is there");
    command->add_option("--dpi", options->pixelsPerInch, "pixels an inch of a .png")
        ->check(FiniteRange(50.0, 600.0))
        ->capture_default_str();
    command->footer(
        "25 mm/s and 10 mm/mV, ten seconds a row, without the DC offset. A DC part that moves, or\n"
        "is all of the signal, has a strip on a scale of its own, whose ends are told at a bar.\n"
        "Pacing pulses are spikes of one height. The samples come as in vrax render; no\n"
        "instrument is used.");
    program.SetOfflineAction(
        *command, [&program, options] { return Prepare(program, *options); },
        [&program, options] { return Plot(program, *options); });
}

}  // namespace vrax
