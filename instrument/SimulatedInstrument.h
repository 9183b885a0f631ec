// The simulated instrument: a pseudo-terminal that answers as the device does.
//
// Each object owns one service thread that reads, answers and paces; every member function may be
// called from any other thread. Constructors throw std::runtime_error with one clear sentence when
// the port cannot be made.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "instrument/DcTable.h"
#include "instrument/StreamPacket.h"

namespace instrument {

using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC
using Milliseconds = std::chrono::milliseconds;

// Loose on purpose: a wait that ends by this limit is a failure, not a measurement.
constexpr Milliseconds kGenerousTimeout{20000};

enum class Pace {
    Fast,      // a packet is answered as soon as it is there
    RealTime,  // one packet's duration a reply, on an absolute schedule from the run's first packet
};

// What a request asks for.
enum class Request {
    Any,      // matches every request (never reported)
    Command,  // matches every request except stream packets (never reported)
    Stream,
    Identify,
    DacLevel,
    HardwareInfo,
    FirmwareInfo,
    BoardVersions,
    UsbVoltage,
    FlashRead,
    FlashWrite,
    FlashErase,
    Relays,
    LeadOff,  // the short relay command
    ControlRead,
    ControlWrite,
    Respiration,
    PulseGroups,
    SamplingStart,
    SamplingRead,
    SamplingStop,  // also switches the right-leg-drive measurement off
    RldStart,
    RldRead,
    DynamicLight,
    SignalDetection,
    SamplingStatus,
    PhotodiodeStatus,
    TriggerStatus,
    AmbientWrite,
    AmbientRead,
    ModeWrite,
    ModeRead,
    SettingWrite,
    SettingRead,
    ModuleWrite,
    ModuleRead,
    BaselineWrite,
    BaselineRead,
    Firmware,  // matches the five below (never reported)
    Restart,   // after it the images that are held run
    ControlMode,
    McuErase,
    McuWrite,
    McuRead,
    Unknown,
};
const char* NameOf(Request kind);

// One request and what it was answered with.
struct Exchange {
    Request kind = Request::Unknown;
    Bytes request;
    Bytes reply;                // as written; empty when nothing was answered
    Clock::time_point arrived;  // the request was complete
    Clock::time_point replied;  // the reply was written; the default value when it was not
    bool refused = false;
};

// A request that the instrument did not answer, and why.
struct Refusal {
    Bytes request;  // stream packets: the first frame that is wrong
    std::string reason;
    Clock::time_point time;
};

// Where the stream carries no such channel, or the flash no calibration to read its codes by.
constexpr double kNotPlayed = std::numeric_limits<double>::quiet_NaN();

// What drives one LED of the PPG module.
struct PpgLevel {
    double dcMv = kNotPlayed;
    double acMv = kNotPlayed;
};

// One sample as the output stage would have played it.
struct Sample {
    double time = 0;  // s of signal since the first packet; goes on from run to run, without gaps
    double dcMv = 0;
    double acMv = 0;
    bool marker = false;  // the packet marks it as the start of a pacing pulse
    unsigned run = 0;     // 1 is the first
    // The pacing pulse that the instrument adds by itself; 0 outside a pulse. A sample shows the
    // level at its own instant, the marked one always: a pulse of 0.03 ms at 1000 Hz stands in one
    // sample, its length in Pulses().
    double pulseMv = 0;
    std::array<PpgLevel, 3> ppg;         // by channel
    double respirationOhm = kNotPlayed;  // the three branches of the external module in parallel
    double baselineOhm = kNotPlayed;     // that the module's table has for the baseline code
    Slot codes;
};

// A pacing pulse as it was made.
struct Pulse {
    double time = 0;           // s of signal, of the marked sample
    std::uint64_t sample = 0;  // the marked one; 0 is the first ever
    double amplitudeMv = 0;
    double durationMs = 0;  // as set; a pulse that starts before its end or a stop cuts it short
    unsigned run = 0;
};

// What the control block asks of the pulses that start from now on. A mark makes none while one of
// the two is 0.
struct PacingSettings {
    double amplitudeMv = 0;  // with respiration on: of the attenuated output, like acMv
    double durationMs = 0;
};

// A packet with resting content ends its run when a sequence number 0, a relay command with the
// output off or a longer silence follows it; when the next sequence number follows it was data,
// whatever command came between the two.
struct StreamStatistics {
    std::uint64_t packets = 0;  // all, stop packets included
    std::uint64_t stopPackets = 0;
    std::uint64_t samples = 0;         // of data packets
    std::uint64_t sequenceErrors = 0;  // frames whose number does not follow its predecessor
    std::uint64_t modeErrors = 0;      // packets with another operate mode than the relay command's
    std::uint64_t frameErrors = 0;     // packets refused for their framing
    std::uint64_t codeErrors = 0;      // samples with a code that no converter of the module has
    std::uint64_t underruns = 0;       // packets that came after their reply was due (RealTime)
    std::uint64_t marks = 0;           // frames of data packets that mark a pacing pulse
    std::uint64_t pulses = 0;          // that the marks started
    std::uint64_t runs = 0;
    std::uint16_t nextSequence = 0;  // expected in the next frame of this run
    bool running = false;
    Clock::time_point firstArrival;  // of the latest run
    Clock::time_point lastArrival;
    Clock::time_point firstReply;  // of the latest run
    Clock::time_point lastReply;
};

// What the last relay command asked for.
struct RelayState {
    unsigned commands = 0;       // 17-byte commands received since construction
    unsigned shortCommands = 0;  // 8-byte commands: lead-off and right-leg drive
    std::uint8_t operateMode = 0;
    unsigned sampleRate = 0;  // Hz
    std::uint32_t word = 0;   // 24 bits; also set by the short command
    std::array<std::uint8_t, 3> ledSync{};
    std::array<std::uint8_t, 3> acCalibration{};
    Bytes lastCommand;  // 17 or 8 bytes as received

