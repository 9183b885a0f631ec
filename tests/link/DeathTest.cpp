// A process dies at a chosen request, before the reply or with it, and the next one takes over its
// lock and its instrument.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <ostream>

#include "support/HostProcess.h"
#include "support/LinkHost.h"
#include "support/NextStart.h"

using namespace instrument;

namespace {

constexpr char kConnect[] = "connect 0 60000";
constexpr char kSine[] = "play 1";
constexpr char kVoltage[] = "voltage 0 250";

// Where a process dies: in what it is told last, at the request of this kind after `skip` others.
struct Point {
    std::string name;
    std::vector<std::string> before;
    std::string last;
    Request request;
    unsigned skip = 0;
};

const Point kPoints[] = {
    {"TheProbe", {}, kConnect, Request::SamplingStop},
    {"TheIdentification", {}, kConnect, Request::Identify},
    {"TheIdentification_Record", {}, kConnect, Request::FlashRead},
    {"TheIdentification_Hardware", {}, kConnect, Request::HardwareInfo},
    {"TheIdentification_Firmware", {}, kConnect, Request::FirmwareInfo},
    {"ThePreparation_Relays", {}, kConnect, Request::Relays},
    {"ThePreparation_Table", {}, kConnect, Request::FlashRead, 100},
    {"ACommand", {kConnect}, kVoltage, Request::UsbVoltage},
    {"TheStartOfASignal", {kConnect}, kSine, Request::Relays},
    {"TheFirstPacket", {kConnect}, kSine, Request::Stream},
    {"AStream", {kConnect}, kSine, Request::Stream, 20},
    {"ACommandInAStream", {kConnect, kSine}, kVoltage, Request::UsbVoltage},
    {"TheStartOfSampling", {kConnect}, "sample", Request::SamplingStart},
    {"AnFpgaBurn_Erase", {kConnect}, "burn 0", Request::FlashErase, 20},
    {"AnFpgaBurn_Write", {kConnect}, "burn 0", Request::FlashWrite, 100},
    {"AnFpgaBurn_Verify", {kConnect}, "burn 0", Request::FlashRead, 100},
    {"AnFpgaBurn_Restart", {kConnect}, "burn 0", Request::Restart},
    {"AnMcuBurn_Enter", {kConnect}, "burn 1", Request::ControlMode},
    {"AnMcuBurn_Erase", {kConnect}, "burn 1", Request::McuErase, 20},
    {"AnMcuBurn_Write", {kConnect}, "burn 1", Request::McuWrite, 100},
    {"AnMcuBurn_Verify", {kConnect}, "burn 1", Request::McuRead, 100},
    {"AnMcuBurn_Restart", {kConnect}, "burn 1", Request::ControlMode, 1},
    {"Free_Relays", {kConnect, kSine}, "free", Request::Relays},
    {"Free_Pacing", {kConnect, kSine}, "free", Request::ControlWrite},
    {"Free_Light", {kConnect, kSine}, "free", Request::DynamicLight},
};

// The reply never comes, lies in the port when the process dies, or comes to the next process.
enum class Moment { BeforeTheReply, WithTheReply, ReplyToTheNext };

struct Death {
    Point point;
    Moment moment;
    std::string Name() const
    {
        switch (moment) {
            case Moment::BeforeTheReply: return point.name + "_BeforeTheReply";
            case Moment::WithTheReply: return point.name + "_WithTheReply";
            case Moment::ReplyToTheNext: break;
        }
        return point.name + "_ReplyToTheNext";
    }
};
void PrintTo(const Death& death, std::ostream* out) { *out << death.Name(); }

std::vector<Death> Deaths()
{
    std::vector<Death> deaths;
    for (const Point& point : kPoints) {
        for (const Moment moment :
             {Moment::BeforeTheReply, Moment::WithTheReply, Moment::ReplyToTheNext}) {
            deaths.push_back({point, moment});
        }
    }
    return deaths;
}

// Before the reply to the first request of the next process: a block that acknowledges whatever it
// is taken for.
Fault ReplyToTheDead()
{
    Fault fault = MakeFault(FaultKind::Unsolicited, Request::SamplingStop);
    fault.data = Bytes(64, 0xFF);
    return fault;
}

// Kills a process when the instrument has seen a request.
class CExecutioner {
public:
    void Arm(pid_t victim, Request request, unsigned skip)
    {
        request_ = request;
        left_ = skip + 1;
        victim_ = victim;
    }
    // On the instrument's thread, after the reply if there is one.
    void See(const Exchange& exchange)
    {
        if (victim_ == 0 || exchange.kind != request_ || --left_ > 0) return;
        kill(victim_, SIGKILL);
        victim_ = 0;
    }

private:
    std::atomic<pid_t> victim_{0};
    std::atomic<Request> request_{Request::Any};
    std::atomic<unsigned> left_{0};
};

Options WatchedBy(CExecutioner& executioner)
{
    Options options = RealTime();
    options.ppgModel = 0x3307;
    options.sampling.framesPerSecond = kFullSamplingRate;
    options.onExchange = [&executioner](const Exchange& exchange) { executioner.See(exchange); };
    return options;
}

class DeathWhile : public testing::Test {
protected:
    void ExpectDeath(CHostProcess& process)
    {
        int status = 0;
        ASSERT_TRUE(process.WaitForEnd(kLongWait, status)) << "it does not get there";
        ASSERT_EQ(status, 128 + SIGKILL);
    }
    void ExpectItsLock(pid_t dead)
    {
        ASSERT_EQ(CountLockFiles(), 1);
        EXPECT_EQ(ReadWholeFile(LockFilePath(0)), IdBytes(dead));
    }

