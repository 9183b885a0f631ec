#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "device/Device.h"
#include "support/Descriptors.h"
#include "support/RawPort.h"
#include "support/Timing.h"
#include "vrax.h"

namespace {
bool Accept() { return true; }
bool Reject() { return false; }

std::vector<std::string> s_probed;

// Which terminal stands behind the port that is probed.
void NoteProbedTerminal()
{
    char target[64] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(static_cast<int>(g_hDevice));
    if (readlink(link.c_str(), target, sizeof target - 1) > 0) s_probed.emplace_back(target);
}
bool NoteAndReject()
{
    NoteProbedTerminal();
    return false;
}

termios Attributes(int terminal)
{
    termios attributes = {};
    EXPECT_EQ(tcgetattr(terminal, &attributes), 0);
    return attributes;
}

bool LockExists(int port)
{
    return std::filesystem::exists("/var/lock/tessarin.ACM" + std::to_string(port) + ".lock");
}
}  // namespace

TEST(Port, NoneIsOpenAtLoad)
{
    EXPECT_EQ(g_hDevice, -1);
    EXPECT_EQ(g_nDeviceReadTimeout, 100u);
    EXPECT_EQ(g_nDeviceWriteTimeout, 200u);
    EXPECT_EQ(g_nLockFile, -1);
    EXPECT_EQ(g_nPortNumber, -1);
    EXPECT_EQ(DeviceIsConnected(), 0);
    EXPECT_EQ(DeviceIsAlive(), 0);
    EXPECT_EQ(DeviceCheckPath(""), 0);
    EXPECT_EQ(DeviceCheckPath("/dev/ttyACM0"), 0);
    EXPECT_EQ(VRAXGetDeviceHandle(), -1);
}

