// The library's own binary format, and the images of the instrument's programs.

#include <fmt/format.h>

#include "RecordFields.h"

namespace vrax {

namespace {

constexpr std::int64_t kHeaderBytes = 6;
constexpr unsigned kLowestRate = 30;
constexpr unsigned kHighestRate = 5000;
constexpr std::int64_t kMostSamples = 20000000;
constexpr std::int64_t kFpgaBytes = 122880;

std::uint64_t BigEndian(std::string_view bytes)
{
    std::uint64_t value = 0;
    for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

void AddImageFields(RecordFields& record, std::string_view start)
{
    const bool isThere = start.size() >= kImageStartBytes;
    record.Add("letters", kImageTagOffset, isThere ? start.substr(kImageTagOffset, 4) : "");
    std::string version;
    for (std::size_t i = 4; isThere && i < 8; ++i) {
        const auto part = static_cast<unsigned char>(start[kImageTagOffset + i]);
        version += fmt::format("{}{}", i == 4 ? "" : ".", part);
    }
    record.Add("version", kImageTagOffset + 4, version);
}

}  // namespace

RecordFields ReadBinaryFields(std::string_view start, std::int64_t fileBytes)
{
    RecordFields record;
    const bool hasRate = start.size() >= 2;
    const auto rate = BigEndian(start.substr(0, 2));
    RecordField& rateField = record.Add("rate, samples/s", 0, hasRate ? std::to_string(rate) : "");
    if (!hasRate) rateField.rule = "the file ends before it";
    else if (rate < kLowestRate || rate > kHighestRate)
        rateField.rule = fmt::format("must lie within {} to {}", kLowestRate, kHighestRate);

    const bool hasCount = fileBytes >= kHeaderBytes;
    const auto count = hasCount ? static_cast<std::int64_t>(BigEndian(start.substr(2, 4))) : 0;
    RecordField& countField =
        record.Add("number of samples", 2, hasCount ? std::to_string(count) : "");
    if (!hasCount) countField.rule = "the file ends before it";
    else if (count == 0 || count > kMostSamples)
        countField.rule = fmt::format("must lie within 1 to {}", kMostSamples);
    if (!hasCount) return record;

    const std::int64_t held = (fileBytes - kHeaderBytes) / 2;
    RecordField& samples = record.Add("samples", kHeaderBytes, fmt::format("{} words", held));
    if (held < count) samples.note = fmt::format("the header announces {}", count);
    if (held > count) samples.note = fmt::format("those behind the first {} are not read", count);
    if (held == 0) samples.rule = "there must be one: the record is empty";
    record.channels = {""};
    return record;
}

RecordFields ReadFpgaFields(std::string_view start, std::int64_t fileBytes)
{
    RecordFields record;
    RecordField& size = record.Add("size of the file", 0, std::to_string(fileBytes));
    if (fileBytes < kFpgaBytes) size.rule = fmt::format("must be at least {}", kFpgaBytes);
    if (fileBytes > kFpgaBytes) size.note = fmt::format("the first {} are taken", kFpgaBytes);
    AddImageFields(record, start);
    RecordField& letters = record.fields[1];
    if (letters.value != "VRAX") letters.rule = "must be VRAX";
    return record;
}

RecordFields ReadMcuFields(std::string_view start, std::int64_t fileBytes)
{
    RecordFields record;
    record.Add("size of the file", 0, std::to_string(fileBytes));
    AddImageFields(record, start);
    RecordField& letters = record.fields[1];
    const std::string_view wanted = "2TF2";
    int same = 0;
    for (std::size_t i = 0; i < wanted.size() && kImageTagOffset + i < start.size(); ++i) {
        same += start[kImageTagOffset + i] == wanted[i] ? 1 : 0;
    }
    if (same == 0) letters.rule = "at least one of them must be that of 2TF2";
    else if (same < 4) letters.note = "should be 2TF2";
    return record;
}

}  // namespace vrax
