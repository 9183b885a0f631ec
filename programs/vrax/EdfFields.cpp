// EDF and EDF+.

#include <strings.h>

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "RecordFields.h"

namespace vrax {

namespace {

constexpr std::int64_t kHeaderBytes = 256;  // the fixed header, and as much for each signal
constexpr int kMostSignals = 256;
constexpr std::size_t kPatientWords = 4;
constexpr std::size_t kRecordingWords = 5;
constexpr int kLowestRate = 100;
constexpr int kHighestRate = 40000;
constexpr std::string_view kAnnotations = "EDF Annotations";

// Of a signal's entries: what the loader uses or what is often mistaken.
struct Entry {
    const char* name;
    int offset;
    int length;
};
constexpr std::array<Entry, 7> kEntries = {{
    {"label", 0, 16},
    {"physical dimension", 96, 8},
    {"physical minimum", 104, 8},
    {"physical maximum", 112, 8},
    {"digital minimum", 120, 8},
    {"digital maximum", 128, 8},
    {"samples in a data record", 216, 8},
}};

std::vector<std::string> WordsIn(std::string_view text)
{
    std::vector<std::string> words;
    constexpr std::string_view kBetween = " \t\r\n";
    for (std::size_t start; (start = text.find_first_not_of(kBetween)) != text.npos;) {
        text.remove_prefix(start);
        words.emplace_back(text.substr(0, text.find_first_of(kBetween)));
        text.remove_prefix(words.back().size());
    }
    return words;
}

class EdfReader {
public:
    EdfReader(std::string_view start, std::int64_t fileBytes) : start_(start), fileBytes_(fileBytes)
    {}

    RecordFields Read()
    {
        ReadFixedHeader();
        if (signals_ < 1 || signals_ > kMostSignals) return std::move(record_);
        for (int signal = 0; signal < signals_; ++signal) ReadSignal(signal);
        if (!isShort_) ReadData();
        return std::move(record_);
    }

private:
    // The field as it stands there, without the spaces behind it. The first that is not there
    // whole says so.
    RecordField& Take(const std::string& name, std::int64_t offset, std::int64_t length)
    {
        const auto from = static_cast<std::size_t>(offset);
        text_ = from < start_.size() ? start_.substr(from, static_cast<std::size_t>(length)) : "";
        const bool isWhole = offset + length <= static_cast<std::int64_t>(start_.size());
        text_ = text_.substr(0, text_.find('\0'));
        text_ = text_.substr(0, text_.find_last_not_of(' ') + 1);
        RecordField& field = record_.Add(name, offset, text_);
        if (!isWhole && !isShort_) field.rule = "the file ends before the end of it";
        isShort_ = isShort_ || !isWhole;
        return field;
    }

    // 0 where there is none, which the rule then says.
    int TakeInteger(const std::string& name, std::int64_t offset, std::int64_t length,
                    const std::string& rule)
    {
        RecordField& field = Take(name, offset, length);
        std::string_view rest;
        const int value = IntegerIn(text_, &rest);
        field.note = NoteOnRest(rest);
        if (value == 0 && field.rule.empty()) field.rule = rule;
        return value;
    }

    void ReadFixedHeader()
    {
        RecordField& version = Take("version", 0, 8);
        if (text_ != "0") version.note = "should be 0; it is not looked at";
        ReadPatient(Take("patient", 8, 80));
        ReadRecording(Take("recording", 88, 80));
        Take("start date", 168, 8);
        Take("start time", 176, 8);
        const int bytes =
            TakeInteger("bytes of the header", 184, 8, "must be a number other than 0");
        const std::size_t bytesAt = record_.fields.size() - 1;
        Take("reserved", 192, 44);
        if (text_ == "EDF+D")
            record_.fields.back().note = "gaps between data records are not played";
        records_ = TakeInteger("number of data records", 236, 8, "must be a number other than 0");
        if (records_ < 0) {
            record_.fields.back().rule =
                "must be known: nothing can be loaded while it is negative";
        }
        seconds_ = TakeInteger("seconds of a data record", 244, 8,
                               "must be a whole number of at least 1: fractions are cut off");
        signals_ = TakeInteger("number of signals", 252, 4, "must lie within 1 to 256");
        if (signals_ < 0 || signals_ > kMostSignals) {
            record_.fields.back().rule = "must lie within 1 to 256";
        }
        const std::int64_t data = kHeaderBytes * (std::int64_t{signals_} + 1);
        if (bytes != 0 && bytes != data && signals_ > 0) {
            record_.fields[bytesAt].note = fmt::format("not used: the data begin at byte {}", data);
        }
    }

