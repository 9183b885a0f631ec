#include "Run.h"

#include <thread>

#include "vrax.h"

namespace soak {

namespace {

using std::chrono::milliseconds;

constexpr unsigned kConnectMs = 60000;
constexpr milliseconds kLook{200};

instrument::Options OptionsOf(const Scenario& scenario, CStreamWatch& watch)
{
    instrument::Options options;
    options.pace = scenario.isPaced ? instrument::Pace::RealTime : instrument::Pace::Fast;
    options.keepPackets = 1;
    options.keepExchanges = 1;
    options.onExchange = [&watch](const instrument::Exchange& exchange) { watch.See(exchange); };
    return options;
}

std::size_t MostCommands(const Scenario& scenario)
{
    return 2 * static_cast<std::size_t>(scenario.minutes * 60 / kCommandEvery) + 1;
}

}  // namespace

CRun::CRun(const Scenario& scenario)
    : scenario_(scenario),
      figures_(MostCommands(scenario)),
      instrument_(OptionsOf(scenario, watch_))
{}

Generator CRun::Seeded(unsigned part) const
{
    std::seed_seq seed{scenario_.seed, part};
    return Generator(seed);
}

bool CRun::LetPlay(std::size_t packets)
{
    const std::size_t wanted = instrument_.PacketCount() + packets;
    while (!isOver_ && !instrument_.WaitForPackets(wanted, kLook)) {
    }
    return !isOver_;
}

bool CRun::LetPlayAbout(double seconds, Generator& random)
{
    return LetPlay(std::uniform_int_distribution<std::size_t>(1, 2 * PacketsIn(seconds))(random));
}

bool CRun::WaitUntilOver(std::uint64_t samples)
{
    auto lastPacket = std::chrono::steady_clock::now();
    while (instrument_.Statistics().samples < samples) {
        const bool plays = instrument_.WaitForMorePackets(1, kLook);
        const auto now = std::chrono::steady_clock::now();
        if (plays) lastPacket = now;
        if (now - lastPacket > kStall) {
            departures_.Add("no packet in {} s", kStall.count());
            return false;
        }
    }
    return true;
}

// Connected and playing. A thread that was told to end may take a moment.
Resources CRun::MeasureAtRest()
{
    constexpr std::ptrdiff_t kMostThreads = 1000;
    const std::scoped_lock lock(plug_, signal_);
    std::ptrdiff_t fewest = kMostThreads;
    for (int looks = 0; looks < 20; ++looks) {
        std::this_thread::sleep_for(milliseconds(5));
        fewest = std::min(fewest, Resources().threads);
    }
    Resources resources;
    resources.threads = fewest;
    return resources;
}

void CRun::Change()
{
    Generator random = Seeded(1);
    while (LetPlayAbout(kChangeEvery, random)) {
        const Action& change = RandomChange(random);
        if (!change.run(random)) departures_.Add("{} was refused", change.name);
        ++figures_.changes;
    }
}

void CRun::Command()
{
    Generator random = Seeded(2);
    while (LetPlayAbout(kCommandEvery, random)) CommandOnce(random);
}

void CRun::CommandOnce(Generator& random)
{
    constexpr double kSpoiltMs = 15;  // long enough to make a reply late
    const Action& command = RandomCommand(random);
    figures_.longestHoldUpMs = std::max(figures_.longestHoldUpMs, holdUp_.TakeLongestMs());
    const CDisturbances::CCalm calm(disturbances_);
    const CStopwatch watch;
    const bool succeeded = command.run(random);
    const double ms = watch.Ms();
    const double heldUpMs = holdUp_.TakeLongestMs();
    figures_.longestHoldUpMs = std::max(figures_.longestHoldUpMs, heldUpMs);
    if (!calm.Lasted()) {
        ++figures_.disturbedCommands;
        figures_.longestDisturbedMs = std::max(figures_.longestDisturbedMs, ms);
        if (ms > kLongestReplugMs) departures_.Add("{} took {:.0f} ms", command.name, ms);
        return;
    }
    figures_.commands.Add(ms);
    if (ms > kLongestCommandMs + kTransfers * heldUpMs) {
        departures_.Add("{} took {:.0f} ms", command.name, ms);
    }
    if (succeeded) return;
    if (heldUpMs > kSpoiltMs) ++figures_.heldUpCommands;
    else departures_.Add("{} failed after {:.1f} ms", command.name, ms);
}

void CRun::Restart()
{
    Generator random = Seeded(3);
    while (LetPlayAbout(kRestartEvery, random)) {
        const std::lock_guard lock(signal_);
        const CDisturbances::CScope disturbance(disturbances_);
        if (VRAXSetOutputFunction(OUTPUT_OFF) != 0) departures_.Add("the signal did not stop");
        if (VRAXSetOutputFunction(RandomSignal(random)) != 0) {
            departures_.Add("the signal did not start");
        }
        ++figures_.restarts;
    }
}

void CRun::Replug()
{
    Generator random = Seeded(4);
    const double seconds = std::min(kReplugEvery, scenario_.minutes * 60 / kLeastReplugs / 2);
    while (LetPlayAbout(seconds, random)) ReplugOnce(random);
}

// Some come back before anybody looks.
void CRun::ReplugOnce(Generator& random)
{
    const milliseconds away(std::uniform_int_distribution(0, 1500)(random));
    const std::lock_guard lock(plug_);
    const CDisturbances::CScope disturbance(disturbances_);
    watch_.Cut();
    instrument_.Unplug();
    std::this_thread::sleep_for(away);
    watch_.Cut();
    const CStopwatch watch;
    instrument_.Plug();
    const bool plays = instrument_.WaitForMorePackets(1, kStall);
    figures_.longestReplugMs = std::max(figures_.longestReplugMs, watch.Ms());
    if (!plays || watch.Ms() > kLongestReplugMs) {
        departures_.Add("replug {}: plays again after {:.0f} ms", figures_.replugs, watch.Ms());
    }
    // The first packet goes out while the listener is told.
    while (!VRAXIsConnected() && watch.Ms() < kLongestReplugMs) {
        std::this_thread::sleep_for(milliseconds(1));
    }
    ++figures_.replugs;
}

void CRun::Play(const std::function<void(int tenth, const Resources&)>& onTenth)
{
    SetDeviceTimeoutSetting(kReplyMs, 2 * kReplyMs);
    if (!VRAXConnect(0, kConnectMs)) return departures_.Add("no connection");
    if (VRAXSetOutputFunction(OUTPUT_ECG) != 0) return departures_.Add("no signal");
    LetPlay(1);
    {
        Generator random = Seeded(0);
        ReplugOnce(random);  // whatever is made once and kept is there when the figures begin
        figures_.replugs = 0;
        figures_.longestReplugMs = 0;
    }
    onTenth(0, MeasureAtRest());
    std::thread threads[] = {std::thread([this] { Change(); }), std::thread([this] { Command(); }),
                             std::thread([this] { Restart(); }), std::thread([this] { Replug(); })};
    const std::uint64_t before = instrument_.Statistics().samples;
    for (int tenth = 1; tenth <= 10; ++tenth) {
        if (!WaitUntilOver(before + scenario_.Samples() * static_cast<unsigned>(tenth) / 10)) break;
        onTenth(tenth, MeasureAtRest());
    }
    isOver_ = true;
    for (std::thread& thread : threads) thread.join();
    CheckEnd();
}

void CRun::CheckEnd()
{
    if (VRAXIsPlaying() != 1) departures_.Add("nothing plays at the end");
    VRAXFree();
    const instrument::StreamStatistics stream = instrument_.Statistics();
    if (stream.sequenceErrors != 0) departures_.Add("{} sequence errors", stream.sequenceErrors);
    if (stream.frameErrors != 0) departures_.Add("{} frame errors", stream.frameErrors);
    for (const instrument::Refusal& refusal : instrument_.Refusals()) {
        departures_.Add("refused: {}", refusal.reason);
    }
    const double longest = watch_.LongestMs();
    figures_.longestHoldUpMs = std::max(figures_.longestHoldUpMs, holdUp_.TakeLongestMs());
    if (longest > kLongestGapMs + kTransfers * figures_.longestHoldUpMs) {
        departures_.Add("{:.1f} ms between two packets", longest);
    }
}

}  // namespace soak
