#include "instrument/SimulatedInstrument.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

#include "instrument/Images.h"
#include "instrument/Service.h"

namespace instrument {

namespace {

constexpr std::uint16_t kLargestRldCount = 1023;  // a 10-bit converter

void CheckMeasurements(const Measurements& measurements)
{
    for (const std::uint16_t count : measurements.rldCounts) {
        if (count > kLargestRldCount) {
            throw std::out_of_range("a right-leg-drive count is above 1023");
        }
    }
}

Options OnPort(int port)
{
    Options options;
    options.port = port;
    return options;
}

// The port of the slowest machine that runs the tests takes less.
constexpr double kLargestSamplingRate = 100000;

void CheckSampling(const SamplingStream& stream)
{
    if (!(stream.framesPerSecond >= 0 && stream.framesPerSecond <= kLargestSamplingRate)) {
        throw std::out_of_range("photodiode frames come at 0 to 100000 a second");
    }
}

const Options& Checked(const Options& options)
{
    CheckMeasurements(options.measurements);
    CheckSampling(options.sampling);
    return options;
}

}  // namespace

SimulatedInstrument::SimulatedInstrument(int port) : SimulatedInstrument(OnPort(port)) {}
SimulatedInstrument::SimulatedInstrument(const Options& options)
    : service_(std::make_unique<CService>(Checked(options)))
{}
SimulatedInstrument::~SimulatedInstrument() = default;

void SimulatedInstrument::Plug() { service_->SetPlugged(true); }
void SimulatedInstrument::Unplug() { service_->SetPlugged(false); }

bool SimulatedInstrument::IsPlugged() const
{
    return service_->Locked([this] { return service_->terminal.IsOpen(); });
}

bool SimulatedInstrument::WaitUntilUnplugged(Milliseconds timeout) const
{
    return service_->WaitUntilTrue(timeout, [this] { return !service_->terminal.IsOpen(); });
}

std::string SimulatedInstrument::Path() const { return service_->terminal.Path(); }

std::string SimulatedInstrument::TerminalPath() const
{
    return service_->Locked([this] { return service_->terminal.TerminalPath(); });
}

void SimulatedInstrument::DiscardUnreadReplies() { service_->DiscardUnread(); }

std::vector<Exchange> SimulatedInstrument::Exchanges() const { return Exchanges(Request::Any); }

std::vector<Exchange> SimulatedInstrument::Exchanges(Request kind) const
{
    return service_->Locked([&] {
        std::vector<Exchange> result;
        for (const auto& exchange : service_->exchanges) {
            if (Matches(kind, exchange->kind)) result.push_back(*exchange);
        }
        return result;
    });
}

void SimulatedInstrument::ClearExchanges()
{
    service_->Locked([this] { service_->exchanges.clear(); });
}

bool SimulatedInstrument::WaitForExchange(const Bytes& prefix, Milliseconds timeout) const
{
    return service_->WaitUntilTrue(timeout, [&] {
        const auto& exchanges = service_->exchanges;
        return std::any_of(exchanges.begin(), exchanges.end(), [&](const auto& exchange) {
            return BeginsWith(exchange->request, prefix);
        });
    });
}

bool SimulatedInstrument::WaitForExchange(Request kind, std::size_t count,
                                          Milliseconds timeout) const
{
    return service_->WaitUntilTrue(timeout, [&] {
        const auto& exchanges = service_->exchanges;
        const auto found =
            std::count_if(exchanges.begin(), exchanges.end(),
                          [&](const auto& exchange) { return Matches(kind, exchange->kind); });
        return static_cast<std::size_t>(found) >= count;
    });
}

std::vector<Refusal> SimulatedInstrument::Refusals() const
{
    return service_->Locked([this] { return service_->refusals; });
}

std::size_t SimulatedInstrument::RefusalCount() const
{
    return service_->Locked([this] { return service_->refusalCount; });
}

void SimulatedInstrument::ClearRefusals()
{
    service_->Locked([this] {
        service_->refusals.clear();
        service_->refusalCount = 0;
    });
}

std::size_t SimulatedInstrument::PacketCount() const
{
    return service_->Locked([this] { return service_->receiver.PacketCount(); });
}

bool SimulatedInstrument::WaitForPackets(std::size_t count, Milliseconds timeout) const
{
    return service_->WaitUntilTrue(timeout,
                                   [&] { return service_->receiver.PacketCount() >= count; });
}

bool SimulatedInstrument::WaitForMorePackets(std::size_t count, Milliseconds timeout) const
{
    return WaitForPackets(PacketCount() + count, timeout);
}

bool SimulatedInstrument::WaitForStop(std::size_t stopPackets, Milliseconds timeout) const
{
    return service_->WaitUntilTrue(timeout, [&] {
        return service_->receiver.Statistics(Clock::now()).stopPackets >= stopPackets;
    });
}

Bytes SimulatedInstrument::LastPacket() const
{
    return service_->Locked(
        [this] { return service_->KeptPacket(service_->receiver.PacketCount() - 1); });
}

Bytes SimulatedInstrument::Packet(std::size_t index) const
{
    return service_->Locked([&] { return service_->KeptPacket(index); });
}

StreamStatistics SimulatedInstrument::Statistics() const
{
    return service_->Locked([this] {
        StreamStatistics statistics = service_->receiver.Statistics(Clock::now());
        statistics.underruns = service_->pacer.Underruns();
        return statistics;
    });
}

void SimulatedInstrument::KeepSamples(std::size_t newest)
{
    service_->Locked([&] { service_->receiver.KeepSamples(newest); });
}

std::vector<Pulse> SimulatedInstrument::Pulses() const
{
    return service_->Locked([this] {
        const auto& pulses = service_->receiver.Pulses();
        return std::vector<Pulse>(pulses.begin(), pulses.end());
    });
}

bool SimulatedInstrument::WaitForPulses(std::size_t count, Milliseconds timeout) const
{
    return service_->WaitUntilTrue(timeout, [&] {
        return service_->receiver.Statistics(Clock::now()).pulses >= count;
    });
}

std::vector<Sample> SimulatedInstrument::Samples() const
{
    return service_->Locked([this] {
        const auto& samples = service_->receiver.Samples();
        return std::vector<Sample>(samples.begin(), samples.end());
    });
}

void SimulatedInstrument::SetPace(Pace pace)
{
    service_->Locked([&] { service_->pace = pace; });
}

void SimulatedInstrument::SetSampling(const SamplingStream& stream)
{
    CheckSampling(stream);
    service_->SetSampling(stream);
}

SamplingStatistics SimulatedInstrument::Sampling() const
{
    return service_->Locked([this] { return service_->sampling; });
}

bool SimulatedInstrument::WaitForSamplingFrames(std::uint64_t frames, Milliseconds timeout) const
{
    return service_->WaitUntilTrue(timeout, [&] { return service_->sampling.frames >= frames; });
}

RelayState SimulatedInstrument::Relays() const
{
    return service_->Locked([this] { return service_->device.relays; });
}

DeviceState SimulatedInstrument::State() const
{
    return service_->Locked([this] { return service_->device.state; });
}

std::array<std::uint8_t, 64> SimulatedInstrument::ControlBlock() const
{
    return State().controlBlock;
}

PacingSettings SimulatedInstrument::Pacing() const
{
    return service_->Locked([this] { return service_->Pacing(); });
}

void SimulatedInstrument::SetControlByte(std::size_t index, std::uint8_t value)
{
    service_->Locked([&] { service_->device.state.controlBlock.at(index) = value; });
}

void SimulatedInstrument::SetSetting(std::uint8_t number, std::uint16_t value)
{
    service_->Locked([&] { service_->device.state.settings[number] = value; });
}

Measurements SimulatedInstrument::GetMeasurements() const
{
    return service_->Locked([this] { return service_->device.measurements; });
}

void SimulatedInstrument::SetMeasurements(const Measurements& measurements)
{
    CheckMeasurements(measurements);
    service_->Locked([&] { service_->device.measurements = measurements; });
}

Bytes SimulatedInstrument::ReadFlash(std::uint8_t channel, std::uint32_t address,
                                     std::size_t bytes) const
{
    return service_->Locked([&] { return service_->device.flash.Read(channel, address, bytes); });
}

void SimulatedInstrument::WriteFlash(std::uint8_t channel, std::uint32_t address, const Bytes& data)
{
    service_->Locked([&] { service_->device.flash.Program(channel, address, data); });
}

void SimulatedInstrument::EraseFlash(std::uint8_t channel)
{
    service_->Locked([&] { service_->device.flash.EraseAll(channel); });
}

void SimulatedInstrument::ProgramDcTable(const DcWords& words)
{
    WriteFlash(kDcChannel, 0, ToFlashBytes(words));
}

std::string SimulatedInstrument::SaveFlash() const
{
    return service_->Locked([this] { return service_->device.flash.Save(); });
}

std::uint64_t SimulatedInstrument::FlashGeneration() const
{
    return service_->Locked([this] { return service_->device.flash.Generation(); });
}

void SimulatedInstrument::HoldImage(Image image, const Bytes& bytes)
{
    service_->Locked([&] { instrument::HoldImage(service_->device.flash, image, bytes); });
}

Bytes SimulatedInstrument::HeldImage(Image image, std::size_t bytes) const
{
    return ReadFlash(image == Image::Fpga ? kEcgChannel : kMcuMemory, 0, bytes);
}

FirmwareState SimulatedInstrument::Firmware() const
{
    return service_->Locked([this] {
        FirmwareState state = service_->device.Firmware();
        state.restarts = service_->restarts;
        return state;
    });
}

void SimulatedInstrument::SetRestart(const RestartBehaviour& behaviour)
{
    service_->Locked([&] { service_->restart = behaviour; });
}

bool SimulatedInstrument::WaitForRestarts(unsigned count, Milliseconds timeout) const
{
    return service_->WaitUntilTrue(timeout, [&] { return service_->restarts >= count; });
}

void SimulatedInstrument::Inject(const Fault& fault)
{
    service_->Locked([&] { service_->faults.Inject(fault); });
}

void SimulatedInstrument::ClearFaults()
{
    service_->Locked([this] { service_->faults.Clear(); });
}

std::size_t SimulatedInstrument::PendingFaults() const
{
    return service_->Locked([this] { return service_->faults.Pending(); });
}

bool SimulatedInstrument::WaitForFaults(Milliseconds timeout) const
{
    return service_->WaitUntilTrue(timeout, [this] { return service_->faults.Pending() == 0; });
}

void SimulatedInstrument::SetReply(const Bytes& prefix, const Bytes& reply)
{
    service_->Locked([&] { service_->scripted.Set(prefix, reply); });
}

void SimulatedInstrument::ClearReplies()
{
    service_->Locked([this] { service_->scripted.Clear(); });
}

void SimulatedInstrument::SendUnsolicited(const Bytes& bytes) { service_->SendUnsolicited(bytes); }

Bytes SimulatedInstrument::SamplingBlock(std::uint8_t mask, std::uint16_t value,
                                         std::uint8_t status)
{
    Bytes block(64, 0);
    block[0] = 0xAD;
    block[1] = 0xFF;
    block[4] = mask;
    const auto channels = static_cast<std::size_t>(std::popcount(mask));
    if (channels == 0) return block;
    for (std::size_t at = 8; at + 2 * channels < block.size(); at += 2 * channels + 1) {
        for (std::size_t i = 0; i < channels; ++i) {
            block[at + 2 * i] = static_cast<std::uint8_t>(value >> 8);
            block[at + 2 * i + 1] = static_cast<std::uint8_t>(value & 0xFF);
        }
        block[at + 2 * channels] = status;
    }
    return block;
}

}  // namespace instrument
