#include "instrument/CsvFile.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <fmt/format.h>

namespace instrument {

namespace {

constexpr char kHeader[] = "time_s,dc_mv,ac_mv,marker,pulse_mv";
constexpr std::size_t kFirstFields = 5;
constexpr unsigned kPpgColumns = 3;
constexpr unsigned kGroups = 4;  // of columns: three PPG channels and the respiration
constexpr CsvColumns kRespiration = 1U << kPpgColumns;

bool Has(CsvColumns columns, unsigned group) { return (columns >> group & 1) != 0; }

// Sample rates that do not divide a microsecond into whole parts need more digits.
bool NeedsNanoseconds(double time)
{
    const double microseconds = time * 1e6;
    return std::fabs(microseconds - std::round(microseconds)) > 1e-3;
}

std::string HeaderOf(CsvColumns columns)
{
    std::string header = kHeader;
    for (unsigned i = 0; i < kPpgColumns; ++i) {
        if (Has(columns, i)) header += fmt::format(",ppg{0}_dc_mv,ppg{0}_ac_mv", i);
    }
    if ((columns & kRespiration) != 0) header += ",respiration_ohm,baseline_ohm";
    return header + '\n';
}

void AppendField(std::string& text, double value)
{
    text += ',';
    if (!std::isnan(value)) fmt::format_to(std::back_inserter(text), "{:.6f}", value);
}

// Moves the next fields of a line, the comma before them included.
class FieldMover {
public:
    FieldMover(std::string& text, const std::string& line) : text_(text), line_(line) {}

    void Move(std::size_t fields)
    {
        std::size_t end = at_;
        for (; fields > 0 && end != std::string::npos; --fields) end = line_.find(',', end + 1);
        if (end == std::string::npos) end = line_.size();
        text_.append(line_, at_, end - at_);
        at_ = end;
    }

private:
    std::string& text_;
    const std::string& line_;
    std::size_t at_ = 0;
};

// A line with the columns of `from`, with empty fields for those that only `to` has.
void AppendWidened(std::string& text, const std::string& line, CsvColumns from, CsvColumns to)
{
    FieldMover mover(text, line);
    mover.Move(kFirstFields);
    for (unsigned group = 0; group < kGroups; ++group) {
        if (Has(from, group)) mover.Move(2);
        else if (Has(to, group)) text += ",,";
    }
    text += '\n';
}

}  // namespace

CsvColumns ColumnsOf(std::span<const Sample> samples)
{
    CsvColumns columns = 0;
    for (const Sample& sample : samples) {
        for (unsigned i = 0; i < kPpgColumns; ++i) {
            if (!std::isnan(sample.ppg[i].dcMv)) columns |= 1U << i;
        }
        if (!std::isnan(sample.respirationOhm)) columns |= kRespiration;
    }
    return columns;
}

void AppendCsv(std::string& text, std::span<const Sample> samples, CsvColumns columns)
{
    auto out = std::back_inserter(text);
    for (const Sample& sample : samples) {
        fmt::format_to(out, "{:.{}f},{:.6f},{:.6f},{},{:.6f}", sample.time,
                       NeedsNanoseconds(sample.time) ? 9 : 6, sample.dcMv, sample.acMv,
                       sample.marker ? 1 : 0, sample.pulseMv);
        for (unsigned i = 0; i < kPpgColumns; ++i) {
            if (!Has(columns, i)) continue;
            AppendField(text, sample.ppg[i].dcMv);
            AppendField(text, sample.ppg[i].acMv);
        }
        if ((columns & kRespiration) != 0) {
            AppendField(text, sample.respirationOhm);
            AppendField(text, sample.baselineOhm);
        }
        text += '\n';
    }
}

CsvFile::CsvFile(const std::string& path) : path_(path), file_(std::fopen(path.c_str(), "we"))
{
    if (file_ == nullptr) {
        throw std::runtime_error(
            fmt::format("{} cannot be written: {}", path, std::strerror(errno)));
    }
}

CsvFile::~CsvFile() { Close(); }

void CsvFile::Begin(CsvColumns columns)
{
    if (sections_.empty() && std::fputs(HeaderOf(columns).c_str(), file_) < 0) isGood_ = false;
    if (sections_.empty() || sections_.back().columns != columns) sections_.push_back({columns, 0});
}

void CsvFile::Write(std::span<const Sample> samples)
{
    if (samples.empty()) return;
    Begin(ColumnsOf(samples) | (sections_.empty() ? 0 : sections_.back().columns));
    sections_.back().lines += samples.size();
    text_.clear();
    AppendCsv(text_, samples, sections_.back().columns);
    if (std::fwrite(text_.data(), 1, text_.size(), file_) != text_.size()) isGood_ = false;
}

bool CsvFile::Close()
{
    if (file_ == nullptr) return isGood_;
    if (sections_.empty()) Begin(0);
    if (std::fclose(file_) != 0) isGood_ = false;
    file_ = nullptr;
    // What is no file, a pipe for example, cannot be gone through again.
    std::error_code error;
    const bool isFile = std::filesystem::is_regular_file(path_, error);
    if (isGood_ && isFile && sections_.size() > 1) isGood_ = Widen();
    return isGood_;
}

bool CsvFile::Widen()
{
    const CsvColumns columns = sections_.back().columns;
    const std::string widePath = path_ + ".wide";
    std::ifstream narrow(path_, std::ios::binary);
    std::ofstream wide(widePath, std::ios::binary | std::ios::trunc);
    std::string line;
    std::getline(narrow, line);
    wide << HeaderOf(columns);
    for (const Section& section : sections_) {
        for (std::uint64_t i = 0; i < section.lines && std::getline(narrow, line); ++i) {
            text_.clear();
            AppendWidened(text_, line, section.columns, columns);
            wide << text_;
        }
    }
    wide.close();
    if (narrow && wide && std::rename(widePath.c_str(), path_.c_str()) == 0) return true;
    std::remove(widePath.c_str());
    return false;
}

}  // namespace instrument
