#include "tools/fit/Wander.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace {
constexpr std::size_t kMaxLineSamples = 120;
constexpr std::size_t kChoices = 5;  // values tried at a sample: the nearest, two above, two below
constexpr double kNearestChoice = 2.0;

// Weighted sums over the samples of one line, of the time `t` since its start and the value `y`.
struct Sums {
    double w = 0, t = 0, tt = 0, y = 0, ty = 0, yy = 0;

    void Add(double weight, double time, double value)
    {
        w += weight;
        t += weight * time;
        tt += weight * time * time;
        y += weight * value;
        ty += weight * time * value;
        yy += weight * value * value;
    }

    double SquaredDifference(double start, double slope) const
    {
        return yy + start * start * w + slope * slope * tt - 2.0 * start * y - 2.0 * slope * ty +
               2.0 * start * slope * t;
    }
};

struct State {
    double cost = std::numeric_limits<double>::infinity();
    std::size_t sample = 0;  // of the point before
    std::size_t choice = 0;
};

class ShortestPath {
public:
    ShortestPath(const std::vector<double>& curve, const std::vector<double>& weights,
                 const WanderSettings& settings)
        : curve_(curve), weights_(weights), settings_(settings), states_(curve.size())
    {}

    std::vector<CurvePoint> Find()
    {
        for (State& state : states_.front()) state.cost = settings_.price;
        for (std::size_t from = 0; from + 1 < curve_.size(); ++from) Leave(from);
        return Trace();
    }

private:
    double SampleMs(std::size_t sample) const
    {
        return static_cast<double>(sample) * settings_.msPerSample;
    }
    double PointMs(std::size_t sample) const { return std::round(SampleMs(sample)); }
    double PointValue(std::size_t sample, std::size_t choice) const
    {
        const double nearest = std::round(curve_[sample] / settings_.step);
        return settings_.step * (nearest + static_cast<double>(choice) - kNearestChoice);
    }

    // Tries every line that starts at `from`. A point's time is rounded, so that its own sample may
    // lie on the line before it or on the one after.
    void Leave(std::size_t from)
    {
        Sums sums;
        const double start = PointMs(from);
        const std::size_t last = std::min(from + kMaxLineSamples, curve_.size() - 1);
        if (SampleMs(from) > start) Add(sums, from, start);
        for (std::size_t to = from + 1; to <= last; ++to) {
            const bool isBeforePoint = SampleMs(to) <= PointMs(to);
            if (isBeforePoint) Add(sums, to, start);
            Arrive(from, to, sums);
            if (!isBeforePoint) Add(sums, to, start);
        }
    }

    void Add(Sums& sums, std::size_t sample, double start) const
    {
        sums.Add(weights_[sample], SampleMs(sample) - start, curve_[sample]);
    }

    void Arrive(std::size_t from, std::size_t to, const Sums& sums)
    {
        const double length = PointMs(to) - PointMs(from);
        for (std::size_t i = 0; i < kChoices; ++i) {
            const double value = PointValue(from, i);
            const double spent = states_[from][i].cost + settings_.price;
            for (std::size_t j = 0; j < kChoices; ++j) {
                const double slope = (PointValue(to, j) - value) / length;
                const double cost = spent + sums.SquaredDifference(value, slope);
                if (cost < states_[to][j].cost) states_[to][j] = {cost, from, i};
            }
        }
    }

    std::vector<CurvePoint> Trace() const
    {
        std::size_t sample = curve_.size() - 1;
        const auto best = std::ranges::min_element(states_[sample], {}, &State::cost);
        auto choice = static_cast<std::size_t>(best - states_[sample].begin());
        std::vector<CurvePoint> points{{PointMs(sample), PointValue(sample, choice)}};
        while (sample != 0) {
            const State& state = states_[sample][choice];
            sample = state.sample;
            choice = state.choice;
            points.push_back({PointMs(sample), PointValue(sample, choice)});
        }
        std::ranges::reverse(points);
        return points;
    }

    const std::vector<double>& curve_;
    const std::vector<double>& weights_;
    const WanderSettings& settings_;
    std::vector<std::array<State, kChoices>> states_;
};
}  // namespace

std::vector<CurvePoint> FitWander(const std::vector<double>& curve,
                                  const std::vector<double>& weights,
                                  const WanderSettings& settings)
{
    return ShortestPath(curve, weights, settings).Find();
}
