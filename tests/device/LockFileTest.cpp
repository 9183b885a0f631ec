#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "device/Device.h"
#include "support/Descriptors.h"

namespace {
constexpr char kLockFile0[] = "/var/lock/tessarin.ACM0.lock";

std::vector<char> Contents(const char* path)
{
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    std::vector<char> bytes(64);
    const ssize_t count = file >= 0 ? read(file, bytes.data(), bytes.size()) : 0;
    if (file >= 0) close(file);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
}

std::vector<char> RawBytes(pid_t process)
{
    std::vector<char> bytes(sizeof process);
    std::memcpy(bytes.data(), &process, sizeof process);
    return bytes;
}

void WriteLockFile(const std::vector<char>& bytes)
{
    const int file = open(kLockFile0, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0);
    ASSERT_EQ(write(file, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(file);
}

bool Exists(const char* path) { return std::filesystem::exists(path); }

pid_t DeadProcess()
{
    const pid_t child = fork();
    if (child == 0) _exit(0);
    waitpid(child, nullptr, 0);
    return child;
}

// Mounts that end with this process.
bool HasOwnMounts()
{
    return unshare(CLONE_NEWNS) == 0 &&
           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}
}  // namespace

TEST(LockFile, HoldsTheProcessIdAsFourRawBytes)
{
    ASSERT_EQ(LockDeviceFile(0), 1);
    EXPECT_EQ(Contents(kLockFile0), RawBytes(getpid()));
    struct stat status = {};
    ASSERT_EQ(stat(kLockFile0, &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0600u);
    UnlockDeviceFile();
}

TEST(LockFile, OfEachPortHasItsNumber)
{
    ASSERT_EQ(LockDeviceFile(117), 1);
    EXPECT_TRUE(Exists("/var/lock/tessarin.ACM117.lock"));
    UnlockDeviceFile();
    EXPECT_FALSE(Exists("/var/lock/tessarin.ACM117.lock"));
}

TEST(LockFile, IsHeldByADescriptorThatProgramsDoNotInherit)
{
    EXPECT_EQ(g_nLockFile, -1);
    ASSERT_EQ(LockDeviceFile(0), 1);
    ASSERT_NE(g_nLockFile, -1);
    EXPECT_EQ(fcntl(g_nLockFile, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    UnlockDeviceFile();
}

TEST(LockFile, IsDeletedAndClosedWhenItIsReleased)
{
    const auto before = CountDescriptors();
    ASSERT_EQ(LockDeviceFile(0), 1);
    EXPECT_EQ(CountDescriptors(), before + 1);
    UnlockDeviceFile();
    EXPECT_FALSE(Exists(kLockFile0));
    EXPECT_EQ(g_nLockFile, -1);
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(LockFile, MayBeReleasedTwice)
{
    ASSERT_EQ(LockDeviceFile(0), 1);
    UnlockDeviceFile();
    WriteLockFile(RawBytes(getppid()));  // somebody else's by now
    UnlockDeviceFile();
    EXPECT_TRUE(Exists(kLockFile0));
}

TEST(LockFile, OfALivingProcessBlocksThePortAndStays)
{
    for (const pid_t owner : {getppid(), getpid(), pid_t{1}}) {
        WriteLockFile(RawBytes(owner));
        const auto before = CountDescriptors();
        EXPECT_EQ(LockDeviceFile(0), 0);
        EXPECT_EQ(g_nLockFile, -1);
        EXPECT_EQ(Contents(kLockFile0), RawBytes(owner));
        EXPECT_EQ(CountDescriptors(), before);
    }
}

TEST(LockFile, ARefusedOpenerLeavesTheHoldersFileAlone)
{
    WriteLockFile(RawBytes(getppid()));
    EXPECT_EQ(LockDeviceFile(0), 0);
    UnlockDeviceFile();
    EXPECT_EQ(Contents(kLockFile0), RawBytes(getppid()));
}

TEST(LockFile, OfADeadProcessIsReplaced)
{
    WriteLockFile(RawBytes(DeadProcess()));
    EXPECT_EQ(LockDeviceFile(0), 1);
    EXPECT_EQ(Contents(kLockFile0), RawBytes(getpid()));
    UnlockDeviceFile();
    EXPECT_FALSE(Exists(kLockFile0));
}

// Kept: the descriptor through which the stale owner was read is not closed.
TEST(LockFile, AStaleOneLeavesItsDescriptorOpen)
{
    WriteLockFile(RawBytes(DeadProcess()));
    const auto before = CountDescriptors();
    ASSERT_EQ(LockDeviceFile(0), 1);
    EXPECT_EQ(CountDescriptors(), before + 2);
    UnlockDeviceFile();
    EXPECT_EQ(CountDescriptors(), before + 1);
}

TEST(LockFile, AShortOneBlocksThePortForGood)
{
    const std::vector<char> shortFiles[] = {{}, {1}, {1, 2, 3}};
    for (const std::vector<char>& bytes : shortFiles) {
        WriteLockFile(bytes);
        const auto before = CountDescriptors();
        EXPECT_EQ(LockDeviceFile(0), 0);
        EXPECT_EQ(LockDeviceFile(0), 0);
        EXPECT_EQ(Contents(kLockFile0), bytes);
        EXPECT_EQ(CountDescriptors(), before);
    }
}

TEST(LockFile, OnlyItsFirstFourBytesCount)
{
    std::vector<char> bytes = RawBytes(getppid());
    bytes.push_back('x');
    WriteLockFile(bytes);
    EXPECT_EQ(LockDeviceFile(0), 0);
}

TEST(LockFile, ThatCannotBeReadBlocksThePort)
{
    ASSERT_EQ(mkdir(kLockFile0, 0700), 0);
    const auto before = CountDescriptors();
    EXPECT_EQ(LockDeviceFile(0), 0);
    EXPECT_EQ(CountDescriptors(), before);
    EXPECT_TRUE(Exists(kLockFile0));
}

TEST(LockFile, ThatCannotBeCreatedGives0)
{
    if (!HasOwnMounts()) GTEST_SKIP() << "no mounts of its own";
    ASSERT_EQ(mount("none", "/run/lock", "tmpfs", MS_RDONLY, nullptr), 0);
    const auto before = CountDescriptors();
    EXPECT_EQ(LockDeviceFile(0), 0);
    EXPECT_EQ(g_nLockFile, -1);
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(LockFile, ThatCannotBeWrittenIsDeletedAgain)
{
    if (!HasOwnMounts()) GTEST_SKIP() << "no mounts of its own";
    ASSERT_EQ(mount("none", "/run/lock", "tmpfs", 0, "size=4k"), 0);
    const int filler = open("/var/lock/filler", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(filler, 0);
    const std::vector<char> block(4096);
    ASSERT_EQ(write(filler, block.data(), block.size()), 4096);
    close(filler);

    const auto before = CountDescriptors();
    EXPECT_EQ(LockDeviceFile(0), 0);
    EXPECT_EQ(g_nLockFile, -1);
    EXPECT_FALSE(Exists(kLockFile0));
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(LockFile, ItsDirectoryIsMadeWhenThereIsNone)
{
    if (!HasOwnMounts()) GTEST_SKIP() << "no mounts of its own";
    ASSERT_EQ(mount("none", "/var", "tmpfs", 0, "mode=0755"), 0);
    ASSERT_FALSE(Exists("/var/lock"));
    umask(0022);
    EXPECT_EQ(LockDeviceFile(0), 1);
    struct stat status = {};
    ASSERT_EQ(stat("/var/lock", &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0755u);
    EXPECT_EQ(Contents(kLockFile0), RawBytes(getpid()));
    UnlockDeviceFile();
}
