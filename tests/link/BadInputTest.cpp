// Null pointers and values that are no numbers, with an instrument, playing, and without one.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/EveryCall.h"
#include "support/LinkHost.h"

using namespace instrument;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Each gives its failure value and changes nothing.
void ExpectNullsFail()
{
    unsigned number = 0;
    double value = 1.0;
    EXPECT_FALSE(VRAXGetDeviceInformation(nullptr));
    EXPECT_FALSE(VRAXGetPPGDeviceInformation(nullptr));
    EXPECT_FALSE(VRAXGetHWInformation(nullptr));
    EXPECT_FALSE(VRAXGetPPGHWInformation(nullptr));
    EXPECT_FALSE(VRAXSetDeviceInformation(nullptr));
    EXPECT_FALSE(VRAXReadMfgInfo(nullptr, 64));
    EXPECT_FALSE(VRAXWriteMfgInfo(nullptr, 64));
    VRAXGetDeviceFeature(nullptr);
    EXPECT_FALSE(VRAXGetTransmissionRate(1, nullptr, &number));
    EXPECT_FALSE(VRAXGetTransmissionRate(1, &number, nullptr));
    EXPECT_EQ(SaveCalibrationData(nullptr), -1);
    EXPECT_EQ(GetCalibrationCache(nullptr), nullptr);
    EXPECT_EQ(GetCalibrationCacheEx(nullptr, 8002), 0);
    EXPECT_FALSE(WriteDCCalibrationData(nullptr, 4001));
    EXPECT_EQ(GetPPGDCTable(0, nullptr, 100), 0U);
    VRAXRegisterOutputSignalCallback(nullptr, -1);
    VRAXRegisterPacingOutputSignalCallback(nullptr);
    VRAXRegisterSyncFrequencyCB(nullptr);
    VRAXRegisterSyncDCOffsetCB(nullptr);
    VRAXRegisterSyncMainFunctionCB(nullptr);
    RegisterStandardWaveformCB(nullptr);
    RegisterBaselineResetCB(nullptr);
    VRAXSetSynchronizationSignal(nullptr);
    VRAXSynchronizationSignalSetEvent(nullptr);
    VRAXSynchronizationSignalResetEvent(nullptr);
    EXPECT_EQ(SetRawArray(10, nullptr, 1000), -1);
    EXPECT_EQ(SetRawArray(0, &value, 1000), -1);
    EXPECT_EQ(SetRawArray(1, &value, 0), -1);
    EXPECT_EQ(GetFileArray(nullptr, &number), nullptr);
    EXPECT_EQ(GetFileArray(&number, nullptr), nullptr);
    EXPECT_EQ(GetRawDataArrayEx(OUTPUT_SINE, nullptr, 1000, 1000), 0);
    EXPECT_EQ(EnableSaveLog(nullptr), -2);
    EXPECT_STREQ(GetSaveLogPath(), "");
    EXPECT_TRUE(EnableRecordRaw(nullptr, nullptr, 1000));
    DisableRecordRaw();
    EXPECT_TRUE(EnableRecordRaw(&value, nullptr, 1));
    DisableRecordRaw();
    EXPECT_EQ(value, 1.0);
    EXPECT_EQ(DumpRawData(nullptr, 1, "/dev/null"), -3);
    EXPECT_EQ(DumpRawData(&value, 1, nullptr), -3);
}

// The calibration folder of the test is put back by its owner alone, so last.
void ExpectNullFolderIsTheWorkingDirectory()
{
    SetCalibrationDataPath(nullptr);
    unsigned short words[4001];
    EXPECT_EQ(GetCalibrationCacheEx(words, sizeof words), 0);
}

}  // namespace

TEST(Null, FailsWithoutAnInstrument)
{
    CListeningHost host;
    ExpectNullsFail();
    ExpectNullFolderIsTheWorkingDirectory();
}

TEST(Null, FailsWithAnInstrumentAndSendsNothing)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    instrument.ClearExchanges();
    ExpectNullsFail();
    EXPECT_TRUE(instrument.Exchanges().empty());
}

TEST(Null, FailsWhileASignalPlays)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(1));
    ExpectNullsFail();
    ASSERT_TRUE(instrument.WaitForMorePackets(3));
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
}

