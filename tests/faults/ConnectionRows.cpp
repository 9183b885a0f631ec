#include "ConnectionRows.h"

#include <algorithm>
#include <cstring>

#include "device/Identification.h"
#include "support/TempDir.h"
#include "vrax.h"

namespace faults {

using instrument::Bytes;
using instrument::Request;

namespace {

constexpr unsigned kIdentifyMs = 80;
constexpr unsigned kInformationMs = 100;
constexpr std::size_t kIdentityBytes = 12;
constexpr std::size_t kInformationBytes = 5;
constexpr std::uint16_t kZeroOffsetCode = 32000;  // of the programmed table
constexpr std::uint8_t kEcgBoard = 3;
constexpr std::uint8_t kDcVariable = 18;
constexpr std::uint8_t kModule = 19;

// The first frame of the record at an address.
Bytes ReadPrefix(std::uint8_t channel, std::uint32_t address, std::uint8_t count)
{
    return {0x12,
            0x55,
            0xAA,
            0x00,
            0x00,
            channel,
            0x00,
            count,
            static_cast<std::uint8_t>(address >> 24),
            static_cast<std::uint8_t>(address >> 16),
            static_cast<std::uint8_t>(address >> 8),
            static_cast<std::uint8_t>(address)};
}

std::string LedTypes()
{
    MODEL_INFORMATION info;
    if (!VRAXGetPPGDeviceInformation(&info)) return "-";
    std::string text;
    for (const int type : info.ledTypes) text += std::to_string(type);
    return text;
}

std::string Identity()
{
    std::string text = VRAXGetSerialNumber();
    for (const std::string& part :
         {std::string(VRAXGetHWVersion()), std::string(VRAXGetFWVersion()),
          std::string(VRAXGetPPGSerialNumber()), LedTypes()}) {
        text += " " + part;
    }
    return text;
}

constexpr char kAll[] = "TEC1020-250042 1.4 2.1.00.07 TAP3307-240007 123";
constexpr char kAllOf3407[] = "TEC1020-250042 1.4 2.1.00.07 TAP3407-240007 120";
constexpr char kAllOfRespiration[] = "TEC1020-250042 1.4 2.1.00.07 TER4501-240007 123";
constexpr char kNothing[] = " 0.0 0.0.00.00  -";
constexpr char kRecordAlone[] = "TEC1020-250042 1.4 2.1.00.00  -";
constexpr char kWithoutModule[] = "TEC1020-250042 1.4 2.1.00.07  -";
constexpr char kWithoutLeds[] = "TEC1020-250042 1.4 2.1.00.07 TAP3307-240007 333";
constexpr char kWithoutLedsOf3407[] = "TEC1020-250042 1.4 2.1.00.07 TAP3407-240007 333";

ConnectionRow MakeRow(const char* name, Request kind, Bytes prefix = {})
{
    ConnectionRow row;
    row.name = name;
    row.kind = kind;
    row.prefix = std::move(prefix);
    row.known = Identity;
    row.whole = row.missing = row.unmarked = row.wrong = kAll;
    return row;
}

// Where the reply is taken whatever stands in it.
ConnectionRow Counted(ConnectionRow row, const char* missing, const char* wrong)
{
    row.missing = missing;
    row.wrong = wrong;
    return row;
}

ConnectionRow Marked(ConnectionRow row, const char* missing)
{
    row.missing = row.unmarked = row.wrong = missing;
    return row;
}

ConnectionRow Short(ConnectionRow row, unsigned waitMs, std::size_t replyBytes)
{
    row.waitMs = waitMs;
    row.replyBytes = replyBytes;
    return row;
}

std::vector<ConnectionRow> IdentityRows()
{
    ConnectionRow identify =
        Short(MakeRow("identify", Request::Identify), kIdentifyMs, kIdentityBytes);
    identify.isIdentity = true;
    ConnectionRow hardware =
        Counted(MakeRow("hardware version", Request::HardwareInfo), kRecordAlone,
                "TEC1020-250042 254.251 2.1.00.07 TAP3307-240007 123");
    ConnectionRow firmware =
        Counted(MakeRow("firmware version", Request::FirmwareInfo), kRecordAlone,
                "TEC1020-250042 1.4 253.254.255.248 TAP3307-240007 123");
    return {
        MakeRow("sampling stop", Request::SamplingStop),
        identify,
        Marked(MakeRow("model record", Request::FlashRead, ReadPrefix(1, 0, 12)), kNothing),
        Short(hardware, kInformationMs, kInformationBytes),
        Short(firmware, kInformationMs, kInformationBytes),
    };
}

std::vector<ConnectionRow> ModuleRows()
{
    ConnectionRow versions =
        Counted(MakeRow("board versions", Request::BoardVersions), kWithoutLeds, kAll);
    versions.waitMs = kInformationMs;
    ConnectionRow other = Counted(versions, kWithoutLedsOf3407, kAllOf3407);
    other.name = "board versions of 0x3407";
    other.fitted = Fitted::Ppg3407;
    other.whole = other.unmarked = kAllOf3407;

    ConnectionRow width = Short(MakeRow("converter width", Request::DacLevel), 0, kIdentityBytes);
    width.known = [] { return std::to_string(g_nPPGDCDacLevel); };
    width.whole = "65535";
    width.missing = width.unmarked = width.wrong = "4095";

    ConnectionRow light = MakeRow("dynamic light", Request::DynamicLight);
    light.arrange = [] { SetDynamicLight(1); };
    return {Marked(MakeRow("module record", Request::FlashRead, ReadPrefix(kModule, 0, 12)),
                   kWithoutModule),
            versions, other, width, light};
}

ConnectionRow Prepared(ConnectionRow row)
{
    row.isProbe = false;
    return row;
}

// The code that stands for no offset, as the application can save it.
std::string ZeroOffsetCode()
{
    const TempDir folder;
    SaveCalibrationData((folder.Path() + "/").c_str());
    const std::string words = ReadWholeFile(folder.File("calibration.dat"));
    if (words.size() < 4002) return "none";
    return std::to_string(static_cast<unsigned char>(words[4000]) |
                          static_cast<unsigned char>(words[4001]) << 8);
}

std::vector<ConnectionRow> CalibrationRows()
{
    ConnectionRow probe =
        Prepared(MakeRow("old DC table", Request::FlashRead, ReadPrefix(kEcgBoard, 104400, 32)));
    probe.known = ZeroOffsetCode;
    probe.whole = probe.missing = probe.unmarked = probe.wrong = std::to_string(kZeroOffsetCode);
    probe.arrange = [] { ClearCalibrationCache(); };  // the file would be taken instead
    ConnectionRow table = probe;
    table.name = "DC table";
    table.prefix = ReadPrefix(kDcVariable, 3200, 32);
    table.missing = table.unmarked = table.wrong = "32767";
    return {probe, table};
}

// Without them the connection goes on, with what it had before.
std::vector<ConnectionRow> ModuleTableRows()
{
    struct Record {
        const char* name;
        Fitted fitted;
        std::uint32_t address;
        std::uint8_t count;
    };
    constexpr Record kRecords[] = {
        {"PPG DC table", Fitted::Ppg3407, 5632 + 320, 32},
        {"photodiode calibration", Fitted::Ppg, 1024, 32},
        {"photodiode ratios", Fitted::Ppg, 5248 + 64, 32},
        {"MCU settings", Fitted::Ppg3407, 5248 + 224, 32},
        {"respiration coefficients", Fitted::Respiration, 5248 + 32, 32},
        {"respiration resistances", Fitted::Respiration, 5376 + 320, 32},
        {"respiration baselines", Fitted::Respiration, 5312, 24},
    };
    std::vector<ConnectionRow> rows;
    for (const Record& record : kRecords) {
        ConnectionRow row = Prepared(MakeRow(record.name, Request::FlashRead,
                                             ReadPrefix(kModule, record.address, record.count)));
        row.fitted = record.fitted;
        if (row.fitted != Fitted::Ppg) {
            const bool has3407 = row.fitted == Fitted::Ppg3407;
            row.whole = has3407 ? kAllOf3407 : kAllOfRespiration;
            row.missing = row.unmarked = row.wrong = row.whole;
        }
        rows.push_back(row);
    }
    return rows;
}

std::vector<ConnectionRow> SwitchRows()
{
    ConnectionRow rate = Prepared(MakeRow("transmission rate", Request::SettingWrite));
    rate.fitted = Fitted::Ppg3407;
    rate.whole = rate.missing = rate.unmarked = rate.wrong = kAllOf3407;
    rate.arrange = [] { VRAXConfigureTransmissionRate(3); };  // the same again is not sent
    return {Prepared(MakeRow("relays", Request::Relays)), rate,
            Prepared(MakeRow("dynamic LED strength", Request::DynamicLight))};
}

Row AsRow(const ConnectionRow& row)
{
    Row plain;
    plain.kind = row.kind;
    plain.prefix = row.prefix;
    plain.waitMs = row.waitMs;
    plain.replyBytes = row.replyBytes;
    return plain;
}

}  // namespace

const std::vector<ConnectionRow>& ConnectionRows()
{
    static const std::vector<ConnectionRow> rows = [] {
        std::vector<ConnectionRow> all;
        for (const auto& part :
             {IdentityRows(), ModuleRows(), CalibrationRows(), ModuleTableRows(), SwitchRows()}) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }();
    return rows;
}

instrument::Options OptionsFor(const ConnectionRow& row)
{
    instrument::Options options;
    options.respirationModule = row.fitted == Fitted::Respiration;
    if (row.fitted == Fitted::Ppg) options.ppgModel = 0x3307;
    if (row.fitted == Fitted::Ppg3407) options.ppgModel = 0x3407;
    options.dac16 = true;
    return options;
}

instrument::Fault FaultOf(const ConnectionRow& row, Column column)
{
    return FaultOf(AsRow(row), column);
}

bool IsWhole(const ConnectionRow& row, Column column)
{
    Row plain = AsRow(row);
    const bool isTaken = !row.isIdentity;
    plain.answers = {1, 0, isTaken && row.unmarked == row.whole, isTaken && row.wrong == row.whole};
    return ExpectedOf(plain, State::Idle, column).front() == 1;
}

const std::string& KnownOf(const ConnectionRow& row, Column column)
{
    if (column == Column::WrongAcknowledge) return row.unmarked;
    if (column == Column::WrongBytes) return row.wrong;
    return IsWhole(row, column) ? row.whole : row.missing;
}

}  // namespace faults
