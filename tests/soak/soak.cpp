// vrax-soak: plays for hours while everything that may happen happens at random.
//
//     vrax-instrument --none -- vrax-soak --fast --minutes 60 --seed 1

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "Run.h"

namespace {

using soak::CRun;
using soak::Resources;
using soak::Scenario;

void PrintTenth(const CRun& run, int tenth, double seconds, const Resources& held)
{
    const instrument::StreamStatistics stream = run.Stream();
    fmt::print("{:>5} {:>8.1f} {:>8} {:>10} {:>9} {:>9} {:>12} {:>8}\n",
               tenth == 0 ? "start" : fmt::format("{}/10", tenth), seconds, stream.packets,
               stream.samples, held.residentKb, held.privateKb, held.descriptors, held.threads);
    std::fflush(stdout);
}

void PrintFigures(CRun& run, double seconds)
{
    soak::Figures& figures = run.GetFigures();
    const instrument::StreamStatistics stream = run.Stream();
    soak::CDurations& commands = figures.commands;
    fmt::print("\nstream    {} packets, {} samples, {} runs in {:.0f} s: {:.1f} times real time\n",
               stream.packets, stream.samples, stream.runs, seconds,
               static_cast<double>(stream.samples) / soak::kSampleRate / seconds);
    fmt::print("          {} sequence errors, {} frame errors, {} refused requests\n",
               stream.sequenceErrors, stream.frameErrors, run.Refusals());
    fmt::print("          longest gap {:.1f} ms; {} late packets\n", run.LongestGapMs(),
               stream.underruns);
    fmt::print("changes   {}, and {} times off and on\n", figures.changes, figures.restarts);
    fmt::print("commands  {}: median {:.2f} ms, 99 % {:.2f} ms, longest {:.1f} ms; {} held up\n",
               commands.Count(), commands.Percentile(50), commands.Percentile(99),
               commands.Longest(), figures.heldUpCommands);
    fmt::print("          {} more while the plug was out or the signal off: longest {:.0f} ms\n",
               figures.disturbedCommands, figures.longestDisturbedMs);
    fmt::print("replugs   {}: plays again after {:.0f} ms at the latest\n", figures.replugs,
               figures.longestReplugMs);
    fmt::print("machine   kept a byte in another pseudo-terminal for {:.1f} ms at most\n",
               figures.longestHoldUpMs);
}

// The heap settles in the first tenth.
void Compare(const Resources& start, const Resources& settled, const Resources& end,
             std::vector<std::string>& departures)
{
    if (end.residentKb - settled.residentKb > soak::kGrowthKb) {
        departures.push_back(
            fmt::format("resident memory grew by {} kB", end.residentKb - settled.residentKb));
    }
    if (end.descriptors != start.descriptors) {
        departures.push_back(
            fmt::format("{} descriptors, {} at the start", end.descriptors, start.descriptors));
    }
    // The four that drive the run.
    if (end.threads != settled.threads) {
        departures.push_back(
            fmt::format("{} threads, {} after the first tenth", end.threads, settled.threads));
    }
}

int Soak(const Scenario& scenario)
{
    fmt::print("soak: {}, {} minutes of signal, seed {}\n\n", scenario.isPaced ? "paced" : "fast",
               scenario.minutes, scenario.seed);
    fmt::print("{:>5} {:>8} {:>8} {:>10} {:>9} {:>9} {:>12} {:>8}\n", "", "s", "packets", "samples",
               "res. kB", "own kB", "descriptors", "threads");
    CRun run(scenario);
    const CStopwatch watch;
    std::vector<Resources> held;
    run.Play([&](int tenth, const Resources& resources) {
        held.push_back(resources);
        PrintTenth(run, tenth, watch.Ms() / 1000, resources);
    });
    PrintFigures(run, watch.Ms() / 1000);
    std::vector<std::string> departures = run.Departures().Texts();
    if (held.size() > 2) Compare(held[0], held[1], held.back(), departures);
    for (const std::string& departure : departures) fmt::print("DEPARTURE {}\n", departure);
    fmt::print("{}\n", departures.empty() ? "as it should be" : "not as it should be");
    return departures.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    Scenario scenario;
    CLI::App app("Plays for long with changes, commands and replugs at random.");
    auto* const pace = app.add_option_group("pace");
    pace->add_flag("--paced", scenario.isPaced, "The instrument takes packets in real time");
    pace->add_flag("--fast")->description("The instrument takes packets at once");
    pace->require_option(1);
    app.add_option("--minutes", scenario.minutes, "Of signal")
        ->capture_default_str()
        ->check(CLI::Range(0.1, 10000.0));
    app.add_option("--seed", scenario.seed, "Of everything that is random")->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    try {
        return Soak(scenario);
    } catch (const std::exception& error) {
        fmt::print(stderr, "vrax-soak: {}\n", error.what());
        return 2;
    }
}
