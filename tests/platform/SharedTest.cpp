#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <thread>

#include "platform/ByteOrder.h"
#include "platform/File.h"
#include "platform/Latest.h"
#include "platform/Shared.h"
#include "support/TempDir.h"

namespace {
struct Pair {
    std::uint32_t value;
    std::uint32_t same;
};
}  // namespace

TEST(Shared, ReadsLikeItsValue)
{
    Shared<int> value = 3;
    EXPECT_EQ(value, 3);
    value += 4;
    value -= 2;
    EXPECT_EQ(value, 5);
    EXPECT_EQ(value.Exchange(9), 5);
    Shared<int> other;
    EXPECT_EQ(other, 0);
    other = value;
    EXPECT_EQ(other, 9);
}

TEST(SharedRecord, GivesBackWhatWasStored)
{
    SharedRecord<Pair> record(Pair{1, 2});
    EXPECT_EQ(record.Load().value, 1u);
    EXPECT_EQ(record.Load().same, 2u);
    record.Store({0xFFFFFFFFu, 0x12345678u});
    EXPECT_EQ(record.Load().value, 0xFFFFFFFFu);
    EXPECT_EQ(record.Load().same, 0x12345678u);
    record.Clear();
    EXPECT_EQ(record.Load().value, 0u);
    EXPECT_EQ(record.Load().same, 0u);
}

TEST(Latest, IsNeverHalfOldAndHalfNewAndNeverOlderThanBefore)
{
    constexpr std::uint32_t kLast = 200000;
    CLatest<Pair> latest;
    latest.Publish({0, 0});
    std::thread writer([&] {
        for (std::uint32_t i = 1; i <= kLast; ++i) latest.Publish({i, i});
    });
    std::uint32_t seen = 0;
    bool isTorn = false;
    bool isOlder = false;
    while (seen < kLast && !isTorn && !isOlder) {
        const Pair pair = latest.Read();
        isTorn = pair.value != pair.same;
        isOlder = pair.value < seen;
        seen = pair.value;
    }
    writer.join();
    EXPECT_FALSE(isTorn);
    EXPECT_FALSE(isOlder);
    EXPECT_EQ(latest.Read().value, kLast);
}

TEST(ByteOrder, WireWordsAreHighByteFirst)
{
    std::uint8_t bytes[4] = {};
    WriteBig32(bytes, 0x12345678);
    EXPECT_EQ(bytes[0], 0x12);
    EXPECT_EQ(bytes[1], 0x34);
    EXPECT_EQ(bytes[2], 0x56);
    EXPECT_EQ(bytes[3], 0x78);
    WriteBig16(bytes, 0xABCD);
    EXPECT_EQ(bytes[0], 0xAB);
    EXPECT_EQ(bytes[1], 0xCD);
    EXPECT_EQ(ReadBig16(bytes), 0xABCD);
}

TEST(OpenFile, GivesNullForNothingToOpen)
{
    EXPECT_EQ(OpenFileUtf8(nullptr, "r"), nullptr);
    EXPECT_EQ(OpenFileUtf8("/dev/null", nullptr), nullptr);
    EXPECT_EQ(OpenFileUtf8("/nowhere/file", "rb"), nullptr);
}

TEST(OpenFile, IsNotInheritedByProgramsOfTheApplication)
{
    const TempDir folder;
    const File file(OpenFileUtf8(folder.File("Prüfung.txt").c_str(), "wb+"));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fcntl(fileno(file.get()), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_TRUE(std::filesystem::exists(folder.File("Prüfung.txt")));
}
