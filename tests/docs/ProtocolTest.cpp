// The tables of docs/protocol.md against both sides of the wire: the requests that the instrument
// knows, and those that the library sends.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "instrument/Framing.h"
#include "support/Firmware.h"
#include "support/LinkHost.h"
#include "vrax.h"

using namespace instrument;

namespace {

struct Row {
    std::vector<std::string> request;  // hexadecimal, a letter for a value, ".." for the rest
    std::size_t length = 0;
    std::size_t replyLength = 0;
    std::string acknowledge;  // number of the byte, or empty
    std::string name;
    std::set<std::string> sentBy;  // each as in the table, without the marks
};

std::vector<std::string> Split(const std::string& text, char mark)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, mark);) {
        const std::size_t from = part.find_first_not_of(' ');
        const std::size_t to = part.find_last_not_of(' ');
        parts.push_back(from == std::string::npos ? "" : part.substr(from, to - from + 1));
    }
    return parts;
}

std::string WithoutMarks(std::string code)
{
    std::erase(code, '`');
    return code;
}

// The calls of a cell; one that sends the request to a module alone is a call of its own.
std::set<std::string> CallsIn(const std::string& cell)
{
    static const std::regex kCall("`(\\w+)`( with the module)?");
    std::set<std::string> calls;
    for (std::sregex_iterator at(cell.begin(), cell.end(), kCall); at != std::sregex_iterator();
         ++at)
        calls.insert(at->str(1) + at->str(2));
    return calls;
}

std::vector<Row> ReadRows()
{
    std::ifstream file(VRAX_PROTOCOL_TEXT);
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line) && line != "## Flash";) {
        // Those rows alone begin with bytes; the table of the general form has five columns less.
        const std::vector<std::string> cells = Split(line, '|');
        if (cells.size() != 8 || !line.starts_with("| `")) continue;
        rows.push_back({Split(WithoutMarks(cells[1]), ' '), std::stoul(cells[2]),
                        std::stoul(cells[3]), cells[4], cells[6], CallsIn(cells[7])});
    }
    return rows;
}

bool IsByte(const std::string& token) { return token.size() == 2 && token != ".."; }
std::uint8_t ByteOf(const std::string& token)
{
    return static_cast<std::uint8_t>(std::stoul(token, nullptr, 16));
}

// With 1 for each value and zeros for the rest.
Bytes ExampleOf(const Row& row)
{
    Bytes bytes;
    for (const std::string& token : row.request) {
        if (token != "..") bytes.push_back(IsByte(token) ? ByteOf(token) : std::uint8_t{1});
    }
    bytes.resize(row.length);
    return bytes;
}

bool Fits(const Row& row, const Exchange& exchange)
{
    if (exchange.request.size() != row.length || NameOf(exchange.kind) != row.name) return false;
    for (std::size_t i = 0; i < row.request.size() && row.request[i] != ".."; ++i) {
        if (IsByte(row.request[i]) && ByteOf(row.request[i]) != exchange.request[i]) return false;
    }
    return true;
}

constexpr std::uint8_t kModuleMemory = 19;

// A unit without the module that a command is for answers without an acknowledgement.
bool IsForAModule(const Exchange& exchange)
{
    if (exchange.kind == Request::DynamicLight) return true;
    return exchange.kind == Request::FlashRead && exchange.request[5] == kModuleMemory;
}

// Each exchange is a row of the table and was answered as the row tells.
void ExpectTabulated(const std::vector<Row>& rows, const std::vector<Exchange>& exchanges)
{
    for (const Exchange& exchange : exchanges) {
        const auto row = std::find_if(rows.begin(), rows.end(),
                                      [&](const Row& each) { return Fits(each, exchange); });
        ASSERT_NE(row, rows.end()) << NameOf(exchange.kind) << ": " << Hex(exchange.request);
        EXPECT_EQ(exchange.reply.size(), row->replyLength) << row->name;
        if (row->acknowledge.empty() || exchange.reply.size() != row->replyLength) continue;
        const std::uint8_t mark = exchange.reply.at(std::stoul(row->acknowledge));
        EXPECT_TRUE(mark == 0xFF || (mark == 0 && IsForAModule(exchange))) << row->name;
    }
}

using Calls = std::map<std::string, std::function<void()>>;

