#include "instrument/ControlLine.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace instrument {

namespace {

using Words = std::vector<std::string>;

struct FaultWord {
    const char* word;
    FaultKind kind;
    const char* argument;  // the number that must follow, or null
};
constexpr FaultWord kFaultWords[] = {
    {"silence", FaultKind::Silence, nullptr},
    {"short", FaultKind::ShortReply, "bytes"},
    {"late", FaultKind::LateReply, "milliseconds"},
    {"wrong-ack", FaultKind::WrongAcknowledge, nullptr},
    {"wrong-bytes", FaultKind::WrongBytes, nullptr},
    {"changed-byte", FaultKind::ChangedByte, "which byte"},
    {"stray", FaultKind::Unsolicited, nullptr},
    {"hangup-before", FaultKind::HangUpBefore, nullptr},
    {"hangup-during", FaultKind::HangUpDuring, nullptr},
    {"hangup-after", FaultKind::HangUpAfter, nullptr},
};

struct MatchWord {
    const char* word;
    Request match;
    std::vector<std::uint8_t> prefix;
};
const MatchWord kMatchWords[] = {
    {"stream", Request::Stream, {}},
    {"commands", Request::Command, {}},
    {"fpga-erase", Request::FlashErase, {0x12, 0x55, 0xAA, 0xFF, 0x00, 0x03}},
    {"fpga-write", Request::FlashWrite, {0x12, 0x55, 0xAA, 0xFF, 0x00, 0x03}},
    {"fpga-read", Request::FlashRead, {0x12, 0x55, 0xAA, 0x00, 0x00, 0x03}},
    {"mcu-erase", Request::McuErase, {}},
    {"mcu-write", Request::McuWrite, {}},
    {"mcu-read", Request::McuRead, {}},
    {"control-mode", Request::ControlMode, {}},
    {"restart", Request::Restart, {}},
};

Words Split(const std::string& line)
{
    std::istringstream stream(line);
    Words words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

unsigned Number(const std::string& word, int base)
{
    unsigned value = 0;
    const char* end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, value, base);
    if (result.ec != std::errc() || result.ptr != end) {
        throw std::invalid_argument(fmt::format("'{}' is no number", word));
    }
    return value;
}

Bytes HexBytes(Words::const_iterator from, Words::const_iterator to)
{
    Bytes bytes;
    for (; from != to; ++from) {
        const unsigned value = Number(*from, 16);
        if (value > 0xFF) throw std::invalid_argument(fmt::format("'{}' is no byte", *from));
        bytes.push_back(static_cast<std::uint8_t>(value));
    }
    return bytes;
}

// What stands after "on": a kind of request, or the bytes with which it begins.
void ReadMatch(Fault& fault, Words::const_iterator from, Words::const_iterator to)
{
    if (from == to) throw std::invalid_argument("'on' what?");
    const auto* const known =
        std::find_if(std::begin(kMatchWords), std::end(kMatchWords),
                     [&](const MatchWord& candidate) { return *from == candidate.word; });
    if (known == std::end(kMatchWords)) {
        fault.prefix = HexBytes(from, to);
        return;
    }
    if (from + 1 != to) throw std::invalid_argument(fmt::format("'{}'?", *(from + 1)));
    fault.match = known->match;
    fault.prefix = known->prefix;
}

std::string InjectFault(SimulatedInstrument& instrument, const FaultWord& word, const Words& words)
{
    Fault fault;
    fault.kind = word.kind;
    auto next = words.begin() + 1;
    if (word.argument != nullptr) {
        if (next == words.end()) throw std::invalid_argument(fmt::format("{}?", word.argument));
        const unsigned value = Number(*next++, 10);
        fault.bytes = value;
        fault.delay = Milliseconds(value);
    }
    if (next != words.end() && *next != "on" && *next != "after") {
        fault.count = *next == "all" ? 0 : std::max(Number(*next, 10), 1U);
        ++next;
    }
    if (next != words.end() && *next == "after") {
        if (++next == words.end()) throw std::invalid_argument("'after' how many?");
        fault.skip = Number(*next++, 10);
    }
    if (next != words.end()) {
        if (*next != "on") throw std::invalid_argument(fmt::format("'{}'?", *next));
        ReadMatch(fault, next + 1, words.end());
    }
    instrument.Inject(fault);
    return fmt::format("{}: waiting for {}", word.word,
                       fault.count == 0 ? "every reply" : fmt::format("{} replies", fault.count));
}

std::string SetPace(SimulatedInstrument& instrument, const Words& words)
{
    const std::string pace = words.size() > 1 ? words[1] : "";
    if (pace != "real" && pace != "fast") throw std::invalid_argument("pace real or pace fast");
    instrument.SetPace(pace == "real" ? Pace::RealTime : Pace::Fast);
    return fmt::format("pace {} from the next run on", pace);
}

// The rate, and after it which frames are lost.
std::string SetSampling(SimulatedInstrument& instrument, const Words& words)
{
    const bool loses = words.size() == 4 && words[2] == "lose";
    if (words.size() != 2 && !loses) throw std::invalid_argument("sampling HZ [lose N]");
    SamplingStream stream;
    stream.framesPerSecond = Number(words[1], 10);
    if (loses) stream.loseEvery = Number(words[3], 10);
    instrument.SetSampling(stream);
    return fmt::format("sampling: {} frames a second while it runs", words[1]);
}

std::string SetRestart(SimulatedInstrument& instrument, const Words& words)
{
    if (words.size() != 2) throw std::invalid_argument("restart MS or restart never");
    RestartBehaviour behaviour;
    behaviour.comesBack = words[1] != "never";
    if (behaviour.comesBack) behaviour.away = Milliseconds(Number(words[1], 10));
    instrument.SetRestart(behaviour);
    return behaviour.comesBack ? fmt::format("restart: comes back after {} ms", words[1])
                               : "restart: does not come back";
}

// "VRAX 1.2.0.3": tag and version. Three letters of the MCU's tag may be anything.
std::string ImageName(const ImageState& image)
{
    if (!image.isAccepted) return "none";
    std::string tag(image.tag.begin(), image.tag.end());
    for (char& letter : tag) {
        if (letter < ' ' || letter > '~') letter = '.';
    }
    return fmt::format("{} {}", tag, fmt::join(image.version, "."));
}

std::string ImagePart(const char* name, const ImageState& running, const ImageState& held)
{
    std::string text = fmt::format("{} image {}", name, ImageName(running));
    if (ImageName(held) != ImageName(running)) text += fmt::format(" (holds {})", ImageName(held));
    return text;
}

std::string FirmwarePart(const FirmwareState& state)
{
    return fmt::format("{}, {}, update mode {}",
                       ImagePart("FPGA", state.runningFpga, state.heldFpga),
                       ImagePart("MCU", state.runningMcu, state.heldMcu),
                       state.updateMode ? "on" : "off");
}

std::string ModulePart(const DeviceState& state)
{
    const RespirationSettings respiration = state.Respiration();
    return fmt::format(
        "respiration {} a minute, variation {}, 1:{}, apnea {}, module words {} {} {} {}, "
        "photodiodes {:02X}, LED levels {} {} {}, trigger levels {} {} {}, ambient light mode {}",
        respiration.breathsPerMinute, respiration.variation, respiration.ratio,
        respiration.apnea ? "on" : "off", state.moduleWords[0], state.moduleWords[1],
        state.moduleWords[2], state.moduleWords[3], state.samplingMask, state.LedLevel(1),
        state.LedLevel(2), state.LedLevel(3), state.TriggerLevel(1), state.TriggerLevel(2),
        state.TriggerLevel(3), state.ambientMode);
}

std::optional<std::string> RunPlainWord(SimulatedInstrument& instrument, const Words& words)
{
    const std::string& word = words.front();
    if (word == "help") return ControlHelp();
    if (word == "status") return StatusLine(instrument);
    if (word == "pace") return SetPace(instrument, words);
    if (word == "sampling") return SetSampling(instrument, words);
    if (word == "restart") return SetRestart(instrument, words);
    if (word == "plug") instrument.Plug();
    else if (word == "unplug") instrument.Unplug();
    else if (word == "clear") instrument.ClearFaults();
    else if (word == "send") instrument.SendUnsolicited(HexBytes(words.begin() + 1, words.end()));
    else return std::nullopt;
    return word + ": done";
}

}  // namespace

