#include "instrument/Service.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <stdexcept>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace instrument {

namespace {

constexpr std::size_t kInputBytes = 8192;

// A request is written at once, so that a piece of one means that the rest will not come. A packet
// may be held up between its two halves when the machine is busy.
constexpr Milliseconds kRequestPatience{50};
constexpr Milliseconds kPacketPatience{1000};

// Between writing a reply and the hang-up: the first for the kernel to pass the bytes on.
constexpr Milliseconds kHangUpPause{2};
constexpr Milliseconds kHangUpPatience{500};

// Until it is tried again to come back when something else has taken the node.
constexpr Milliseconds kReturnPause{100};

constexpr unsigned kLongestBurst = 256;  // photodiode frames between two looks at the port
// Frames that wait for room in the port: more than what a hold-up of this thread lets come due.
constexpr std::ptrdiff_t kFrameBuffer = 2048;

timespec ToTimespec(Clock::duration duration)
{
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(
                        std::max(duration, Clock::duration::zero()))
                        .count();
    return {static_cast<time_t>(ns / 1000000000), static_cast<long>(ns % 1000000000)};
}

}  // namespace

SimulatedInstrument::CService::CService(const Options& options)
    : device(options),
      receiver(options, device.flash),
      terminal(options.port),
      pace(options.pace),
      restart(options.restart),
      options_(options),
      wantsSamples_(static_cast<bool>(options.onSamples)),
      input_(kInputBytes),
      runPace_(options.pace),
      dcGeneration_(0),
      moduleGeneration_(device.flash.ModuleGeneration()),
      packets_(std::max<std::size_t>(options.keepPackets, 1) * kPacketBytes)
{
    sampler.SetStream(options.sampling);
    if (options_.plugged) terminal.Open();
    wakeDescriptor_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (wakeDescriptor_ < 0) throw std::runtime_error("no event descriptor is left");
    thread_ = std::thread([this] { Run(); });
}

SimulatedInstrument::CService::~CService()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    Wake();
    thread_.join();
    close(wakeDescriptor_);
}

void SimulatedInstrument::CService::Wake() const
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t count = write(wakeDescriptor_, &one, sizeof one);
}

void SimulatedInstrument::CService::SetPlugged(bool plugged)
{
    std::unique_lock lock(mutex_);
    wantedPlugged_ = plugged;
    Wake();
    ++waiters_;
    changed_.wait(lock, [this] { return !wantedPlugged_; });
    --waiters_;
    if (!plugError_.empty()) throw std::runtime_error(std::exchange(plugError_, {}));
}

void SimulatedInstrument::CService::SendUnsolicited(std::span<const std::uint8_t> bytes)
{
    const std::lock_guard lock(mutex_);
    Outgoing outgoing;
    outgoing.due = Clock::now();
    outgoing.bytes.assign(bytes.begin(), bytes.end());
    Send(std::move(outgoing));
    Wake();  // what could not be written now
}

void SimulatedInstrument::CService::SetSampling(const SamplingStream& stream)
{
    const std::lock_guard lock(mutex_);
    sampler.SetStream(stream);
    sampler.Begin(device.state.samplingMask, Clock::now());
    Wake();  // its next frame may be due sooner
}

void SimulatedInstrument::CService::DiscardUnread()
{
    const std::lock_guard lock(mutex_);
    outbox_.clear();
    terminal.DiscardUnread();
}

void SimulatedInstrument::CService::Run()
{
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        const WaitPlan plan = PlanWait();
        lock.unlock();
        RunHooks();
        Wait(plan);
        lock.lock();

        ServeOwner();
        if (!hangUp_) ReadInput();
        const Clock::time_point now = Clock::now();
        CheckPartial(now);
        SendDue(now);
        SendSamplingFrames(now);
        CheckHangUp(now);
        CheckReturn(now);
        if (waiters_ > 0) changed_.notify_all();
    }
    terminal.Close();
    lock.unlock();
    RunHooks();
}

SimulatedInstrument::CService::WaitPlan SimulatedInstrument::CService::PlanWait() const
{
    return {terminal.IsOpen() && !hangUp_ ? terminal.Descriptor() : -1, isBlocked_, NextDeadline()};
}

void SimulatedInstrument::CService::Wait(const WaitPlan& plan)
{
    const auto events = static_cast<short>(plan.untilWritable ? POLLIN | POLLOUT : POLLIN);
    pollfd descriptors[2] = {{wakeDescriptor_, POLLIN, 0}, {plan.terminal, events, 0}};
    timespec timeout{};
    if (plan.deadline) timeout = ToTimespec(*plan.deadline - Clock::now());
    ppoll(descriptors, 2, plan.deadline ? &timeout : nullptr, nullptr);
    if ((descriptors[0].revents & POLLIN) != 0) {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t got = read(wakeDescriptor_, &count, sizeof count);
    }
}

void SimulatedInstrument::CService::RunHooks()
{
    if (!newSamples_.empty()) {
        if (wantsSamples_) options_.onSamples(newSamples_);
        newSamples_.clear();
    }
    for (const Exchange& exchange : newExchanges_) options_.onExchange(exchange);
    newExchanges_.clear();
    for (const Refusal& refusal : newRefusals_) options_.onRefusal(refusal);
    newRefusals_.clear();
}