// Each row that names a call is sent by it.
void ExpectSentByTheirCalls(const Options& options, const Calls& calls)
{
    const std::vector<Row> rows = ReadRows();
    SimulatedInstrument instrument(options);
    // Thousands of exchanges, none of which may be late on a busy machine.
    const CConnectedHost host(5 * kPatientMs);
    ExpectTabulated(rows, instrument.Exchanges());
    for (const auto& [function, call] : calls) {
        instrument.ClearExchanges();
        call();
        const std::vector<Exchange> exchanges = instrument.Exchanges();
        ExpectTabulated(rows, exchanges);
        for (const Row& row : rows) {
            if (!row.sentBy.contains(function)) continue;
            EXPECT_TRUE(std::any_of(exchanges.begin(), exchanges.end(),
                                    [&](const Exchange& each) { return Fits(row, each); }))
                << function << " does not send " << row.name;
        }
    }
    ExpectNoRefusals(instrument);
}

Calls MainCalls()
{
    return {
        {"VRAXSetDeviceHandle", [] { VRAXSetDeviceHandle(VRAXGetDeviceHandle()); }},
        {"VRAXGetUSBBusVoltage", [] { VRAXGetUSBBusVoltage(); }},
        {"VRAXReadMfgInfo",
         [] {
             unsigned char record[64];
             EXPECT_TRUE(VRAXReadMfgInfo(record, sizeof record));
         }},
        {"VRAXWriteMfgInfo", [] { EXPECT_TRUE(VRAXWriteMfgInfo("made here", 9)); }},
        {"VRAXSetOutputLead", [] { VRAXSetOutputLead(3, true); }},
        {"VRAXSetLeadOff", [] { EXPECT_EQ(VRAXSetLeadOff(2), 1); }},
        {"VRAXMeasureRLD",
         [] {
             EXPECT_EQ(VRAXMeasureRLD(true), 1);
             EXPECT_EQ(VRAXMeasureRLD(false), 1);
         }},
        {"VRAXReadRLD",
         [] {
             double first = 0;
             double second = 0;
             EXPECT_EQ(VRAXReadRLD(&first, &second), 1);
         }},
        {"VRAXApplyPacing", [] { EXPECT_EQ(VRAXApplyPacing(), 1); }},
        {"VRAXSetOutputFunction",
         [] {
             EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
             EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
         }},
        {"VRAXSetRespiration",
         [] {
             VRAXEnableRespiration(1);
             EXPECT_EQ(VRAXSetRespiration(1000, 15, 2, 500, 0), 1);
         }},
        {"VRAXSetCalibrationRespiration",
         [] { EXPECT_EQ(VRAXSetCalibrationRespiration(1000, 500), 1); }},
    };
}

Calls RespirationModuleCalls()
{
    return {
        {"VRAXExternalRespiratorySetBaseline",
         [] {
             VRAXEnableRespiration(1);
             EXPECT_EQ(VRAXExternalRespiratorySetBaseline(3, 0), 1);
         }},
        {"VRAXExternalRespiratorySetDAC",
         [] { EXPECT_EQ(VRAXExternalRespiratorySetDAC(1, 2, 3, 4), 1); }},
        {"VRAXExternalRespiratorySetBaselineDAC",
         [] { EXPECT_EQ(VRAXExternalRespiratorySetBaselineDAC(7), 1); }},
        {"VRAXExternalRespiratorySetAmplitudeByResistance",
         [] { EXPECT_EQ(VRAXExternalRespiratorySetAmplitudeByResistance(1000.0), 1); }},
        {"VRAXSetRespiration with the module",
         [] { EXPECT_EQ(VRAXSetRespiration(1000, 15, 2, 500, 0), 1); }},
        {"VRAXSetCalibrationRespiration with the module",
         [] { EXPECT_EQ(VRAXSetCalibrationRespiration(1000, 500), 1); }},
        {"VRAXSetOutputLead with the module", [] { EXPECT_EQ(VRAXSetOutputLead(3, true), 0); }},
        {"VRAXEnableRespiration with the module", [] { EXPECT_EQ(VRAXEnableRespiration(0), 1); }},
    };
}

