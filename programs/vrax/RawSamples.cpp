#include "RawSamples.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>

#include <fmt/format.h>

#include "Failure.h"

namespace vrax {

namespace {

constexpr double kMostRate = 1e6;
constexpr double kMostSamples = 1e7;

class Reader {
public:
    Reader(const std::string& path, std::size_t channels)
        : path_(path), channels_(channels), file_(path)
    {
        if (!file_) throw Failure(path + " cannot be read", "is the name right?");
    }

    RawSamples Read()
    {
        RawSamples samples;
        samples.rate = ReadOne("the samples a second", 1.0, kMostRate);
        const double count = ReadOne("the number of samples", 1.0, kMostSamples);
        const auto channels = static_cast<double>(channels_);
        ReadOne("the number of channels", channels, channels);
        NextLine();  // the names
        samples.channels.resize(channels_);
        for (double i = 0.0; i < count; ++i) ReadSample(samples);
        return samples;
    }

private:
    void NextLine()
    {
        ++number_;
        if (!std::getline(file_, line_)) throw Wrong("is missing");
        if (!line_.empty() && line_.back() == '\r') line_.pop_back();
    }

    Failure Wrong(const std::string& what) const
    {
        return {fmt::format("{}, line {}: {}", path_, number_, what),
                fmt::format("the lines are: samples a second, their number, {}, names, then {}",
                            channels_, channels_ == 1 ? "a value each" : "values with commas")};
    }

    // The whole of a field, without the blanks around it.
    double Number(std::size_t start, std::size_t end) const
    {
        const std::string field = line_.substr(start, end - start);
        const std::size_t first = std::min(field.find_first_not_of(" \t+"), field.size());
        const std::size_t last = field.find_last_not_of(" \t") + 1;  // 0 where all is blank
        double value = 0.0;
        const char* const stop = field.data() + std::max(first, last);
        const auto [read, error] = std::from_chars(field.data() + first, stop, value);
        if (error != std::errc() || read != stop || !std::isfinite(value)) {
            throw Wrong(fmt::format("\"{}\" is no number", field));
        }
        return value;
    }

    double ReadOne(const char* what, double low, double high)
    {
        NextLine();
        const double value = Number(0, line_.size());
        const bool isFitting = value >= low && value <= high && value == std::trunc(value);
        if (!isFitting) {
            throw Wrong(low == high ? fmt::format("{} is {:g} and must be {:g}", what, value, low)
                                    : fmt::format("{} is no whole number from {:g} to {:g}", what,
                                                  low, high));
        }
        return value;
    }

    void ReadSample(RawSamples& samples)
    {
        NextLine();
        std::size_t start = 0;
        for (std::size_t i = 0; i < channels_; ++i) {
            if (start > line_.size()) throw Wrong(fmt::format("has {} of {} values", i, channels_));
            const std::size_t end = std::min(line_.find(',', start), line_.size());
            samples.channels[i].push_back(Number(start, end));
            start = end + 1;
        }
        if (start <= line_.size()) throw Wrong(fmt::format("has more than {} values", channels_));
    }

    const std::string& path_;
    const std::size_t channels_;
    std::ifstream file_;
    std::string line_;
    int number_ = 0;
};

}  // namespace

RawSamples ReadRawSamples(const std::string& path, std::size_t channels)
{
    return Reader(path, channels).Read();
}

}  // namespace vrax
