#include "instrument/CsvFile.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include <fmt/format.h>

namespace instrument {

namespace {

constexpr char kHeader[] = "time_s,dc_mv,ac_mv,marker,pulse_mv\n";

// Sample rates that do not divide a microsecond into whole parts need more digits.
bool NeedsNanoseconds(double time)
{
    const double microseconds = time * 1e6;
    return std::fabs(microseconds - std::round(microseconds)) > 1e-3;
}

}  // namespace

void AppendCsv(std::string& text, std::span<const Sample> samples)
{
    auto out = std::back_inserter(text);
    for (const Sample& sample : samples) {
        fmt::format_to(out, "{:.{}f},{:.6f},{:.6f},{},{:.6f}\n", sample.time,
                       NeedsNanoseconds(sample.time) ? 9 : 6, sample.dcMv, sample.acMv,
                       sample.marker ? 1 : 0, sample.pulseMv);
    }
}

CsvFile::CsvFile(const std::string& path) : file_(std::fopen(path.c_str(), "we"))
{
    if (file_ == nullptr) {
        throw std::runtime_error(
            fmt::format("{} cannot be written: {}", path, std::strerror(errno)));
    }
    isGood_ = std::fputs(kHeader, file_) >= 0;
}

CsvFile::~CsvFile() { Close(); }

void CsvFile::Write(std::span<const Sample> samples)
{
    text_.clear();
    AppendCsv(text_, samples);
    if (std::fwrite(text_.data(), 1, text_.size(), file_) != text_.size()) isGood_ = false;
}

bool CsvFile::Close()
{
    if (file_ == nullptr) return isGood_;
    if (std::fclose(file_) != 0) isGood_ = false;
    file_ = nullptr;
    return isGood_;
}

}  // namespace instrument
