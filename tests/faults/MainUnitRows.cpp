// The voltage, and everything that goes through the flash.

#include <cstring>
#include <numeric>

#include "Table.h"
#include "support/Waiting.h"
#include "vrax.h"

namespace faults {

using instrument::Bytes;
using instrument::Request;

namespace {

constexpr std::uint8_t kMainBoard = 1;
constexpr std::uint8_t kEcgBoard = 3;
constexpr std::uint8_t kDcVariable = 18;
constexpr std::uint8_t kModule = 19;
constexpr std::uint32_t kManufacturing = 115712;
constexpr int kManufacturingBytes = 32;  // one frame
constexpr long kOtherData = 2;           // the call succeeded and gave or wrote something else
constexpr unsigned kEraseMs = 40;
constexpr unsigned kWriteMs = 6;

Bytes FramePrefix(std::uint8_t direction, std::uint8_t channel)
{
    return {0x12, 0x55, 0xAA, direction, 0x00, channel};
}
Bytes ReadPrefix(std::uint8_t channel) { return FramePrefix(0x00, channel); }
Bytes WritePrefix(std::uint8_t channel) { return FramePrefix(0xFF, channel); }

// Another block for each call.
Bytes BlockOf(unsigned number)
{
    Bytes block(kManufacturingBytes);
    std::iota(block.begin(), block.end(), static_cast<std::uint8_t>(number));
    return block;
}

long ReadManufacturing(Scene& scene)
{
    const Bytes wanted = BlockOf(scene.number);
    scene.instrument.WriteFlash(kEcgBoard, kManufacturing, wanted);
    Bytes block(wanted.size());
    if (!VRAXReadMfgInfo(block.data(), kManufacturingBytes)) return 0;
    return block == wanted ? 1 : kOtherData;
}

long WriteManufacturing(Scene& scene)
{
    const Bytes block = BlockOf(scene.number);
    if (!VRAXWriteMfgInfo(block.data(), kManufacturingBytes)) return 0;
    const bool isThere = Eventually(
        [&] {
            return scene.instrument.ReadFlash(kEcgBoard, kManufacturing, block.size()) == block;
        },
        std::chrono::milliseconds(500));
    return isThere ? 1 : kOtherData;
}

long ReadDcTable(Scene& scene)
{
    scene.instrument.ProgramDcTable(instrument::DefaultDcWords());
    return ReadDCCalibrationData() ? 1 : 0;
}

long ClearDcTable(Scene&) { return ClearDCCalibrationData() ? 1 : 0; }
void ProgramDcTable(Scene& scene) { scene.instrument.ProgramDcTable(instrument::DefaultDcWords()); }

// What stands in the record before and after, so that the next connection finds it.
const Bytes kRecord = {'T', 'E', 'C', 0x10, 0x20, 25, 0, 42, 1, 4, 2, 1};
void RestoreRecord(Scene& scene) { scene.instrument.WriteFlash(kMainBoard, 0, kRecord); }

// The library may have taken another reply for that of the write, and be back before it.
long WhetherRecorded(Scene& scene, bool succeeded)
{
    if (!succeeded) return 0;
    const bool isThere = Eventually(
        [&] { return scene.instrument.ReadFlash(kMainBoard, 0, kRecord.size()) == kRecord; },
        std::chrono::milliseconds(500));
    return isThere ? 1 : kOtherData;
}

long WriteModel(Scene& scene)
{
    MODEL_INFORMATION info = {};
    std::memcpy(info.typeLetters, &kRecord[1], 2);
    std::memcpy(info.modelCode, &kRecord[3], 2);
    info.yearOrLot = kRecord[5];
    info.sequenceNumber = kRecord[7];
    return WhetherRecorded(scene, VRAXSetDeviceInformation(&info));
}

long WriteHardware(Scene& scene)
{
    return WhetherRecorded(scene, VRAXSetHWInformation(kRecord[8], kRecord[9]));
}

// A record is read, erased and written back.
std::vector<Row> RewriteRows(const char* call, long (*run)(Scene&))
{
    Row read;
    read.name = "model record read";
    read.call = call;
    read.kind = Request::FlashRead;
    read.prefix = ReadPrefix(kMainBoard);
    // The frame is sent back as it came, so that the instrument refuses a wrong one.
    read.answers = {1, 0, 1, 0};
    read.run = run;
    read.moreFollow = true;
    read.sendsBack = true;
    read.restore = RestoreRecord;

    Row erase = read;
    erase.name = "model record erase";
    erase.kind = Request::FlashErase;
    erase.prefix = WritePrefix(kMainBoard);
    erase.answers = Counted(1, 0);
    erase.waitMs = kEraseMs;
    erase.sendsBack = false;

    Row write = erase;
    write.name = "model record write";
    write.kind = Request::FlashWrite;
    write.answers = Marked(1, 0);
    write.waitMs = 0;
    write.moreFollow = false;
    return {read, erase, write};
}

std::vector<Row> ManufacturingRows()
{
    Row read;
    read.name = "flash read, bytes";
    read.call = "VRAXReadMfgInfo";
    read.kind = Request::FlashRead;
    read.prefix = ReadPrefix(kEcgBoard);
    read.answers = Marked(1, 0);
    read.run = ReadManufacturing;

    Row erase;
    erase.name = "flash erase";
    erase.call = "VRAXWriteMfgInfo";
    erase.kind = Request::FlashErase;
    erase.prefix = WritePrefix(kEcgBoard);
    erase.answers = Counted(1, 0);
    erase.run = WriteManufacturing;
    erase.waitMs = kEraseMs;
    erase.moreFollow = true;

    Row write = erase;
    write.name = "flash write, bytes";
    write.kind = Request::FlashWrite;
    write.answers = Marked(1, 0);
    write.waitMs = kWriteMs;
    write.moreFollow = false;
    return {read, erase, write};
}

std::vector<Row> DcTableRows()
{
    Row read;
    read.name = "flash read, words";
    read.call = "ReadDCCalibrationData";
    read.kind = Request::FlashRead;
    read.prefix = ReadPrefix(kDcVariable);
    read.answers = Marked(1, 0);
    read.run = ReadDcTable;
    read.skip = 100;
    read.moreFollow = true;

    Row erase;
    erase.name = "calibration erase";
    erase.call = "ClearDCCalibrationData";
    erase.kind = Request::FlashErase;
    erase.prefix = WritePrefix(kDcVariable);
    erase.answers = Counted(1, 0);
    erase.run = ClearDcTable;
    erase.waitMs = kEraseMs;
    erase.skip = 5;
    erase.moreFollow = true;
    erase.restore = ProgramDcTable;
    return {read, erase};
}

// Read whenever the stored levels are not valid, which they are not here.
Row FactorySettingRow()
{
    Row row;
    row.name = "factory setting read";
    row.call = "ResetPPGTriggerLevel";
    row.kind = Request::FlashRead;
    row.prefix = ReadPrefix(kModule);
    row.answers = Marked(-3, -2);
    row.run = [](Scene&) -> long { return ResetPPGTriggerLevel(); };
    row.fitted = Fitted::Ppg;
    row.moreFollow = true;
    row.arrange = [](Scene& scene) { scene.instrument.WriteFlash(kModule, 5120, {2}); };
    return row;
}

Row VoltageRow()
{
    Row row;
    row.name = "USB voltage";
    row.call = "VRAXGetUSBBusVoltage";
    row.kind = Request::UsbVoltage;
    row.answers = {200, 0, 200, 255 - 200};
    row.run = [](Scene&) -> long { return VRAXGetUSBBusVoltage(); };
    row.arrange = [](Scene& scene) {
        instrument::Measurements measurements = scene.instrument.GetMeasurements();
        measurements.usbVoltage = 200;
        scene.instrument.SetMeasurements(measurements);
    };
    return row;
}

}  // namespace

std::vector<Row> MainUnitRows()
{
    std::vector<Row> rows = {VoltageRow(), FactorySettingRow()};
    for (const auto& part :
         {ManufacturingRows(), DcTableRows(), RewriteRows("VRAXSetDeviceInformation", WriteModel),
          RewriteRows("VRAXSetHWInformation", WriteHardware)}) {
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

}  // namespace faults
