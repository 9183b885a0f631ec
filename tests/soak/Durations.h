// Many durations in milliseconds, and their percentiles. Memory is taken once, so that it does not
// pass for the library's.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace soak {

class CDurations {
public:
    explicit CDurations(std::size_t most) : values_(most) {}

    void Add(double milliseconds)
    {
        values_[count_ % values_.size()] = milliseconds;
        ++count_;
        longest_ = std::max(longest_, milliseconds);
    }
    std::size_t Count() const { return count_; }
    double Longest() const { return longest_; }
    // By nearest rank.
    double Percentile(double percent)
    {
        const std::size_t kept = std::min(count_, values_.size());
        if (kept == 0) return 0;
        const double rank = std::ceil(percent / 100 * static_cast<double>(kept));
        const auto index = static_cast<std::ptrdiff_t>(std::max(rank, 1.0)) - 1;
        const auto end = values_.begin() + static_cast<std::ptrdiff_t>(kept);
        std::nth_element(values_.begin(), values_.begin() + index, end);
        return values_[static_cast<std::size_t>(index)];
    }

private:
    std::vector<double> values_;
    std::size_t count_ = 0;
    double longest_ = 0;
};

}  // namespace soak
