// The library's own text format.

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "RecordFields.h"
#include "RecordLines.h"

namespace vrax {

namespace {

constexpr std::size_t kLineCharacters = 127;
constexpr double kLowestRate = 100.0;
constexpr double kHighestRate = 40000.0;
constexpr std::int64_t kBelievedSamples = 1000000;  // whatever the size of the file

class TextReader {
public:
    explicit TextReader(std::string_view bytes) : lines_(bytes, kLineCharacters), bytes_(bytes) {}

    RecordFields Read()
    {
        if (RecordField* field = NextField("rate, samples/s")) ReadRate(*field);
        if (RecordField* field = NextField("number of samples")) ReadCount(*field);
        if (RecordField* field = NextField("number of channels")) ReadChannels(*field);
        if (RecordField* field = NextField("names of the channels")) ReadNames(*field);
        if (!isMissing_) ReadSamples();
        return std::move(record_);
    }

private:
    // Null, and a field that says so, where the file has no such line.
    RecordField* NextField(const std::string& name)
    {
        ++number_;
        RecordField& field = record_.Add(fmt::format("line {}: {}", number_, name),
                                         static_cast<std::int64_t>(bytes_.size()), "");
        if (isMissing_ || !lines_.Next(line_)) {
            isMissing_ = true;
            field.rule = "the file ends before it";
            return nullptr;
        }
        field.offset = line_.offset;
        field.value = Printable(line_.text);
        return &field;
    }

    void ReadRate(RecordField& field)
    {
        std::string_view rest;
        record_.rate = NumberIn(line_.text, &rest);
        field.note = NoteOnRest(rest);
        if (record_.rate == 0.0) field.rule = "must be a number other than 0";
        else if (record_.rate < kLowestRate || record_.rate > kHighestRate)
            field.rule = "must lie within 100 to 40000";
        else if (record_.rate != record_.rate) field.note = "no number: the record plays as 0";
    }

    void ReadCount(RecordField& field)
    {
        std::string_view rest;
        count_ = IntegerIn(line_.text, &rest);
        field.note = NoteOnRest(rest);
        if (count_ == 0) field.rule = "must be a whole number other than 0";
        if (count_ < 0) field.rule = "must not be negative";
    }

    void ReadChannels(RecordField& field)
    {
        std::string_view rest;
        channels_ = IntegerIn(line_.text, &rest);
        field.note = NoteOnRest(rest);
        if (channels_ == 0) field.rule = "must be a whole number other than 0";
        if (channels_ < 0) field.rule = "negative: there is no channel to load";
    }

    void ReadNames(RecordField& field)
    {
        for (const auto name : SplitAt(line_.text, ','))
            record_.channels.push_back(Printable(name));
        const std::size_t names = record_.channels.size();
        const auto channels = static_cast<std::size_t>(std::clamp(channels_, 0, kMostChannels));
        record_.channels.resize(channels);
        if (line_.isCut) {
            field.note = fmt::format("longer than {} characters: the rest is taken as a sample",
                                     kLineCharacters);
        } else if (channels_ > 0 && names != static_cast<std::size_t>(channels_)) {
            field.note = fmt::format("{} names for {} channels", names, channels_);
        }
    }

    void ReadSamples()
    {
        const std::size_t start = lines_.Position();
        const auto bytesLeft = static_cast<std::int64_t>(bytes_.size() - start);
        std::int64_t held = 0;
        for (; held < count_ && lines_.Next(line_); ++held) JudgeSample(held + number_ + 1);
        RecordField& field =
            record_.Add("samples", static_cast<std::int64_t>(start), fmt::format("{} lines", held));
        if (held < count_) field.note = fmt::format("the header announces {}", count_);
        else if (lines_.Next(line_))
            field.note = fmt::format("from byte {} on nothing is read", line_.offset);
        if (held == 0 && count_ > 0) field.rule = "there must be one: the record is empty";
        // The loader counts a line as at least its end, and for the channels before a comma each.
        if (count_ > std::max(kBelievedSamples, 8 * (bytesLeft + 1))) {
            field.rule = fmt::format(
                "far less than the announced {}: above {}, the rest of the file "
                "must have a byte for every eight",
                count_, kBelievedSamples);
        }
        std::move(defects_.begin(), defects_.end(), std::back_inserter(record_.fields));
    }

    // The first line of which a channel is missing, the first with a value that is no number, and
    // the first that is too long stand for all.
    void JudgeSample(std::int64_t number)
    {
        const auto values = SplitAt(line_.text, ',');
        const auto there = static_cast<std::int64_t>(values.size());
        if (there < channels_ && !hasShortLine_) {
            hasShortLine_ = true;
            AddDefect(number).rule = fmt::format(
                "has {} of {} channels: channel {} and those behind "
                "it cannot be loaded",
                there, channels_, there);
        }
        if (line_.isCut && !hasLongLine_) {
            hasLongLine_ = true;
            AddDefect(number).note =
                fmt::format("longer than {} characters: the rest is taken as the next sample",
                            kLineCharacters);
        }
        if (hasWords_) return;
        for (const auto value : values) hasWords_ = hasWords_ || IsNoNumber(value);
        if (hasWords_) AddDefect(number).note = "what is no number is taken as 0";
    }

    static bool IsNoNumber(std::string_view value)
    {
        std::string_view rest;
        return NumberIn(value, &rest) == 0.0 && !rest.empty();
    }

    RecordField& AddDefect(std::int64_t number)
    {
        defects_.push_back(
            {fmt::format("line {}", number), line_.offset, Printable(line_.text), "", ""});
        return defects_.back();
    }

    RecordLines lines_;
    std::string_view bytes_;
    RecordFields record_;
    RecordLine line_;
    std::int64_t number_ = 0;
    std::int64_t count_ = 0;
    int channels_ = 0;
    bool isMissing_ = false;
    bool hasShortLine_ = false;
    bool hasLongLine_ = false;
    bool hasWords_ = false;
    std::vector<RecordField> defects_;
};

}  // namespace

RecordFields ReadTextFields(std::string_view bytes) { return TextReader(bytes).Read(); }

}  // namespace vrax