    void ReadPatient(RecordField& field)
    {
        const std::size_t words = WordsIn(text_).size();
        if (words >= kPatientWords || !field.rule.empty()) return;
        field.rule = fmt::format(
            "must have four words (code, sex, birth date, name) and has {}; "
            "write 'X X X X' over it",
            words);
    }

    void ReadRecording(RecordField& field)
    {
        const auto words = WordsIn(text_);
        const bool isMarked = !words.empty() && strcasecmp(words[0].c_str(), "startdate") == 0;
        if ((isMarked && words.size() >= kRecordingWords) || !field.rule.empty()) return;
        field.rule = isMarked ? fmt::format("must have five words and has {}; ", words.size())
                              : "its first word must be Startdate; ";
        field.rule += "write 'Startdate X X X X' over it";
    }

    void ReadSignal(int signal)
    {
        for (const Entry& entry : kEntries) {
            RecordField& field = Take(fmt::format("signal {}: {}", signal, entry.name),
                                      kHeaderBytes + std::int64_t{entry.offset} * signals_ +
                                          std::int64_t{signal} * entry.length,
                                      entry.length);
            JudgeEntry(entry.offset, field);
        }
    }

    void JudgeEntry(int offset, RecordField& field)
    {
        if (offset == 0) record_.channels.push_back(Printable(text_));
        const bool isAnnotations = record_.channels.back() == kAnnotations;
        if (offset == 0 && isAnnotations) field.note = "annotations: no signal to load";
        if (offset == 96) JudgeDimension(field, isAnnotations);
        if (offset >= 104 && offset <= 128) JudgeExtreme(offset, field);
        if (offset == 216) JudgeSamples(field, isAnnotations);
    }

    void JudgeDimension(RecordField& field, bool isAnnotations) const
    {
        if (isAnnotations || text_ == "uV" || text_ == "\xC2\xB5V" || text_ == "\xB5V") return;
        field.note = "not looked at: the values are taken as microvolts";
    }

    void JudgeExtreme(int offset, RecordField& field)
    {
        std::string_view rest;
        const double value = NumberIn(text_, &rest);
        field.note = text_.empty() ? "no number: taken as 0" : NoteOnRest(rest);
        const bool isMaximum = offset == 112 || offset == 128;
        if (isMaximum && value == minimum_ && field.note.empty()) {
            field.note = "the same as the minimum: no sample has a meaning";
        }
        minimum_ = value;
    }

    void JudgeSamples(RecordField& field, bool isAnnotations)
    {
        std::string_view rest;
        const int samples = IntegerIn(text_, &rest);
        samples_.push_back(samples);
        if (!field.rule.empty()) return;
        if (text_.empty() || (samples == 0 && !rest.empty())) field.rule = "must be a number";
        else if (samples < 0) field.rule = "negative: no signal of the file can be loaded";
        else if (!isAnnotations && seconds_ != 0) JudgeRate(field, samples / seconds_);
    }

    static void JudgeRate(RecordField& field, int rate)
    {
        if (rate < kLowestRate || rate > kHighestRate) {
            field.rule = fmt::format("{} samples/s: the rate must lie within {} to {}", rate,
                                     kLowestRate, kHighestRate);
        } else {
            field.note = fmt::format("{} samples/s", rate);
        }
    }

    void ReadData()
    {
        const std::int64_t first = kHeaderBytes * (std::int64_t{signals_} + 1);
        const std::int64_t bytes = std::max<std::int64_t>(fileBytes_ - first, 0);
        RecordField& field = record_.Add("data", first, fmt::format("{} bytes", bytes));
        if (fileBytes_ < first) field.rule = "the file ends before it, within the header";
        std::int64_t stride = 0;
        for (const int samples : samples_) stride += 2 * std::int64_t{samples};
        if (stride <= 0 || records_ < 1 || !field.rule.empty()) return;
        const std::int64_t most = *std::max_element(samples_.begin(), samples_.end());
        JudgePromise(field, most * records_,
                     most * std::min<std::int64_t>(bytes / stride, records_));
    }

    std::string_view start_;
    std::int64_t fileBytes_;
    RecordFields record_;
    std::string_view text_;  // of the field that was taken last
    bool isShort_ = false;
    int records_ = 0;
    int seconds_ = 0;
    int signals_ = 0;
    double minimum_ = 0.0;
    std::vector<int> samples_;  // of each signal in a data record
};

}  // namespace

RecordFields ReadEdfFields(std::string_view start, std::int64_t fileBytes)
{
    return EdfReader(start, fileBytes).Read();
}

}  // namespace vrax
