// WFDB: a header as text, and a signal file.

#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "RecordFields.h"
#include "RecordLines.h"

namespace vrax {

namespace {

constexpr std::size_t kLineCharacters = 255;
constexpr std::size_t kFewestFields = 4;
constexpr std::size_t kMostFields = 19;
constexpr std::size_t kMostLines = 19;
constexpr std::size_t kInBrackets = 13;  // the field that brackets become
constexpr int kLowestRate = 100;
constexpr int kHighestRate = 40000;

struct HeaderLine {
    RecordLine line;
    std::vector<std::string_view> fields;

    std::int64_t OffsetOf(std::size_t field) const
    {
        if (field >= fields.size()) return line.offset;
        return line.offset + (fields[field].data() - line.text.data());
    }
};

class WfdbReader {
public:
    WfdbReader(std::string_view header, const std::string& signalPath, std::int64_t signalBytes)
        : header_(header), signalPath_(signalPath), signalBytes_(signalBytes)
    {}

    RecordFields Read()
    {
        ReadLines();
        if (lines_.size() < 2) {
            record_.Add("signal lines", static_cast<std::int64_t>(header_.size()), "").rule =
                "the header needs a record line and a signal line";
        }
        if (!lines_.empty()) ReadRecordLine();
        for (std::size_t row = 1; row < lines_.size(); ++row) ReadSignalLine(row);
        ReadSignalFile();
        return std::move(record_);
    }

private:
    void ReadLines()
    {
        RecordLines lines(header_, kLineCharacters);
        HeaderLine found;
        while (lines.Next(found.line)) {
            const std::string_view text = found.line.text;
            if (text.empty() || text.front() == '#') continue;
            found.fields = SplitAt(text, ' ');
            lines_.push_back(found);
            JudgeLine(found);
        }
        if (lines_.size() > kMostLines) {
            record_.Add("lines", lines_[kMostLines].line.offset, std::to_string(lines_.size()))
                .rule = fmt::format("a header has at most {}", kMostLines);
            lines_.resize(kMostLines);
        }
    }

    void JudgeLine(const HeaderLine& found)
    {
        const std::size_t count = found.fields.size();
        const bool hasEmpty = std::any_of(found.fields.begin(), found.fields.end(),
                                          [](std::string_view field) { return field.empty(); });
        const bool isRefused = count < kFewestFields || count > kMostFields;
        if (!isRefused && !hasEmpty && !found.line.isCut) return;
        RecordField& field =
            record_.Add(RowName(lines_.size() - 1), found.line.offset, found.line.text);
        if (isRefused) {
            field.rule = fmt::format("must have {} to {} fields and has {}", kFewestFields,
                                     kMostFields, count);
        } else if (hasEmpty) {
            field.note = "two spaces in a row, or one at the end, make an empty field";
        } else {
            field.note = fmt::format("longer than {} characters: the rest is the next line",
                                     kLineCharacters);
        }
    }

    static std::string RowName(std::size_t row)
    {
        return row == 0 ? "record line" : fmt::format("signal {}", row - 1);
    }

    // As the loader keeps it: cut at its last slash and before brackets.
    RecordField& Take(std::size_t row, std::size_t column, const std::string& name)
    {
        const HeaderLine& found = lines_[row];
        const std::string_view all = column < found.fields.size() ? found.fields[column] : "";
        text_ = all.substr(0, all.rfind('/'));
        text_ = text_.substr(0, text_.find('('));
        return record_.Add(RowName(row) + ": " + name, found.OffsetOf(column), all);
    }

    void ReadRecordLine()
    {
        RecordField& signals = Take(0, 1, "number of signals");
        signals_ = IntegerIn(text_);
        if (signals_ < 1) signals.rule = "must be at least 1";
        RecordField& rate = Take(0, 2, "samples a second");
        const int hertz = IntegerIn(text_);
        if (hertz < kLowestRate || hertz > kHighestRate) {
            rate.rule = fmt::format("must lie within {} to {}", kLowestRate, kHighestRate);
        } else if (NumberIn(text_) != hertz) {
            rate.note = fmt::format("the fraction is cut off: {}", hertz);
        }
        RecordField& samples = Take(0, 3, "number of samples");
        samples_ = IntegerIn(text_);
        if (samples_ < 1) samples.rule = "must be at least 1";
        record_.channels.resize(static_cast<std::size_t>(std::clamp(signals_, 0, kMostChannels)));
    }

