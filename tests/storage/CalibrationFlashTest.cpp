// The calls that read, write and clear the calibration in the instrument.

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/CalibrationTables.h"
#include "support/OpenInstrument.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
// What the low 16 bits hold, with other bits above them.
std::vector<unsigned> WideValues(const CalibrationWords& words)
{
    std::vector<unsigned> values;
    for (const std::uint16_t word : words) values.push_back(0xABCD0000u | word);
    return values;
}
}  // namespace

TEST(ReadCalibration, TakesTheNewPlaceAsItIs)
{
    COpenInstrument opened;
    opened.device.WriteFlash(18, 0, BigEndian(RisingTable(7)));
    EXPECT_TRUE(ReadDCCalibrationData());
    EXPECT_EQ(TableInUse(), RisingTable(7));
    opened.device.EraseFlash(18);
    EXPECT_TRUE(ReadDCCalibrationData());
    EXPECT_EQ(TableInUse(), CalibrationWords(4001, 0xFFFF));
}

TEST(ReadCalibration, KeepsWhatCameBeforeAFailureAndZeros)
{
    COpenInstrument opened;
    opened.device.WriteFlash(18, 0, BigEndian(RisingTable(7)));
    opened.device.Inject(FaultOn(Request::FlashRead, FaultKind::Silence, 1));
    UseTable(RisingTable(3));
    EXPECT_FALSE(ReadDCCalibrationData());
    CalibrationWords expected = RisingTable(7);
    std::fill(expected.begin() + 16, expected.end(), std::uint16_t{0});
    EXPECT_EQ(TableInUse(), expected);
}

TEST(ReadCalibration, WithoutAPortFails) { EXPECT_FALSE(ReadDCCalibrationData()); }

TEST(WriteCalibration, StoresTheLow16BitsInTableFlashAndFile)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    const std::vector<unsigned> values = WideValues(RisingTable(9));
    EXPECT_TRUE(WriteDCCalibrationData(values.data(), 4001));
    EXPECT_EQ(TableInUse(), RisingTable(9));
    EXPECT_EQ(opened.device.ReadFlash(18, 0, 8002), BigEndian(RisingTable(9)));
    EXPECT_EQ(folder.FileBytes(), LittleEndian(RisingTable(9)));
    EXPECT_TRUE(opened.device.Exchanges(Request::FlashErase).empty());
}

TEST(WriteCalibration, OfAnotherCountChangesNothing)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    UseTable(RisingTable(3));
    std::vector<unsigned> values = WideValues(RisingTable(9));
    values.push_back(1);
    for (const long count : {4000L, 4002L, 0L, -1L, 4001L + (1L << 32)}) {
        EXPECT_FALSE(WriteDCCalibrationData(values.data(), count)) << count;
    }
    EXPECT_FALSE(WriteDCCalibrationData(nullptr, 4001));
    EXPECT_EQ(TableInUse(), RisingTable(3));
    EXPECT_TRUE(opened.device.Exchanges().empty());
    EXPECT_FALSE(folder.HasFile());
}

TEST(WriteCalibration, ThatFailsSavesNoFile)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    opened.device.Inject(FaultOn(Request::FlashWrite, FaultKind::WrongAcknowledge, 1));
    const std::vector<unsigned> values = WideValues(RisingTable(9));
    EXPECT_FALSE(WriteDCCalibrationData(values.data(), 4001));
    EXPECT_EQ(TableInUse(), RisingTable(9));
    EXPECT_EQ(opened.device.Exchanges().size(), 2u);
    EXPECT_FALSE(folder.HasFile());
}

TEST(WriteCalibration, WithoutAPortFails)
{
    const CCalibrationFolder folder;
    const std::vector<unsigned> values = WideValues(RisingTable(9));
    EXPECT_FALSE(WriteDCCalibrationData(values.data(), 4001));
    EXPECT_FALSE(folder.HasFile());
}

TEST(ClearCalibration, ErasesBothPlacesAndDeletesTheFile)
{
    const CCalibrationFolder folder;
    folder.WriteFile(LittleEndian(RisingTable(5)));
    COpenInstrument opened;
    opened.device.WriteFlash(18, 0, BigEndian(RisingTable(7)));
    opened.device.WriteFlash(3, 102400, BigEndian(RisingTable(6)));
    UseTable(RisingTable(3));
    EXPECT_TRUE(ClearDCCalibrationData());
    const auto erases = opened.device.Exchanges();
    ASSERT_EQ(erases.size(), 28u);
    EXPECT_EQ(erases[0].request, EraseRequest(18, 0));
    EXPECT_EQ(erases[14].request, EraseRequest(3, 102400));
    EXPECT_EQ(opened.device.ReadFlash(18, 0, 8002), Bytes(8002, 0xFF));
    EXPECT_EQ(opened.device.ReadFlash(3, 102400, 8002), Bytes(8002, 0xFF));
    EXPECT_FALSE(folder.HasFile());
    EXPECT_EQ(TableInUse(), RisingTable(3));
}

TEST(ClearCalibration, WithoutAFileSucceedsToo)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    EXPECT_TRUE(ClearDCCalibrationData());
}

TEST(ClearCalibration, FailsWhenEitherEraseFails)
{
    const CCalibrationFolder folder;
    for (const unsigned skip : {0u, 13u, 14u, 27u}) {
        COpenInstrument opened;
        opened.device.Inject(FaultOn(Request::FlashErase, FaultKind::Silence, skip));
        EXPECT_FALSE(ClearDCCalibrationData()) << "erase " << skip;
    }
    EXPECT_FALSE(ClearDCCalibrationData());  // no port
}
