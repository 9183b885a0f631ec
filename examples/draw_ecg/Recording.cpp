#include "draw_ecg/Recording.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <span>
#include <sstream>
#include <stdexcept>

#include <fmt/format.h>

namespace ecg {

namespace {

constexpr double kSpacingTolerance = 1e-6;  // s; times are written with six digits

[[noreturn]] void Fail(const std::string& name, std::size_t line, const std::string& what)
{
    throw std::runtime_error(fmt::format("{}, line {}: {}", name, line, what));
}

// Exactly as many numbers as `values` has, with commas between them. Those from `optional` on may
// be empty, and are NaN then.
bool ReadNumbers(const std::string& line, std::span<double> values,
                 std::size_t optional = std::numeric_limits<std::size_t>::max())
{
    const char* at = line.data();
    const char* const end = at + line.size();
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i > 0 && (at == end || *at++ != ',')) return false;
        if (i >= optional && (at == end || *at == ',')) {
            values[i] = std::nan("");
            continue;
        }
        const auto result = std::from_chars(at, end, values[i]);
        if (result.ec != std::errc() || !std::isfinite(values[i])) return false;
        at = result.ptr;
    }
    return at == end;
}

// Calls `take(values, line)` for each line below the header. A file without the columns of `more`
// has zeros there.
template <std::size_t kLeast, std::size_t kMost, class Take>
void ReadTable(std::istream& in, const std::string& name, const std::string& header,
               const std::string& more, Take take)
{
    std::string text;
    if (!std::getline(in, text) || (text != header && text != header + more)) {
        Fail(name, 1, "expected " + header);
    }
    const std::string found = text;
    const std::size_t columns = found == header ? kLeast : kMost;
    std::array<double, kMost> values{};
    for (std::size_t line = 2; std::getline(in, text); ++line) {
        if (!ReadNumbers(text, std::span(values).first(columns))) {
            Fail(name, line, "expected " + found + " as numbers");
        }
        take(values, line);
    }
}

// Reads with `read` from the file, which must exist.
template <class Read>
auto ReadFile(const std::string& path, Read read)
{
    std::ifstream file(path);
    if (!file) throw std::runtime_error(fmt::format("{}: {}", path, std::strerror(errno)));
    return read(file, path);
}

void CheckSpacing(const Recording& recording, const std::vector<double>& times,
                  const std::string& name)
{
    for (std::size_t i = 0; i < times.size(); ++i) {
        if (std::fabs(times[i] - recording.TimeAt(i)) > kSpacingTolerance) {
            Fail(name, i + 2, "the samples are not evenly spaced");
        }
    }
}

std::uint64_t Figure(const std::string& line, const std::string& key, const std::string& name)
{
    const std::string word = " " + key + "=";
    const std::size_t at = line.find(word);
    std::uint64_t value = 0;
    const char* begin = line.data() + at + word.size();
    if (at == std::string::npos ||
        std::from_chars(begin, line.data() + line.size(), value).ec != std::errc()) {
        throw std::runtime_error(fmt::format("{} does not tell {}", name, key));
    }
    return value;
}

constexpr char kSignalHeader[] = "time_s,dc_mv,ac_mv,marker";
constexpr char kPulseColumn[] = ",pulse_mv";

// Where the columns of the modules go, in the order of the header.
std::vector<std::vector<double>*> ModuleColumns(Recording& recording, const std::string& header,
                                                const std::string& name)
{
    std::vector<std::vector<double>*> columns;
    std::istringstream words(header);
    for (std::string word; std::getline(words, word, ',');) {
        if (word.empty()) continue;
        std::vector<double>* column = nullptr;
        for (std::size_t i = 0; i < recording.ppg.size(); ++i) {
            if (word == fmt::format("ppg{}_dc_mv", i)) column = &recording.ppg[i].dcMv;
            if (word == fmt::format("ppg{}_ac_mv", i)) column = &recording.ppg[i].acMv;
        }
        if (word == "respiration_ohm") column = &recording.respirationOhm;
        if (word == "baseline_ohm") column = &recording.baselineOhm;
        if (column == nullptr) Fail(name, 1, word + " is no known column");
        columns.push_back(column);
    }
    return columns;
}

// The number of columns, the pacing pulse included where it stands.
std::size_t FixedColumns(std::string& header, const std::string& name)
{
    if (!header.starts_with(kSignalHeader)) Fail(name, 1, std::string("expected ") + kSignalHeader);
    header.erase(0, std::strlen(kSignalHeader));
    if (!header.starts_with(kPulseColumn)) return 4;
    header.erase(0, std::strlen(kPulseColumn));
    return 5;
}

// The signal of the recording; returns the times.
std::vector<double> ReadSamples(std::istream& in, const std::string& name, Recording& recording)
{
    std::string header;
    std::getline(in, header);
    const std::string found = header;
    const std::size_t fixed = FixedColumns(header, name);
    const auto columns = ModuleColumns(recording, header, name);
    std::vector<double> values(fixed + columns.size());
    std::vector<double> times;
    std::string text;
    for (std::size_t line = 2; std::getline(in, text); ++line) {
        if (!ReadNumbers(text, values, fixed)) {
            Fail(name, line, "expected " + found + " as numbers");
        }
        if (values[3] != 0.0) recording.marks.push_back(times.size());
        times.push_back(values[0]);
        recording.mv.push_back(values[2]);
        recording.pulseMv.push_back(fixed > 4 ? values[4] : 0.0);
        for (std::size_t i = 0; i < columns.size(); ++i) columns[i]->push_back(values[fixed + i]);
    }
    return times;
}

