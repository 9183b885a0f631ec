// vrax-draw-waveforms: draws the built-in waveforms of the library on ECG paper.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "draw_ecg/EcgPaper.h"
#include "tools/draw/SheetDrawing.h"
#include "tools/draw/Sheets.h"

namespace {

constexpr int kFailure = 1;
constexpr int kUsageError = 2;

struct Arguments {
    std::string out;
    std::vector<std::string> families;
    bool isList = false;
};

bool IsAsked(const Arguments& arguments, const std::string& key)
{
    const auto& asked = arguments.families;
    return asked.empty() || std::find(asked.begin(), asked.end(), key) != asked.end();
}

void List(const FamilyFacts& facts)
{
    for (std::size_t i = 0; i < facts.names.size(); ++i) {
        const Waveform wave = LoadWaveform(facts.family, i);
        fmt::print("{:8} {:3}  {:20} {:9.3f} s {:5.0f} per second\n", facts.key, wave.number,
                   wave.name, wave.seconds, wave.rate);
    }
}

void Draw(const FamilyFacts& facts, const std::filesystem::path& folder)
{
    for (const Sheet& sheet : SheetsOf(facts.family)) {
        const std::string path = (folder / sheet.file).string();
        const PictureSize size = DrawSheet(sheet, path);
        fmt::print("{}  {} x {} pixels\n", path, size.width, size.height);
        std::fflush(stdout);
    }
}

void MakeFolder(const std::string& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw std::runtime_error(folder + ": " + error.message());
}

int Run(const Arguments& arguments)
{
    if (!arguments.isList) MakeFolder(arguments.out);
    for (const FamilyFacts& facts : AllFamilies()) {
        if (!IsAsked(arguments, facts.key)) continue;
        arguments.isList ? List(facts) : Draw(facts, arguments.out);
    }
    return 0;
}

std::vector<std::string> FamilyKeys()
{
    std::vector<std::string> keys;
    for (const FamilyFacts& facts : AllFamilies()) keys.push_back(facts.key);
    return keys;
}

}  // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    CLI::App app(
        "Draws the built-in waveforms of the library on ECG paper, one to three PNGs for each "
        "family,\n"
        "and tells each file when it is written.\n"
        "Status 0: done; 1: a file cannot be written; 2: the arguments are wrong.",
        "vrax-draw-waveforms");
    auto* what = app.add_option_group("what to do")->require_option(1);
    what->add_option("--out", arguments.out, "folder for the pictures, made when it is not there");
    what->add_flag("--list", arguments.isList, "list the waveforms instead");
    app.add_option("--family", arguments.families, "only this one; may be repeated")
        ->check(CLI::IsMember(FamilyKeys()));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageError;
    }
    int status = kFailure;
    try {
        status = Run(arguments);
    } catch (const std::exception& error) {
        fmt::print(stderr, "vrax-draw-waveforms: {}\n", error.what());
    }
    ecg::ReleaseFonts();
    return status;
}