TEST(Null, ListenerIsNone)
{
    SimulatedInstrument instrument(0);
    CHost host;
    EXPECT_EQ(VRAXSetAmplitude(2.0), -1);
    ASSERT_TRUE(VRAXInit(nullptr));
    EXPECT_TRUE(Eventually([] { return VRAXIsConnected(); }));
    EXPECT_EQ(VRAXSetAmplitude(2.0), 0);
}

TEST(NotANumber, IsInsideEveryRange)
{
    CListeningHost host;
    EXPECT_EQ(VRAXSetAmplitude(kNaN), 0);
    EXPECT_TRUE(std::isnan(VRAXGetAmplitude()));
    EXPECT_EQ(VRAXSetFrequency(kNaN), 0);
    EXPECT_TRUE(std::isnan(VRAXGetFrequency()));
    EXPECT_EQ(VRAXSetPacingAmplitude(kNaN), 0);
    EXPECT_EQ(VRAXSetPacingDuration(kNaN), 0);
    EXPECT_EQ(VRAXSetDynamicRangeTest(false, true, kNaN, kNaN), 0);
    EXPECT_EQ(VRAXSetECG2_27_Noise(50, kNaN), 0);
}

TEST(Infinity, IsOutsideEveryRange)
{
    CListeningHost host;
    for (const double value : {kInfinity, -kInfinity}) {
        EXPECT_EQ(VRAXSetAmplitude(value), -2);
        EXPECT_EQ(VRAXSetFrequency(value), -2);
        EXPECT_EQ(VRAXSetPulseWidth(value), -2);
        EXPECT_EQ(VRAXSetOvershootAmplitude(value), -2);
        EXPECT_EQ(VRAXSetFrequencyScanSine(true, 10, value, 1.0), -2);
        EXPECT_EQ(VRAXSetFrequencyScanSine(true, 10, 1.0, value), -3);
    }
    EXPECT_EQ(VRAXGetAmplitude(), 1.0);
}

class NotANumberPlayed : public testing::TestWithParam<int> {};

TEST_P(NotANumberPlayed, MakesSoundPackets)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    ASSERT_EQ(VRAXSetOutputFunction(GetParam()), 0);
    ASSERT_TRUE(instrument.WaitForPackets(1));
    CallAll(NumberSetters(kNaN));
    VRAXSetECG2_27_AAMIDriftTest(true);
    ASSERT_TRUE(instrument.WaitForMorePackets(40));  // past the cycle in which they take effect
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(VRAXIsPlaying(), 0);

    // And from the start on.
    ASSERT_EQ(VRAXSetOutputFunction(GetParam()), 0);
    ASSERT_TRUE(instrument.WaitForMorePackets(3));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(instrument.Statistics().frameErrors, 0U);
    ExpectNoRefusals(instrument);
}

INSTANTIATE_TEST_SUITE_P(Functions, NotANumberPlayed,
                         testing::Values(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17,
                                         18, -1, 10000));

TEST(NotANumber, SineOfNoAmplitudeIsCode0)
{
    Options options = RealTime();
    options.keepSamples = 5000;
    SimulatedInstrument instrument(options);
    CConnectedHost host;
    ASSERT_EQ(VRAXSetAmplitude(kNaN), 0);
    ASSERT_EQ(VRAXSetDCOffset(10), 0);  // so that the packets are no resting ones
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument.WaitForPackets(3));
    const std::vector<Sample> samples = instrument.Samples();
    ASSERT_FALSE(samples.empty());
    for (const Sample& sample : samples) ASSERT_EQ(sample.codes.ac, 0);
}

TEST(OutputFunction, ThatDoesNotExistPlaysNothingButPlays)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    for (const int function : {18, 9999, -1, std::numeric_limits<int>::min()}) {
        ASSERT_EQ(VRAXSetOutputFunction(function), 0);
        EXPECT_EQ(VRAXGetOutputFunction(), function);
        ASSERT_TRUE(instrument.WaitForMorePackets(2));
        EXPECT_TRUE(IsStopPacket(instrument.LastPacket()));  // rest
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    }
    ExpectNoRefusals(instrument);
}
