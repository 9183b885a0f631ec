#include "tools/tables/Description.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <utility>

namespace {
constexpr double kMsPerSecond = 1000.0;
constexpr double kMaxNumber = 1e9;   // far outside every time and voltage that makes sense
constexpr double kMaxSamples = 1e7;  // a typing error costs no more than 40 MB
constexpr double kMaxRepeats = 1e5;  // likewise
constexpr int kMaxIncludeDepth = 4;  // a file that includes itself ends here
constexpr double kNever = std::numeric_limits<double>::infinity();

struct Entry {
    double ms;
    const Shape* shape;
};

using Sequence = std::vector<Entry>;

// Plays a sequence, or a shape where there is none.
struct Play {
    const Shape* shape = nullptr;
    const Sequence* sequence = nullptr;
    double atMs = 0.0;
    double fromMs = -kNever;
    double untilMs = kNever;
    double gain = 1.0;
};

double ReadNumber(const TextLine& line, std::size_t index, double low = -kMaxNumber,
                  double high = kMaxNumber)
{
    const double value = line.Number(index);
    if (!(value >= low && value <= high)) line.Fail("'" + line.Word(index) + "' is out of range");
    return value;
}

std::size_t ReadCount(const TextLine& line, std::size_t index, double most)
{
    const double value = ReadNumber(line, index, 1.0, most);
    if (value != std::floor(value)) line.Fail("'" + line.Word(index) + "' is not a whole number");
    return static_cast<std::size_t>(value);
}

bool StartsWithNumber(const TextLine& line)
{
    return std::string("-.0123456789").find(line.Word(0)[0]) != std::string::npos;
}

// Collects a description line by line. A shape or sequence is open until the next keyword.
class Parser {
public:
    void ReadFile(const std::filesystem::path& file, int depth);
    Waveform Expand(const std::filesystem::path& file) const;

private:
    void ReadLine(const TextLine& line, const std::filesystem::path& file, int depth);
    void ReadHeading(const TextLine& line);
    void OpenBlock(const TextLine& line);
    void CloseBlock();
    void ReadPoints(const TextLine& line);
    void ReadEntry(const TextLine& line);
    void ReadPlay(const TextLine& line);
    bool IsDefined(const std::string& name) const;

    enum class Block { kNone, kShape, kSequence };
    std::string name_;
    std::optional<double> rate_;
    std::optional<std::size_t> samples_;
    std::map<std::string, Shape> shapes_;
    std::map<std::string, Sequence> sequences_;
    std::vector<Play> plays_;

    Block block_ = Block::kNone;
    std::optional<TextLine> opening_;  // of the open block
    std::vector<CurvePoint> points_;
    Sequence entries_;
};

void Parser::ReadFile(const std::filesystem::path& file, int depth)
{
    for (const TextLine& line : ReadTextFile(file)) ReadLine(line, file, depth);
    CloseBlock();
}

void Parser::ReadLine(const TextLine& line, const std::filesystem::path& file, int depth)
{
    if (StartsWithNumber(line)) {
        if (block_ == Block::kShape) return ReadPoints(line);
        if (block_ == Block::kSequence) return ReadEntry(line);
        line.Fail("numbers outside a shape or sequence");
    }
    CloseBlock();
    const std::string& keyword = line.Word(0);
    if (keyword == "shape" || keyword == "sequence") return OpenBlock(line);
    if (keyword == "include") {
        line.Require(2);
        if (depth == kMaxIncludeDepth) line.Fail("files include each other too deeply");
        return ReadFile(file.parent_path() / line.Word(1), depth + 1);
    }
    if (depth > 0) line.Fail("an included file holds shapes and sequences only");
    if (keyword == "play") return ReadPlay(line);
    ReadHeading(line);
}

void Parser::ReadHeading(const TextLine& line)
{
    const std::string& keyword = line.Word(0);
    if (keyword == "name") {
        name_ = line.Word(1);
        for (std::size_t i = 2; i < line.Count(); ++i) name_ += " " + line.Word(i);
        return;
    }
    if (keyword != "rate" && keyword != "samples") line.Fail("'" + keyword + "' is no keyword");
    line.Require(2);
    if (keyword == "rate") rate_ = ReadNumber(line, 1, 1.0);
    if (keyword == "samples") samples_ = ReadCount(line, 1, kMaxSamples);
}

bool Parser::IsDefined(const std::string& name) const
{
    return shapes_.count(name) != 0 || sequences_.count(name) != 0;
}

void Parser::OpenBlock(const TextLine& line)
{
    const bool isShape = line.Word(0) == "shape";
    line.Require(isShape ? 3 : 2);
    if (isShape && line.Word(2) != "lines" && line.Word(2) != "smooth") {
        line.Fail("'" + line.Word(2) + "' is neither lines nor smooth");
    }
    if (IsDefined(line.Word(1))) line.Fail("'" + line.Word(1) + "' is there already");
    block_ = isShape ? Block::kShape : Block::kSequence;
    opening_ = line;
}

void Parser::CloseBlock()
{
    if (block_ == Block::kNone) return;
    const std::string& name = opening_->Word(1);
    if (points_.empty() && entries_.empty()) opening_->Fail("'" + name + "' is empty");
    if (block_ == Block::kShape) {
        const Join join = opening_->Word(2) == "smooth" ? Join::kSmooth : Join::kLines;
        shapes_.emplace(name, Shape(join, std::exchange(points_, {})));
    } else {
        sequences_.emplace(name, std::exchange(entries_, {}));
    }
    block_ = Block::kNone;
}

void Parser::ReadPoints(const TextLine& line)
{
    if (line.Count() % 2 != 0) line.Fail("a time has no value");
    for (std::size_t i = 0; i < line.Count(); i += 2) {
        const double ms = ReadNumber(line, i);
        if (!points_.empty() && ms <= points_.back().x) {
            line.Fail("the time " + line.Word(i) + " does not come after the one before");
        }
        points_.push_back({ms, ReadNumber(line, i + 1)});
    }
}

void Parser::ReadEntry(const TextLine& line)
{
    const bool repeats = line.Count() > 2;
    if (repeats) line.Require(6);
    if (repeats && (line.Word(2) != "repeat" || line.Word(4) != "every")) {
        line.Fail("expected: TIME SHAPE repeat N every MS");
    }
    const auto shape = shapes_.find(line.Word(1));
    if (shape == shapes_.end()) line.Fail("no shape '" + line.Word(1) + "' above");
    const double start = ReadNumber(line, 0);
    if (!entries_.empty() && start <= entries_.back().ms) {
        line.Fail("the time " + line.Word(0) + " does not come after the one before");
    }
    const std::size_t count = repeats ? ReadCount(line, 3, kMaxRepeats) : 1;
    const double every = repeats ? ReadNumber(line, 5, 1e-3) : 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        entries_.push_back({start + static_cast<double>(i) * every, &shape->second});
    }
}

