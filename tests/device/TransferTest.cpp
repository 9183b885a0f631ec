#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <numeric>
#include <thread>
#include <vector>

#include "device/Device.h"
#include "support/Interruptions.h"
#include "support/RawPort.h"
#include "support/Timing.h"

namespace {
using Bytes = std::vector<std::uint8_t>;
constexpr unsigned kLarge = 400000;  // more than a terminal takes without a reader

bool Accept() { return true; }

class Transfer : public testing::Test {
protected:
    Transfer() : port_(0)
    {
        SetDeviceProbe(Accept);
        EXPECT_EQ(DoFindDevice(0), 1);
    }
    ~Transfer() override { DeviceClose(); }

    CRawPort port_;
};

// A port whose other end can fail: reads and writes on a stream end with hard errors.
class StreamTransfer : public testing::Test {
protected:
    StreamTransfer()
    {
        signal(SIGPIPE, SIG_IGN);
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends_), 0);
        g_hDevice = ends_[0];
    }
    ~StreamTransfer() override
    {
        g_hDevice = -1;
        close(ends_[0]);
        CloseOther();
    }
    void CloseOther()
    {
        if (ends_[1] >= 0) close(ends_[1]);
        ends_[1] = -1;
    }

    int ends_[2] = {-1, -1};
};

Bytes Counting(std::size_t size)
{
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes;
}
}  // namespace

TEST_F(Transfer, ReadsExactlyWhatIsAskedFor)
{
    const Bytes sent = Counting(100);
    port_.Send(sent);
    Bytes first(64);
    Bytes second(36);
    EXPECT_EQ(DeviceReadData(first.data(), 64), 64u);
    EXPECT_EQ(DeviceReadData(second.data(), 36), 36u);
    first.insert(first.end(), second.begin(), second.end());
    EXPECT_EQ(first, sent);
}

TEST_F(Transfer, APartOfWhatIsAskedForCountsAsNothing)
{
    port_.Send(Counting(10));
    Bytes buffer(64);
    const CStopwatch watch;
    EXPECT_EQ(DeviceReadData(buffer.data(), 64), 0u);
    EXPECT_GE(watch.Ms(), 100.0);
}

TEST_F(Transfer, TheReadBudgetIsSharedByTheWholeCall)
{
    std::atomic<bool> stop{false};
    std::thread device([&] {
        for (int i = 0; i < 64 && !stop; ++i) {
            port_.Send({static_cast<std::uint8_t>(i)});
            usleep(30000);  // all 64 take 1.9 s; each is there within the budget
        }
    });
    Bytes buffer(64);
    const CStopwatch watch;
    EXPECT_EQ(DeviceReadData(buffer.data(), 64), 0u);
    EXPECT_GE(watch.Ms(), 100.0);
    stop = true;
    device.join();
}

TEST_F(Transfer, PiecesThatComeWithinTheBudgetAreOneReply)
{
    g_nDeviceReadTimeout = 20000u;
    std::thread device([&] {
        for (std::uint8_t i = 0; i < 8; ++i) {
            port_.Send(Bytes(8, i));
            usleep(5000);
        }
    });
    Bytes buffer(64);
    EXPECT_EQ(DeviceReadData(buffer.data(), 64), 64u);
    device.join();
    for (std::size_t i = 0; i < 64; ++i) EXPECT_EQ(buffer[i], i / 8);
}

// The product in microseconds has 32 bits: 4294968 ms are 704 us.
TEST_F(Transfer, TheBudgetWraps)
{
    g_nDeviceReadTimeout = 4294968u;
    Bytes buffer(64);
    const CStopwatch watch;
    EXPECT_EQ(DeviceReadData(buffer.data(), 64), 0u);
    EXPECT_GE(watch.Ms(), 0.704);
    EXPECT_LT(watch.Ms(), 20000.0);
}

