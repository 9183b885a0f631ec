// Every output function as it leaves in packets: decoded and compared with its closed form, at
// several sample rates.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

#include "instrument/DcTable.h"
#include "sources/RawArray.h"
#include "storage/Calibration.h"
#include "support/OfflineRun.h"
#include "support/ReferenceSignal.h"
#include "vrax.h"

namespace {
using Signal = std::function<double(double)>;  // mV at a time in the cycle

struct Streamed {
    const char* name;
    int function;
    double period;
    Signal expected;
};

constexpr double kAmplitude = 3.0;
constexpr double kFrequency = 0.8;
constexpr double kWidthMs = 70.0;

reference::Beat TheBeat()
{
    reference::Beat beat;
    beat.amplitude = kAmplitude;
    beat.frequency = kFrequency;
    beat.st = 0.1;
    return beat;
}

double RecordSample(int index) { return std::sin(index * 1.7) * 5.0; }
constexpr int kRecordSamples = 300;
constexpr int kRecordRate = 241;

double Nothing(double) { return 0.0; }

const Streamed kSignals[] = {
    {"Sine", 1, 1.25, [](double t) { return reference::Sine(kAmplitude, kFrequency, t); }},
    {"Triangle", 2, 1.25, [](double t) { return reference::Triangle(kAmplitude, kFrequency, t); }},
    {"Square", 3, 1.25, [](double t) { return reference::Square(kAmplitude, kFrequency, t); }},
    {"RectangularPulse", 4, 1.25,
     [](double t) { return reference::RectangularPulse(kAmplitude, kWidthMs, t); }},
    {"TriangularPulse", 5, 1.25,
     [](double t) { return reference::TriangularPulse(kAmplitude, kWidthMs, 0.0, t); }},
    {"Decay", 6, 1.25, [](double t) { return reference::Decay(kAmplitude, t); }},
    {"Ecg", 7, 1.25, [](double t) { return reference::StandardBeat(TheBeat(), t); }},
    {"Jjg1041", 10, 1.25,
     [](double t) { return reference::Jjg1041(kAmplitude, kFrequency, true, t); }},
    {"Jjg1041SingleR", 11, 1.25,
     [](double t) { return reference::Jjg1041(kAmplitude, kFrequency, false, t); }},
    {"BaselinePulse", 12, 1.0, [](double t) { return reference::BaselinePulse(kAmplitude, t); }},
    {"Record", 13, static_cast<double>(kRecordSamples) / kRecordRate,
     [](double t) { return RecordSample(static_cast<int>(std::floor(t * kRecordRate))); }},
    {"CustomEcg", 14, 1.25, [](double t) { return reference::CustomBeat(TheBeat(), t); }},
    {"InputDynamicRange", 15, 1.25, Nothing},  // at rest for 20 s
    {"OtherNumber", 18, 1.25, Nothing},
    // The fraction of a millivolt of a ramp from -300 mV upwards.
    {"YY1079", 10000, 1200.0, [](double t) { return t == 0.0 ? 0.0 : -(std::ceil(t) - t); }},
};

void PrintTo(const Streamed& signal, std::ostream* out) { *out << signal.name; }

class StreamedSignals : public testing::TestWithParam<Streamed> {
protected:
    StreamedSignals()
    {
        _SetECGDCDefaultCalibrationData();
        g_Amplitude = kAmplitude;
        g_F = kFrequency;
        g_PulseWidth = kWidthMs;
        g_CusST = 0.1;
        double record[kRecordSamples];
        for (int i = 0; i < kRecordSamples; ++i) record[i] = RecordSample(i);
        SetRawArray(kRecordSamples, record, kRecordRate);
    }

    static double PhaseOf(double t)
    {
        return t - std::floor(t / GetParam().period) * GetParam().period;
    }

    // A step, or the end of the cycle, lies so close that rounding decides.
    static bool IsOnAStep(double t)
    {
        constexpr double kNear = 1e-8;
        const double before = GetParam().expected(PhaseOf(std::fmax(0.0, t - kNear)));
        const double after = GetParam().expected(PhaseOf(t + kNear));
        return std::fabs(after - before) > 1e-3;
    }

    static double ExpectedDcMv(double t)
    {
        if (GetParam().function == 15) return -300.0;
        return GetParam().function == 10000 ? -300.0 + std::floor(t) + (t > std::floor(t) ? 1 : 0)
                                            : 0.0;
    }
};

TEST_P(StreamedSignals, CarryTheirVoltageAtEverySampleRate)
{
    for (const int rate : {100, 1000, 20000, 40000}) {
        OfflineRun run(GetParam().function, rate);
        // Less than the clock's first repetition, and at most three seconds.
        const std::size_t count = std::min<std::size_t>(32000, static_cast<std::size_t>(3 * rate));
        const auto samples = run.NextSamples(count);
        std::size_t compared = 0;
        for (std::size_t n = 0; n < count; ++n) {
            const double t = static_cast<double>(n) / rate;
            if (IsOnAStep(t)) continue;
            const double mv = GetParam().expected(PhaseOf(t));
            // Truncated toward zero; a code more where the last bits of the clock decide.
            ASSERT_NEAR(samples[n].ac, 1600.0 * mv, 1.0 + 1e-3) << rate << " Hz, sample " << n;
            ASSERT_EQ(samples[n].dc, instrument::DefaultDcCode(ExpectedDcMv(t)))
                << rate << " Hz, sample " << n;
            ++compared;
        }
        EXPECT_GT(compared, count * 95 / 100) << rate;
    }
}

INSTANTIATE_TEST_SUITE_P(Functions, StreamedSignals, testing::ValuesIn(kSignals),
                         [](const auto& test) { return std::string(test.param.name); });
}  // namespace