    CHost host_{kPatientMs};
    CExecutioner executioner_;
    SimulatedInstrument instrument_{WatchedBy(executioner_)};
};

class DeathIn : public DeathWhile, public testing::WithParamInterface<Death> {};

}  // namespace

TEST_P(DeathIn, IsTakenOverByTheNextStart)
{
    const auto& [point, moment] = GetParam();
    CHostProcess process(VRAX_HOST_PROGRAM);
    const pid_t id = process.Id();
    ASSERT_TRUE(process.Ask("patient"));
    for (const std::string& line : point.before) ASSERT_TRUE(process.Ask(line)) << line;
    if (moment != Moment::WithTheReply) {
        instrument_.Inject(MakeFault(FaultKind::Silence, point.request, 1, point.skip));
    }
    executioner_.Arm(id, point.request, point.skip);
    process.Tell(point.last);
    ASSERT_NO_FATAL_FAILURE(ExpectDeath(process));
    // Once a restart is acknowledged, the process has given up the port.
    if (point.request != Request::Restart || CountLockFiles() > 0) ExpectItsLock(id);
    if (moment == Moment::ReplyToTheNext) instrument_.Inject(ReplyToTheDead());
    std::printf("connected after %.0f ms\n", ExpectUsableByTheNext(instrument_));
}

INSTANTIATE_TEST_SUITE_P(Points, DeathIn, testing::ValuesIn(Deaths()),
                         [](const auto& parameter) { return parameter.param.Name(); });

TEST_F(DeathWhile, SamplingIsTakenOverByTheNextStart)
{
    CHostProcess process(VRAX_HOST_PROGRAM);
    const pid_t id = process.Id();
    ASSERT_TRUE(process.Ask("patient"));
    ASSERT_TRUE(process.Ask(kConnect));
    ASSERT_TRUE(process.Ask("sample"));
    ASSERT_TRUE(instrument_.WaitForSamplingFrames(100));
    process.Kill();
    ASSERT_NO_FATAL_FAILURE(ExpectDeath(process));
    ExpectItsLock(id);
    // The port fills up with frames that nobody reads.
    EXPECT_TRUE(Eventually([&] { return instrument_.Sampling().overruns > 0; }));
    std::printf("connected after %.0f ms\n", ExpectUsableByTheNext(instrument_));
}

TEST_F(DeathWhile, ACommandWaitsIsTakenOverByTheNextStart)
{
    CHostProcess process(VRAX_HOST_PROGRAM);
    const pid_t id = process.Id();
    ASSERT_TRUE(process.Ask("patient"));
    ASSERT_TRUE(process.Ask(kConnect));
    instrument_.Inject(MakeFault(FaultKind::Silence, Request::Stream, kForEver, 3));
    ASSERT_TRUE(process.Ask(kSine));
    ASSERT_TRUE(instrument_.WaitForPackets(4));
    ASSERT_TRUE(process.Ask("command"));
    process.Kill();
    ASSERT_NO_FATAL_FAILURE(ExpectDeath(process));
    ExpectItsLock(id);
    instrument_.ClearFaults();
    std::printf("connected after %.0f ms\n", ExpectUsableByTheNext(instrument_));
}
