// The process ends, or the library is unloaded, in the middle of a burn.

#include <gtest/gtest.h>

#include <ostream>

#include "support/Firmware.h"
#include "support/HostProcess.h"
#include "support/LinkHost.h"
#include "support/Slowdown.h"

using namespace instrument;

namespace {

constexpr std::chrono::milliseconds kPrompt{3000 * kSlowdown};

struct Kind {
    std::string name;
    std::string number;  // in the commands of the host program
    void (*load)(const Bytes& image);
    Bytes (*makeImage)();
    int (*burn)(VRAXBurnCallback);
};
void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

const Kind kKinds[] = {
    {"Fpga", "0", LoadFpga, [] { return FpgaImage(7); }, BurnFirmware},
    {"Mcu", "1", LoadMcu, [] { return McuImage(7); }, BurnMcu},
};

class EndInABurn : public testing::TestWithParam<Kind> {
protected:
    void Burn(CHostProcess& process)
    {
        ASSERT_TRUE(process.Ask("connect 0 60000"));
        ASSERT_TRUE(process.Ask("burn " + GetParam().number));
    }
    static void ExpectEnd(CHostProcess& process, int expected = 0)
    {
        int status = -1;
        ASSERT_TRUE(process.WaitForEnd(kPrompt, status)) << "it does not end";
        EXPECT_EQ(status, expected);
    }
    // The next process connects, and repeats the burn.
    void ExpectRepairable() const
    {
        ASSERT_TRUE(VRAXConnect(0, kConnectMs));
        EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
        GetParam().load(GetParam().makeImage());
        EXPECT_EQ(GetParam().burn(Progress::On), 0);
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        EXPECT_TRUE(instrument_.WaitForMorePackets(3));
    }

    CHost host_{kPatientMs};
    SimulatedInstrument instrument_{0};
};

}  // namespace

TEST_P(EndInABurn, ByExitIsPrompt)
{
    CHostProcess process(VRAX_HOST_PROGRAM);
    Burn(process);
    process.Tell("leave");
    ExpectEnd(process);
    EXPECT_EQ(CountLockFiles(), 0);
    ExpectRepairable();
}

TEST_P(EndInABurn, ByItsCallbackIsPrompt)
{
    CHostProcess process(VRAX_HOST_PROGRAM);
    ASSERT_TRUE(process.Ask("connect 0 60000"));
    process.Tell("leave-from-burn " + GetParam().number);
    ExpectEnd(process);
    EXPECT_EQ(CountLockFiles(), 0);
}

TEST_P(EndInABurn, ByUnloadingLetsTheBurnOut)
{
    CHostProcess process(VRAX_LOADING_HOST_PROGRAM);
    Burn(process);
    process.Tell("unload");
    process.CloseInput();
    ExpectEnd(process);
}

TEST_P(EndInABurn, ByDeathLeavesALockThatTheNextProcessReplaces)
{
    CHostProcess process(VRAX_HOST_PROGRAM);
    Burn(process);
    process.Kill();
    ExpectEnd(process, 128 + SIGKILL);
    EXPECT_EQ(CountLockFiles(), 1);
    ExpectRepairable();
}

INSTANTIATE_TEST_SUITE_P(Kinds, EndInABurn, testing::ValuesIn(kKinds),
                         [](const auto& parameter) { return parameter.param.name; });
