// What vrax doctor finds on a computer, on folders that stand for one.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "programs/vrax/HostChecks.h"
#include "support/TempDir.h"

using vrax::Finding;
using vrax::Findings;
using vrax::HostPaths;
using vrax::Verdict;

namespace fs = std::filesystem;

namespace {

class HostChecks : public testing::Test {
protected:
    HostChecks()
    {
        paths_.dev = Folder("dev");
        paths_.lock = Folder("lock");
        paths_.proc = Folder("proc");
        paths_.sys = Folder("sys");
        paths_.udevData = Folder("udev");
    }

    std::string Folder(const std::string& name) const
    {
        fs::create_directories(folder_.File(name));
        return folder_.File(name);
    }
    static void Write(const std::string& path, const std::string& text)
    {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }
    void AddNode(int port) const { Write(paths_.dev + "/ttyACM" + std::to_string(port), ""); }
    void AddLock(int port, const std::string& bytes) const { Write(LockPath(port), bytes); }
    std::string LockPath(int port) const
    {
        return paths_.lock + "/tessarin.ACM" + std::to_string(port) + ".lock";
    }
    void AddProcess(pid_t process, const std::string& name) const
    {
        Write(paths_.proc + "/" + std::to_string(process) + "/comm", name + "\n");
    }
    // A port as sysfs shows it: 166:<port> on an interface of the USB device 189:5.
    void AddUsbPort(int port) const
    {
        AddNode(port);
        const std::string number = std::to_string(port);
        const std::string device = paths_.sys + "/devices/usb1/1-1";
        Write(device + "/dev", "189:5\n");
        fs::create_directories(device + "/1-1:1.0");
        const std::string tty = paths_.sys + "/class/tty/ttyACM" + number;
        Write(tty + "/dev", "166:" + number + "\n");
        fs::create_directory_symlink(device + "/1-1:1.0", tty + "/device");
    }
    void Mark(const std::string& device, const std::string& line) const
    {
        Write(paths_.udevData + "/c" + device, "E:ID_BUS=usb\n" + line + "\n");
    }

    TempDir folder_;
    HostPaths paths_;
};

std::string Bytes(pid_t process)
{
    return {reinterpret_cast<const char*>(&process), sizeof process};
}

pid_t EndedProcess()
{
    const pid_t process = fork();
    if (process == 0) _exit(0);
    waitpid(process, nullptr, 0);
    return process;
}

// Rights are looked at as the user nobody, where the test runs as root.
class AsOrdinaryUser {
public:
    AsOrdinaryUser() : user_(geteuid())
    {
        if (user_ != 0) return;
        EXPECT_EQ(seteuid(65534), 0);
    }
    ~AsOrdinaryUser() { EXPECT_EQ(seteuid(user_), 0); }

private:
    uid_t user_;
};

}  // namespace

TEST_F(HostChecks, PortsAreListedByNumber)
{
    for (const int port : {10, 2}) AddNode(port);
    Write(paths_.dev + "/ttyACMx", "");
    Write(paths_.dev + "/ttyUSB0", "");
    EXPECT_EQ(ListPorts(paths_), (std::vector<int>{2, 10}));
    const Finding finding = CheckPorts(paths_, -1);
    EXPECT_EQ(finding.verdict, Verdict::Ok);
    EXPECT_EQ(finding.text, paths_.dev + "/ttyACM2, " + paths_.dev + "/ttyACM10");
    EXPECT_EQ(finding.advice, "");
}

TEST_F(HostChecks, AMissingPortIsAFailure)
{
    EXPECT_EQ(CheckPorts(paths_, -1).verdict, Verdict::Failure);
    AddNode(1);
    EXPECT_EQ(CheckPorts(paths_, 1).verdict, Verdict::Ok);
    const Finding finding = CheckPorts(paths_, 2);
    EXPECT_EQ(finding.verdict, Verdict::Failure);
    EXPECT_EQ(finding.text, "there is no " + paths_.dev + "/ttyACM2");
    EXPECT_NE(finding.advice, "");
}

TEST_F(HostChecks, APortWithoutRightsNamesItsOwnerAndMode)
{
    AddNode(0);
    EXPECT_EQ(CheckPermission(paths_, 0).verdict, Verdict::Ok);
    fs::permissions(folder_.Path(), fs::perms(0755));
    fs::permissions(paths_.dev + "/ttyACM0", fs::perms(0400));
    const AsOrdinaryUser user;
    const Finding finding = CheckPermission(paths_, 0);
    EXPECT_EQ(finding.verdict, Verdict::Failure);
    EXPECT_NE(finding.text.find("may not use " + paths_.dev + "/ttyACM0 (owner "),
              std::string::npos)
        << finding.text;
    EXPECT_NE(finding.text.find("mode 0400"), std::string::npos) << finding.text;
    // The group may not use it either, so joining it is no advice.
    EXPECT_NE(finding.advice.find("udev rule"), std::string::npos) << finding.advice;
}