    bool HasRespiration() const;
    unsigned LeadOffMode() const;  // 0 to 3; 0: every lead is connected
    bool MeasuresRld() const;      // the relay; its converter is DeviceState::rldMeasurement
};

// The respiration part of the control block.
struct RespirationSettings {
    unsigned breathsPerMinute = 0;
    unsigned variation = 0;  // in whole hundreds, as the block carries it
    unsigned ratio = 1;      // inhale to exhale is 1 to this
    unsigned baselineOhm = 0;
    bool apnea = false;
};

struct LedPulseGroups {
    bool isFixed = false;                  // byte 35
    unsigned value = 0;                    // bytes 36 and 37
    std::array<std::uint8_t, 8> groups{};  // 0 none, 1, 2, 3
};

// Everything else that a host can set.
struct DeviceState {
    // Of position 1, 2 or 3; others throw std::out_of_range.
    std::uint8_t LedLevel(unsigned position) const;
    std::uint8_t TriggerLevel(unsigned position) const;
    RespirationSettings Respiration() const;
    LedPulseGroups PulseGroups() const;

    std::array<std::uint8_t, 64> controlBlock{};  // pacing, respiration, apnea: see ControlBlock()
    bool dynamicLight = false;
    std::uint8_t signalDetection = 0;
    std::uint8_t ambientMode = 0;
    bool rldMeasurement = false;                 // right-leg drive
    std::uint8_t samplingMask = 0;               // 0: photodiode sampling is stopped
    std::array<std::uint8_t, 13> pulseGroups{};  // bytes 35 to 47 of the last write
    std::array<std::uint16_t, 256> settings{};   // by number; LED and trigger levels included
    // External respiration module: three resistance codes and the baseline code.
    std::array<std::uint16_t, 4> moduleWords{};
    std::uint8_t baselineIndex = 0;
    std::uint8_t baselineLead = 0;
};

// What the instrument measures; a host can only read it.
struct Measurements {
    std::uint8_t usbVoltage = 250;  // the device's own scale
    // Right-leg drive, 10 bits: 1023 is 3.3 V. Read whether the measurement is on or off.
    std::array<std::uint16_t, 2> rldCounts{512, 256};
    std::uint8_t statusFlags = 0;  // byte 8 of the photodiode and sampling status
    std::array<std::uint8_t, 9> photodiode{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0, 0x12};
    std::array<std::uint8_t, 10> trigger{};  // bytes 4 to 13 of the auto trigger status
};

// As many photodiode frames as a full-speed port carries: one a millisecond.
constexpr double kFullSamplingRate = 1000;

// The photodiode frames that come by themselves while sampling runs. The functions run on the
// service thread with its lock held: they must not call the instrument.
struct SamplingStream {
    double framesPerSecond = 0;  // 0 = none comes by itself; at most 100,000
    std::uint64_t frames = 0;    // after so many it falls silent; 0 = goes on
    unsigned loseEvery = 0;      // each n-th frame does not come; 0 = all do
    // Of channel 0 to 3, by the number of the sample since sampling began; without it that number.
    std::function<std::uint16_t(unsigned channel, std::uint64_t sample)> value;
    std::function<std::uint8_t(std::uint64_t sample)> status;  // without it 0
    // The last word on a frame, by its number since sampling began: other bytes, more, fewer, none.
    std::function<void(Bytes& frame, std::uint64_t number)> edit;
};

// Of the frames that came by themselves, since construction.
struct SamplingStatistics {
    std::uint64_t frames = 0;    // written whole
    std::uint64_t lost = 0;      // as the stream was told to lose
    std::uint64_t overruns = 0;  // dropped because the host had not read those before
};

enum class FaultKind {
    Silence,           // no reply
    ShortReply,        // the first `bytes` bytes of it
    LateReply,         // `delay` later
    WrongAcknowledge,  // the mark becomes data[0], or 0 without data
    WrongBytes,        // `data` instead of the reply; without data every byte inverted
    ChangedByte,       // byte `bytes` of the reply becomes data[0], or is inverted without data
    Unsolicited,       // `data` (or a sampling block) before the reply
    HangUpBefore,      // unplugged when the request has arrived; it has no effect
    HangUpDuring,      // unplugged after half of the reply
    HangUpAfter,       // unplugged after the reply; after a restart it does not come back
};

struct Fault {
    FaultKind kind = FaultKind::Silence;
    Request match = Request::Any;
    Bytes prefix;        // and the request must begin so; empty matches all
    unsigned skip = 0;   // matching requests that pass untouched first
    unsigned count = 1;  // then so many are hit; 0 = every one from then on
    std::size_t bytes = 0;
    Milliseconds delay{0};
    Bytes data;
};

// What a host can replace.
enum class Image { Fpga, Mcu };

struct ImageState {
    std::array<std::uint8_t, 4> tag{};
    std::array<std::uint8_t, 4> version{};
    bool isAccepted = false;  // by its tag: "VRAX", or at least one letter of "2TF2" in its place
};

struct FirmwareState {
    ImageState runningFpga;  // held when power came on or at the last restart
    ImageState runningMcu;
    ImageState heldFpga;  // in the flash: what the next restart runs
    ImageState heldMcu;
    bool updateMode = false;    // of the MCU; also after a start without an accepted program
    unsigned restarts = 0;      // from which the instrument came back
    unsigned spoiltWrites = 0;  // write frames into cells that were not erased and now hold a mix
};

// What a host sees of a restart: the node goes with the reply and comes back.
struct RestartBehaviour {
    Milliseconds away{300};
    bool comesBack = true;  // false: not before Plug()
};

struct Options {
    int port = 0;  // n of /dev/ttyACM<n>
    bool plugged = true;
    Pace pace = Pace::Fast;

