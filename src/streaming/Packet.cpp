#include "streaming/Packet.h"

#include "device/Identification.h"
#include "platform/ByteOrder.h"
#include "ppg/Channels.h"
#include "respiration/ExternalModule.h"
#include "streaming/PendingChange.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Codes.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Protocol.h"
#include "synthesis/Relays.h"
#include "synthesis/Respiration.h"

Shared<std::uint16_t> s_SeqCheck = std::uint16_t{0};
Shared<double> g_fDelayAccumulated = 0.0;
Shared<double> g_fPacingDelayAccumulated = 0.0;

namespace {
constexpr std::uint8_t kFrameStart = 0x01;
constexpr unsigned kMarkerOffset = 4;
constexpr unsigned kCountOffset = 5;
constexpr unsigned kSequenceOffset = 6;
constexpr unsigned kSlotsOffset = 8;
constexpr unsigned kPairBytes = 4;  // a DC and an AC code
constexpr int kPairsPerFrame = 14;
constexpr std::uint8_t kModeECGRespiration = kModeECG | kModeRespiration;
constexpr int kRespirationSlots = 4;
constexpr unsigned kRespirationSlotBytes = 12;
constexpr int kSecondsPerMinute = 60;
// The play clock runs 30 ppm slow against the sample count, deliberately: every 33,333rd sample or
// so is repeated.
constexpr double kClockDrift = 3e-5;

// Resistance of the last sample before the apnea hold, ohms. Thread that builds packets only.
double lastResistance = 0.0;

// Of the sample before, while a scan runs. Thread that builds packets only.
struct ScanState {
    double frequency = 0.0;  // Hz
    double period = 0.0;     // s; 0: no scan
};
ScanState s_scan;

struct SampleClock {
    double dt;      // s, rounded from extended precision
    double step;    // s, 1 / rate
    double behind;  // s that the play clock falls behind with each sample
};

SampleClock ClockOfPacket()
{
    const int rate = _GetSampleRate();
    return {static_cast<double>(1.0L / rate), 1.0 / rate, kClockDrift / rate};
}

// The PPG channels that a frame carries, in slot order.
struct ChannelList {
    int channels[kPPGChannels];
    int count = 0;
    void Add(int channel) { channels[count++] = channel; }
};

ChannelList ListChannels(std::uint8_t mode)
{
    ChannelList list;
    if ((mode & kModePPG1) != 0) list.Add(g_PPGModelInfo.Load().ledTypes[0]);
    if ((mode & kModePPG2) != 0) list.Add(2);
    if ((mode & kModePPG3) != 0) list.Add(0);
    return list;
}

std::uint8_t* BeginFrame(unsigned char* buffer, unsigned index, std::uint8_t mode)
{
    std::uint8_t* frame = buffer + index * kFrameBytes;
    frame[0] = kFrameStart;
    frame[1] = mode;
    return frame;
}

void NumberFrame(std::uint8_t* frame, int samples)
{
    frame[kCountOffset] = static_cast<std::uint8_t>(samples);
    const std::uint16_t sequence = s_SeqCheck;
    WriteBig16(frame + kSequenceOffset, sequence);
    s_SeqCheck = static_cast<std::uint16_t>(sequence + 1);
}

void WriteEcg(std::uint8_t* slot)
{
    std::uint16_t dc = 0;
    std::int16_t ac = 0;
    _GetECGVoltageData(s_t, &dc, &ac, true, true);
    WriteBig16(slot, dc);
    WriteBig16(slot + 2, static_cast<std::uint16_t>(ac));
}

// Quantities that were derived while a scan runs know an older frequency than the scan's.
void KeepScan()
{
    if (!s_FreqScanOn) return;
    CycleQuantities& cycle = g_Cycle.Read();
    if (s_scan.period == 0.0) {  // the first sample of a scan, in the cycle that was going on
        cycle.frequency = g_F;
        return;
    }
    cycle.frequency = s_scan.frequency;
    cycle.s_tp = s_scan.period;
}

// A running scan changes the period with every sample; the position in the cycle is kept as a
// fraction of it.
void AdvanceScan()
{
    if (!s_FreqScanOn) {
        s_scan = {};
        return;
    }
    CycleQuantities& cycle = g_Cycle.Read();
    const double cycles = s_t / cycle.s_tp;
    const double phase = cycles - Truncate(cycles);
    cycle.frequency = g_F += s_Fd;
    cycle.s_tp = 1.0 / cycle.frequency;
    s_tp = cycle.s_tp;
    s_t = cycle.s_tp * phase;
    s_scan = {cycle.frequency, cycle.s_tp};
}

void CheckChange(double dt)
{
    if (!g_bChangeOnNextCycle) return;
    const double period = g_Cycle.Read().s_tp;
    const double t = s_t;
    _CheckIfChangeRequired(t - period * Truncate(t / period), period, dt);
}

void AdvanceClock(double dt)
{
    s_t += dt;
    s_tg += dt;
}

// After a step too many the next sample repeats this one's time.
void CompensateDrift(const SampleClock& clock)
{
    const double behind = g_fDelayAccumulated + clock.behind;
    if (behind < clock.step) {
        g_fDelayAccumulated = behind;
        return;
    }
    g_fDelayAccumulated = behind - clock.step;
    s_t -= clock.dt;
    s_tg -= clock.dt;
}

void FillEcgFrame(std::uint8_t* frame, const SampleClock& clock)
{
    for (int k = 0; k < kPairsPerFrame; ++k) {
        KeepScan();
        WriteEcg(frame + kSlotsOffset + kPairBytes * static_cast<unsigned>(k));
        AdvanceScan();
        CheckChange(clock.dt);
        AdvanceClock(clock.dt);
        if (s_PacingPulseRaised) {
            frame[kMarkerOffset] = static_cast<std::uint8_t>(k + 1);
            s_PacingPulseRaised = false;
        }
        CompensateDrift(clock);
    }
}

struct PPGCodes {
    std::uint16_t dc = 0;
    std::uint16_t ac = 0;
};

// Every enabled channel is computed, also one that the mode does not carry.
void ComputePPG(PPGCodes (&codes)[kPPGChannels])
{
    for (int channel = 0; channel < kPPGChannels; ++channel) {
        if (!g_bPPGOutputEnabled[channel]) continue;
        double value = 0.0;
        _GetPPGVoltageData(s_t, channel, _GetPPGTimeOffset(channel), &codes[channel].dc,
                           &codes[channel].ac, &value);
        void (*graph)(double, double) = g_PPGGraphCBs[channel];
        if (g_UICounter == 0 && graph != nullptr) graph(s_tg, value);
    }
}

void FillPPGFrame(std::uint8_t* frame, const ChannelList& list, int samples,
                  const SampleClock& clock)
{
    const unsigned slotBytes = kPairBytes * static_cast<unsigned>(list.count + 1);
    for (int k = 0; k < samples; ++k) {
        std::uint8_t* slot = frame + kSlotsOffset + slotBytes * static_cast<unsigned>(k);
        KeepScan();
        WriteEcg(slot);
        PPGCodes codes[kPPGChannels];
        ComputePPG(codes);
        std::uint8_t* pair = slot + kPairBytes;
        for (int i = 0; i < list.count; ++i) {
            const int channel = list.channels[i];
            if (channel < 0 || channel >= kPPGChannels) continue;  // the others move up
            WriteBig16(pair, codes[channel].dc);
            WriteBig16(pair + 2, codes[channel].ac);
            pair += kPairBytes;
        }
        AdvanceScan();
        CheckChange(clock.dt);
        AdvanceClock(clock.dt);
        CompensateDrift(clock);
    }
}

// The last seconds of every minute of graph time hold the breath.
double HeldResistance(double ohms)
{
    const int second = SaturateTo<int>(s_tg);
    if (second % kSecondsPerMinute >= kSecondsPerMinute - s_ApneaTime) return lastResistance;
    lastResistance = ohms;
    return ohms;
}

void WriteRespiration(std::uint8_t* words, double ohms)
{
    std::uint16_t codes[3] = {};
    ExtRespGetAmplitudeDAC(ohms, codes);
    for (unsigned i = 0; i < 3; ++i) WriteBig16(words + 2 * i, codes[i]);
    WriteBig16(words + 6, g_nECGExtRespirationBaselineDAC);
}

// No scan, no drift compensation and no pacing marker, deliberately unlike the other layouts.
void FillRespirationFrame(std::uint8_t* frame, const SampleClock& clock)
{
    for (int k = 0; k < kRespirationSlots; ++k) {
        std::uint8_t* slot =
            frame + kSlotsOffset + kRespirationSlotBytes * static_cast<unsigned>(k);
        WriteEcg(slot);
        WriteRespiration(slot + kPairBytes, HeldResistance(CalculateECGExtRespiration(s_t)));
        CheckChange(clock.dt);
        AdvanceClock(clock.dt);
    }
}

void FillFrame(std::uint8_t* frame, std::uint8_t mode, const SampleClock& clock)
{
    if (mode == kModeECG) {
        NumberFrame(frame, kPairsPerFrame);
        FillEcgFrame(frame, clock);
    } else if (mode == kModeECGRespiration) {
        NumberFrame(frame, kRespirationSlots);
        FillRespirationFrame(frame, clock);
    } else {
        const ChannelList list = ListChannels(mode);
        const int samples = kPairsPerFrame / (list.count + 1);
        NumberFrame(frame, samples);
        FillPPGFrame(frame, list, samples, clock);
    }
    s_PacingPulseRaised = false;  // of the layouts without marks: none is left for a later frame
}

void FinishPacket()
{
    if (g_PacingApplyRequested) {
        g_PacingApplyRequested = false;
        SetPacing();
    }
    if (g_RespirationEnabled && ExtRespIsAvailable() == 0) _CheckApnea(SaturateTo<int>(s_tg));
}

void RestFrame(std::uint8_t* frame, std::uint8_t mode, std::uint16_t restCode)
{
    if (mode == kModeECG) {
        NumberFrame(frame, kPairsPerFrame);
        for (unsigned k = 0; k < static_cast<unsigned>(kPairsPerFrame); ++k) {
            WriteBig16(frame + kSlotsOffset + kPairBytes * k, restCode);
        }
    } else if (mode == kModeECGRespiration) {
        NumberFrame(frame, kRespirationSlots);
        for (unsigned k = 0; k < static_cast<unsigned>(kRespirationSlots); ++k) {
            std::uint8_t* slot = frame + kSlotsOffset + kRespirationSlotBytes * k;
            WriteBig16(slot, restCode);
            WriteRespiration(slot + kPairBytes, 0.0);
        }
    } else {
        NumberFrame(frame, kPairsPerFrame / (ListChannels(mode).count + 1));
    }
}

void RestartDecimation()
{
    if (s_t <= 0.0) g_UICounter = 0;
}
}  // namespace

