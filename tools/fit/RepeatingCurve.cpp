#include "tools/fit/RepeatingCurve.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "tools/fit/Extremes.h"
#include "tools/fit/Repeats.h"
#include "tools/fit/TurningPoints.h"
#include "tools/fit/Wander.h"

namespace {
constexpr double kStartsPerMs = 100.0;  // the grid of written starts
constexpr int kMaxRounds = 12;          // the extremes are met after five
constexpr double kHeavier = 4.0;
constexpr std::size_t kNearSamples = 2;  // to each side of an extreme that was missed

std::vector<double> RepeatsAlone(const RepeatingCurve& curve, std::size_t samples,
                                 double msPerSample)
{
    const Shape repeat(Join::kSmooth, curve.repeat);
    std::vector<double> values;
    std::size_t current = 0;
    for (std::size_t i = 0; i < samples; ++i) {
        const double ms = static_cast<double>(i) * msPerSample;
        while (current + 1 < curve.startsMs.size() && curve.startsMs[current + 1] <= ms) ++current;
        values.push_back(repeat.At(ms - curve.startsMs[current]));
    }
    return values;
}

std::vector<double> AddWander(std::vector<double> values, const std::vector<CurvePoint>& points,
                              double msPerSample)
{
    const Shape wander(Join::kLines, points);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] += wander.At(static_cast<double>(i) * msPerSample);
    }
    return values;
}

// Samples around the extremes that were missed weigh more. False when none was.
bool RaiseWeights(const std::vector<Extreme>& extremes, const std::vector<double>& fitted,
                  double bound, std::vector<double>& weights)
{
    const std::vector<double> differences = ExtremeDifferences(extremes, fitted);
    bool anyMissed = false;
    for (std::size_t i = 0; i < extremes.size(); ++i) {
        if (std::abs(differences[i]) <= bound) continue;
        anyMissed = true;
        const std::size_t centre = extremes[i].index;
        for (std::size_t k = centre - std::min(centre, kNearSamples);
             k <= centre + kNearSamples && k < weights.size(); ++k) {
            weights[k] *= kHeavier;
        }
    }
    return anyMissed;
}
}  // namespace

RepeatingCurve FitRepeatingCurve(const std::vector<double>& signal,
                                 const RepeatingSettings& settings)
{
    const double msPerSample = settings.msPerSample;
    const Repeats repeats = FindRepeats(signal, settings.period);
    RepeatingCurve curve;
    curve.repeat =
        ChooseTurningPoints(repeats.average, msPerSample, Join::kSmooth, settings.repeatBound);
    for (const double start : repeats.starts) {
        curve.startsMs.push_back(std::round(start * msPerSample * kStartsPerMs) / kStartsPerMs);
    }

    const std::vector<double> base = RepeatsAlone(curve, signal.size(), msPerSample);
    std::vector<double> rest;
    for (std::size_t i = 0; i < signal.size(); ++i) rest.push_back(signal[i] - base[i]);
    const std::vector<Extreme> extremes = FindExtremes(signal, settings.swing);
    std::vector<double> weights(signal.size(), 1.0);
    for (int round = 0; round < kMaxRounds; ++round) {
        curve.wander =
            FitWander(rest, weights, {msPerSample, settings.wanderStep, settings.wanderPrice});
        const std::vector<double> fitted = AddWander(base, curve.wander, msPerSample);
        if (!RaiseWeights(extremes, fitted, settings.extremeBound, weights)) break;
    }
    return curve;
}

void AddRepeatingCurve(DescriptionText& text, const RepeatingCurve& curve)
{
    text.Line("");
    text.Comment("One repeat, averaged.");
    text.AddShape("repeat", Join::kSmooth, curve.repeat);
    text.Line("");
    text.Comment("Where each repeat starts.");
    text.AddSequence("repeats", "repeat", curve.startsMs);
    text.Line("");
    text.Comment("What is added to the repeats: the baseline's slow wander and the coarse noise.");
    text.AddShape("wander", Join::kLines, curve.wander);
}