Calls PpgModuleCalls()
{
    return {
        {"SetPPGLedLevel", [] { EXPECT_EQ(SetPPGLedLevel(1, 30), 0); }},
        {"SetPPGTriggerLevel", [] { EXPECT_EQ(SetPPGTriggerLevel(2, 40), 0); }},
        {"GetPPGTriggerLevel", [] { EXPECT_GE(GetPPGTriggerLevel(2), 0); }},
        {"VRAXConfigureTransmissionRate", [] { VRAXConfigureTransmissionRate(2); }},
        {"VRAXWriteLEDPulseGroupSetting",
         [] {
             const uint16_t groups[5] = {0x0101, 0x0202, 0, 0, 5};
             EXPECT_TRUE(VRAXWriteLEDPulseGroupSetting(groups));
         }},
        {"VRAXReadLEDPulseGroupSetting",
         [] {
             uint16_t groups[5] = {};
             EXPECT_TRUE(VRAXReadLEDPulseGroupSetting(groups));
         }},
        {"VRAXStartPPGSampling",
         [] {
             VRAXEnablePPGSampling(0, [](int, int, int) {});
             EXPECT_EQ(VRAXStartPPGSampling(), 0);
         }},
        {"VRAXStopPPGSampling", [] { VRAXStopPPGSampling(); }},
        {"VRAXDisablePPGSampling",
         [] {
             EXPECT_EQ(VRAXEnablePPGSampling(0, [](int, int, int) {}), 0);
             EXPECT_EQ(VRAXDisablePPGSampling(), 0);
         }},
        {"VRAXEnableDynamicLEDStrength", [] { EXPECT_TRUE(VRAXEnableDynamicLEDStrength(true)); }},
        {"SetDynamicLight",
         [] {
             EXPECT_EQ(SetDynamicLight(0), 0);
             EXPECT_EQ(SetDynamicLight(1), 0);
         }},
        {"VRAXEnableFPGASampling", [] { EXPECT_TRUE(VRAXEnableFPGASampling(true)); }},
        {"VRAXGetFPGAReport",
         [] {
             double report[18];
             EXPECT_TRUE(VRAXGetFPGAReport(report));
         }},
        {"GetPDStatus",
         [] {
             uint32_t v[6];
             EXPECT_EQ(GetPDStatus(&v[0], &v[1], &v[2], &v[3], &v[4], &v[5]), 0);
         }},
        {"GetAutoTriggerLevelStatus",
         [] {
             uint16_t status[5];
             EXPECT_TRUE(GetAutoTriggerLevelStatus(status));
         }},
        {"VRAXSetLEDAmbientLightMode", [] { VRAXSetLEDAmbientLightMode(3); }},
        {"VRAXGetLEDAmbientLightMode", [] { VRAXGetLEDAmbientLightMode(); }},
    };
}

Calls BurnCalls()
{
    return {
        {"BurnFirmware",
         [] {
             LoadFpga(FpgaImage());
             EXPECT_EQ(BurnFirmware([](int, int) { return 0; }), 0);
         }},
        {"BurnMcu",
         [] {
             LoadMcu(McuImage());
             EXPECT_EQ(BurnMcu([](int, int) { return 0; }), 0);
         }},
    };
}

Options WithModel(unsigned model)
{
    Options options;
    options.ppgModel = model;
    return options;
}

Options KeepingTheStream()
{
    Options options;
    options.keepStreamExchanges = true;
    return options;
}

}  // namespace

TEST(Protocol, TheInstrumentKnowsEachRowByItsNameAndLength)
{
    const std::vector<Row> rows = ReadRows();
    ASSERT_FALSE(rows.empty());
    for (const Row& row : rows) {
        const Bytes request = ExampleOf(row);
        const Classified found = Classify(request);
        EXPECT_EQ(found.arrival, Arrival::Complete) << row.name;
        EXPECT_EQ(NameOf(found.kind), row.name);
        EXPECT_EQ(found.length, row.length) << row.name;
    }
}

TEST(Protocol, TheTableHasEveryRequestOfTheInstrument)
{
    std::set<std::string> names;
    for (const Row& row : ReadRows()) names.insert(row.name);
    for (int i = 0; i < static_cast<int>(Request::Unknown); ++i) {
        const auto kind = static_cast<Request>(i);
        const bool isGroup =
            kind == Request::Any || kind == Request::Command || kind == Request::Firmware;
        EXPECT_TRUE(isGroup || names.contains(NameOf(kind))) << NameOf(kind);
    }
}

TEST(Protocol, TheCallsOfTheTableAreThoseTriedHere)
{
    std::set<std::string> tried;
    for (const Calls& calls :
         {MainCalls(), RespirationModuleCalls(), PpgModuleCalls(), BurnCalls()})
        for (const auto& [function, call] : calls) tried.insert(function);
    std::set<std::string> named;
    for (const Row& row : ReadRows()) named.insert(row.sentBy.begin(), row.sentBy.end());
    EXPECT_EQ(named, tried);
}

TEST(Protocol, TheMainUnitIsSentWhatTheTableTells)
{
    ExpectSentByTheirCalls(KeepingTheStream(), MainCalls());
}

TEST(Protocol, ARespirationModuleIsSentWhatTheTableTells)
{
    Options options;
    options.respirationModule = true;
    ExpectSentByTheirCalls(options, RespirationModuleCalls());
}

TEST(Protocol, APpgModuleIsSentWhatTheTableTells)
{
    ExpectSentByTheirCalls(WithModel(0x3407), PpgModuleCalls());
}

TEST(Protocol, AnImageIsSentAsTheTableTells) { ExpectSentByTheirCalls({}, BurnCalls()); }