TEST_F(HostChecks, ANodeThatLeadsNowhereIsAFailure)
{
    fs::create_symlink("gone", paths_.dev + "/ttyACM0");
    EXPECT_EQ(CheckPermission(paths_, 0).verdict, Verdict::Failure);
}

TEST_F(HostChecks, ALockDirectoryThatIsMissingOrClosedIsAFailure)
{
    EXPECT_EQ(CheckLockDirectory(paths_).verdict, Verdict::Ok);
    fs::permissions(folder_.Path(), fs::perms(0755));
    fs::permissions(paths_.lock, fs::perms(0555));
    {
        const AsOrdinaryUser user;
        EXPECT_EQ(CheckLockDirectory(paths_).verdict, Verdict::Failure);
    }
    fs::remove(paths_.lock);
    const Finding finding = CheckLockDirectory(paths_);
    EXPECT_EQ(finding.verdict, Verdict::Failure);
    EXPECT_NE(finding.text.find("which is not there"), std::string::npos);
}

TEST_F(HostChecks, ALockOfALivingProcessIsAFailureWithItsName)
{
    AddLock(3, Bytes(getpid()));
    AddProcess(getpid(), "holder");
    const Findings findings = CheckLocks(paths_);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].verdict, Verdict::Failure);
    EXPECT_EQ(findings[0].text,
              "port 3 is in use by process " + std::to_string(getpid()) + " (holder)");
}

TEST_F(HostChecks, ALockOfAnEndedProcessIsAWarning)
{
    const pid_t process = EndedProcess();
    AddLock(0, Bytes(process));
    const Findings findings = CheckLocks(paths_);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].verdict, Verdict::Warning);
    EXPECT_NE(findings[0].text.find("was left by process " + std::to_string(process)),
              std::string::npos)
        << findings[0].text;
}

TEST_F(HostChecks, ACutLockFileIsAFailureThatNamesTheFileToRemove)
{
    AddLock(0, "");
    AddLock(1, "abc");
    const Findings findings = CheckLocks(paths_);
    ASSERT_EQ(findings.size(), 2U);
    for (int port = 0; port < 2; ++port) {
        const Finding& finding = findings[static_cast<std::size_t>(port)];
        EXPECT_EQ(finding.verdict, Verdict::Failure);
        EXPECT_EQ(finding.advice, "rm " + LockPath(port));
    }
}

TEST_F(HostChecks, FilesThatAreNoLocksAreLeftOut)
{
    Write(paths_.lock + "/LCK..ttyACM0", "1");
    Write(paths_.lock + "/tessarin.ACM.lock", "1");
    EXPECT_TRUE(CheckLocks(paths_).empty());
}

TEST_F(HostChecks, ModemManagerIsAWarningOnlyWhereItRuns)
{
    AddUsbPort(0);
    AddProcess(12, "ModemManage");
    EXPECT_EQ(CheckModemManager(paths_, {0}).verdict, Verdict::Ok);
    AddProcess(13, "ModemManager");
    const Finding finding = CheckModemManager(paths_, {0});
    EXPECT_EQ(finding.verdict, Verdict::Warning);
    EXPECT_EQ(finding.text, "ModemManager may send commands to " + paths_.dev + "/ttyACM0");
    EXPECT_NE(finding.advice, "");
}

TEST_F(HostChecks, ModemManagerLeavesAMarkedPortAlone)
{
    AddUsbPort(1);
    AddProcess(13, "ModemManager");
    Mark("166:1", "E:ID_MM_PORT_IGNORE=1");
    EXPECT_EQ(CheckModemManager(paths_, {1}).verdict, Verdict::Ok);
}

TEST_F(HostChecks, ModemManagerLeavesThePortsOfAMarkedDeviceAlone)
{
    AddUsbPort(1);
    AddProcess(13, "ModemManager");
    Mark("166:1", "E:ID_MM_CANDIDATE=1");
    EXPECT_EQ(CheckModemManager(paths_, {1}).verdict, Verdict::Warning);
    Mark("189:5", "E:ID_MM_DEVICE_IGNORE=1");
    EXPECT_EQ(CheckModemManager(paths_, {1}).verdict, Verdict::Ok);
}

TEST_F(HostChecks, ModemManagerDoesNotSeeAPortThatIsNoDevice)
{
    AddNode(0);
    AddProcess(13, "ModemManager");
    EXPECT_EQ(CheckModemManager(paths_, {0}).verdict, Verdict::Ok);
}
