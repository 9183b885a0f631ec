// Which source of the ECG DC table wins at a connection: the file, the old place in flash, the new
// place, the default.

#include <gtest/gtest.h>

#include "support/CalibrationTables.h"
#include "support/OpenInstrument.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
void ProgramOldPlace(COpenInstrument& opened, const CalibrationWords& words)
{
    opened.device.WriteFlash(3, 102400, BigEndian(words));
}
void ProgramNewPlace(COpenInstrument& opened, const CalibrationWords& words)
{
    opened.device.WriteFlash(18, 0, BigEndian(words));
}
Bytes OldPlace(const COpenInstrument& opened) { return opened.device.ReadFlash(3, 102400, 8002); }
Bytes NewPlace(const COpenInstrument& opened) { return opened.device.ReadFlash(18, 0, 8002); }
const Bytes kErased(8002, 0xFF);
}  // namespace

TEST(CalibrationSources, TheFileWinsOverTheInstrument)
{
    const CCalibrationFolder folder;
    folder.WriteFile(LittleEndian(RisingTable(5)));
    COpenInstrument opened;
    ProgramOldPlace(opened, RisingTable(6));
    ProgramNewPlace(opened, RisingTable(7));
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), RisingTable(5));
    EXPECT_TRUE(opened.device.Exchanges().empty());
}

TEST(CalibrationSources, AnEmptyInstrumentGetsTheDefaultAndNoFile)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    UseTable(RisingTable(3));
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), DefaultTable());
    EXPECT_FALSE(folder.HasFile());
    EXPECT_EQ(opened.device.Exchanges().size(), 1u + 251u);
    EXPECT_EQ(NewPlace(opened), kErased);
}

TEST(CalibrationSources, TheNewPlaceIsTakenAndSaved)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    ProgramNewPlace(opened, RisingTable(7));
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), RisingTable(7));
    EXPECT_EQ(folder.FileBytes(), LittleEndian(RisingTable(7)));
    EXPECT_TRUE(opened.device.Exchanges(Request::FlashWrite).empty());
    EXPECT_TRUE(opened.device.Exchanges(Request::FlashErase).empty());
}

TEST(CalibrationSources, AFileOf8000BytesIsIgnored)
{
    const CCalibrationFolder folder;
    Bytes bytes = LittleEndian(RisingTable(5));
    bytes.resize(8000);
    folder.WriteFile(bytes);
    COpenInstrument opened;
    ProgramNewPlace(opened, RisingTable(7));
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), RisingTable(7));
    EXPECT_EQ(folder.FileBytes(), LittleEndian(RisingTable(7)));  // replaced
}

TEST(CalibrationSources, AFileWithAWord255FallsThroughToTheInstrument)
{
    const CCalibrationFolder folder;
    CalibrationWords words = RisingTable(5);
    words[1500] = 255;
    folder.WriteFile(LittleEndian(words));
    COpenInstrument opened;
    ProgramNewPlace(opened, RisingTable(7));
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), RisingTable(7));
}

TEST(CalibrationSources, AnUnwritableFolderIsNoFailure)
{
    SetCalibrationDataPath("/proc/");
    COpenInstrument opened;
    ProgramNewPlace(opened, RisingTable(7));
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), RisingTable(7));
}

TEST(CalibrationSources, TheOldPlaceMovesToTheNewOneOnce)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    ProgramOldPlace(opened, RisingTable(6));
    opened.device.WriteFlash(3, 102400 + 14 * 1024, Bytes(16, 0x42));  // after the last sector
    ProgramNewPlace(opened, RisingTable(7));
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), RisingTable(6));
    EXPECT_EQ(folder.FileBytes(), LittleEndian(RisingTable(6)));
    EXPECT_EQ(NewPlace(opened), BigEndian(RisingTable(6)));
    EXPECT_EQ(OldPlace(opened), kErased);
    EXPECT_EQ(opened.device.ReadFlash(3, 102400 + 14 * 1024, 16), Bytes(16, 0x42));
    const auto erases = opened.device.Exchanges(Request::FlashErase);
    ASSERT_EQ(erases.size(), 14u);
    EXPECT_EQ(erases[0].request, EraseRequest(3, 102400));

    // The next time the new place is found.
    ClearCalibrationCache();
    opened.device.ClearExchanges();
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), RisingTable(6));
    EXPECT_TRUE(opened.device.Exchanges(Request::FlashWrite).empty());
}

TEST(CalibrationSources, TheOldPlaceIsKeptWhenTheNewOneCannotBeWritten)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    ProgramOldPlace(opened, RisingTable(6));
    opened.device.Inject(FaultOn(Request::FlashWrite, FaultKind::WrongAcknowledge, 2));
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), RisingTable(6));
    EXPECT_EQ(folder.FileBytes(), LittleEndian(RisingTable(6)));
    EXPECT_TRUE(opened.device.Exchanges(Request::FlashErase).empty());
    EXPECT_EQ(OldPlace(opened), BigEndian(RisingTable(6)));
}

TEST(CalibrationSources, AnOldPlaceWithAnErasedWordInsideIsPassedOver)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    CalibrationWords words = RisingTable(6);
    words[2500] = 0xFFFF;
    ProgramOldPlace(opened, words);
    ProgramNewPlace(opened, RisingTable(7));
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), RisingTable(7));
    EXPECT_EQ(OldPlace(opened), BigEndian(words));
}

TEST(CalibrationSources, AnOldPlaceThatCannotBeReadIsPassedOver)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    ProgramOldPlace(opened, RisingTable(6));
    ProgramNewPlace(opened, RisingTable(7));
    opened.device.Inject(FaultOn(Request::FlashRead, FaultKind::Silence, 100));
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), RisingTable(7));
}

TEST(CalibrationSources, ANewPlaceWithAnErasedWordInsideGivesTheDefault)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    CalibrationWords words = RisingTable(7);
    words[1500] = 0xFFFF;
    ProgramNewPlace(opened, words);
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), DefaultTable());
    EXPECT_FALSE(folder.HasFile());
}

TEST(CalibrationSources, ANewPlaceThatCannotBeReadGivesTheDefault)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    ProgramNewPlace(opened, RisingTable(7));
    opened.device.Inject(FaultOn(Request::FlashRead, FaultKind::Silence, 251));  // the last frame
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), DefaultTable());
    EXPECT_FALSE(folder.HasFile());
}

TEST(CalibrationSources, ErasedWordsFarFromZeroAreKept)
{
    const CCalibrationFolder folder;
    COpenInstrument opened;
    CalibrationWords words = RisingTable(7);
    words[0] = words[1499] = words[2501] = words[4000] = 0xFFFF;
    ProgramNewPlace(opened, words);
    SetECGDCVariableCalibrationData();
    EXPECT_EQ(TableInUse(), words);
}

TEST(CalibrationSources, AreTriedAtAConnection)
{
    const CCalibrationFolder folder;
    instrument::SimulatedInstrument device(0);
    device.WriteFlash(18, 0, BigEndian(RisingTable(7)));
    ASSERT_TRUE(VRAXConnect(0, 60000));
    EXPECT_EQ(TableInUse(), RisingTable(7));
    EXPECT_EQ(folder.FileBytes(), LittleEndian(RisingTable(7)));
    VRAXFree();
    EXPECT_EQ(TableInUse(), RisingTable(7));  // the table lives longer than the connection
}
