#include "SampleFiles.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "Failure.h"

namespace vrax {

namespace {

constexpr int kDigitalMost = 32760;  // as far below zero as above
constexpr double kMicrovoltsPerMv = 1000.0;
constexpr std::size_t kLongestTextLine = 127;  // longer ones are read as two
constexpr std::size_t kMostWfdbSignals = 18;

class OutputFile {
public:
    explicit OutputFile(const NewFile& file)
        : path_(file.Path()), file_(file.UnfinishedPath(), std::ios::binary)
    {}

    void Write(const std::string& text) { file_ << text; }
    void WriteWord(int value)
    {
        const auto word = static_cast<std::uint16_t>(static_cast<std::int16_t>(value));
        file_.put(static_cast<char>(word & 0xFFU));
        file_.put(static_cast<char>(word >> 8U));
    }
    void Close()
    {
        file_.close();
        if (file_.fail()) {
            throw Failure(path_ + " cannot be written", "is the folder there, and the disk full?");
        }
    }

private:
    std::string path_;
    std::ofstream file_;
};

int Digital(const SampleColumn& column, std::size_t index)
{
    const double code = column.mv[index] / column.mostMv * kDigitalMost;
    return static_cast<int>(std::lround(std::clamp<double>(code, -kDigitalMost, kDigitalMost)));
}

// One field of every signal after the other, each filled up with spaces.
template <typename Text>
std::string Fields(const SampleTable& table, int length, Text text)
{
    std::string fields;
    for (const SampleColumn& column : table.columns) {
        fields += fmt::format("{:<{}.{}}", text(column), length, length);
    }
    return fields;
}

std::string EdfHeader(const SampleTable& table, std::size_t records)
{
    const auto fixed = [&](int length, const std::string& text) {
        return Fields(table, length, [&](const SampleColumn&) { return text; });
    };
    const auto limit = [&](int sign) {
        return Fields(table, 8, [sign](const SampleColumn& column) {
            return fmt::format("{:g}", sign * column.mostMv * kMicrovoltsPerMv);
        });
    };
    const std::size_t signals = table.columns.size();
    std::string header = fmt::format("{:<8}{:<80}{:<80}{:<8}{:<8}{:<8}{:<44}{:<8}{:<8}{:<4}", "0",
                                     "X X X X", "Startdate X X X X", "01.01.85", "00.00.00",
                                     256 * (signals + 1), "", records, 1, signals);
    header += Fields(table, 16, [](const SampleColumn& column) { return column.name; });
    header += fixed(80, "") + fixed(8, "uV") + limit(-1) + limit(1);
    header += fixed(8, std::to_string(-kDigitalMost)) + fixed(8, std::to_string(kDigitalMost));
    header += fixed(80, "") + fixed(8, fmt::format("{:.0f}", table.rate)) + fixed(32, "");
    return header;
}

}  // namespace

void WriteCsv(const SampleTable& table, const NewFiles& files)
{
    OutputFile file(files.front());
    std::string line = "time_s";
    for (const SampleColumn& column : table.columns) line += "," + column.name + "_mv";
    file.Write(line + "\n");
    for (std::size_t i = 0; i < table.Count(); ++i) {
        line = fmt::format("{:.6f}", static_cast<double>(i) / table.rate);
        for (const SampleColumn& column : table.columns)
            line += fmt::format(",{:.6f}", column.mv[i]);
        file.Write(line + "\n");
    }
    file.Close();
}

void WriteText(const SampleTable& table, const NewFiles& files)
{
    const auto check = [](const std::string& line) {
        if (line.size() <= kLongestTextLine) return;
        throw Failure("a line of text would be longer than its loader reads",
                      "render fewer channels, or into another format", kWrongUsage);
    };
    std::string names;
    for (const SampleColumn& column : table.columns) {
        names += (names.empty() ? "" : ",") + column.name;
    }
    check(names);
    OutputFile file(files.front());
    file.Write(
        fmt::format("{:g}\n{}\n{}\n{}\n", table.rate, table.Count(), table.columns.size(), names));
    for (std::size_t i = 0; i < table.Count(); ++i) {
        std::string line;
        for (const SampleColumn& column : table.columns) {
            line += fmt::format("{}{:.6f}", line.empty() ? "" : ",", column.mv[i]);
        }
        check(line);
        file.Write(line + "\n");
    }
    file.Close();
}

void WriteEdf(const SampleTable& table, const NewFiles& files)
{
    const auto rate = static_cast<std::size_t>(std::lround(table.rate));
    const std::size_t records = (table.Count() + rate - 1) / rate;
    OutputFile file(files.front());
    file.Write(EdfHeader(table, records));
    for (std::size_t record = 0; record < records; ++record) {
        for (const SampleColumn& column : table.columns) {
            for (std::size_t i = 0; i < rate; ++i) {
                file.WriteWord(Digital(column, std::min(record * rate + i, table.Count() - 1)));
            }
        }
    }
    file.Close();
}

void WriteWfdb(const SampleTable& table, const NewFiles& files)
{
    if (table.columns.size() > kMostWfdbSignals) {
        throw Failure(fmt::format("a header has room for {} signals", kMostWfdbSignals),
                      "render fewer channels", kWrongUsage);
    }
    const std::filesystem::path path = files.front().Path();
    const std::string name = path.filename().string();
    const std::string record = path.stem().string();
    OutputFile header(files.at(1));
    header.Write(
        fmt::format("{} {} {:g} {}\n", record, table.columns.size(), table.rate, table.Count()));
    for (const SampleColumn& column : table.columns) {
        std::int16_t checksum = 0;
        for (std::size_t i = 0; i < table.Count(); ++i) {
            checksum = static_cast<std::int16_t>(checksum + Digital(column, i));
        }
        header.Write(fmt::format("{} 16 {:g} 16 0 {} {} 0 {}\n", name, kDigitalMost / column.mostMv,
                                 table.Count() == 0 ? 0 : Digital(column, 0), checksum,
                                 column.name));
    }
    header.Close();
    OutputFile file(files.front());
    for (std::size_t i = 0; i < table.Count(); ++i) {
        for (const SampleColumn& column : table.columns) file.WriteWord(Digital(column, i));
    }
    file.Close();
}

}  // namespace vrax