TEST_F(Transfer, AnInfiniteBudgetIsALongOne)
{
    g_nDeviceReadTimeout = 0xFFFFFFFFu;
    Bytes buffer(8);
    auto read = std::async(std::launch::async, [&] { return DeviceReadData(buffer.data(), 8); });
    EXPECT_EQ(read.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
    port_.Send(Bytes(8, 1));
    ASSERT_EQ(read.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(read.get(), 8u);
}

TEST_F(Transfer, WithoutABudgetOnlyWhatIsThereIsRead)
{
    g_nDeviceReadTimeout = 0u;
    Bytes buffer(64);
    EXPECT_EQ(DeviceReadData(buffer.data(), 64), 0u);
    port_.Send(Bytes(64, 7));
    pollfd there = {port_.Slave(), POLLIN, 0};
    ASSERT_EQ(poll(&there, 1, 20000), 1);
    EXPECT_EQ(DeviceReadData(buffer.data(), 64), 64u);
}

TEST_F(Transfer, ASignalEndsAReadWithNothing)
{
    g_nDeviceReadTimeout = 20000u;
    const CInterruptions interruptions;
    port_.Send(Counting(10));
    Bytes buffer(64);
    const CStopwatch watch;
    EXPECT_EQ(DeviceReadData(buffer.data(), 64), 0u);
    EXPECT_LT(watch.Ms(), 15000.0);
}

TEST_F(Transfer, ASignalDoesNotEndAWrite)
{
    g_nDeviceWriteTimeout = 20000u;
    const Bytes sent = Counting(kLarge);
    auto device = std::async(std::launch::async, [&] {
        usleep(200000);  // meanwhile the writer waits, and is interrupted
        return port_.Receive(sent.size());
    });
    const CInterruptions interruptions;
    EXPECT_EQ(DeviceWriteData(sent.data(), kLarge, 0), kLarge);
    EXPECT_EQ(device.get(), sent);
}

TEST_F(Transfer, WritesEverythingWhateverTheThirdArgument)
{
    for (const unsigned ignored : {0u, 1u, 64u}) {
        const Bytes sent = Counting(3200);
        auto device = std::async(std::launch::async, [&] { return port_.Receive(3200); });
        EXPECT_EQ(DeviceWriteData(sent.data(), 3200, ignored), 3200u);
        EXPECT_EQ(device.get(), sent);
    }
}

TEST_F(Transfer, AWriteThatIsNotTakenInTimeCountsAsNothing)
{
    const Bytes sent = Counting(kLarge);
    const CStopwatch watch;
    EXPECT_EQ(DeviceWriteData(sent.data(), kLarge, 1), 0u);
    EXPECT_GE(watch.Ms(), 200.0);
    EXPECT_FALSE(port_.Receive(1).empty());  // although a part of it went out
}

TEST_F(Transfer, NothingToTransferIsDoneAtOnce)
{
    g_nDeviceReadTimeout = 20000u;
    Bytes buffer(1);
    const CStopwatch watch;
    EXPECT_EQ(DeviceReadData(buffer.data(), 0), 0u);
    EXPECT_EQ(DeviceWriteData(buffer.data(), 0, 1), 0u);
    EXPECT_LT(watch.Ms(), 10000.0);
}

// A port that has hung up is readable and empty for ever.
TEST_F(Transfer, AHangUpIsATimeOut)
{
    port_.HangUp();
    Bytes buffer(64);
    const CStopwatch watch;
    EXPECT_EQ(DeviceReadData(buffer.data(), 64), 0u);
    EXPECT_GE(watch.Ms(), 100.0);
    EXPECT_LT(watch.Ms(), 10000.0);
    EXPECT_EQ(DeviceWriteData(buffer.data(), 64, 1), 0u);
}

TEST_F(Transfer, AHangUpDuringAReadIsATimeOut)
{
    g_nDeviceReadTimeout = 400u;
    port_.Send(Counting(10));
    Bytes buffer(64);
    const CStopwatch watch;
    auto read = std::async(std::launch::async, [&] { return DeviceReadData(buffer.data(), 64); });
    EXPECT_EQ(read.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    port_.HangUp();
    ASSERT_EQ(read.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(read.get(), 0u);
    EXPECT_GE(watch.Ms(), 400.0);
}

TEST_F(Transfer, OneReadOrWriteIsOnThePortAtATime)
{
    g_nDeviceReadTimeout = 20000u;
    Bytes first(64);
    Bytes second(64);
    auto read = [](Bytes& buffer) { return DeviceReadData(buffer.data(), 64); };
    auto one = std::async(std::launch::async, [&] { return read(first); });
    auto two = std::async(std::launch::async, [&] { return read(second); });
    for (int i = 0; i < 16; ++i) {
        port_.Send(Bytes(8, static_cast<std::uint8_t>(i / 8)));
        usleep(2000);
    }
    EXPECT_EQ(one.get(), 64u);
    EXPECT_EQ(two.get(), 64u);
    EXPECT_EQ(first, Bytes(64, first[0]));  // not a mixture of both blocks
    EXPECT_EQ(second, Bytes(64, second[0]));
    EXPECT_NE(first[0], second[0]);
}

TEST_F(Transfer, LooksForInputWithoutTakingIt)
{
    EXPECT_FALSE(DeviceWaitReadable(20));
    port_.Send({1, 2, 3});
    EXPECT_TRUE(DeviceWaitReadable(20000));
    Bytes buffer(64);
    EXPECT_EQ(DeviceReadAvailable(buffer.data(), 2), 2u);
    EXPECT_EQ(DeviceReadAvailable(buffer.data() + 2, 62), 1u);
    EXPECT_EQ(DeviceReadAvailable(buffer.data(), 64), 0u);
    EXPECT_EQ(buffer[2], 3);
}

TEST_F(Transfer, DropsWhatIsThere)
{
    port_.Send(Counting(500));
    ASSERT_TRUE(DeviceWaitReadable(20000));
    DeviceDiscardInput();
    EXPECT_FALSE(DeviceWaitReadable(20));
}

TEST_F(StreamTransfer, AHardErrorWhileReadingGivesWhatHadCome)
{
    // An end that is closed with unread bytes resets the stream, after what it had sent itself.
    ASSERT_EQ(write(ends_[0], "x", 1), 1);
    ASSERT_EQ(write(ends_[1], "0123456789", 10), 10);
    CloseOther();
    Bytes buffer(64);
    EXPECT_EQ(DeviceReadData(buffer.data(), 64), 10u);
    EXPECT_EQ(buffer[9], '9');
}

TEST_F(StreamTransfer, AHardErrorWhileWritingGivesWhatHadGone)
{
    g_nDeviceWriteTimeout = 20000u;
    const Bytes sent(8000000, 1);
    const auto length = static_cast<unsigned>(sent.size());
    auto write =
        std::async(std::launch::async, [&] { return DeviceWriteData(sent.data(), length, 1); });
    EXPECT_EQ(write.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    CloseOther();
    ASSERT_EQ(write.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    const unsigned count = write.get();
    EXPECT_GT(count, 0u);
    EXPECT_LT(count, length);
}

TEST(TransferWithoutAPort, Gives0)
{
    Bytes buffer(64);
    const CStopwatch watch;
    EXPECT_EQ(DeviceReadData(buffer.data(), 64), 0u);
    EXPECT_EQ(DeviceWriteData(buffer.data(), 64, 1), 0u);
    EXPECT_EQ(DeviceReadAvailable(buffer.data(), 64), 0u);
    EXPECT_FALSE(DeviceWaitReadable(20000));
    EXPECT_LT(watch.Ms(), 10000.0);
}
