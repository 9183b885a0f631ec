#include "instrument/StreamReceiver.h"

#include <algorithm>

#include <fmt/format.h>

namespace instrument {

namespace {

constexpr unsigned kRateBeforeRelays = 20000;  // Hz

std::uint16_t SequenceAt(std::span<const std::uint8_t> packet, std::size_t frame)
{
    const std::size_t at = frame * kFrameBytes + 6;
    return static_cast<std::uint16_t>(packet[at] << 8 | packet[at + 1]);
}

// As the frames state it, which was checked.
unsigned SamplesIn(std::span<const std::uint8_t> packet)
{
    unsigned samples = 0;
    for (std::size_t i = 0; i < kFramesPerPacket; ++i) samples += packet[i * kFrameBytes + 5];
    return samples;
}

}  // namespace

StreamReceiver::StreamReceiver(const Options& options, const Flash& flash)
    : modules_(options),
      decodeAlways_(static_cast<bool>(options.onSamples)),
      keepSamples_(options.keepSamples)
{
    modules_.ReadCalibration(flash);
}

Received StreamReceiver::Receive(std::span<const std::uint8_t> packet, const RelayState& relays,
                                 bool isEarly, Clock::time_point now)
{
    Received received;
    const bool isOnlyStop = IsOnlyStopPacket(packet, restCode_);
    if (!isOnlyStop) received.refusal = FramingFault(packet, received.badFrame);
    ++stats_.packets;
    stats_.lastArrival = now;
    isStop_ = false;
    replied_ = {};
    if (!received.refusal.empty()) {
        ++stats_.frameErrors;
        return received;
    }

    const std::uint16_t first = SequenceAt(packet, 0);
    if (isCandidate_ && first != stats_.nextSequence) EndRun();
    if (!stats_.running) {
        BeginRun(first, now);
        received.isFirstOfRun = true;
    }
    CountSequence(packet);
    SetRate(relays.sampleRate != 0 ? relays.sampleRate : kRateBeforeRelays);

    packetSamples_ = received.samples = SamplesIn(packet);
    isResting_ = received.isResting = isOnlyStop || IsStopPacket(packet, restCode_);
    isStop_ = isOnlyStop || (isEarly && received.isResting);
    if (!isStop_ && !received.isResting && HasOtherMode(packet, relays.operateMode)) {
        ++stats_.modeErrors;
    }
    return received;
}

void StreamReceiver::BeginRun(std::uint16_t firstSequence, Clock::time_point now)
{
    ++stats_.runs;
    stats_.running = true;
    stats_.firstArrival = now;
    stats_.firstReply = {};
    stats_.nextSequence = mayResume_ ? firstSequence : 0;
    mayResume_ = false;
}

// The resting packet before was the stop packet.
void StreamReceiver::EndRun()
{
    if (isCandidate_) ++stats_.stopPackets;
    isCandidate_ = false;
    isSwitchedOff_ = false;
    candidate_.clear();
    pulses_.Stop();
    stats_.running = false;
    stats_.nextSequence = 0;
}

void StreamReceiver::CountSequence(std::span<const std::uint8_t> packet)
{
    for (std::size_t i = 0; i < kFramesPerPacket; ++i) {
        const std::uint16_t sequence = SequenceAt(packet, i);
        if (sequence != stats_.nextSequence) ++stats_.sequenceErrors;
        stats_.nextSequence = static_cast<std::uint16_t>(sequence + 1);
    }
}

bool StreamReceiver::HasOtherMode(std::span<const std::uint8_t> packet, std::uint8_t mode) const
{
    for (std::size_t i = 0; i < kFramesPerPacket; ++i) {
        if (packet[i * kFrameBytes + 1] != mode) return true;
    }
    return false;
}

void StreamReceiver::SetRate(unsigned rate)
{
    if (rate == rate_) return;
    if (rate_ != 0) timeBase_ += static_cast<double>(sinceBase_) / rate_;
    sinceBase_ = 0;
    rate_ = rate;
}

void StreamReceiver::Decode(std::span<const std::uint8_t> packet, const PacingCodes& pacing,
                            std::vector<Sample>& batch)
{
    pacing_ = pacing;
    if (isCandidate_) TakeCandidate(batch);
    if (isStop_) {
        isCandidate_ = true;  // certain already: counted and forgotten at once
        EndRun();
        return;
    }
    if (isResting_) {
        isCandidate_ = true;
        candidateSamples_ = packetSamples_;
        if (IsDecoding()) candidate_.assign(packet.begin(), packet.end());
        return;
    }
    DecodeData(packet, batch);
}

// What came after the resting packet went on where it ended: it was data. Its frames have no marks.
void StreamReceiver::TakeCandidate(std::vector<Sample>& batch)
{
    isCandidate_ = false;
    isSwitchedOff_ = false;
    if (candidate_.empty()) Advance(candidateSamples_);
    else DecodeData(candidate_, batch);
    candidate_.clear();
}

void StreamReceiver::DecodeData(std::span<const std::uint8_t> packet, std::vector<Sample>& batch)
{
    if (IsDecoding() && !decoder_) decoder_.emplace(dcWords_);
    const std::size_t before = batch.size();
    for (std::size_t i = 0; i < kFramesPerPacket; ++i) {
        const auto frame = packet.subspan(i * kFrameBytes, kFrameBytes);
        if (IsDecoding()) DecodeFrameInto(frame, batch);
        else if (frame[kMarkerOffset] != 0) StartPulse(frame[kMarkerOffset] - 1U);
        Advance(frame[kCountOffset]);
    }
    if (keepSamples_ == 0) return;
    samples_.insert(samples_.end(), batch.begin() + static_cast<std::ptrdiff_t>(before),
                    batch.end());
    KeepSamples(keepSamples_);
}

void StreamReceiver::DecodeFrameInto(std::span<const std::uint8_t> frame,
                                     std::vector<Sample>& batch)
{
    std::array<Slot, kMaxSamplesPerFrame> slots;
    const std::size_t count = DecodeSlots(frame, slots);
    for (std::size_t slot = 0; slot < count; ++slot) {
        Sample sample;
        sample.time = TimeOf(slot);
        sample.dcMv = decoder_->Mv(slots[slot].dc);
        sample.acMv = slots[slot].ac / kAcCodesPerMv;
        sample.marker = frame[kMarkerOffset] == slot + 1;
        if (sample.marker) StartPulse(slot);
        sample.pulseMv = pulses_.MvAt(stats_.samples + slot);
        sample.run = static_cast<unsigned>(stats_.runs);
        sample.codes = slots[slot];
        if (!modules_.Decode(frame[1], sample)) ++stats_.codeErrors;
        batch.push_back(sample);
    }
}

void StreamReceiver::StartPulse(std::size_t slot)
{
    ++stats_.marks;
    if (pacing_.amplitude == 0 || pacing_.lengthUs == 0) return;
    ++stats_.pulses;
    const PacingSettings settings = InMillivolts(pacing_);
    Pulse pulse;
    pulse.time = TimeOf(slot);
    pulse.sample = stats_.samples + slot;
    pulse.amplitudeMv = settings.amplitudeMv;
    pulse.durationMs = settings.durationMs;
    pulse.run = static_cast<unsigned>(stats_.runs);
    pulses_.Start(pulse, SamplesOf(pacing_.lengthUs, rate_));
}

PacingSettings StreamReceiver::InMillivolts(const PacingCodes& pacing)
{
    PacingSettings settings;
    settings.durationMs = pacing.lengthUs / 1000.0;
    if (pacing.isAcCode) {
        settings.amplitudeMv = static_cast<std::int16_t>(pacing.amplitude) / kAcCodesPerMv;
        return settings;
    }
    if (!decoder_) decoder_.emplace(dcWords_);
    settings.amplitudeMv = decoder_->Mv(static_cast<std::uint16_t>(restCode_ + pacing.amplitude));
    return settings;
}

void StreamReceiver::Advance(unsigned samples)
{
    stats_.samples += samples;
    sinceBase_ += samples;
}

// Not the end yet: the packet may have been data, and the stop packet of the mode that is off now
// goes on with its numbers.
void StreamReceiver::RelaysChanged(const RelayState& relays)
{
    if (relays.operateMode == kModeOff && isCandidate_) isSwitchedOff_ = true;
    modules_.SetRanges(relays.acCalibration);
}

void StreamReceiver::HostStartsAnew()
{
    mayResume_ = mayResume_ || (stats_.running && !isCandidate_);
    EndRun();
}

void StreamReceiver::Replied(Clock::time_point now)
{
    if (stats_.firstReply == Clock::time_point{}) stats_.firstReply = now;
    stats_.lastReply = now;
    replied_ = now;
}

void StreamReceiver::SetDcWords(const DcWords& words)
{
    dcWords_ = words;
    restCode_ = words[2000];
    decoder_.reset();
}

StreamStatistics StreamReceiver::Statistics(Clock::time_point now) const
{
    StreamStatistics stats = stats_;
    const bool isQuiet =
        isCandidate_ && replied_ != Clock::time_point{} && now - replied_ > kQuietAfterStop;
    if (isQuiet || isSwitchedOff_) {
        ++stats.stopPackets;
        stats.running = false;
    }
    return stats;
}

void StreamReceiver::KeepSamples(std::size_t newest)
{
    keepSamples_ = newest;
    if (samples_.size() <= newest) return;
    const auto surplus = static_cast<std::ptrdiff_t>(samples_.size() - newest);
    samples_.erase(samples_.begin(), samples_.begin() + surplus);
}

}  // namespace instrument