std::optional<Clock::time_point> SimulatedInstrument::CService::NextDeadline() const
{
    std::optional<Clock::time_point> deadline;
    const auto consider = [&](std::optional<Clock::time_point> time) {
        if (time && (!deadline || *time < *deadline)) deadline = time;
    };
    consider(partialUntil_);
    consider(sampler.Due());
    if (hangUp_) consider(hangUp_->next);
    consider(returnAt_);
    if (!isBlocked_) {
        for (const Outgoing& outgoing : outbox_) consider(outgoing.due);
    }
    return deadline;
}

void SimulatedInstrument::CService::ServeOwner()
{
    if (!wantedPlugged_) return;
    const bool plugged = *wantedPlugged_;
    wantedPlugged_.reset();
    if (!plugged) return Disconnect();
    if (terminal.IsOpen()) return;
    try {
        Connect();
    } catch (const std::exception& error) {
        plugError_ = error.what();
    }
}

void SimulatedInstrument::CService::Connect()
{
    returnAt_.reset();
    terminal.Open();
    device.PowerUp();
    receiver.AllowResume();
}

void SimulatedInstrument::CService::Disconnect()
{
    terminal.Close();
    returnAt_.reset();
    for (const Outgoing& outgoing : outbox_) Complete(outgoing.exchange);
    outbox_.clear();
    isBlocked_ = false;
    inputSize_ = 0;
    partialUntil_.reset();
    hangUp_.reset();
    sampler.End();
    receiver.HostStartsAnew();
}

void SimulatedInstrument::CService::ReadInput()
{
    if (!terminal.IsOpen()) return;
    const std::size_t count = terminal.Read(std::span(input_).subspan(inputSize_));
    if (count == 0) return;
    inputSize_ += count;
    arrived_ = Clock::now();
    partialUntil_.reset();
    TakeRequests();
}

void SimulatedInstrument::CService::TakeRequests()
{
    std::size_t taken = 0;
    while (taken < inputSize_ && terminal.IsOpen() && !hangUp_) {
        const ByteView bytes(input_.data() + taken, inputSize_ - taken);
        const Classified found = Classify(bytes);
        if (found.arrival == Arrival::Complete) {
            Handle(found.kind, bytes.first(found.length));
            taken += found.length;
        } else if (scripted.Find(bytes) != nullptr) {
            Handle(Request::Unknown, bytes);
            taken = inputSize_;
        } else if (found.arrival == Arrival::Partial) {
            const bool isPacket = found.kind == Request::Stream;
            partialUntil_ = arrived_ + (isPacket ? kPacketPatience : kRequestPatience);
            break;
        } else {
            Refuse(bytes, ReasonAgainst(bytes), Record(Request::Unknown, bytes));
            taken = inputSize_;
        }
    }
    inputSize_ = inputSize_ > taken ? inputSize_ - taken : 0;  // 0 already after a hang-up
    if (inputSize_ > 0) std::memmove(input_.data(), input_.data() + taken, inputSize_);
}

void SimulatedInstrument::CService::CheckPartial(Clock::time_point now)
{
    if (!partialUntil_ || now < *partialUntil_) return;
    partialUntil_.reset();
    const ByteView bytes(input_.data(), inputSize_);
    Refuse(bytes, ReasonAgainst(bytes), Record(Request::Unknown, bytes));
    inputSize_ = 0;
}

void SimulatedInstrument::CService::CheckHangUp(Clock::time_point now)
{
    if (!hangUp_ || now < hangUp_->next) return;
    if (terminal.Unread() > 0 && now < hangUp_->latest) {
        hangUp_->next = now + Milliseconds(1);
        return;
    }
    const bool comesBack = hangUp_->comesBack;
    Disconnect();
    if (comesBack) returnAt_ = now + restart.away;
}

void SimulatedInstrument::CService::CheckReturn(Clock::time_point now)
{
    if (!returnAt_ || now < *returnAt_) return;
    try {
        Connect();
        ++restarts;
    } catch (const std::exception&) {
        returnAt_ = now + kReturnPause;
    }
}

void SimulatedInstrument::CService::BeginHangUp(const Outgoing& outgoing)
{
    const Clock::time_point now = Clock::now();
    hangUp_ = HangUp{now + kHangUpPause, now + kHangUpPatience, outgoing.comesBack};
}

std::ptrdiff_t SimulatedInstrument::CService::WaitingSamplingFrames() const
{
    return std::count_if(outbox_.begin(), outbox_.end(),
                         [](const Outgoing& outgoing) { return outgoing.isSampling; });
}

// After a hold-up the frames that are due go out together, as far as the port takes them.
void SimulatedInstrument::CService::SendSamplingFrames(Clock::time_point now)
{
    for (unsigned burst = 0; burst < kLongestBurst; ++burst) {
        const auto due = sampler.Due();
        if (!due || now < *due) return;
        Outgoing outgoing;
        outgoing.bytes = sampler.Next();
        if (outgoing.bytes.empty()) {
            ++sampling.lost;
        } else if (isBlocked_ && WaitingSamplingFrames() >= kFrameBuffer) {
            ++sampling.overruns;
        } else {
            outgoing.due = now;
            outgoing.isSampling = true;
            Send(std::move(outgoing));
        }
    }
}

// The reply whose write this finishes starts the countdown.
void SimulatedInstrument::CService::Finish(const Outgoing& outgoing)
{
    const Clock::time_point now = Clock::now();
    if (outgoing.isStream) receiver.Replied(now);
    if (outgoing.isSampling) ++sampling.frames;
    if (outgoing.hangUpAfter) BeginHangUp(outgoing);
    if (!outgoing.exchange) return;
    outgoing.exchange->reply = outgoing.bytes;
    outgoing.exchange->replied = now;
    Complete(outgoing.exchange);
}

}  // namespace instrument