std::string RunControlLine(SimulatedInstrument& instrument, const std::string& line)
{
    const Words words = Split(line);
    if (words.empty()) return {};
    try {
        if (const auto told = RunPlainWord(instrument, words)) return *told;
        for (const FaultWord& word : kFaultWords) {
            if (words.front() == word.word) return InjectFault(instrument, word, words);
        }
    } catch (const std::exception& error) {
        return fmt::format("{}: {}", words.front(), error.what());
    }
    return fmt::format("unknown: {} (try help)", words.front());
}

std::string ControlHelp()
{
    return "unplug, plug                  the node goes and comes\n"
           "silence [N|all]               the next replies are not sent\n"
           "short BYTES [N|all]           ... end early\n"
           "late MS [N|all]               ... come late\n"
           "wrong-ack [N|all]             ... do not acknowledge\n"
           "wrong-bytes [N|all]           ... have every bit inverted\n"
           "changed-byte BYTE [N|all]     ... have one byte inverted; 0 is the first\n"
           "stray [N|all]                 an unsolicited block goes before the reply\n"
           "hangup-before, -during, -after [N]   the port hangs up around the next request\n"
           "  any of these: ... after N   the first N requests that fit pass untouched\n"
           "  any of these: ... on stream | commands | fpga-erase | fpga-write | fpga-read |\n"
           "      mcu-erase | mcu-write | mcu-read | control-mode | restart | HEX HEX ..\n"
           "send HEX HEX ..               unsolicited bytes now\n"
           "clear                         forget all faults\n"
           "pace real|fast                from the next run on\n"
           "sampling HZ [lose N]          photodiode frames while sampling runs\n"
           "restart MS|never              how long the node is away after a restart\n"
           "status, help";
}

