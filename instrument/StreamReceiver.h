// Takes in the stream: checks every frame, counts, and turns codes back into millivolts.
//
// Takes no lock; its owner does.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "instrument/ModuleDecoder.h"
#include "instrument/PulseMaker.h"
#include "instrument/SimulatedInstrument.h"

namespace instrument {

// A packet with resting content that nothing follows for so long was the stop packet.
constexpr Milliseconds kQuietAfterStop{250};

struct Received {
    std::string refusal;       // why it is not answered; empty = it is
    std::size_t badFrame = 0;  // of the refusal
    bool isResting = false;    // it may be, or is, the stop packet
    bool isFirstOfRun = false;
    unsigned samples = 0;  // that it lasts; a stop packet too
};

class StreamReceiver {
public:
    StreamReceiver(const Options& options, const Flash& flash);

    // Looks at a packet of 3200 bytes. `isEarly`: the reply to its predecessor is still to come,
    // which a host does with a stop packet only.
    Received Receive(std::span<const std::uint8_t> packet, const RelayState& relays, bool isEarly,
                     Clock::time_point now);

    // Decodes the packet that was just received. Apart from Receive, so that the reply can go out
    // first. `batch` gets the samples that are now known to be data. Marks start pulses as `pacing`
    // is set.
    void Decode(std::span<const std::uint8_t> packet, const PacingCodes& pacing,
                std::vector<Sample>& batch);

    void RelaysChanged(const RelayState& relays);
    // The host starts anew: a run that was not stopped may go on with any number.
    void HostStartsAnew();
    void AllowResume() { mayResume_ = true; }
    void Replied(Clock::time_point now);

    // The calibration that codes are turned back with.
    void SetDcWords(const DcWords& words);
    void ReadModuleCalibration(const Flash& flash) { modules_.ReadCalibration(flash); }

    StreamStatistics Statistics(Clock::time_point now) const;
    std::uint64_t PacketCount() const { return stats_.packets; }

    void KeepSamples(std::size_t newest);
    const std::deque<Sample>& Samples() const { return samples_; }
    const std::deque<Pulse>& Pulses() const { return pulses_.Made(); }
    PacingSettings InMillivolts(const PacingCodes& pacing);

private:
    void EndRun();
    void BeginRun(std::uint16_t firstSequence, Clock::time_point now);
    void CountSequence(std::span<const std::uint8_t> packet);
    bool HasOtherMode(std::span<const std::uint8_t> packet, std::uint8_t mode) const;
    void TakeCandidate(std::vector<Sample>& batch);
    void DecodeData(std::span<const std::uint8_t> packet, std::vector<Sample>& batch);
    void DecodeFrameInto(std::span<const std::uint8_t> frame, std::vector<Sample>& batch);
    void StartPulse(std::size_t slot);
    void Advance(unsigned samples);
    // s of signal at a slot of the frame that is decoded.
    double TimeOf(std::size_t slot) const
    {
        return timeBase_ + static_cast<double>(sinceBase_ + slot) / rate_;
    }
    void SetRate(unsigned rate);
    bool IsDecoding() const { return decodeAlways_ || keepSamples_ > 0; }

    StreamStatistics stats_;
    std::uint16_t restCode_ = DefaultDcWords()[2000];
    DcWords dcWords_ = DefaultDcWords();
    std::optional<DcDecoder> decoder_;  // made with the first sample that needs it
    ModuleDecoder modules_;

    bool mayResume_ = false;  // the next run may begin with any number
    bool isStop_ = false;     // the packet just received is known to be a stop packet
    bool isResting_ = false;  // it may be one
    unsigned packetSamples_ = 0;
    bool isCandidate_ = false;    // the last packet has resting content and ends the run or goes on
    bool isSwitchedOff_ = false;  // a relay command with the output off followed it
    unsigned candidateSamples_ = 0;
    Bytes candidate_;            // its bytes while samples are decoded
    Clock::time_point replied_;  // to the last packet

    const bool decodeAlways_;  // wanted by the owner too, whatever is kept here
    std::size_t keepSamples_;
    std::deque<Sample> samples_;
    PacingCodes pacing_;
    PulseMaker pulses_;
    double timeBase_ = 0;  // s of signal before the sample rate last changed
    std::uint64_t sinceBase_ = 0;
    unsigned rate_ = 0;  // Hz
};

}  // namespace instrument
