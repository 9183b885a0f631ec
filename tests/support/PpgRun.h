// Pulses as an instrument plays them: set through the public header, recorded on the other side.
#pragma once

#include <gtest/gtest.h>

#include "support/FirstSamples.h"
#include "support/LinkHost.h"
#include "support/PlayClockModel.h"
#include "support/PulseMeasurement.h"

constexpr double kPpgRate = 10000.0;  // samples/s while a channel is on
constexpr std::size_t kPpgSecond = 10000;
constexpr double kAcStepMv = 30.0 / 65535.0 + 0.001;  // a code of 16 bits and a microvolt
constexpr double kDcStepMv = 3000.0 / 65535.0 + 0.001;

enum Shape { kSine, kTriangle, kSquare, kStandardPulse };

struct PulseSettings {
    int led = 1;
    int shape = kStandardPulse;
    double frequency = 1.0;  // Hz
    double dcMv = 1000.0;    // the top of the pulse
    double acMv = 20.0;      // peak to peak
    int invert = 0;
};

inline void SetPulse(const PulseSettings& pulse)
{
    ASSERT_GT(VRAXSetPPGStandardWaveform(pulse.led, pulse.shape, 1, pulse.invert, pulse.frequency,
                                         pulse.dcMv, pulse.acMv),
              0);
    ASSERT_EQ(VRAXEnablePPGOutput(pulse.led, true), 0);
}

inline instrument::Options WithPpgModule(unsigned model)
{
    instrument::Options options;
    options.ppgModel = model;
    return options;
}

// A module that is driven by the levels themselves, on channels 1 and 2; with converters of 16 bits
// a code is less than the microvolts in which a pulse is held.
inline instrument::Options WithPlainModule()
{
    instrument::Options options = WithPpgModule(0x1234);
    options.dac16 = true;
    return options;
}

// A connected instrument that records the first seconds of each run.
class CPpgRun {
public:
    CPpgRun(const instrument::Options& options, double seconds)
        : first_(static_cast<std::size_t>(std::lround(seconds * kPpgRate))),
          instrument_(first_.Collecting(options))
    {}

    instrument::SimulatedInstrument& Instrument() { return instrument_; }

    // Until the seconds have been played.
    void Play(int function = OUTPUT_ECG)
    {
        samples_ = {};
        ASSERT_EQ(VRAXSetOutputFunction(function), 0);
        ASSERT_TRUE(first_.WaitForAll(instrument::Milliseconds(180000)));
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
        ASSERT_TRUE(instrument_.WaitForStop(++runs_));
        samples_ = first_.Take();
        ExpectNoRefusals(instrument_);
        const instrument::StreamStatistics statistics = instrument_.Statistics();
        EXPECT_EQ(statistics.sequenceErrors, 0U);
        EXPECT_EQ(statistics.modeErrors, 0U);
        EXPECT_EQ(statistics.codeErrors, 0U);
    }

    // Of the last run.
    const std::vector<instrument::Sample>& Samples() const { return samples_; }
    Series Dc(std::size_t channel) const
    {
        return Each([=](const auto& sample) { return sample.ppg[channel].dcMv; });
    }
    Series Ac(std::size_t channel) const
    {
        return Each([=](const auto& sample) { return sample.ppg[channel].acMv; });
    }
    Series Ecg() const
    {
        return Each([](const auto& sample) { return sample.acMv; });
    }
    // The channels that the stream carries.
    std::string Carried() const
    {
        std::string channels;
        for (std::size_t i = 0; i < 3; ++i) {
            if (!std::isnan(samples_.at(0).ppg[i].acMv)) channels += static_cast<char>('0' + i);
        }
        return channels;
    }

private:
    template <class Value>
    Series Each(Value value) const
    {
        Series series;
        for (const instrument::Sample& sample : samples_) series.push_back(value(sample));
        return series;
    }

    CFirstSamples first_;
    std::size_t runs_ = 0;
    instrument::SimulatedInstrument instrument_;
    CConnectedHost host_{kPatientMs};
    std::vector<instrument::Sample> samples_;
};

// The lookup and the play clock both round to a sample.
constexpr double kOneSample = 1.05;

// The tops of the pulses of a shape, in samples: by where its half height stands to them.
inline Series PulseTops(const Series& ac, int shape, double frequency)
{
    const double height = Highest(ac);
    // Between two steps of the microvolts in which a pulse is held.
    if (shape == kSine || shape == kTriangle) return SymmetricTops(ac, 0.60005 * height);
    Series tops = RisingThrough(ac, 0.5 * height);
    for (double& top : tops) {
        // The square is on top at once, the standard pulse rises for 15 % of its period.
        top = shape == kSquare ? std::ceil(top) : top + 0.075 / frequency * kPpgRate;
    }
    return tops;
}

// The play clock repeats a step now and then; without the second of each the places are its own.
inline Series OnTheClock(const Series& series, std::size_t firstSample = 0)
{
    const std::vector<long> steps = TimeSteps(firstSample + series.size(), kPpgRate);
    Series once;
    for (std::size_t i = 0; i < series.size(); ++i) {
        const std::size_t sample = firstSample + i;
        if (sample == 0 || steps[sample] != steps[sample - 1]) once.push_back(series[i]);
    }
    return once;
}

// From each R wave by `transit` samples on there is a top, within a sample.
inline void ExpectTransit(const Series& rWaves, const Series& tops, double transit)
{
    ASSERT_GE(rWaves.size(), 4U);
    ASSERT_GE(tops.size(), 4U);
    unsigned compared = 0;
    for (const double rWave : rWaves) {
        const double due = rWave + transit;
        if (due < tops.front() - kOneSample || due > tops.back() + kOneSample) continue;
        const auto next = std::lower_bound(tops.begin(), tops.end(), due - kPpgRate / 20.0);
        ASSERT_NE(next, tops.end());
        ASSERT_NEAR(*next - rWave, transit, kOneSample) << "R wave at " << rWave;
        ++compared;
    }
    EXPECT_GE(compared, 3U);
}

// The R wave falls as steeply as it rises.
inline Series RWaves(const Series& ecg) { return SymmetricTops(ecg, 0.7 * Highest(ecg)); }
