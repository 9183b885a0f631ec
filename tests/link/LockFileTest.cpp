// The lock file of a port: four raw bytes with the id of the process that holds it.

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/LinkHost.h"

using namespace instrument;

namespace {

std::string IdBytes(pid_t id) { return {reinterpret_cast<const char*>(&id), sizeof id}; }

void WriteWholeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

// Its process has ended and was waited for.
pid_t DeadProcess()
{
    char program[] = "true";
    char* arguments[] = {program, nullptr};
    pid_t id = 0;
    if (posix_spawnp(&id, program, nullptr, nullptr, arguments, environ) != 0) return 0;
    int status = 0;
    waitpid(id, &status, 0);
    return id;
}

}  // namespace

TEST(LockFile, HoldsTheProcessIdAndIsPrivate)
{
    SimulatedInstrument instrument(0);
    CHost host;
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    EXPECT_EQ(ReadWholeFile(LockFilePath(0)), IdBytes(getpid()));
    struct stat status {};
    ASSERT_EQ(stat(LockFilePath(0).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
    VRAXFree();
    EXPECT_FALSE(std::filesystem::exists(LockFilePath(0)));
}

TEST(LockFile, OfADeadProcessIsReplaced)
{
    SimulatedInstrument instrument(0);
    CHost host;
    const pid_t dead = DeadProcess();
    ASSERT_GT(dead, 0);
    WriteWholeFile(LockFilePath(0), IdBytes(dead));
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    EXPECT_EQ(ReadWholeFile(LockFilePath(0)), IdBytes(getpid()));
}

TEST(LockFile, OfALivingProcessBlocksThePort)
{
    SimulatedInstrument instrument(0);
    CHost host;
    WriteWholeFile(LockFilePath(0), IdBytes(getppid()));
    EXPECT_FALSE(VRAXConnect(0, 1500));
    EXPECT_EQ(ReadWholeFile(LockFilePath(0)), IdBytes(getppid()));
    EXPECT_TRUE(instrument.Exchanges().empty());
}

TEST(LockFile, CutShortBlocksThePortAndStays)
{
    SimulatedInstrument instrument(0);
    CHost host;
    for (const std::string bytes : {"", "123"}) {
        WriteWholeFile(LockFilePath(0), bytes);
        EXPECT_FALSE(VRAXConnect(0, 1500));
        EXPECT_EQ(ReadWholeFile(LockFilePath(0)), bytes);
    }
    EXPECT_TRUE(instrument.Exchanges().empty());
}

TEST(LockFile, OfOnePortLeavesTheOthersAlone)
{
    SimulatedInstrument blocked(0);
    Options options;
    options.port = 1;
    SimulatedInstrument open(options);
    CHost host;
    WriteWholeFile(LockFilePath(0), IdBytes(getppid()));
    ASSERT_TRUE(VRAXConnect(-1, kConnectMs));
    EXPECT_TRUE(blocked.Exchanges().empty());
    EXPECT_EQ(ReadWholeFile(LockFilePath(1)), IdBytes(getpid()));
    VRAXFree();
    EXPECT_TRUE(std::filesystem::exists(LockFilePath(0)));
    EXPECT_FALSE(std::filesystem::exists(LockFilePath(1)));
}

TEST(LockFile, IsTakenAsSoonAsItsHolderHasGone)
{
    SimulatedInstrument instrument(0);
    WriteWholeFile(LockFilePath(0), IdBytes(getppid()));
    CListeningHost host;
    EXPECT_FALSE(Listener::WaitFor(true, 1, std::chrono::milliseconds(1500)));
    std::filesystem::remove(LockFilePath(0));
    EXPECT_TRUE(Listener::WaitFor(true));
}

TEST(LockFile, ThatCannotBeMadeBlocksThePort)
{
    SimulatedInstrument instrument(0);
    CHost host;
    std::filesystem::create_directory(LockFilePath(0));
    EXPECT_FALSE(VRAXConnect(0, 1500));
    EXPECT_TRUE(std::filesystem::is_directory(LockFilePath(0)));
    EXPECT_TRUE(instrument.Exchanges().empty());
}
