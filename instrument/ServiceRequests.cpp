// What happens with one request: the device's answer, its faults, and the way out.

#include <algorithm>
#include <cstring>
#include <utility>

#include "instrument/Service.h"

namespace instrument {

namespace {

constexpr std::size_t kKeptRefusals = 1000;
constexpr std::uint8_t kAllSamplingChannels = 0x0F;

std::uint8_t MarkOf(const Fault& fault) { return fault.data.empty() ? 0 : fault.data[0]; }

}  // namespace

void SimulatedInstrument::CService::Handle(Request kind, ByteView request)
{
    Outgoing outgoing;
    outgoing.isStream = kind == Request::Stream;
    outgoing.due = arrived_;
    outgoing.exchange = Record(kind, request);
    std::optional<Fault> fault;
    if (faults.Pending() > 0) fault = faults.Take(kind, request);
    if (fault && fault->kind == FaultKind::HangUpBefore) {
        Complete(outgoing.exchange);
        return Disconnect();
    }

    const Bytes* exact = scripted.Find(request);
    const Answer answer = Execute(kind, request, outgoing);
    if (!answer.refusal.empty() && exact == nullptr) {
        return Refuse(request, answer.refusal, outgoing.exchange);
    }
    const auto& bytes = answer.reply.bytes;
    outgoing.bytes.assign(bytes.begin(), bytes.begin() + answer.reply.size);
    if (exact != nullptr) outgoing.bytes = *exact;
    outgoing.hangUpAfter = answer.restarts;
    outgoing.comesBack = restart.comesBack;

    const bool isAnswered = !fault || Misbehave(*fault, answer.reply, outgoing);
    if (isAnswered && !outgoing.bytes.empty()) {
        Send(std::move(outgoing));
    } else {
        if (outgoing.hangUpAfter) BeginHangUp(outgoing);
        Complete(outgoing.exchange);
    }
    if (kind == Request::Stream && answer.refusal.empty()) AfterPacket(request);
}

Answer SimulatedInstrument::CService::Execute(Request kind, ByteView request, Outgoing& outgoing)
{
    if (kind == Request::Stream) return TakePacket(request, outgoing);
    if (kind == Request::Unknown) return Answer::Refused("unknown command");
    Answer answer = device.Execute(kind, request);
    if (!answer.refusal.empty()) return answer;
    if (kind == Request::Identify) receiver.HostStartsAnew();
    if (kind == Request::Relays) receiver.RelaysChanged(device.relays);
    const bool isSampling = kind == Request::SamplingStart || kind == Request::SamplingStop;
    if (isSampling) sampler.Begin(device.state.samplingMask, arrived_);
    return answer;
}

Answer SimulatedInstrument::CService::TakePacket(ByteView packet, Outgoing& outgoing)
{
    RefreshCalibration();
    const auto isStream = [](const Outgoing& other) { return other.isStream; };
    const bool isEarly = std::any_of(outbox_.begin(), outbox_.end(), isStream);
    const Received received = receiver.Receive(packet, device.relays, isEarly, arrived_);
    KeepPacket(packet);
    if (!received.refusal.empty()) return Answer::Refused(received.refusal);

    if (received.isFirstOfRun) {
        runPace_ = pace;
        pacer.Begin(arrived_);
    }
    if (runPace_ == Pace::RealTime) {
        const unsigned rate = device.relays.sampleRate;
        outgoing.due =
            pacer.DueOf(arrived_, received.samples, rate != 0 ? rate : 20000, received.isResting);
    }
    // The host stopped without waiting: what it is owed comes at once, one reply a packet.
    if (isEarly && received.isResting) {
        for (Outgoing& owed : outbox_) owed.due = arrived_;
        outgoing.due = arrived_;
    }
    Answer answer;
    answer.reply.bytes = {packet[0], packet[1], 0x00, 0xFF};
    std::copy_n(packet.begin() + 6, 2, answer.reply.bytes.begin() + 6);
    return answer;
}

// After the reply, so that the host can build its next packet meanwhile.
void SimulatedInstrument::CService::AfterPacket(ByteView packet)
{
    receiver.Decode(packet, device.Pacing(), newSamples_);
}

void SimulatedInstrument::CService::RefreshCalibration()
{
    if (device.flash.ModuleGeneration() != moduleGeneration_) {
        moduleGeneration_ = device.flash.ModuleGeneration();
        receiver.ReadModuleCalibration(device.flash);
    }
    const std::uint64_t generation = device.flash.DcGeneration();
    if (generation == dcGeneration_) return;
    dcGeneration_ = generation;
    const DcWords words = FromFlashBytes(device.flash.Read(kDcChannel, 0, 2 * kDcTableWords));
    receiver.SetDcWords(IsProgrammed(words) ? words : DefaultDcWords());
}

PacingSettings SimulatedInstrument::CService::Pacing()
{
    RefreshCalibration();
    return receiver.InMillivolts(device.Pacing());
}

void SimulatedInstrument::CService::KeepPacket(ByteView packet)
{
    const std::size_t room = packets_.size() / kPacketBytes;
    std::memcpy(packets_.data() + keptPackets_ % room * kPacketBytes, packet.data(), kPacketBytes);
    ++keptPackets_;
}

Bytes SimulatedInstrument::CService::KeptPacket(std::size_t index) const
{
    const std::size_t room = packets_.size() / kPacketBytes;
    if (index >= keptPackets_ || keptPackets_ - index > room) return {};
    const auto at = packets_.begin() + static_cast<std::ptrdiff_t>(index % room * kPacketBytes);
    return {at, at + kPacketBytes};
}

// Changes what goes out; false when nothing does.
bool SimulatedInstrument::CService::Misbehave(const Fault& fault, const Reply& reply,
                                              Outgoing& outgoing)
{
    Bytes& bytes = outgoing.bytes;
    switch (fault.kind) {
        case FaultKind::Silence: return false;
        case FaultKind::ShortReply: bytes.resize(std::min(bytes.size(), fault.bytes)); break;
        case FaultKind::LateReply: outgoing.due += fault.delay; break;
        case FaultKind::WrongAcknowledge:
            for (const std::size_t mark : {reply.mark, reply.secondMark}) {
                if (mark > 0 && mark < bytes.size()) bytes[mark] = MarkOf(fault);
            }
            break;
        case FaultKind::WrongBytes:
            if (!fault.data.empty()) bytes = fault.data;
            else
                for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(~byte);
            break;
        case FaultKind::ChangedByte:
            if (fault.bytes >= bytes.size()) break;
            bytes[fault.bytes] =
                fault.data.empty() ? static_cast<std::uint8_t>(~bytes[fault.bytes]) : fault.data[0];
            break;
        case FaultKind::Unsolicited: {
            Outgoing stray;
            stray.due = arrived_;
            stray.bytes =
                fault.data.empty() ? SamplingBlock(kAllSamplingChannels, 0, 0) : fault.data;
            Send(std::move(stray));
            break;
        }
        case FaultKind::HangUpDuring: bytes.resize(bytes.size() / 2); [[fallthrough]];
        case FaultKind::HangUpAfter:
            outgoing.hangUpAfter = true;
            outgoing.comesBack = false;
            break;
        case FaultKind::HangUpBefore: break;
    }
    return true;
}

std::shared_ptr<Exchange> SimulatedInstrument::CService::Record(Request kind, ByteView request)
{
    const bool isKept = kind != Request::Stream || options_.keepStreamExchanges;
    if (!isKept && !options_.onExchange) return nullptr;
    auto exchange = std::make_shared<Exchange>();
    exchange->kind = kind;
    exchange->request.assign(request.begin(), request.end());
    exchange->arrived = arrived_;
    if (!isKept || options_.keepExchanges == 0) return exchange;
    exchanges.push_back(exchange);
    if (exchanges.size() > options_.keepExchanges) exchanges.pop_front();
    return exchange;
}

void SimulatedInstrument::CService::Refuse(ByteView request, const std::string& reason,
                                           const std::shared_ptr<Exchange>& of)
{
    ++refusalCount;
    Refusal refusal{{request.begin(), request.end()}, reason, arrived_};
    if (of) of->refused = true;
    Complete(of);
    if (options_.onRefusal) newRefusals_.push_back(refusal);
    if (refusals.size() < kKeptRefusals) refusals.push_back(std::move(refusal));
}

void SimulatedInstrument::CService::Complete(const std::shared_ptr<Exchange>& exchange)
{
    if (exchange && options_.onExchange) newExchanges_.push_back(*exchange);
}

void SimulatedInstrument::CService::Send(Outgoing&& outgoing)
{
    const bool isNow = outgoing.due <= arrived_ || outgoing.due <= Clock::now();
    if (isNow && !isBlocked_ && Advance(outgoing)) return;
    outbox_.push_back(std::move(outgoing));
}

void SimulatedInstrument::CService::SendDue(Clock::time_point now)
{
    isBlocked_ = false;
    for (auto outgoing = outbox_.begin(); outgoing != outbox_.end() && !isBlocked_;) {
        if (outgoing->due > now && outgoing->written == 0) ++outgoing;
        else if (Advance(*outgoing)) outgoing = outbox_.erase(outgoing);
    }
}

// Writes what the terminal takes. True when that was all.
bool SimulatedInstrument::CService::Advance(Outgoing& outgoing)
{
    if (!terminal.IsOpen()) return true;
    const ByteView rest = ByteView(outgoing.bytes).subspan(outgoing.written);
    outgoing.written += terminal.Write(rest);
    if (outgoing.written < outgoing.bytes.size()) {
        isBlocked_ = true;
        return false;
    }
    Finish(outgoing);
    return true;
}

}  // namespace instrument
