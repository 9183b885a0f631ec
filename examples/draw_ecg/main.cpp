// draw_ecg: draws what the instrument received, and tells whether it is what was asked.

#include <exception>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "draw_ecg/EcgPaper.h"
#include "draw_ecg/Reports.h"

namespace {

constexpr int kFailure = 1;
constexpr int kUsageError = 2;

}  // namespace

int main(int argc, char** argv)
{
    ecg::Arguments arguments;
    bool isPpg = false;
    bool isRespiration = false;
    CLI::App app(
        "Draws a received ECG on ECG paper and compares it with what was asked for.\n"
        "With a module, draws ECG and module over one time axis.\n"
        "Status 0: it agrees; 3: it does not.",
        "draw_ecg");
    app.add_option("--signal", arguments.signal, "what vrax-instrument --record wrote")->required();
    app.add_option("--requests", arguments.requests, "what the player's --log wrote")->required();
    app.add_option("--figures", arguments.figures,
                   "messages of vrax-instrument --summary; holds its line of figures")
        ->required();
    app.add_option("--output", arguments.output, "the PNG to write")->required();
    CLI::Option* ppg = app.add_flag("--ppg", isPpg, "a recording of play_ppg");
    app.add_flag("--respiration", isRespiration, "a recording of play_respiration")->excludes(ppg);
    app.add_option("--pixels-per-mm", arguments.pixelsPerMm, "size of the picture")
        ->check(CLI::Range(2.0, 40.0))
        ->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageError;
    }
    const auto report = isPpg           ? ecg::ReportPpg
                        : isRespiration ? ecg::ReportRespiration
                                        : ecg::ReportEcg;
    int status = kFailure;
    try {
        status = report(arguments);
    } catch (const std::exception& error) {
        fmt::print(stderr, "draw_ecg: {}\n", error.what());
    }
    ecg::ReleaseFonts();
    return status;
}