// Of one line for each change, in order of time.
void CheckTime(const std::string& name, std::size_t line, double time, const double* before)
{
    if (before != nullptr && time <= *before) Fail(name, line, "the times do not rise");
}

}  // namespace

Recording ReadRecording(std::istream& in, const std::string& name)
{
    Recording recording;
    const std::vector<double> times = ReadSamples(in, name, recording);
    if (times.size() < 2 || times.back() <= times.front()) {
        throw std::runtime_error(name + " holds no signal");
    }
    recording.start = times.front();
    // Rates are whole numbers; times are rounded.
    recording.rate =
        std::round(static_cast<double>(times.size() - 1) / (times.back() - times.front()));
    CheckSpacing(recording, times, name);
    return recording;
}

std::vector<Request> ReadRequests(std::istream& in, const std::string& name)
{
    std::vector<Request> requests;
    ReadTable<3, 5>(
        in, name, "time_s,bpm,mv", ",pulse_mv,pulse_ms",
        [&](const std::array<double, 5>& values, std::size_t line) {
            const Request request{values[0], values[1], values[2], values[3], values[4]};
            if (request.bpm <= 0 || request.mv <= 0) {
                Fail(name, line, "rate and height must be above 0");
            }
            if ((request.pulseMv != 0) != (request.pulseMs > 0)) {
                Fail(name, line, "a pacing pulse has an amplitude and a length");
            }
            CheckTime(name, line, request.time, requests.empty() ? nullptr : &requests.back().time);
            requests.push_back(request);
        });
    if (requests.empty()) throw std::runtime_error(name + " holds no request");
    return requests;
}

std::vector<PpgRequest> ReadPpgRequests(std::istream& in, const std::string& name)
{
    constexpr std::size_t kColumns = 7 + 2 * kPpgChannels;
    constexpr char kHeader[] =
        "time_s,bpm,mv,transit_ms,breaths,exhale,depth_percent,"
        "ppg0_dc_mv,ppg0_ac_mv,ppg1_dc_mv,ppg1_ac_mv,ppg2_dc_mv,ppg2_ac_mv";
    std::vector<PpgRequest> requests;
    ReadTable<kColumns, kColumns>(
        in, name, kHeader, "", [&](const std::array<double, kColumns>& values, std::size_t line) {
            PpgRequest request{values[0], values[1], values[2], values[3] / 1000.0,
                               values[4], values[5], values[6], {}};
            for (std::size_t i = 0; i < kPpgChannels; ++i) {
                request.levels[i] = {values[7 + 2 * i], values[8 + 2 * i]};
            }
            if (request.bpm <= 0 || request.mv <= 0) {
                Fail(name, line, "rate and height must be above 0");
            }
            CheckTime(name, line, request.time, requests.empty() ? nullptr : &requests.back().time);
            requests.push_back(request);
        });
    if (requests.empty()) throw std::runtime_error(name + " holds no request");
    return requests;
}

RespirationRequest ReadRespirationRequest(std::istream& in, const std::string& name)
{
    std::vector<RespirationRequest> requests;
    ReadTable<8, 8>(in, name, "time_s,bpm,mv,variation_mohm,breaths,exhale,baseline_ohm,apnea_s",
                    "", [&](const std::array<double, 8>& values, std::size_t line) {
                        requests.push_back({values[0], values[1], values[2], values[3] / 1000.0,
                                            values[4], values[5], values[6], values[7]});
                        const RespirationRequest& request = requests.back();
                        if (request.bpm <= 0 || request.mv <= 0 || request.breaths <= 0) {
                            Fail(name, line, "rates and height must be above 0");
                        }
                    });
    if (requests.size() != 1) throw std::runtime_error(name + " does not hold one request");
    return requests.front();
}

Statistics ReadStatistics(std::istream& in, const std::string& name)
{
    std::string line;
    while (std::getline(in, line)) {
        if (line.find(" packets=") == std::string::npos) continue;
        Statistics statistics;
        statistics.packets = Figure(line, "packets", name);
        statistics.samples = Figure(line, "samples", name);
        statistics.sequenceErrors = Figure(line, "sequence_errors", name);
        statistics.modeErrors = Figure(line, "mode_errors", name);
        statistics.underruns = Figure(line, "underruns", name);
        statistics.refusals = Figure(line, "refusals", name);
        return statistics;
    }
    throw std::runtime_error(name + " holds no figures of the instrument");
}

Recording ReadRecordingFile(const std::string& path) { return ReadFile(path, ReadRecording); }

std::vector<Request> ReadRequestsFile(const std::string& path)
{
    return ReadFile(path, ReadRequests);
}

std::vector<PpgRequest> ReadPpgRequestsFile(const std::string& path)
{
    return ReadFile(path, ReadPpgRequests);
}

RespirationRequest ReadRespirationRequestFile(const std::string& path)
{
    return ReadFile(path, ReadRespirationRequest);
}

Statistics ReadStatisticsFile(const std::string& path) { return ReadFile(path, ReadStatistics); }

}  // namespace ecg
