// Plays an ECG and breathes through the external respiration module, until the breath is held.
// Written on vrax.h alone.

#include <cstdio>
#include <string>

#include "player/Player.h"
#include "vrax.h"

namespace {

using player::Accepted;
using player::Done;
using player::PlayUntil;
using player::Tell;

constexpr double kBpm = 72.0;
constexpr double kMv = 2.0;           // height of the QRS complex, peak to peak
constexpr int kVariationMohm = 2000;  // peak to peak change of the impedance
constexpr int kBreaths = 14;          // a minute: the hold begins in the middle of an exhalation
constexpr int kExhale = 2;            // times as long as the inhalation
constexpr int kBaselineOhm = 500;
constexpr int kApneaS = 40;    // the last ones of every minute, so from 20 s on
constexpr double kEnd = 30.0;  // s of signal

constexpr char kLogColumns[] = "time_s,bpm,mv,variation_mohm,breaths,exhale,baseline_ohm,apnea_s";

bool SetSignals()
{
    if (!Accepted("VRAXSetFrequency", VRAXSetFrequency(kBpm / 60.0)) ||
        !Accepted("VRAXSetAmplitude", VRAXSetAmplitude(kMv))) {
        return false;
    }
    // Enabled first: the module is told its output lead only while respiration is on.
    return Done("VRAXEnableRespiration", VRAXEnableRespiration(1)) &&
           Done("VRAXSetRespiration",
                VRAXSetRespiration(kVariationMohm, kBreaths, kExhale, kBaselineOhm, kApneaS));
}

bool Play(std::FILE* log)
{
    if (VRAXRespirationModuleIsConnected() == 0) {
        std::fprintf(stderr, "play_respiration: the instrument has no respiration module\n");
        return false;
    }
    if (!SetSignals()) return false;
    if (log != nullptr) {
        std::fprintf(log, "%.6f,%g,%g,%d,%d,%d,%d,%d\n", 0.0, kBpm, kMv, kVariationMohm, kBreaths,
                     kExhale, kBaselineOhm, kApneaS);
    }
    if (!Accepted("VRAXSetOutputFunction", VRAXSetOutputFunction(OUTPUT_ECG))) return false;
    const std::string breathing = "14 breaths a minute, 2 ohms at 500 ohms";
    Tell(0.0, breathing);
    if (!PlayUntil(breathing, 60.0 - kApneaS)) return false;
    Tell(player::SignalTime(), "apnea");
    if (!PlayUntil("apnea", kEnd)) return false;
    if (!Accepted("VRAXSetOutputFunction", VRAXSetOutputFunction(OUTPUT_OFF))) return false;
    Tell(player::SignalTime(), "stopped");
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    player::Arguments arguments;
    int status = 0;
    if (!player::ReadArguments(argc, argv, "play_respiration",
                               "Plays an ECG and breathes through the external respiration module "
                               "for 30 seconds, the last 10 without a breath.",
                               kLogColumns, arguments, status)) {
        return status;
    }
    return player::Run(arguments, kLogColumns, Play);
}
