// Building packets, without a thread or a port: samples a second for each output function, each
// packet layout and each addition to the beat, and how many times faster than the stream plays them.
// One iteration is one packet, its zeroing included, as the run builds it. Rates are those of the
// thread's CPU time. `first/` is the wall time of a first packet: only the first repetition counts.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "device/Identification.h"
#include "ppg/Channels.h"
#include "respiration/ExternalModule.h"
#include "storage/Calibration.h"
#include "streaming/Packet.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Relays.h"
#include "synthesis/Respiration.h"
#include "synthesis/TestSignals.h"
#include "vrax.h"

namespace {
constexpr unsigned kCountOffset = 5;
constexpr double kStartSeconds = 20.0;  // the input dynamic range rests before
constexpr double kEndSeconds = 1220.0;  // and after
constexpr int kRecordRate = 500;
constexpr int kRecordSeconds = 10;
constexpr int kHourLongPattern = 4;
constexpr std::size_t kPacketsPerRecording = 1000;
constexpr std::size_t kSamplesPerPacket = 14 * kFramesPerPacket;
constexpr double kTwoPi = 6.283185307179586;

struct Signal {
    int function;
    const char* name;
    double frequency;  // Hz
};

constexpr Signal kSignals[] = {
    {OUTPUT_SINE, "1_sine", 1.0},
    {OUTPUT_TRIANGLE, "2_triangle", 1.0},
    {OUTPUT_SQUARE, "3_square", 1.0},
    {OUTPUT_RECT_PULSE, "4_rectangular_pulse", 1.0},
    {OUTPUT_TRIANGLE_PULSE, "5_triangular_pulse", 1.0},
    {OUTPUT_EXP_DECAY, "6_exponential_decay", 1.0},
    {OUTPUT_ECG, "7_standard_beat", 1.0},
    {OUTPUT_ECG, "7_standard_beat_300_bpm", 5.0},
    {OUTPUT_IEC227, "8_iec_2_27", 1.0},
    {OUTPUT_IEC251, "9_iec_2_51", 1.0},
    {OUTPUT_JJG1041, "10_jjg_1041", 1.0},
    {OUTPUT_JJG1041_SINGLE_R, "11_jjg_1041_single_r", 1.0},
    {OUTPUT_BASELINE_PULSE, "12_baseline_pulse", 1.0},
    {OUTPUT_ECG_FILE, "13_record", 1.0},
    {OUTPUT_CUSTOM_ECG, "14_customised_beat", 1.0},
    {OUTPUT_INPUT_DYNAMIC_RANGE, "15_input_dynamic_range", 1.0},
    {OUTPUT_IEC247, "16_iec_2_47", 1.0},
    {OUTPUT_ANE20000, "17_ane_20000", 1.0},
    {OUTPUT_YY1079_DYNAMIC_RANGE, "10000_yy_1079_dynamic_range", 1.0},
};

enum class Accessory { kNone, kPPG, kRespiration };

struct Layout {
    const char* name;
    Accessory accessory;
    std::uint8_t mode;
    int ppgChannels;
};

constexpr Layout kLayouts[] = {
    {"ecg", Accessory::kNone, kModeECG, 0},
    {"ecg_and_1_ppg", Accessory::kPPG, kModeECG | kModePPG1, 1},
    {"ecg_and_2_ppg", Accessory::kPPG, kModeECG | kModePPG1 | kModePPG2, 2},
    {"ecg_and_3_ppg", Accessory::kPPG, kModeECG | kModePPG1 | kModePPG2 | kModePPG3, 3},
    {"ecg_and_respiration", Accessory::kRespiration, kModeECG | kModeRespiration, 0},
};

// What can be added to the beat.
enum Addition : unsigned {
    kNoAddition = 0,
    kMains = 1,
    kDrift = 2,
    kNoiseStress = 4,
    kPacing = 8,
    kRecording = 16,
    kGraph = 32,
    kAllAdditions = 63,
};

struct AdditionName {
    unsigned additions;
    const char* name;
};

constexpr AdditionName kAdditions[] = {
    {kNoAddition, "none"},   {kMains, "mains"},         {kDrift, "drift"}, {kPacing, "pacing"},
    {kNoiseStress, "noise"}, {kRecording, "recording"}, {kGraph, "graph"}, {kAllAdditions, "all"},
};

void LoadRecord()
{
    std::vector<double> samples(kRecordRate * kRecordSeconds);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = std::sin(kTwoPi * static_cast<double>(i) / kRecordRate);
    }
    SetRawArray(static_cast<int>(samples.size()), samples.data(), kRecordRate);
}

MODEL_INFORMATION ModelOf(Accessory accessory)
{
    MODEL_INFORMATION model = {};
    if (accessory == Accessory::kNone) return model;
    std::memcpy(model.typeLetters, accessory == Accessory::kPPG ? "AP" : "ER", 2);
    for (int i = 0; i < kPPGChannels; ++i) model.ledTypes[i] = (i + 1) % kPPGChannels;
    return model;
}

// A module as it is calibrated, breathing 15 times a minute.
void CalibrateRespiration()
{
    constexpr double kCoefficients[] = {60.5, 61.5, 80.0};
    for (int i = 0; i < 3; ++i) g_fECGExtRespirationCoef[i] = kCoefficients[i];
    for (unsigned i = 0; i < kThirdElementSteps; ++i) {
        g_fECGExtRespiratationRDAC3[i] = 50.0 + 0.25 * i;
    }
    s_RespVariation = 1000;
    s_RespPeriod = 4.0;
    s_RespRatio = 1;
}