    // The main record (flash channel 1) and the identification.
    std::array<char, 2> typeLetters{'E', 'C'};
    unsigned modelCode = 0x1020;
    unsigned year = 25;
    unsigned sequenceNumber = 42;
    // What the identification answers, when that is not what stands in the main record.
    std::optional<unsigned> identifiedNumber;
    std::array<std::uint8_t, 2> hardware{1, 4};
    std::array<std::uint8_t, 4> firmware{2, 1, 0, 7};  // also the version of the MCU image
    std::array<std::uint8_t, 4> fpgaVersion{1, 2, 0, 3};
    RestartBehaviour restart;

    // The accessory (flash channel 19): a PPG module, the external respiration module, or nothing.
    std::optional<unsigned> ppgModel;  // full model number, for example 0x3407
    bool respirationModule = false;
    unsigned moduleYear = 24;
    unsigned moduleSequenceNumber = 7;
    std::array<std::uint8_t, 2> moduleHardware{1, 2};
    std::array<std::uint8_t, 4> moduleFirmware{3, 0, 2, 5};
    std::optional<bool> dac16;  // 16-bit PPG converters; by default only with 0x3407
    // The channel of each LED position, 3 = none; by default (1, 2, 0) with 0x3407 and (1, 2, 3)
    // with any other PPG module.
    std::optional<std::array<int, 3>> ledTypes;
    double ppgDcMaxMv = 3000;  // full scale of the module's converters
    double ppgAcMaxMv = 30;    // 0x3407 has ranges of its own instead