void Parser::ReadPlay(const TextLine& line)
{
    const std::string& name = line.Word(1);
    if (!IsDefined(name)) line.Fail("no shape or sequence '" + name + "' above");
    if (line.Count() % 2 != 0) line.Fail("expected: play NAME [at|from|until MS] [gain G]");
    Play play;
    if (sequences_.count(name) != 0) play.sequence = &sequences_.at(name);
    else play.shape = &shapes_.at(name);
    for (std::size_t i = 2; i < line.Count(); i += 2) {
        const std::string& word = line.Word(i);
        const double value = ReadNumber(line, i + 1);
        if (word == "at") play.atMs = value;
        else if (word == "from") play.fromMs = value;
        else if (word == "until") play.untilMs = value;
        else if (word == "gain") play.gain = value;
        else line.Fail("'" + word + "' is none of at, from, until, gain");
    }
    plays_.push_back(play);
}

double SequenceAt(const Sequence& sequence, double ms)
{
    const auto next = std::ranges::upper_bound(sequence, ms, {}, &Entry::ms);
    if (next == sequence.begin()) return 0.0;
    const Entry& entry = *std::prev(next);
    return entry.shape->At(ms - entry.ms);
}

double PlayAt(const Play& play, double ms)
{
    if (ms < play.fromMs || ms >= play.untilMs) return 0.0;
    const double local = ms - play.atMs;
    return play.gain * (play.sequence ? SequenceAt(*play.sequence, local) : play.shape->At(local));
}

Waveform Parser::Expand(const std::filesystem::path& file) const
{
    const char* const missing = name_.empty()    ? "name"
                                : !rate_         ? "rate"
                                : !samples_      ? "samples"
                                : plays_.empty() ? "play"
                                                 : nullptr;
    if (missing) throw DescriptionError(file.string() + ": has no '" + missing + "'");
    Waveform waveform{name_, *rate_, {}};
    waveform.microvolts.reserve(*samples_);
    for (std::size_t sample = 0; sample < *samples_; ++sample) {
        const double ms = static_cast<double>(sample) * kMsPerSecond / *rate_;
        double sum = 0.0;
        for (const Play& play : plays_) sum += PlayAt(play, ms);
        if (!(std::abs(sum) <= kMaxNumber)) {
            throw DescriptionError(file.string() + ": the sum of what is played is out of range");
        }
        waveform.microvolts.push_back(static_cast<std::int32_t>(std::lround(sum)));
    }
    return waveform;
}

double LinesAt(const std::vector<CurvePoint>& points, double ms)
{
    const auto next = std::ranges::upper_bound(points, ms, {}, &CurvePoint::x);
    if (next == points.begin()) return points.front().y;
    if (next == points.end()) return points.back().y;
    const CurvePoint& left = *std::prev(next);
    return left.y + (next->y - left.y) * (ms - left.x) / (next->x - left.x);
}
}  // namespace

Shape::Shape(Join join, std::vector<CurvePoint> points)
    : join_(join), points_(std::move(points)), smooth_(points_)
{}

double Shape::At(double ms) const
{
    return join_ == Join::kSmooth ? smooth_.At(ms) : LinesAt(points_, ms);
}

Waveform ReadDescription(const std::filesystem::path& file)
{
    Parser parser;
    parser.ReadFile(file, 0);
    return parser.Expand(file);
}