void DoSendNextPacket(unsigned char* buffer)
{
    const SampleClock clock = ClockOfPacket();
    RestartDecimation();
    for (unsigned i = 0; i < kFramesPerPacket; ++i) {
        const std::uint8_t mode = g_OperateMode;
        FillFrame(BeginFrame(buffer, i, mode), mode, clock);
    }
    FinishPacket();
}

void DoSendFirstPacket(unsigned char* buffer)
{
    RestartDecimation();
    const std::uint16_t restCode = GetPacketDCValue(0.0);
    for (unsigned i = 0; i < kFramesPerPacket; ++i) {
        const std::uint8_t mode = g_OperateMode;
        RestFrame(BeginFrame(buffer, i, mode), mode, restCode);
    }
}

// The framing counts ECG and PPG bits alone: in mode 35 it is that of ECG alone, deliberately unlike
// the data packets.
void BuildStopPacket(unsigned char* buffer)
{
    const std::uint16_t restCode = GetPacketDCValue(0.0);
    const std::uint8_t mode = g_OperateMode;
    const int ecg = (mode & kModeECG) != 0 ? 1 : 0;
    const int ppg = ((mode & kModePPG1) != 0 ? 1 : 0) + ((mode & kModePPG2) != 0 ? 1 : 0) +
                    ((mode & kModePPG3) != 0 ? 1 : 0);
    const int parts = ppg + ecg;
    const int samples = kPairsPerFrame / (parts > 0 ? parts : 1);
    const unsigned slotBytes = kPairBytes * static_cast<unsigned>(ppg + 1);
    for (unsigned i = 0; i < kFramesPerPacket; ++i) {
        std::uint8_t* frame = BeginFrame(buffer, i, mode);
        NumberFrame(frame, samples);
        for (unsigned k = 0; ecg == 1 && k < static_cast<unsigned>(samples); ++k) {
            WriteBig16(frame + kSlotsOffset + slotBytes * k, restCode);
        }
    }
    s_SeqCheck = std::uint16_t{0};
}
