// The pulses of three PPG channels beside the standard beat: samples a second built into packets,
// and the time that setting the slowest pulse takes. Without a thread or a port. A sample here is a
// slot of the stream: the ECG and all three channels.

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "device/Identification.h"
#include "ppg/Channels.h"
#include "storage/Calibration.h"
#include "streaming/Packet.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Relays.h"
#include "synthesis/Respiration.h"
#include "vrax.h"

namespace {
constexpr unsigned kCountOffset = 5;
constexpr double kEndSeconds = 1000.0;
constexpr double kSlowestHz = 0.16;
constexpr const char* kShapes[] = {"sine", "triangle", "square", "standard_pulse"};
constexpr int kStandardPulse = 3;

void FitModule(int modelCode)
{
    MODEL_INFORMATION model = {};
    if (modelCode != 0) std::memcpy(model.typeLetters, "AP", 2);
    model.modelCode[0] = static_cast<unsigned char>(modelCode >> 8);
    model.modelCode[1] = static_cast<unsigned char>(modelCode);
    for (int i = 0; i < kPPGChannels; ++i) model.ledTypes[i] = (i + 1) % kPPGChannels;
    g_PPGModelInfo.Store(model);
}

struct Case {
    const char* name;
    int modelCode;
    bool synchronised;
    bool modulated;
};

constexpr Case kCases[] = {{"three_channels", 0, false, false},
                           {"three_channels_3307", 0x3307, false, false},
                           {"three_channels_3407", 0x3407, false, false},
                           {"three_channels_synchronised", 0, true, false},
                           {"three_channels_modulated", 0, true, true}};

void StartBeat()
{
    g_MainOutput = OUTPUT_ECG;
    g_F = 1.0;
    g_Amplitude = 1.0;
    s_t = 0.0;
    s_tg = 0.0;
    g_OperateMode = std::uint8_t{kModeECG | kModePPG1 | kModePPG2 | kModePPG3};
    DerivedParameters rewritten;
    g_Cycle.Publish(DeriveCycle(OUTPUT_ECG, _GetSampleRate(), rewritten));
}

bool SetUp(const Case& test)
{
    FitModule(test.modelCode);
    for (int led = 0; led < kPPGChannels; ++led) {
        const int shape = kStandardPulse;
        if (VRAXSetPPGStandardWaveform(led, shape, 1, 0, 1.0, 1000, 10 + led) < 1) return false;
        if (VRAXEnablePPGOutput(led, true) != 0) return false;
    }
    SetRelays(false);  // chooses the ranges of the 0x3407 module
    VRAXSetPTTp(test.synchronised ? 200 : -1);
    const int depth = test.modulated ? 10 : 0;
    VRAXSetPPGRespirationAlgorithm(depth, depth, depth);
    s_OneRespireS = test.modulated ? 4.0 : 0.0;
    s_InhaleS = s_OneRespireS / 2.0;
    s_ExhaleS = s_OneRespireS / 2.0;
    return true;
}

void BuildPackets(benchmark::State& state, const Case& test)
{
    if (!SetUp(test)) state.SkipWithError("a pulse was refused");
    StartBeat();
    unsigned char packet[kPacketBytes] = {};
    for (auto _ : state) {
        std::memset(packet, 0, sizeof packet);
        DoSendNextPacket(packet);
        benchmark::DoNotOptimize(packet);
        benchmark::ClobberMemory();
        if (s_t >= kEndSeconds) StartBeat();
    }
    const double samples =
        static_cast<double>(state.iterations()) * packet[kCountOffset] * kFramesPerPacket;
    state.counters["samples_per_second"] = benchmark::Counter(samples, benchmark::Counter::kIsRate);
    state.counters["times_real_time"] =
        benchmark::Counter(samples / _GetSampleRate(), benchmark::Counter::kIsRate);
}

void SetSlowestPulse(benchmark::State& state, int shape, int modelCode)
{
    FitModule(modelCode);
    for (auto _ : state) {
        if (VRAXSetPPGStandardWaveform(0, shape, 1, 0, kSlowestHz, 1000, 10) < 1) {
            state.SkipWithError("the pulse was refused");
        }
    }
}
}  // namespace

int main(int argc, char** argv)
{
    _SetECGDCDefaultCalibrationData();
    for (const Case& test : kCases) {
        benchmark::RegisterBenchmark((std::string("packets/") + test.name).c_str(), BuildPackets,
                                     test);
    }
    for (int shape = 0; shape <= kStandardPulse; ++shape) {
        benchmark::RegisterBenchmark((std::string("set/") + kShapes[shape]).c_str(),
                                     SetSlowestPulse, shape, 0)
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark("set/standard_pulse_3307", SetSlowestPulse, kStandardPulse, 0x3307)
        ->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
