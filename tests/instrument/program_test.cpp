// The program vrax-instrument: status, files, and the namespace of its command.

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "instrument/CsvFile.h"
#include "instrument/TraceFile.h"

using namespace instrument;

namespace {

struct Outcome {
    int status = -1;
    std::string text;  // standard output and standard error
};

Outcome Launch(const std::string& arguments)
{
    const std::string command = "exec " VRAX_INSTRUMENT_PROGRAM " " + arguments + " 2>&1";
    Outcome outcome;
    std::FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return outcome;
    std::array<char, 4096> buffer;
    for (std::size_t n; (n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        outcome.text.append(buffer.data(), n);
    }
    const int raw = pclose(pipe);
    outcome.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
    return outcome;
}

// Gone with the test.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& name)
        : path((std::filesystem::temp_directory_path() / (name + "." + std::to_string(getpid())))
                   .string())
    {}
    ~TemporaryFile() { std::filesystem::remove(path); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    std::string Text() const
    {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    const std::string path;
};

bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// A shell that plays a host: writes a request in octal, reads the reply as hexadecimal.
std::string Ask(const std::string& octal, int replyBytes)
{
    return "exec 3<>/dev/ttyACM0; printf '" + octal + "' >&3; head -c " +
           std::to_string(replyBytes) + " <&3 | od -An -tx1; ";
}

}  // namespace

TEST(Program, EndsWithTheStatusOfItsCommand)
{
    EXPECT_EQ(Launch("-- true").status, 0);
    EXPECT_EQ(Launch("-- sh -c 'exit 7'").status, 7);
    EXPECT_EQ(Launch("--none -- sh -c 'exit 9'").status, 9);
    EXPECT_EQ(Launch("-- sh -c 'kill -TERM $$'").status, 128 + 15);
    EXPECT_EQ(Launch("-- /no/such/program").status, 127);
    EXPECT_EQ(Launch("--none -- /dev/null").status, 126);
}

TEST(Program, RefusesWhatItDoesNotKnow)
{
    const Outcome option = Launch("--colour");
    EXPECT_EQ(option.status, 2);
    EXPECT_TRUE(Has(option.text, "--colour")) << option.text;
    EXPECT_EQ(Launch("--port 128 -- true").status, 2);
    EXPECT_EQ(Launch("--firmware 2.1 -- true").status, 2);
    EXPECT_EQ(Launch("--firmware 2.1.0.256 -- true").status, 2);
    EXPECT_EQ(Launch("--serial X -- true").status, 2);
    EXPECT_EQ(Launch("--ppg 34zz -- true").status, 2);
    EXPECT_EQ(Launch("--ppg 3407 --respiration -- true").status, 2);
    EXPECT_EQ(Launch("--sampling -1 -- true").status, 2);
    EXPECT_EQ(Launch("--sampling-loss x -- true").status, 2);
    EXPECT_EQ(Launch("--restart -1 -- true").status, 2);
    EXPECT_EQ(Launch("--none").status, 2);
    EXPECT_EQ(Launch("--").status, 2);
    EXPECT_EQ(Launch("--help").status, 0);
}

TEST(Program, SaysWhichFileItCannotWrite)
{
    const Outcome outcome = Launch("--record /no/such/folder/x.csv -- true");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(Has(outcome.text, "/no/such/folder/x.csv cannot be written")) << outcome.text;
    EXPECT_EQ(Launch("--flash /dev/null -- true").status, 1);
}

TEST(Namespace, HasItsOwnPortAndLockDirectory)
{
    setenv("VRAX_TEST", "passed on", 1);
    const Outcome outcome = Launch(
        "--port 3 -- sh -c 'ls -d /dev/ttyACM*; echo x > /var/lock/own; "
        "ls /var/lock/; echo $VRAX_TEST; echo z > /dev/null'");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.text, "/dev/ttyACM3\nown\npassed on\n");
    EXPECT_FALSE(std::filesystem::exists("/dev/ttyACM3"));
    EXPECT_FALSE(std::filesystem::exists("/var/lock/own"));
}

TEST(Namespace, WithoutAnInstrumentHasNoPort)
{
    const Outcome outcome = Launch("--none -- sh -c 'ls /dev | grep -c ttyACM'");
    EXPECT_EQ(outcome.text, "0\n");
}

TEST(Namespace, Nests)
{
    const Outcome outcome =
        Launch("--none -- " VRAX_INSTRUMENT_PROGRAM
               " --pace fast -- sh -c 'ls -d /dev/ttyACM*; echo a > /var/lock/b'");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.text, "/dev/ttyACM0\n");
}