    void ReadSignalLine(std::size_t row)
    {
        ReadFileName(Take(row, 0, "signal file"));
        ReadFormat(row);
        RecordField& gain = Take(row, 2, "steps per millivolt");
        if (NumberIn(text_) == 0.0) gain.note = "taken as 200";
        else if (const auto slash = gain.value.rfind('/');
                 slash != std::string::npos && gain.value.substr(slash) != "/mV")
            gain.note = "the unit is not looked at: the values are taken as millivolts";
        ReadOffset(row);
        if (row <= record_.channels.size() && lines_[row].fields.size() > 8) {
            Take(row, 8, "name");
            record_.channels[row - 1] = Printable(text_);
        }
    }

    void ReadFileName(RecordField& field) const
    {
        const std::size_t slash = signalPath_.rfind('/');
        const auto name = signalPath_.substr(slash == std::string::npos ? 0 : slash + 1);
        if (field.value != name) field.note = "not looked for: the samples are those of " + name;
    }

    void ReadFormat(std::size_t row)
    {
        RecordField& field = Take(row, 1, "format");
        const int format = IntegerIn(text_);
        if (row == 1) {
            format_ = format;
            if (format != 212 && format != 16) field.rule = "must be 212 or 16";
        } else if (format != format_) {
            field.note =
                fmt::format("not used: all signals are read as {}, as the first is", format_);
        }
    }

    void ReadOffset(std::size_t row)
    {
        if (row == 1) {
            offset_ = OffsetText();
            RecordField& field = Take(row, 4, "offset");
            if (IntegerIn(offset_) != IntegerIn(text_)) {
                field.note = fmt::format("taken as {}, from brackets or field {}",
                                         IntegerIn(offset_), kInBrackets);
            }
            return;
        }
        RecordField& field = Take(row, 4, "offset");
        if (IntegerIn(text_) != IntegerIn(offset_)) {
            field.note = fmt::format("not used: {} is taken off all signals, as for the first",
                                     IntegerIn(offset_));
        }
    }

    // What stands in brackets on the first signal's line, or its field 13, whichever is later; else
    // the field of the offset.
    std::string_view OffsetText() const
    {
        const auto& fields = lines_[1].fields;
        std::optional<std::string_view> found;
        for (std::size_t i = 0; i < fields.size(); ++i) {
            const std::string_view field = fields[i].substr(0, fields[i].rfind('/'));
            const std::size_t open = field.find('(');
            if (open != field.npos) {
                found = field.substr(open + 1);
                found = found->substr(0, found->rfind(')'));
            }
            if (i == kInBrackets) found = field.substr(0, open);
        }
        if (found) return *found;
        return fields.size() > 4 ? fields[4].substr(0, fields[4].rfind('/')) : "";
    }

    void ReadSignalFile()
    {
        RecordField& field = record_.Add("samples", 0, "");
        if (signalBytes_ < 0) {
            field.rule = signalPath_ + " cannot be opened";
            return;
        }
        field.value = fmt::format("{} bytes in {}", signalBytes_, Printable(signalPath_));
        if (signals_ < 1 || samples_ < 1) return;
        const std::int64_t all = format_ == 16 ? signalBytes_ / 2 : signalBytes_ / 3 * 2;
        JudgePromise(field, samples_, all / signals_);
    }

    std::string_view header_;
    const std::string& signalPath_;
    std::int64_t signalBytes_;
    RecordFields record_;
    std::vector<HeaderLine> lines_;
    std::string_view text_;    // of the field that was taken last
    std::string_view offset_;  // as it is written for all signals
    int signals_ = 0;
    int samples_ = 0;
    int format_ = 0;
};

}  // namespace

RecordFields ReadWfdbFields(std::string_view header, const std::string& signalPath,
                            std::int64_t signalBytes)
{
    return WfdbReader(header, signalPath, signalBytes).Read();
}

}  // namespace vrax
