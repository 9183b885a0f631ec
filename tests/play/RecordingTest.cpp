#include "draw_ecg/Recording.h"

#include <functional>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

namespace ecg {
namespace {

constexpr char kHeader[] = "time_s,dc_mv,ac_mv,marker\n";

std::string ErrorOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

Recording Read(const std::string& text)
{
    std::istringstream in(text);
    return ReadRecording(in, "signal");
}

TEST(ReadRecording, TakesTheAcColumnAndTheRate)
{
    const Recording recording = Read(std::string(kHeader) +
                                     "0.000000,5.000000,0.000000,0\n"
                                     "0.000050,5.000000,0.500000,0\n"
                                     "0.000100,5.000000,-0.250000,1\n");
    EXPECT_EQ(recording.rate, 20000.0);
    EXPECT_EQ(recording.mv, (std::vector<double>{0.0, 0.5, -0.25}));
    EXPECT_EQ(recording.TimeAt(2), 0.0001);
}

TEST(ReadRecording, NamesTheLineThatIsWrong)
{
    EXPECT_EQ(ErrorOf([] { Read("time\n"); }),
              "signal, line 1: expected time_s,dc_mv,ac_mv,marker");
    EXPECT_EQ(ErrorOf([] { Read(std::string(kHeader) + "0,0,0,0\n0.1,0,zero,0\n"); }),
              "signal, line 3: expected time_s,dc_mv,ac_mv,marker as numbers");
    EXPECT_EQ(ErrorOf([] { Read(std::string(kHeader) + "0,0,0\n"); }),
              "signal, line 2: expected time_s,dc_mv,ac_mv,marker as numbers");
    EXPECT_EQ(ErrorOf([] { Read(std::string(kHeader) + "0,0,nan,0\n"); }),
              "signal, line 2: expected time_s,dc_mv,ac_mv,marker as numbers");
}

TEST(ReadRecording, RefusesAGapAndAnEmptyFile)
{
    EXPECT_EQ(ErrorOf([] {
                  Read(std::string(kHeader) + "0,0,0,0\n0.1,0,0,0\n0.2,0,0,0\n0.4,0,0,0\n");
              }),
              "signal, line 3: the samples are not evenly spaced");
    EXPECT_EQ(ErrorOf([] { Read(kHeader); }), "signal holds no signal");
    EXPECT_NE(ErrorOf([] { Read(""); }), "");
}

TEST(ReadRequests, WantsRisingTimes)
{
    std::istringstream good("time_s,bpm,mv\n0.000000,60,1\n7.400000,90,1.5\n");
    const auto requests = ReadRequests(good, "requests");
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[1].time, 7.4);
    EXPECT_EQ(requests[1].bpm, 90.0);
    EXPECT_EQ(requests[1].mv, 1.5);

    std::istringstream bad("time_s,bpm,mv\n7,60,1\n7,90,1\n");
    EXPECT_EQ(ErrorOf([&] { ReadRequests(bad, "requests"); }),
              "requests, line 3: the times do not rise");
    std::istringstream none("time_s,bpm,mv\n7,0,1\n");
    EXPECT_EQ(ErrorOf([&] { ReadRequests(none, "requests"); }),
              "requests, line 2: rate and height must be above 0");
}

TEST(ReadStatistics, FindsTheLineOfFigures)
{
    std::istringstream in(
        "something else\n"
        "vrax-instrument: packets=513 samples=358400 runs=1 stops=1 sequence_errors=2 "
        "mode_errors=3 underruns=4 refusals=5\n");
    const Statistics statistics = ReadStatistics(in, "figures");
    EXPECT_EQ(statistics.packets, 513u);
    EXPECT_EQ(statistics.samples, 358400u);
    EXPECT_EQ(statistics.sequenceErrors, 2u);
    EXPECT_EQ(statistics.modeErrors, 3u);
    EXPECT_EQ(statistics.underruns, 4u);
    EXPECT_EQ(statistics.refusals, 5u);
}

TEST(ReadStatistics, SaysWhatIsMissing)
{
    std::istringstream none("nothing\n");
    EXPECT_EQ(ErrorOf([&] { ReadStatistics(none, "figures"); }),
              "figures holds no figures of the instrument");
    std::istringstream part("x: packets=1 samples=2\n");
    EXPECT_EQ(ErrorOf([&] { ReadStatistics(part, "figures"); }),
              "figures does not tell sequence_errors");
}

TEST(ReadFiles, NamesAFileThatIsMissing)
{
    EXPECT_EQ(ErrorOf([] { ReadRecordingFile("/nowhere/signal.csv"); }),
              "/nowhere/signal.csv: No such file or directory");
}

}  // namespace
}  // namespace ecg