void SetUpLayout(const Layout& layout)
{
    g_PPGModelInfo.Store(ModelOf(layout.accessory));
    g_OperateMode = layout.mode;
    if (layout.accessory == Accessory::kRespiration) CalibrateRespiration();
    constexpr int kChannelsInOrder[] = {1, 2, 0};
    for (int i = 0; i < kPPGChannels; ++i) {
        g_bPPGOutputEnabled[kChannelsInOrder[i]] = i < layout.ppgChannels;
    }
}

void StartSignal(const Signal& signal)
{
    g_MainOutput = signal.function;
    g_F = signal.frequency;
    g_Amplitude = 1.0;
    g_DCSetting = 0;
    g_fDelayAccumulated = 0.0;
    s_t = kStartSeconds;
    s_tg = kStartSeconds;
    DerivedParameters rewritten;
    g_Cycle.Publish(DeriveCycle(signal.function, _GetSampleRate(), rewritten));
}

unsigned SamplesOf(const unsigned char* packet)
{
    unsigned samples = 0;
    for (unsigned i = 0; i < kFramesPerPacket; ++i) {
        samples += packet[i * kFrameBytes + kCountOffset];
    }
    return samples;
}

void BuildPackets(benchmark::State& state, const Signal& signal, const Layout& layout)
{
    SetUpLayout(layout);
    StartSignal(signal);
    unsigned char packet[kPacketBytes];
    for (auto _ : state) {
        std::memset(packet, 0, sizeof packet);
        DoSendNextPacket(packet);
        benchmark::DoNotOptimize(packet);
        benchmark::ClobberMemory();
        if (s_t >= kEndSeconds) StartSignal(signal);
    }
    const double samples = static_cast<double>(state.iterations()) * SamplesOf(packet);
    state.counters["samples_per_second"] = benchmark::Counter(samples, benchmark::Counter::kIsRate);
    state.counters["times_real_time"] =
        benchmark::Counter(samples / _GetSampleRate(), benchmark::Counter::kIsRate);
}
void SetUpAdditions(unsigned additions)
{
    g_MainNoise = (additions & kMains) != 0 ? 1 : 0;
    g_MainsNoiseAmp = 0.1;
    g_AAMIDriftTest = (additions & kDrift) != 0;
    s_NST_Noise = (additions & kNoiseStress) != 0 ? 1 : 0;
    g_PA = (additions & kPacing) != 0 ? 5.0 : 0.0;
    g_PacingPulse = 1;  // two checks a sample
    g_PacingOvershootTC = 20u;
    g_POA = 0.5;
    const bool draws = (additions & kGraph) != 0;  // every sample
    VRAXOutputSignalCallback draw = [](double, double mv) { benchmark::DoNotOptimize(mv); };
    VRAXRegisterOutputSignalCallback(draws ? draw : nullptr, 1);
}

// The beat with additions; a recording starts anew before its buffers are full.
void BuildWithAdditions(benchmark::State& state, unsigned additions)
{
    SetUpLayout(kLayouts[0]);
    SetUpAdditions(additions);
    StartSignal({OUTPUT_ECG, "", 1.0});
    std::vector<double> ac(kPacketsPerRecording * kSamplesPerPacket);
    std::vector<double> dc(ac.size());
    unsigned char packet[kPacketBytes];
    std::size_t packets = 0;
    for (auto _ : state) {
        if ((additions & kRecording) != 0 && packets++ % kPacketsPerRecording == 0) {
            DisableRecordRaw();
            EnableRecordRaw(ac.data(), dc.data(), static_cast<int>(ac.size()));
        }
        std::memset(packet, 0, sizeof packet);
        DoSendNextPacket(packet);
        benchmark::DoNotOptimize(packet);
        benchmark::ClobberMemory();
    }
    DisableRecordRaw();
    SetUpAdditions(kNoAddition);
    const double samples = static_cast<double>(state.iterations()) * kSamplesPerPacket;
    state.counters["samples_per_second"] = benchmark::Counter(samples, benchmark::Counter::kIsRate);
    state.counters["times_real_time"] =
        benchmark::Counter(samples / _GetSampleRate(), benchmark::Counter::kIsRate);
}

// The pattern is made with its first sample.
void BuildFirstPacket(benchmark::State& state)
{
    SetUpLayout(kLayouts[0]);
    SpecialWaveFormNo = kHourLongPattern;
    StartSignal({OUTPUT_IEC247, "", 1.0});
    unsigned char packet[kPacketBytes] = {};
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        DoSendNextPacket(packet);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(taken.count());
    }
    SpecialWaveFormNo = 0;
}
}  // namespace

int main(int argc, char** argv)
{
    _SetECGDCDefaultCalibrationData();
    LoadRecord();
    for (const Signal& signal : kSignals) {
        benchmark::RegisterBenchmark((std::string("function/") + signal.name).c_str(), BuildPackets,
                                     signal, kLayouts[0]);
    }
    const Signal beat = {OUTPUT_ECG, "", 1.0};
    for (const Layout& layout : kLayouts) {
        benchmark::RegisterBenchmark((std::string("layout/") + layout.name).c_str(), BuildPackets,
                                     beat, layout);
    }
    for (const AdditionName& addition : kAdditions) {
        benchmark::RegisterBenchmark((std::string("addition/") + addition.name).c_str(),
                                     BuildWithAdditions, addition.additions);
    }
    benchmark::RegisterBenchmark("first/hour_long_pattern", BuildFirstPacket)
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
