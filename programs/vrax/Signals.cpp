#include "Signals.h"

#include <filesystem>

#include <fmt/format.h>

#include "Failure.h"
#include "RecordLoads.h"
#include "vrax.h"

namespace vrax {

namespace {

constexpr double kMostPulseHz = 5.0;
constexpr double kMostBeatHz = 6.0;

template <int kFunction>
int Select(const Values&)
{
    return VRAXSetOutputFunction(kFunction);
}

int StartBaselineReset(const Values& values)
{
    return VRAXSetBaselineResetTest(values.Int("overload") + 1);
}

int StartDynamicRange(const Values& values, bool isTriangle)
{
    return VRAXSetDynamicRangeTest(true, isTriangle, values["range-amplitude"],
                                   values["range-frequency"]);
}

int StartScanSine(const Values& values)
{
    return VRAXSetFrequencyScanSine(true, values.Int("scan-seconds"), values["scan-start"],
                                    values["scan-stop"]);
}

int StartFixedDc(const Values& values)
{
    return PlayFixedDCByDAC(static_cast<unsigned>(values["dc-code"])) == 1 ? 0 : -1;
}

}  // namespace

const std::vector<BuiltInSignal>& BuiltInSignals()
{
    static const std::vector<BuiltInSignal> list = {
        {"sine", OUTPUT_SINE, "sine", Select<OUTPUT_SINE>},
        {"triangle", OUTPUT_TRIANGLE, "symmetric triangle", Select<OUTPUT_TRIANGLE>},
        {"square", OUTPUT_SQUARE, "square wave", Select<OUTPUT_SQUARE>},
        {"rect-pulse", OUTPUT_RECT_PULSE, "rectangular pulse, up to 5 Hz",
         Select<OUTPUT_RECT_PULSE>, kMostPulseHz},
        {"triangle-pulse", OUTPUT_TRIANGLE_PULSE, "triangular pulse, up to 5 Hz",
         Select<OUTPUT_TRIANGLE_PULSE>, kMostPulseHz},
        {"exp-decay", OUTPUT_EXP_DECAY, "exponential decay, up to 5 Hz", Select<OUTPUT_EXP_DECAY>,
         kMostPulseHz},
        {"ecg", OUTPUT_ECG, "standard beat, up to 6 Hz", Select<OUTPUT_ECG>, kMostBeatHz},
        {"custom-ecg", OUTPUT_CUSTOM_ECG, "beat made of the P, PR, QRS, QT, ST and T parameters",
         Select<OUTPUT_CUSTOM_ECG>, kMostBeatHz},
        {"iec227", OUTPUT_IEC227, "waveform of IEC 60601-2-27, see wave227", Select<OUTPUT_IEC227>},
        {"iec251", OUTPUT_IEC251, "waveform of IEC 60601-2-51, see wave251", Select<OUTPUT_IEC251>},
        {"iec247", OUTPUT_IEC247, "record of IEC 60601-2-47, see wave247", Select<OUTPUT_IEC247>},
        {"jjg1041", OUTPUT_JJG1041, "calibration beat of JJG 1041", Select<OUTPUT_JJG1041>},
        {"jjg1041-single-r", OUTPUT_JJG1041_SINGLE_R, "the same with a single R crest",
         Select<OUTPUT_JJG1041_SINGLE_R>},
        {"ane20000", OUTPUT_ANE20000, "lead of ANE20000, see ane-lead", Select<OUTPUT_ANE20000>},
        {"baseline-pulse", OUTPUT_BASELINE_PULSE, "a step up and a step down each second",
         Select<OUTPUT_BASELINE_PULSE>},
        {"baseline-reset", OUTPUT_SINE, "overload of 500 mV, see overload", StartBaselineReset},
        {"input-dynamic-range", OUTPUT_INPUT_DYNAMIC_RANGE, "ramp of the input dynamic range test",
         Select<OUTPUT_INPUT_DYNAMIC_RANGE>},
        {"yy1079", OUTPUT_YY1079_DYNAMIC_RANGE, "ramp of YY 1079 from -300 mV to 300 mV",
         Select<OUTPUT_YY1079_DYNAMIC_RANGE>},
        {"range-triangle", OUTPUT_TRIANGLE, "dynamic range test: a small sine on a triangle",
         [](const Values& values) { return StartDynamicRange(values, true); }},
        {"range-square", OUTPUT_SQUARE, "dynamic range test: a small sine on a square wave",
         [](const Values& values) { return StartDynamicRange(values, false); }},
        {"scan-sine", OUTPUT_SINE, "sine from scan-start to scan-stop in scan-seconds",
         StartScanSine},
        {"scan-ecg", OUTPUT_ECG, "standard beat from 0.05 Hz to 0.5 Hz in 30 s",
         [](const Values&) { return VRAXSetFrequencyScanECG(true); }},
        {"fixed-dc", OUTPUT_SQUARE, "constant level, see dc-code", StartFixedDc},
    };
    return list;
}

std::string Signal::Name() const
{
    return builtIn != nullptr ? builtIn->name
                              : std::filesystem::path(record.path).filename().string();
}

Signal FindSignal(const std::string& name, const std::string& kind)
{
    for (const BuiltInSignal& signal : BuiltInSignals()) {
        if (name == signal.name) return {.builtIn = &signal};
    }
    if (!std::filesystem::exists(name)) {
        throw Failure(fmt::format("\"{}\" is neither a signal nor a file", name),
                      "vrax play --list-functions tells the signals", kWrongUsage);
    }
    const Record record = RecogniseRecord(name, kind);
    if (record.kind == RecordKind::Fpga || record.kind == RecordKind::Mcu) {
        throw Failure(fmt::format("{} is no recording but an {}", name, NameOf(record.kind)),
                      "vrax firmware burns it", kWrongUsage);
    }
    return {.builtIn = nullptr, .record = record};
}

void LoadRecord(const Signal& signal, int channel)
{
    if (signal.builtIn != nullptr) {
        if (signal.builtIn->function == OUTPUT_ANE20000 && VRAXSetANE20000Lead(channel) != 0) {
            throw Failure(fmt::format("lead {} of ane20000 was refused", channel),
                          "vrax doctor tells more");
        }
        return;
    }
    if (signal.record.kind == RecordKind::Binary && channel != 0) {
        throw Failure(fmt::format("{} has channel 0 alone", signal.record.path),
                      "leave out --channel", kWrongUsage);
    }
    const RecordLoad load = LoadChannel(signal.record, channel, "", 0.0);
    if (load.isTaken) return;
    throw Failure(fmt::format("channel {} of {} cannot be played: {} ({})", channel,
                              signal.record.path, load.meaning, load.code),
                  "vrax check tells more");
}

void StartSignal(const Signal& signal, const Values& values)
{
    const int result = signal.builtIn != nullptr ? signal.builtIn->start(values)
                                                 : VRAXSetOutputFunction(OUTPUT_ECG_FILE);
    if (result != 0) {
        throw Failure(fmt::format("{} was refused ({})", signal.Name(), result),
                      VRAXIsConnected() ? "vrax doctor tells more"
                                        : "the instrument was lost: plug it in and start anew",
                      VRAXIsConnected() ? kFailed : kNoInstrument);
    }
}

}  // namespace vrax