    Measurements measurements;
    // A flash write can only clear bits in every memory, not only in those of the images.
    bool nor = false;
    std::uint8_t noModuleMark = 0;  // where 0xFF would acknowledge, when no module is there
    SamplingStream sampling;
    std::string initialFlash;       // what SaveFlash wrote; empty = freshly made
    bool overwriteRecords = false;  // the records above replace those in initialFlash

    std::size_t keepPackets = 64;  // newest raw packets, at least 1
    std::size_t keepSamples = 0;   // newest samples; 0 = none is decoded
    std::size_t keepExchanges = 65536;
    bool keepStreamExchanges = false;  // stream packets stand in Exchanges() too

    // Run on the service thread with no lock held; must not call the instrument, and hold up the
    // stream while they run.
    std::function<void(std::span<const Sample>)> onSamples;  // the samples of one packet
    std::function<void(const Exchange&)> onExchange;         // stream packets included
    std::function<void(const Refusal&)> onRefusal;
};

class SimulatedInstrument {
public:
    explicit SimulatedInstrument(int port = 0);
    explicit SimulatedInstrument(const Options& options);
    ~SimulatedInstrument();  // unplugs
    SimulatedInstrument(const SimulatedInstrument&) = delete;
    SimulatedInstrument& operator=(const SimulatedInstrument&) = delete;

    // The node. Plug() throws like the constructors; both return when it is done.
    void Plug();
    void Unplug();
    bool IsPlugged() const;
    // After a fault that hangs up.
    bool WaitUntilUnplugged(Milliseconds timeout = kGenerousTimeout) const;
    std::string Path() const;          // "/dev/ttyACM0"
    std::string TerminalPath() const;  // "/dev/pts/7"; empty when unplugged
    // Drops what the host has not read yet, as a port does that is closed by its last user.
    void DiscardUnreadReplies();

    // What came.
    std::vector<Exchange> Exchanges() const;
    std::vector<Exchange> Exchanges(Request kind) const;
    void ClearExchanges();
    // Since construction or ClearExchanges(). False when the time is over.
    bool WaitForExchange(const Bytes& prefix, Milliseconds timeout = kGenerousTimeout) const;
    bool WaitForExchange(Request kind, std::size_t count = 1,
                         Milliseconds timeout = kGenerousTimeout) const;
    std::vector<Refusal> Refusals() const;  // the first 1000
    std::size_t RefusalCount() const;
    void ClearRefusals();

