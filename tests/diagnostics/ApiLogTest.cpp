// The log of API calls.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <thread>
#include <vector>

#include "diagnostics/ApiLog.h"
#include "support/ApiLogFile.h"
#include "support/TempDir.h"

namespace {
// A path of exactly so many characters, in a directory that exists.
std::string PathOfLength(const TempDir& dir, std::size_t length)
{
    std::string path = dir.Path();
    while (path.size() + 101 < length) {
        path += "/" + std::string(99, 'd');
        mkdir(path.c_str(), 0777);
    }
    path += "/";
    return path + std::string(length - path.size(), 'f');
}

TEST(ApiLog, IsOffAtLoad)
{
    EXPECT_STREQ(GetSaveLogPath(), "");
    _outputLog("nowhere");
}

TEST(ApiLog, WritesOneLineForEachCall)
{
    TempDir dir;
    const std::string path = dir.File("log");
    ASSERT_EQ(EnableSaveLog(path.c_str()), 0);
    EXPECT_STREQ(GetSaveLogPath(), path.c_str());
    EXPECT_FALSE(std::filesystem::exists(path));  // made with the first line
    _outputLog("VRAXSetAmplitude(%.2f);", 1.5);
    EXPECT_EQ(ReadWholeFile(path), "VRAXSetAmplitude(1.50);\n");
    _outputLog("%s(%s);", "Name", BoolText(false));
    EXPECT_EQ(ReadWholeFile(path), "VRAXSetAmplitude(1.50);\nName(false);\n");
}

TEST(ApiLog, EndsAPeriodWithAnEmptyLineAndAppendsTheNext)
{
    TempDir dir;
    const std::string path = dir.File("log");
    EnableSaveLog(path.c_str());
    _outputLog("first");
    DisableSaveLog();
    EXPECT_STREQ(GetSaveLogPath(), "");
    _outputLog("unheard");
    EnableSaveLog(path.c_str());
    _outputLog("second");
    DisableSaveLog();
    EXPECT_EQ(ReadWholeFile(path), "first\n\nsecond\n\n");
}

TEST(ApiLog, DisabledWhileOffWritesNothing)
{
    TempDir dir;
    const std::string path = dir.File("log");
    EnableSaveLog(path.c_str());
    DisableSaveLog();
    const std::string once = ReadWholeFile(path);
    DisableSaveLog();
    EXPECT_EQ(once, "\n");
    EXPECT_EQ(ReadWholeFile(path), "\n");
}

TEST(ApiLog, TakesAPathOf511Characters)
{
    TempDir dir;
    const std::string path = PathOfLength(dir, 511);
    ASSERT_EQ(path.size(), 511u);
    EXPECT_EQ(EnableSaveLog(path.c_str()), 0);
    EXPECT_EQ(GetSaveLogPath(), path);
    _outputLog("long");
    EXPECT_EQ(ReadWholeFile(path), "long\n");
}

TEST(ApiLog, RefusesAPathOf512CharactersAndIsOffThen)
{
    TempDir dir;
    const std::string before = dir.File("log");
    EnableSaveLog(before.c_str());
    const std::string path = PathOfLength(dir, 512);
    ASSERT_EQ(path.size(), 512u);
    EXPECT_EQ(EnableSaveLog(path.c_str()), -2);
    EXPECT_STREQ(GetSaveLogPath(), "");
    _outputLog("unheard");
    DisableSaveLog();
    EXPECT_EQ(ReadWholeFile(before), "");
}

TEST(ApiLog, RefusesANullPathAsOneThatIsTooLong)
{
    TempDir dir;
    EnableSaveLog(dir.File("log").c_str());
    EXPECT_EQ(EnableSaveLog(nullptr), -2);
    EXPECT_STREQ(GetSaveLogPath(), "");
}

TEST(ApiLog, DropsALineWhoseFileCannotBeOpened)
{
    TempDir dir;
    const std::string path = dir.File("missing/log");
    EXPECT_EQ(EnableSaveLog(path.c_str()), 0);
    _outputLog("dropped");
    std::filesystem::create_directory(dir.File("missing"));
    _outputLog("kept");
    EXPECT_EQ(ReadWholeFile(path), "kept\n");
}

TEST(ApiLog, TakesPathsInUtf8)
{
    TempDir dir;
    const std::string path = dir.File("\xC3\xA4\xE6\xB3\xA2.log");
    EnableSaveLog(path.c_str());
    _outputLog("x");
    EXPECT_EQ(ReadWholeFile(path), "x\n");
}

TEST(ApiLog, MayBeMovedAwayBetweenTwoLines)
{
    TempDir dir;
    const std::string path = dir.File("log");
    EnableSaveLog(path.c_str());
    _outputLog("one");
    std::filesystem::rename(path, dir.File("old"));
    _outputLog("two");
    EXPECT_EQ(ReadWholeFile(dir.File("old")), "one\n");
    EXPECT_EQ(ReadWholeFile(path), "two\n");
}

TEST(ApiLog, LeavesALongLineUncut)
{
    ApiLogFile log;
    const std::string text(100000, 'a');
    _outputLog("%s", text.c_str());
    _outputLog("%.2f", 1e300);
    const Lines lines = log.NewLines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], text);
    EXPECT_EQ(lines[1].size(), 301u + 3u);
}

TEST(ApiLog, KeepsTheLinesOfSeveralThreadsWhole)
{
    ApiLogFile log;
    std::vector<std::thread> threads;
    for (int n = 0; n < 4; ++n) {
        threads.emplace_back([n] {
            for (int i = 0; i < 200; ++i) _outputLog("thread %d, line %03d, end", n, i);
        });
    }
    for (std::thread& thread : threads) thread.join();
    const Lines lines = log.NewLines();
    ASSERT_EQ(lines.size(), 800u);
    for (const std::string& line : lines) {
        ASSERT_EQ(line.size(), 23u) << line;
        ASSERT_EQ(line.substr(18), ", end") << line;
    }
}
}  // namespace