TEST(Program, ForwardsSignalsToItsCommand)
{
    const Outcome outcome = Launch(
        "--none -- sh -c '" VRAX_INSTRUMENT_PROGRAM
        " -- sh -c \"trap \\\"echo got; exit 5\\\" TERM; echo up; while :; do sleep 0.05; done\" "
        "& sleep 1; kill -TERM $!; wait $!'");
    EXPECT_EQ(outcome.status, 5);
    EXPECT_TRUE(Has(outcome.text, "got")) << outcome.text;
}

TEST(Program, GivesTheSerialNumberAndFirmwareOfItsOptions)
{
    const Outcome outcome =
        Launch("--serial TXY12AB-230300 --firmware 3.4.5.6 --summary -- sh -c \"" +
               Ask("\\125\\0\\0", 12) + Ask("\\252\\003", 5) + "\"");
    EXPECT_TRUE(Has(outcome.text, "54 56 52 50 00 00 01 2c")) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, "aa 03 04 05 06")) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, "refusals=0")) << outcome.text;
}

TEST(Program, StrictMakesARefusalAFailure)
{
    const std::string bad = "-- sh -c \"printf '\\167' > /dev/ttyACM0; sleep 0.2\"";
    const Outcome plain = Launch(bad);
    EXPECT_EQ(plain.status, 0);
    EXPECT_TRUE(Has(plain.text, "refused: unknown command of 1 bytes [77]")) << plain.text;
    EXPECT_EQ(Launch("--strict " + bad).status, 3);
}

TEST(Program, KeepsTheFlashBetweenRuns)
{
    const TemporaryFile flash("vrax-flash");
    // Writes 5A to channel 18, address 0; later reads it.
    const std::string head = "\\022\\125\\252";
    const std::string rest = "\\0\\022\\0\\001\\0\\0\\0\\0\\0\\0\\0\\0";
    std::string zeros;
    for (int i = 0; i < 47; ++i) zeros += "\\0";
    const std::string option = "--flash " + flash.path;
    const Outcome write =
        Launch(option + " -- sh -c \"" + Ask(head + "\\377" + rest + "\\132" + zeros, 64) + "\"");
    EXPECT_EQ(write.status, 0) << write.text;
    ASSERT_FALSE(flash.Text().empty());
    const Outcome read =
        Launch(option + " --serial 9 -- sh -c \"" + Ask(head + "\\0" + rest + "\\0" + zeros, 64) +
               Ask("\\125\\0\\0", 12) + "\"");
    EXPECT_TRUE(Has(read.text, " 5a ")) << read.text;
    EXPECT_TRUE(Has(read.text, "54 56 52 50 00 00 00 09")) << read.text;
}

TEST(Program, RecordsTheSignalAndTracesTheExchanges)
{
    const TemporaryFile packet("vrax-packet");
    const TemporaryFile csv("vrax-csv");
    const TemporaryFile trace("vrax-trace");
    const Bytes bytes = MakePacket({0x03, 0, 32767, 1600, 0});
    std::ofstream(packet.path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    std::string relays = "\\0\\377\\003\\116\\040";  // mode 3, 20000 Hz
    for (int i = 0; i < 12; ++i) relays += "\\0";
    const Outcome outcome = Launch("--strict --summary --record " + csv.path + " --trace " +
                                   trace.path + " -- sh -c \"" + Ask(relays, 64) + "cat " +
                                   packet.path + " >&3; head -c 64 <&3 | wc -c\"");
    EXPECT_EQ(outcome.status, 0) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, "packets=1 samples=700 runs=1")) << outcome.text;
    const std::string lines = csv.Text();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 701);
    EXPECT_TRUE(Has(lines, "\n0.034950,0.000000,1.000000,0,0.000000\n"));
    EXPECT_TRUE(Has(trace.Text(), " > relays: 00 FF 03 4E 20 00 x12\n")) << trace.Text();
    EXPECT_TRUE(Has(trace.Text(), " > stream packet: mode 03, frames 0 to 49")) << trace.Text();
}