    // The stream.
    std::size_t PacketCount() const;  // all that arrived, stop packets included
    bool WaitForPackets(std::size_t count, Milliseconds timeout = kGenerousTimeout) const;
    bool WaitForMorePackets(std::size_t count, Milliseconds timeout = kGenerousTimeout) const;
    bool WaitForStop(std::size_t stopPackets = 1, Milliseconds timeout = kGenerousTimeout) const;
    Bytes LastPacket() const;
    Bytes Packet(std::size_t index) const;  // 0 is the first ever; empty when not kept (any more)
    StreamStatistics Statistics() const;
    void KeepSamples(std::size_t newest);  // 0 stops decoding and drops what was kept
    std::vector<Sample> Samples() const;
    std::vector<Pulse> Pulses() const;  // the newest 65536
    bool WaitForPulses(std::size_t count, Milliseconds timeout = kGenerousTimeout) const;
    void SetPace(Pace pace);  // from the next run on

    // Photodiode sampling. The stream starts anew, with frame and sample 0; throws
    // std::out_of_range for a rate that it cannot have.
    void SetSampling(const SamplingStream& stream);
    SamplingStatistics Sampling() const;
    bool WaitForSamplingFrames(std::uint64_t frames, Milliseconds timeout = kGenerousTimeout) const;

    // The device.
    RelayState Relays() const;
    DeviceState State() const;
    std::array<std::uint8_t, 64> ControlBlock() const;
    PacingSettings Pacing() const;
    void SetControlByte(std::size_t index, std::uint8_t value);
    void SetSetting(std::uint8_t number, std::uint16_t value);
    Measurements GetMeasurements() const;
    // Throws std::out_of_range when a count does not fit its converter.
    void SetMeasurements(const Measurements& measurements);
    Bytes ReadFlash(std::uint8_t channel, std::uint32_t address, std::size_t bytes) const;
    void WriteFlash(std::uint8_t channel, std::uint32_t address, const Bytes& data);
    void EraseFlash(std::uint8_t channel);
    void ProgramDcTable(const DcWords& words);  // flash channel 18, as a calibrated unit has it
    std::string SaveFlash() const;              // for Options::initialFlash
    std::uint64_t FlashGeneration() const;      // rises with every write and erase

    // The programs. What is held runs after the next restart; an FPGA image has 122880 bytes, of
    // which the board's records in 102400 to 116735 are no part. Throws std::out_of_range when the
    // length of `bytes` cannot be held.
    void HoldImage(Image image, const Bytes& bytes);
    Bytes HeldImage(Image image, std::size_t bytes) const;  // the first ones; the records included
    FirmwareState Firmware() const;
    void SetRestart(const RestartBehaviour& behaviour);  // from the next restart on
    bool WaitForRestarts(unsigned count, Milliseconds timeout = kGenerousTimeout) const;

    // Misbehaviour. Faults are tried in the order in which they were injected; one hits a request.
    void Inject(const Fault& fault);
    void ClearFaults();
    std::size_t PendingFaults() const;                                  // endless ones included
    bool WaitForFaults(Milliseconds timeout = kGenerousTimeout) const;  // until none is pending
    // Answers requests that begin with `prefix` with exactly `reply` (nothing when it is empty);
    // also makes an unknown request acceptable. What the request changes is still done.
    void SetReply(const Bytes& prefix, const Bytes& reply);
    void ClearReplies();
    void SendUnsolicited(const Bytes& bytes);
    // A photodiode block: the mask, then records of one big-endian sample a set bit and a status.
    static Bytes SamplingBlock(std::uint8_t mask, std::uint16_t value, std::uint8_t status);

private:
    class CService;
    std::unique_ptr<CService> service_;
};

}  // namespace instrument