TEST(Port, ThatDoesNotExistIsRefusedWithoutTouchingTheLock)
{
    SetDeviceProbe(Accept);
    const auto before = CountDescriptors();
    EXPECT_EQ(DoFindDevice(5), 0);
    EXPECT_EQ(g_hDevice, -1);
    EXPECT_FALSE(LockExists(5));
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(Port, ThatIsAcceptedIsOpenAndLocked)
{
    SetDeviceProbe(Accept);
    const CRawPort port(7);
    ASSERT_EQ(DoFindDevice(7), 1);
    EXPECT_EQ(DeviceIsConnected(), 1);
    EXPECT_EQ(VRAXGetDeviceHandle(), static_cast<long>(g_hDevice));
    EXPECT_TRUE(LockExists(7));
    EXPECT_EQ(DeviceCheckPath("/dev/ttyACM7"), 1);
    EXPECT_EQ(DeviceCheckPath("/dev/ttyACM70"), 0);
    EXPECT_EQ(DeviceCheckPath("/dev/ttyACM"), 0);
    EXPECT_EQ(DeviceIsAlive(), 1);

    const int flags = fcntl(static_cast<int>(g_hDevice), F_GETFL);
    EXPECT_NE(flags & O_NONBLOCK, 0);
    EXPECT_EQ(flags & O_ACCMODE, O_RDWR);
    EXPECT_EQ(fcntl(static_cast<int>(g_hDevice), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    DeviceClose();
}

TEST(Port, ClosingReturnsToTheStateWithoutAPortAndMayBeRepeated)
{
    SetDeviceProbe(Accept);
    const CRawPort port(7);
    const auto before = CountDescriptors();
    ASSERT_EQ(DoFindDevice(7), 1);
    DeviceClose();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(g_hDevice, -1);
        EXPECT_EQ(g_nLockFile, -1);
        EXPECT_EQ(DeviceIsConnected(), 0);
        EXPECT_EQ(DeviceCheckPath("/dev/ttyACM7"), 0);
        EXPECT_EQ(DeviceIsAlive(), 0);
        EXPECT_FALSE(LockExists(7));
        EXPECT_EQ(CountDescriptors(), before);
        DeviceClose();
    }
}

TEST(Port, ThatIsRejectedIsClosedAndUnlocked)
{
    SetDeviceProbe(Reject);
    const CRawPort port(2);
    const auto before = CountDescriptors();
    EXPECT_EQ(DoFindDevice(2), 0);
    EXPECT_EQ(g_hDevice, -1);
    EXPECT_FALSE(LockExists(2));
    EXPECT_EQ(DeviceCheckPath("/dev/ttyACM2"), 0);
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(Port, ThatIsLockedByALivingProcessIsNeitherProbedNorConfigured)
{
    SetDeviceProbe(NoteAndReject);
    const CRawPort port(2);
    termios found = Attributes(port.Slave());
    found.c_lflag |= ECHO;
    ASSERT_EQ(tcsetattr(port.Slave(), TCSANOW, &found), 0);
    ASSERT_EQ(LockDeviceFile(2), 1);  // this process lives

    const auto before = CountDescriptors();
    EXPECT_EQ(DoFindDevice(2), 0);
    EXPECT_EQ(g_hDevice, -1);
    EXPECT_TRUE(s_probed.empty());
    EXPECT_NE(Attributes(port.Slave()).c_lflag & ECHO, 0u);
    EXPECT_TRUE(LockExists(2));
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(Port, IsSetToRawBytesAndKeepsEveryOtherBit)
{
    SetDeviceProbe(Accept);
    const CRawPort port(0);
    termios found = Attributes(port.Slave());
    found.c_iflag = ICRNL | IXON | IXOFF | BRKINT | ISTRIP;
    found.c_oflag = OPOST | ONLCR | OCRNL;
    found.c_cflag |= CLOCAL | HUPCL | CSTOPB | CREAD;
    found.c_lflag = ICANON | ECHO | ISIG | IEXTEN;
    found.c_cc[VEOF] = 9;
    found.c_cc[VMIN] = 3;
    found.c_cc[VTIME] = 5;
    cfsetospeed(&found, B9600);
    ASSERT_EQ(tcsetattr(port.Slave(), TCSANOW, &found), 0);
    found = Attributes(port.Slave());  // what the terminal made of it

    ASSERT_EQ(DoFindDevice(0), 1);
    const termios set = Attributes(port.Slave());
    DeviceClose();
    EXPECT_EQ(set.c_iflag, (found.c_iflag | IGNPAR) & ~tcflag_t{ICRNL | IXON});
    EXPECT_EQ(set.c_oflag, found.c_oflag & ~tcflag_t{OPOST | ONLCR});
    EXPECT_EQ(set.c_cflag & ~tcflag_t{CBAUD}, found.c_cflag & ~tcflag_t{CBAUD | CLOCAL});
    EXPECT_EQ(set.c_lflag, 0u);
    EXPECT_EQ(set.c_cc[4], 4);
    EXPECT_EQ(set.c_cc[VMIN], found.c_cc[VMIN]);
    EXPECT_EQ(set.c_cc[VTIME], found.c_cc[VTIME]);
    EXPECT_EQ(set.c_cc[VINTR], found.c_cc[VINTR]);
    EXPECT_EQ(cfgetospeed(&set), static_cast<speed_t>(B115200));
}

TEST(FindDevice, TriesThePortsInOrderAndClosesEachThatIsNotIt)
{
    static std::string s_wanted;
    SetDeviceProbe([] {
        NoteProbedTerminal();
        return s_probed.back() == s_wanted;
    });
    const CRawPort port0(0);
    const CRawPort port1(1);
    const CRawPort port2(2);
    const CRawPort port3(3);
    const CRawPort port4(4);
    s_wanted = port3.Terminal();
    const auto before = CountDescriptors();
    EXPECT_EQ(FindDevice(-1), 1);
    const std::vector<std::string> expected = {port0.Terminal(), port1.Terminal(), port2.Terminal(),
                                               port3.Terminal()};
    EXPECT_EQ(s_probed, expected);
    EXPECT_EQ(DeviceCheckPath("/dev/ttyACM3"), 1);
    EXPECT_EQ(CountDescriptors(), before + 2);  // the port and its lock file
    for (const int other : {0, 1, 2, 4}) EXPECT_FALSE(LockExists(other));
    DeviceClose();
}

TEST(FindDevice, LooksAtPorts0To127)
{
    SetDeviceProbe(NoteAndReject);
    const CRawPort last(127);
    const CRawPort beyond(128);
    EXPECT_EQ(FindDevice(-1), 0);
    EXPECT_EQ(s_probed, std::vector<std::string>{last.Terminal()});
}

TEST(FindDevice, OfAnotherNumberTriesThatPortAlone)
{
    SetDeviceProbe(NoteAndReject);
    const CRawPort other(0);
    const CRawPort asked(128);
    EXPECT_EQ(FindDevice(128), 0);
    EXPECT_EQ(s_probed, std::vector<std::string>{asked.Terminal()});
    s_probed.clear();
    EXPECT_EQ(FindDevice(-2), 0);
    EXPECT_TRUE(s_probed.empty());
}

TEST(DeviceConnect, SleepsASecondAfterEachFailureTheLastIncluded)
{
    const CStopwatch watch;
    EXPECT_EQ(DeviceConnect(0, 3), 0);
    EXPECT_GE(watch.Ms(), 3000.0);
    EXPECT_LT(watch.Ms(), 20000.0);
}

TEST(DeviceConnect, WithoutAttemptsReturnsAtOnce)
{
    SetDeviceProbe(NoteAndReject);
    const CRawPort port(0);
    const CStopwatch watch;
    EXPECT_EQ(DeviceConnect(0, 0), 0);
    EXPECT_EQ(DeviceConnect(0, -1), 0);
    EXPECT_LT(watch.Ms(), 900.0);
    EXPECT_TRUE(s_probed.empty());
}

TEST(DeviceConnect, ReturnsAtTheFirstSuccess)
{
    SetDeviceProbe(Accept);
    const CRawPort port(0);
    EXPECT_EQ(DeviceConnect(0, 3), 1);
    DeviceClose();
}

TEST(DeviceConnect, TriesAgainAfterASecond)
{
    static int s_tries;
    SetDeviceProbe([] { return ++s_tries == 2; });
    const CRawPort port(0);
    const CStopwatch watch;
    EXPECT_EQ(DeviceConnect(0, 3), 1);
    EXPECT_EQ(s_tries, 2);
    EXPECT_GE(watch.Ms(), 1000.0);
    DeviceClose();
}

TEST(DeviceIsAlive, NeedsTheExactNodeAlthoughTheDescriptorIsOpen)
{
    SetDeviceProbe(Accept);
    CRawPort port(1);
    ASSERT_EQ(DoFindDevice(1), 1);
    EXPECT_EQ(DeviceIsAlive(), 1);
    port.RemoveNode();
    EXPECT_EQ(DeviceIsAlive(), 0);
    const CRawPort longer(10);
    const CRawPort other(0);
    EXPECT_EQ(DeviceIsAlive(), 0);
    EXPECT_EQ(DeviceIsConnected(), 1);
    port.MakeNode();
    EXPECT_EQ(DeviceIsAlive(), 1);
    DeviceClose();
    EXPECT_EQ(DeviceIsAlive(), 0);
}

TEST(DeviceIsAlive, KeepsNoDescriptor)
{
    SetDeviceProbe(Accept);
    const CRawPort port(1);
    ASSERT_EQ(DoFindDevice(1), 1);
    const auto before = CountDescriptors();
    for (int i = 0; i < 20; ++i) DeviceIsAlive();
    EXPECT_EQ(CountDescriptors(), before);
    DeviceClose();
}

TEST(DeviceClose, WaitsForTheReadOrWriteInProgress)
{
    SetDeviceProbe(Accept);
    const CRawPort port(0);
    ASSERT_EQ(DoFindDevice(0), 1);
    std::future<void> close;
    {
        CAutoCriticalSection transfer(g_AccessCriticalSection);
        close = std::async(std::launch::async, DeviceClose);
        EXPECT_EQ(close.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
        EXPECT_EQ(DeviceIsConnected(), 1);
    }
    ASSERT_EQ(close.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(DeviceIsConnected(), 0);
}

TEST(SetDeviceTimeoutSetting, StoresTheBudgetsAndWaitsOnceForEachDirection)
{
    SetDeviceProbe(Accept);
    const CRawPort port(0);
    ASSERT_EQ(DoFindDevice(0), 1);
    const CStopwatch quiet;
    SetDeviceTimeoutSetting(150, 70);
    EXPECT_GE(quiet.Ms(), 150.0);  // nothing to read; room to write
    EXPECT_EQ(g_nDeviceReadTimeout, 150u);
    EXPECT_EQ(g_nDeviceWriteTimeout, 70u);

    port.FillOutput();
    port.Send({1});
    const CStopwatch full;
    SetDeviceTimeoutSetting(5000, 120);
    EXPECT_GE(full.Ms(), 120.0);
    EXPECT_LT(full.Ms(), 4500.0);  // readable at once
    DeviceClose();
}

TEST(SetDeviceTimeoutSetting, WithoutAPortOnlyStores)
{
    const CStopwatch watch;
    SetDeviceTimeoutSetting(20000, 20000);
    EXPECT_LT(watch.Ms(), 10000.0);
    EXPECT_EQ(g_nDeviceReadTimeout, 20000u);
    EXPECT_EQ(g_nDeviceWriteTimeout, 20000u);
}
