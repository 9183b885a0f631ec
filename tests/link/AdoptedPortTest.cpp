// A port that the application has opened itself.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/LinkHost.h"

using namespace instrument;

namespace {

class AdoptedPort : public testing::Test {
protected:
    void SetUp() override
    {
        file_ = open(instrument_.Path().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(file_, 0);
        VRAXSetDeviceHandle(file_);
    }
    void TearDown() override
    {
        VRAXSetOutputFunction(OUTPUT_OFF);
        VRAXSetDeviceHandle(-1);
        EXPECT_EQ(VRAXGetDeviceHandle(), -1);
    }

    CHost host_;
    SimulatedInstrument instrument_{RealTime()};  // raw already
    int file_ = -1;
};

}  // namespace

TEST_F(AdoptedPort, IsAskedToIdentifyItselfWithoutAConnection)
{
    EXPECT_EQ(VRAXGetDeviceHandle(), file_);
    EXPECT_STREQ(VRAXGetSerialNumber(), "TEC1020-250042");
    EXPECT_STREQ(VRAXGetFWVersion(), "2.1.00.07");
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_EQ(CountLockFiles(), 0);
}

TEST_F(AdoptedPort, AnswersCommandsAndLetsParametersBeSet)
{
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_EQ(VRAXSetAmplitude(2.0), 0);
    EXPECT_EQ(VRAXSetOutputLead(3, true), 0);
    EXPECT_EQ(instrument_.Relays().word & 0x090000U, 0x090000U);  // leads 0 and 3
}

// Without a connection nothing loads the DC table but the application.
TEST_F(AdoptedPort, PlaysAndStops)
{
    instrument_.ProgramDcTable(DefaultDcWords());
    ASSERT_TRUE(ReadDCCalibrationData());
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(10));
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_TRUE(instrument_.WaitForStop());
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument_);
}

TEST_F(AdoptedPort, StaysOpenWhenItIsGivenBack)
{
    VRAXSetDeviceHandle(-1);
    EXPECT_NE(fcntl(file_, F_GETFD), -1);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0U);
    EXPECT_EQ(VRAXSetAmplitude(2.0), -1);
}
