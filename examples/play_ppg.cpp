// Plays an ECG with a pulse on every channel of the PPG module that a stream can carry, the pulse a
// fixed time after each R wave, and lets both breathe from the middle on. Written on vrax.h alone.

#include <array>
#include <cstdio>
#include <string>

#include "player/Player.h"
#include "vrax.h"

namespace {

using player::Accepted;
using player::Done;
using player::PlayUntil;
using player::Tell;

constexpr double kBpm = 75.0;
constexpr double kMv = 1.0;        // height of the QRS complex, peak to peak
constexpr double kQrsMs = 80.0;    // the R wave then comes a whole number of ms after the start
constexpr int kTransitMs = 200;    // from the R wave to the peak of the pulse
constexpr int kStandardPulse = 3;  // with a dicrotic notch
constexpr int kChannels = 3;

// A monitor tells the oxygen saturation by the ratio of two channels' AC/DC ratios.
struct Level {
    double dcMv;
    double acMv;
};
constexpr std::array<Level, kChannels> kLevels{{{1500.0, 6.0}, {1000.0, 6.0}, {1200.0, 12.0}}};

struct Breathing {
    int perMinute;
    int exhale;        // times as long as the inhalation
    int pulsePercent;  // how far it changes both levels of a channel
    int ecgPercent;    // how far it moves the ECG's baseline and changes its height
};
constexpr Breathing kNone{0, 0, 0, 0};
constexpr Breathing kBreathing{20, 2, 20, 10};
constexpr double kBreathingAt = 12.0;  // s of signal: the start of a breath, so nothing jumps
constexpr double kEnd = 25.0;

constexpr char kLogColumns[] =
    "time_s,bpm,mv,transit_ms,breaths,exhale,depth_percent,"
    "ppg0_dc_mv,ppg0_ac_mv,ppg1_dc_mv,ppg1_ac_mv,ppg2_dc_mv,ppg2_ac_mv";

using Channels = std::array<bool, kChannels>;

// The channels of the LEDs that the module has. Channels 0 and 1 share a place in the stream, that
// of the first LED.
Channels ChannelsOfModule()
{
    MODEL_INFORMATION module;
    Channels has{};
    if (!VRAXGetPPGDeviceInformation(&module)) return has;
    for (const LEDType channel : module.ledTypes) {
        if (channel < 0 || channel >= kChannels) continue;
        if (channel != 2 && channel != module.ledTypes[0]) continue;
        has[static_cast<std::size_t>(channel)] = true;
    }
    return has;
}

void Log(std::FILE* log, double time, const Breathing& breathing, const Channels& channels)
{
    if (log == nullptr) return;
    std::fprintf(log, "%.6f,%g,%g,%d,%d,%d,%d", time, kBpm, kMv, kTransitMs, breathing.perMinute,
                 breathing.exhale, breathing.pulsePercent);
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const Level level = channels[i] ? kLevels[i] : Level{0.0, 0.0};
        std::fprintf(log, ",%g,%g", level.dcMv, level.acMv);
    }
    std::fprintf(log, "\n");
}

// Waveforms can be set while nothing plays. The number of samples of a period comes back.
bool SetPulse(int channel, const Level& level)
{
    const int samples = VRAXSetPPGStandardWaveform(channel, kStandardPulse, 1, 0, kBpm / 60.0,
                                                   level.dcMv, level.acMv);
    if (samples <= 0) return Accepted("VRAXSetPPGStandardWaveform", samples);
    char text[96];
    std::snprintf(text, sizeof text, "PPG %d: %.0f mV DC, %.0f mV AC, %.2f %%", channel, level.dcMv,
                  level.acMv, 100.0 * level.acMv / level.dcMv);
    Tell(0.0, text);
    return Accepted("VRAXEnablePPGOutput", VRAXEnablePPGOutput(channel, true));
}

bool SetSignals(const Channels& channels)
{
    if (!Accepted("VRAXSetFrequency", VRAXSetFrequency(kBpm / 60.0)) ||
        !Accepted("VRAXSetAmplitude", VRAXSetAmplitude(kMv)) ||
        !Accepted("VRAXSetQRSDuration", VRAXSetQRSDuration(kQrsMs))) {
        return false;
    }
    for (int channel = 0; channel < kChannels; ++channel) {
        const auto index = static_cast<std::size_t>(channel);
        if (channels[index] && !SetPulse(channel, kLevels[index])) return false;
    }
    VRAXSetPTTp(kTransitMs);
    return true;
}

// The first call lets the ECG breathe, the second one lets the pulses follow it. Both at once.
bool Breathe(const Breathing& breathing)
{
    if (!Done("VRAXSetRespirationAlgorithm",
              VRAXSetRespirationAlgorithm(breathing.perMinute, breathing.exhale, 0,
                                          breathing.ecgPercent, breathing.ecgPercent, 0))) {
        return false;
    }
    return Done("VRAXSetPPGRespirationAlgorithm",
                VRAXSetPPGRespirationAlgorithm(0, breathing.pulsePercent, 0) ? 1 : 0);
}

bool Play(std::FILE* log)
{
    if (!VRAXIsPPGConnected()) {
        std::fprintf(stderr, "play_ppg: the instrument has no PPG module\n");
        return false;
    }
    const Channels channels = ChannelsOfModule();
    if (!SetSignals(channels)) return false;
    Log(log, 0.0, kNone, channels);
    if (!Accepted("VRAXSetOutputFunction", VRAXSetOutputFunction(OUTPUT_ECG))) return false;
    const std::string still = "75 bpm, the pulse 200 ms after the R wave";
    Tell(0.0, still);
    if (!PlayUntil(still, kBreathingAt)) return false;

    // The time is taken first: nothing can be in force before it.
    Log(log, player::SignalTime(), kBreathing, channels);
    const std::string breathing = "breathing, 20 a minute";
    Tell(player::SignalTime(), breathing + " asked");
    if (!Breathe(kBreathing) || !PlayUntil(breathing, kEnd)) return false;
    if (!Accepted("VRAXSetOutputFunction", VRAXSetOutputFunction(OUTPUT_OFF))) return false;
    Tell(player::SignalTime(), "stopped");
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    player::Arguments arguments;
    int status = 0;
    if (!player::ReadArguments(argc, argv, "play_ppg",
                               "Plays an ECG and the pulses of a PPG module for 25 seconds; both "
                               "breathe from 12 seconds on.",
                               kLogColumns, arguments, status)) {
        return status;
    }
    return player::Run(arguments, kLogColumns, Play);
}
