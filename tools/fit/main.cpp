// vrax-fit-waveforms: writes the descriptions of the IEC 60601-2-27 / AAMI EC13 waveforms anew, from
// the public records.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "tools/fit/Ec13.h"
#include "tools/fit/Report.h"
#include "tools/tables/TextFile.h"

namespace {
namespace fs = std::filesystem;

// The records lie in the directory itself or, as the collection holds them, in its sub-folder.
fs::path FindRecords(const fs::path& directory)
{
    const fs::path below = directory / "aami-ec13";
    return fs::exists(below) ? below : directory;
}

void WriteFile(const fs::path& path, const std::string& text)
{
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    if (!(file << text << std::flush)) throw TableError(path.string() + ": cannot be written");
}

void Run(const fs::path& records, const fs::path& out, const fs::path& report)
{
    const auto progress = [](const std::string& name) { fmt::print(stderr, "fitting {}\n", name); };
    std::size_t bytes = 0;
    for (const FittedFile& file : FitEc13(records, progress)) {
        WriteFile(out / file.path, file.text);
        fmt::print(stderr, "{}: {} bytes\n", file.path, file.text.size());
        bytes += file.text.size();
    }
    std::vector<FitQuality> qualities;
    for (const Ec13Waveform& waveform : Ec13Waveforms()) {
        qualities.push_back(MeasureFit(out / fmt::format("{}.txt", waveform.record),
                                       waveform.record, ReadMicrovolts(records, waveform.record)));
    }
    const std::string table =
        ReportTable(qualities) + fmt::format("\nAll texts, pieces included: {} bytes.\n", bytes);
    if (report.empty()) fmt::print("{}", table);
    else WriteReport(report, table);
}
}  // namespace

int main(int argc, char** argv)
{
    CLI::App app{
        "Fits the descriptions of the IEC 60601-2-27 / AAMI EC13 waveforms to the public "
        "records."};
    fs::path records, out, report;
    app.add_option("--records", records,
                   "Directory of the records aami3a ... aami4b_h (.hea and .dat), or its parent")
        ->required()
        ->check(CLI::ExistingDirectory);
    app.add_option("--out", out, "Directory that the descriptions are written to")->required();
    app.add_option("--report", report,
                   "Markdown file whose table is written anew (otherwise: standard output)");
    app.footer("Exit code: 0 done, 1 a record or file is refused, others wrong arguments.");
    CLI11_PARSE(app, argc, argv);
    try {
        Run(FindRecords(records), out, report);
    } catch (const std::exception& error) {
        fmt::print(stderr, "vrax-fit-waveforms: {}\n", error.what());
        return 1;
    }
    return 0;
}