TEST(Program, TakesControlLinesFromAFifo)
{
    const TemporaryFile fifo("vrax-control");
    const Outcome outcome = Launch("--control " + fifo.path + " -- sh -c 'echo unplug > " +
                                   fifo.path + "; sleep 0.3; ls /dev | grep -c ttyACM'");
    EXPECT_TRUE(Has(outcome.text, "unplug: done")) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, "0\n")) << outcome.text;
    EXPECT_FALSE(std::filesystem::exists(fifo.path));
}

TEST(Program, RestartsAndComesBack)
{
    const Outcome outcome =
        Launch("--restart 1000 --strict --summary -- sh -c \"" + Ask("\\335", 64) +
               "exec 3>&-; while [ -h /dev/ttyACM0 ]; do sleep 0.02; done; "
               "until [ -h /dev/ttyACM0 ]; do sleep 0.02; done; " +
               Ask("\\125\\0\\0", 12) + "\"");
    EXPECT_EQ(outcome.status, 0) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, " dd 00 00 ff")) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, "54 56 52 50")) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, "restarts=1")) << outcome.text;
}

TEST(Program, ServesWithoutACommandUntilItIsStopped)
{
    const Outcome outcome = Launch(
        "--none -- sh -c 'printf \"status\\nunplug\\nhelp\\n\" | timeout -s TERM "
        "1 " VRAX_INSTRUMENT_PROGRAM " --summary'");
    EXPECT_TRUE(Has(outcome.text, "/dev/ttyACM0 plugged")) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, "unplug: done")) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, "packets=0")) << outcome.text;
}

TEST(Program, FitsAModuleAndSendsItsPhotodiodeFrames)
{
    const Outcome outcome =
        Launch("--ppg 3307 --sampling 200 --sampling-loss 2 --summary -- sh -c \"" +
               Ask("\\255\\377\\0\\0\\001", 128) + "\"");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(Has(outcome.text, " ad ff 00 ff 01")) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, " ad ff 00 00 01")) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, "refusals=0")) << outcome.text;
    EXPECT_TRUE(Has(outcome.text, "sampling_overruns=0")) << outcome.text;
}

TEST(CsvFormat, IsTheSameInEveryLocale)
{
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    Sample sample;
    sample.time = 0.00005;
    sample.dcMv = -300;
    sample.acMv = 1 / 1600.0;
    Sample marked;
    marked.time = 1.0 / 3;
    marked.marker = true;
    marked.pulseMv = -20.5;
    std::string text;
    AppendCsv(text, std::array{sample, marked});
    EXPECT_EQ(text,
              "0.000050,-300.000000,0.000625,0,0.000000\n"
              "0.333333333,0.000000,0.000000,1,-20.500000\n");
}

TEST(CsvFormat, HasAHeader)
{
    const TemporaryFile path("vrax-csv");
    CsvFile file(path.path);
    file.Write(std::array{Sample{}});
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(path.Text(),
              "time_s,dc_mv,ac_mv,marker,pulse_mv\n0.000000,0.000000,0.000000,0,0.000000\n");
}

TEST(TraceFormat, HasOneLineADirection)
{
    const Clock::time_point start{};
    Exchange exchange;
    exchange.kind = Request::UsbVoltage;
    exchange.request = {0xCC, 0x00, 'B'};
    exchange.reply = Bytes(64, 0);
    exchange.reply[0] = 0xCC;
    exchange.arrived = start + std::chrono::microseconds(1500000);
    exchange.replied = start + std::chrono::microseconds(1500250);
    EXPECT_EQ(TraceLines(exchange, start),
              "    1.500000 > USB voltage: CC 00 42\n"
              "    1.500250 < CC 00 x63 after 0.250 ms\n");
    exchange.kind = Request::Stream;
    exchange.request = MakePacket({0x03, 100, 1, 2, 3});
    EXPECT_TRUE(Has(TraceLines(exchange, start),
                    "stream packet: mode 03, frames 100 to 149, 14 samples each"));
    EXPECT_EQ(TraceLine({{0x77}, "unknown command", exchange.arrived}, start),
              "    1.500000 ! refused: unknown command\n");
}
