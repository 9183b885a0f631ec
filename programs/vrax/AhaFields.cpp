// The two formats of the AHA database.

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "RecordFields.h"
#include "RecordLines.h"

namespace vrax {

namespace {

constexpr std::size_t kLineCharacters = 255;
constexpr std::int64_t kGroupBytes = 5;
constexpr int kChannels = 2;
constexpr std::string_view kSpaces = " \t\n\v\f\r";

void AddPath(RecordFields& record, std::string_view path, std::string_view extension)
{
    const std::size_t slash = path.rfind('/');
    RecordField& field =
        record.Add("name of the file", 0, path.substr(slash == path.npos ? 0 : slash + 1));
    if (!path.ends_with(extension)) {
        field.rule = fmt::format("must end in {}, in lower case", extension);
    }
}

// The first two fields, separated by any number of commas and spaces; empty where there is none.
std::array<std::string_view, kChannels> FieldsOf(std::string_view line)
{
    std::array<std::string_view, kChannels> fields;
    for (std::string_view& field : fields) {
        const std::size_t start = std::min(line.find_first_not_of(", "), line.size());
        line.remove_prefix(start);
        field = line.substr(0, line.find_first_of(", "));
        line.remove_prefix(field.size());
    }
    return fields;
}

bool IsNumber(std::string_view field)
{
    std::string_view rest;
    NumberIn(field, &rest);
    return rest.empty() && field.find_first_not_of(kSpaces) != field.npos;
}

// Takes lines one after another: both CR and LF end one, and nothing counts from a NUL on.
class AhaLines {
public:
    explicit AhaLines(std::string_view bytes) : bytes_(bytes) {}

    bool Next(RecordLine& line)
    {
        if (at_ >= bytes_.size()) return false;
        const std::string_view rest = bytes_.substr(at_);
        const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
        line.offset = static_cast<std::int64_t>(at_);
        line.text = rest.substr(0, std::min(end, kLineCharacters));
        line.text = line.text.substr(0, line.text.find('\0'));
        at_ += end + 1;
        return true;
    }

private:
    std::string_view bytes_;
    std::size_t at_ = 0;
};

class AhaReader {
public:
    RecordFields Read(std::string_view path, std::string_view bytes)
    {
        AddPath(record_, path, ".txt");
        AhaLines lines(bytes);
        RecordLine line;
        while (lines.Next(line)) {
            if (line.text.find_first_not_of(kSpaces) != line.text.npos) Count(line);
        }
        for (int channel = 0; channel < kChannels; ++channel) AddSamples(channel);
        record_.fields.insert(record_.fields.end(), leftOut_.begin(), leftOut_.end());
        record_.channels = {"channel 0", "channel 1"};
        return std::move(record_);
    }

private:
    // The first line that is left out stands for all.
    void Count(const RecordLine& line)
    {
        ++lines_;
        const auto fields = FieldsOf(line.text);
        std::string why;
        for (std::size_t channel = 0; channel < fields.size(); ++channel) {
            if (fields[1].empty()) why = "has one field: left out";
            else if (IsNumber(fields[channel])) ++samples_[channel];
            else
                why = fmt::format("'{}' is no number: left out of channel {}",
                                  Printable(fields[channel]), channel);
        }
        if (why.empty() || !leftOut_.empty()) return;
        leftOut_.push_back({"left out", line.offset, Printable(line.text), "", why});
    }

    void AddSamples(int channel)
    {
        const std::int64_t samples = samples_[static_cast<std::size_t>(channel)];
        RecordField& field = record_.Add(fmt::format("samples of channel {}", channel), 0,
                                         fmt::format("{} of {} lines", samples, lines_));
        if (samples == 0) field.rule = "a line must have two fields, and a number for the channel";
    }

    RecordFields record_;
    std::int64_t lines_ = 0;
    std::array<std::int64_t, kChannels> samples_{};
    std::vector<RecordField> leftOut_;
};

}  // namespace

RecordFields ReadAhaTextFields(std::string_view path, std::string_view bytes)
{
    return AhaReader().Read(path, bytes);
}

RecordFields ReadAhaBinaryFields(std::string_view path, std::int64_t fileBytes)
{
    RecordFields record;
    AddPath(record, path, ".ecg");
    const std::int64_t groups = fileBytes / kGroupBytes;
    RecordField& field =
        record.Add("samples", 0, fmt::format("{} groups of {} bytes", groups, kGroupBytes));
    if (groups == 0) field.rule = "the file must have a sample";
    else if (const auto rest = fileBytes % kGroupBytes; rest != 0)
        field.note = fmt::format("the last {} bytes are not read", rest);
    record.channels = {"channel 0", "channel 1"};
    return record;
}

}  // namespace vrax