std::string StatusLine(const SimulatedInstrument& instrument)
{
    const RelayState relays = instrument.Relays();
    const PacingSettings pacing = instrument.Pacing();
    return fmt::format(
        "{} {}, operate mode {:02X}, {} Hz, relays {:06X}, lead-off mode {}, "
        "right-leg-drive measurement {}, pacing {:.2f} mV {:.3f} ms, {}, {}, {}",
        instrument.Path(), instrument.IsPlugged() ? "plugged" : "unplugged", relays.operateMode,
        relays.sampleRate, relays.word, relays.LeadOffMode(), relays.MeasuresRld() ? "on" : "off",
        pacing.amplitudeMv, pacing.durationMs, ModulePart(instrument.State()),
        FirmwarePart(instrument.Firmware()), SummaryLine(instrument));
}

std::string SummaryLine(const SimulatedInstrument& instrument)
{
    const StreamStatistics stream = instrument.Statistics();
    const SamplingStatistics sampling = instrument.Sampling();
    return fmt::format(
        "packets={} samples={} runs={} stops={} sequence_errors={} mode_errors={} "
        "underruns={} refusals={} marks={} pulses={} code_errors={} sampling_frames={} "
        "sampling_lost={} sampling_overruns={} restarts={}",
        stream.packets, stream.samples, stream.runs, stream.stopPackets, stream.sequenceErrors,
        stream.modeErrors, stream.underruns, instrument.RefusalCount(), stream.marks, stream.pulses,
        stream.codeErrors, sampling.frames, sampling.lost, sampling.overruns,
        instrument.Firmware().restarts);
}

}  // namespace instrument
