#include "instrument/program/CommandLine.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <iostream>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

namespace instrument {

namespace {

constexpr int kUsageError = 2;
constexpr std::size_t kSerialLength = 14;  // TEC1020-250042

// Throws CLI::ValidationError, which names the option.
unsigned Number(const std::string& option, const std::string& text, int base, unsigned most)
{
    unsigned value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, base);
    if (text.empty() || result.ec != std::errc() || result.ptr != end || value > most) {
        throw CLI::ValidationError(option, fmt::format("'{}' is not a number up to {}", text,
                                                       base == 16 ? fmt::format("{:X}", most)
                                                                  : std::to_string(most)));
    }
    return value;
}

void ReadFirmware(Options& options, const std::string& text)
{
    std::size_t from = 0;
    for (std::size_t i = 0; i < options.firmware.size(); ++i) {
        const std::size_t dot = text.find('.', from);
        const bool isLast = i + 1 == options.firmware.size();
        if ((dot == std::string::npos) != isLast) {
            throw CLI::ValidationError("--firmware", "four numbers such as 2.1.0.7");
        }
        const unsigned value = Number("--firmware", text.substr(from, dot - from), 10, 255);
        options.firmware[i] = static_cast<std::uint8_t>(value);
        from = dot + 1;
    }
}

// A sequence number alone, or the whole serial number as a host shows it.
void ReadSerial(Options& options, const std::string& text)
{
    if (text.size() != kSerialLength) {
        options.sequenceNumber = Number("--serial", text, 10, 65535);
        return;
    }
    if (text[0] != 'T' || text[7] != '-') {
        throw CLI::ValidationError("--serial", "a number, or all of it such as TEC1020-250042");
    }
    options.typeLetters = {text[1], text[2]};
    options.modelCode = Number("--serial", text.substr(3, 4), 16, 0xFFFF);
    options.year = Number("--serial", text.substr(8, 2), 10, 99);
    options.sequenceNumber = Number("--serial", text.substr(10), 10, 9999);
}

constexpr char kDescription[] =
    "A simulated instrument on /dev/ttyACM<n>.\n\n"
    "       vrax-instrument [OPTIONS]\n"
    "       vrax-instrument [OPTIONS] -- COMMAND [ARGUMENTS]\n\n"
    "Without COMMAND it serves the applications of this machine until it is stopped, and takes\n"
    "control lines from standard input. With COMMAND it runs COMMAND with a /dev and a lock\n"
    "directory of its own, and ends with its status.";

struct Texts {
    std::string serial;
    std::string firmware;
    std::string ppg;
    std::string pace = "real";
    unsigned restartMs = 0;
};

void AddOptions(CLI::App& app, CommandLine& line, Texts& texts)
{
    app.add_option("--port", line.options.port, "n of /dev/ttyACM<n>")
        ->check(CLI::Range(0, 127))
        ->capture_default_str();
    app.add_option("--serial", texts.serial, "sequence number, or all of it (TEC1020-250042)");
    app.add_option("--firmware", texts.firmware, "firmware version, for example 2.1.0.7");
    app.add_option("--ppg", texts.ppg, "fit a PPG module of this model, for example 3407");
    app.add_flag("--respiration", line.options.respirationModule,
                 "fit the external respiration module");
    line.options.sampling.framesPerSecond = kFullSamplingRate;
    app.add_option("--sampling", line.options.sampling.framesPerSecond,
                   "photodiode frames a second while sampling runs; 0 sends none")
        ->check(CLI::Range(0.0, 100000.0))
        ->capture_default_str();
    app.add_option("--sampling-loss", line.options.sampling.loseEvery,
                   "every so many photodiode frames one is lost; 0 loses none");
    app.add_option("--flash", line.flashPath, "keep the flash in this file between runs");
    app.add_flag("--nor", line.options.nor, "a flash write can only clear bits in every memory");
    texts.restartMs = static_cast<unsigned>(line.options.restart.away.count());
    app.add_option("--restart", texts.restartMs,
                   "milliseconds that the node is away after a restart")
        ->check(CLI::Range(0, 600000))
        ->capture_default_str();
    app.add_option("--pace", texts.pace, "how packets are answered")
        ->check(CLI::IsMember({"real", "fast"}))
        ->capture_default_str();
    app.add_option("--record", line.recordPath, "write the signal: time_s,dc_mv,ac_mv,marker,...");
    app.add_option("--trace", line.tracePath, "write every exchange");
    app.add_option("--control", line.controlPath,
                   "take lines such as 'unplug' or 'silence 3' from this FIFO");
    app.add_flag("--strict", line.strict,
                 "status 3 when a request was refused or the stream had an error");
    app.add_flag("--summary", line.summary, "a line of figures on stderr at the end");
    app.add_flag("--none", line.none, "run COMMAND in the private /dev without an instrument");
}

void TakeTexts(CommandLine& line, const Texts& texts)
{
    if (!texts.serial.empty()) ReadSerial(line.options, texts.serial);
    if (!texts.firmware.empty()) ReadFirmware(line.options, texts.firmware);
    if (!texts.ppg.empty()) line.options.ppgModel = Number("--ppg", texts.ppg, 16, 0xFFFF);
    if (line.options.ppgModel && line.options.respirationModule) {
        throw CLI::ValidationError("--ppg", "the accessory port has room for one module");
    }
    line.options.overwriteRecords =
        !texts.serial.empty() || !texts.firmware.empty() || !texts.ppg.empty();
    line.options.pace = texts.pace == "real" ? Pace::RealTime : Pace::Fast;
    line.options.restart.away = Milliseconds(texts.restartMs);
    if (line.none && line.command.empty()) {
        throw CLI::ValidationError("--none", "needs -- COMMAND");
    }
    if (line.hasCommand && line.command.empty()) {
        throw CLI::ValidationError("--", "needs a COMMAND");
    }
}

}  // namespace

std::optional<CommandLine> ReadCommandLine(int argc, char** argv, int& status)
{
    CommandLine line;
    char** end = argv + argc;
    char** separator = std::find_if(argv, end, [](char* word) { return !std::strcmp(word, "--"); });
    line.hasCommand = separator != end;
    if (line.hasCommand) line.command.assign(separator + 1, end);

    CLI::App app(kDescription, "vrax-instrument");
    Texts texts;
    AddOptions(app, line, texts);
    try {
        app.parse(static_cast<int>(separator - argv), argv);
        TakeTexts(line, texts);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        status = 0;
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        std::cerr << fmt::format("vrax-instrument: {} (see --help)\n", error.what());
        status = kUsageError;
        return std::nullopt;
    }
    return line;
}

}  // namespace instrument
