#include "draw_ecg/Recording.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
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

// Exactly as many numbers as `values` has, with commas between them.
bool ReadNumbers(const std::string& line, std::span<double> values)
{
    const char* at = line.data();
    const char* const end = at + line.size();
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i > 0 && (at == end || *at++ != ',')) return false;
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

}  // namespace

Recording ReadRecording(std::istream& in, const std::string& name)
{
    Recording recording;
    std::vector<double> times;
    ReadTable<4, 5>(in, name, "time_s,dc_mv,ac_mv,marker", ",pulse_mv",
                    [&](const std::array<double, 5>& values, std::size_t) {
                        if (values[3] != 0.0) recording.marks.push_back(times.size());
                        times.push_back(values[0]);
                        recording.mv.push_back(values[2]);
                        recording.pulseMv.push_back(values[4]);
                    });
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
            if (!requests.empty() && request.time <= requests.back().time) {
                Fail(name, line, "the times do not rise");
            }
            requests.push_back(request);
        });
    if (requests.empty()) throw std::runtime_error(name + " holds no request");
    return requests;
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

Statistics ReadStatisticsFile(const std::string& path) { return ReadFile(path, ReadStatistics); }

}  // namespace ecg
