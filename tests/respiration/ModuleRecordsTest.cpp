// The external module's records in flash, and what a connection makes of them.

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "respiration/ExternalModule.h"
#include "respiration/ModuleCalibration.h"
#include "support/Frames.h"
#include "support/LinkHost.h"
#include "support/OpenInstrument.h"
#include "support/RespirationModule.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
constexpr std::uint8_t kChannel = 19;
// 0.60991, least significant byte first.
const Bytes kMarker = {0x86, 0x1B, 0xF0, 0xF9, 0x61, 0x84, 0xE3, 0x3F};

template <class T>
Bytes InMemory(const std::vector<T>& values)
{
    Bytes bytes(values.size() * sizeof(T));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

template <class T, std::size_t N>
std::vector<T> Values(const Shared<T> (&shared)[N])
{
    return {std::begin(shared), std::end(shared)};
}
std::vector<double> Coefficients() { return Values(g_fECGExtRespirationCoef); }
std::vector<double> ThirdElement() { return Values(g_fECGExtRespiratationRDAC3); }
std::vector<std::uint16_t> Baselines() { return Values(g_ECGExtRespirationBaselineDACTable); }

Bytes RwaRecord(const std::vector<double>& coefficients)
{
    Bytes record = kMarker;
    const Bytes values = InMemory(coefficients);
    record.insert(record.end(), values.begin(), values.end());
    return Padded(record);
}

// The frames of a record: 32 bytes each, the last one shorter.
std::vector<Bytes> WriteFrames(std::uint32_t address, const Bytes& record)
{
    std::vector<Bytes> frames;
    for (std::size_t done = 0; done < record.size(); done += 32) {
        const auto from = record.begin() + static_cast<std::ptrdiff_t>(done);
        const std::size_t count = std::min<std::size_t>(32, record.size() - done);
        frames.push_back(WriteRequest(kChannel, address + static_cast<std::uint32_t>(done),
                                      Bytes(from, from + static_cast<std::ptrdiff_t>(count))));
    }
    return frames;
}

std::vector<double> Ramp(std::size_t count, double from)
{
    std::vector<double> values(count);
    std::iota(values.begin(), values.end(), from);
    return values;
}

class ModuleRecords : public testing::Test {
protected:
    instrument::SimulatedInstrument& device() { return opened_.device; }
    std::vector<Bytes> Sent() { return Requests(device().Exchanges()); }

    COpenInstrument opened_{WithRespirationModule()};
};
}  // namespace

TEST_F(ModuleRecords, AreReadAsTheyStandInFlash)
{
    device().WriteFlash(kChannel, 5248, RwaRecord({1.5, 2.5, 3.5, 4.5}));
    device().WriteFlash(kChannel, 5312,
                        InMemory<std::uint16_t>({9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 0xFFFF, 0x1234}));
    device().WriteFlash(kChannel, 5376, InMemory(Ramp(96, 40.5)));
    LoadRespirationDACCalibrationData();
    EXPECT_EQ(Coefficients(), (std::vector<double>{1.5, 2.5, 3.5, 4.5}));
    EXPECT_EQ(Baselines(),
              (std::vector<std::uint16_t>{9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 0xFFFF, 0x1234}));
    EXPECT_EQ(ThirdElement(), Ramp(96, 40.5));

    std::vector<Bytes> expected = {ReadRequest(kChannel, 5248, 32),
                                   ReadRequest(kChannel, 5280, 32)};
    for (unsigned k = 0; k < 24; ++k) expected.push_back(ReadRequest(kChannel, 5376 + 32 * k, 32));
    expected.push_back(ReadRequest(kChannel, 5312, 24));
    EXPECT_EQ(Sent(), expected);
}

TEST_F(ModuleRecords, LeaveTheCoefficientsAloneWithoutTheirMarker)
{
    LoadRespirationRWA();
    const std::vector<double> before = Coefficients();
    Bytes record = RwaRecord({1.5, 2.5, 3.5, 4.5});
    record[0] ^= 1;  // the least of differences
    device().WriteFlash(kChannel, 5248, record);
    LoadRespirationRWA();
    EXPECT_EQ(Coefficients(), before);
    device().EraseFlash(kChannel);
    LoadRespirationRWA();
    EXPECT_EQ(Coefficients(), before);
}

TEST_F(ModuleRecords, LeaveMemoryAloneWhenTheyCannotBeRead)
{
    LoadRespirationDACCalibrationData();
    const auto coefficients = Coefficients();
    const auto third = ThirdElement();
    const auto baselines = Baselines();
    device().WriteFlash(kChannel, 5248, RwaRecord({1.5, 2.5, 3.5, 4.5}));
    device().WriteFlash(kChannel, 5312, Bytes(24, 3));
    device().WriteFlash(kChannel, 5376, InMemory(Ramp(96, 40.5)));
    for (int record = 0; record < 3; ++record) {
        instrument::Fault fault = FaultOn(Request::FlashRead, FaultKind::WrongAcknowledge);
        device().Inject(fault);
        if (record == 0) LoadRespirationRWA();
        if (record == 1) LoadRespirationRDAC3();
        if (record == 2) LoadRespirationBaselineDACTable();
    }
    EXPECT_EQ(Coefficients(), coefficients);
    EXPECT_EQ(ThirdElement(), third);
    EXPECT_EQ(Baselines(), baselines);
}

TEST_F(ModuleRecords, StoreTheCoefficientsBehindTheirMarkerWithoutErasing)
{
    EXPECT_EQ(VRAXWriteRespirationRWA(61.25, 62.5, 79.0, -1.0), 1);
    EXPECT_EQ(Sent(), WriteFrames(5248, RwaRecord({61.25, 62.5, 79.0, -1.0})));
    EXPECT_EQ(Coefficients(), (std::vector<double>{61.25, 62.5, 79.0, -1.0}));
    EXPECT_EQ(device().ReadFlash(kChannel, 5248, 64), RwaRecord({61.25, 62.5, 79.0, -1.0}));
}

TEST_F(ModuleRecords, StoreTheThirdElement)
{
    const std::vector<double> ohms = Ramp(96, 48.125);
    EXPECT_EQ(VRAXExternalRespiratoryWriteRDAC3(ohms.data()), 1);
    EXPECT_EQ(Sent(), WriteFrames(5376, InMemory(ohms)));
    EXPECT_EQ(ThirdElement(), ohms);
}

TEST_F(ModuleRecords, StoreTheBaselineCodes)
{
    const std::vector<unsigned short> codes = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0xABCD};
    EXPECT_EQ(VRAXWriteRespirationBaselineDACTable(codes.data()), 1);
    EXPECT_EQ(Sent(), WriteFrames(5312, InMemory(codes)));
    EXPECT_EQ(Baselines(), codes);
    EXPECT_EQ(ExtRespGetBaselineDAC(15), 0xABCD);
}

TEST_F(ModuleRecords, StayAsTheyWereWhenTheFlashRefuses)
{
    LoadRespirationDACCalibrationData();
    const auto coefficients = Coefficients();
    const auto third = ThirdElement();
    const auto baselines = Baselines();
    const std::vector<double> ohms(96, 1.0);
    const std::vector<unsigned short> codes(12, 1);
    for (const FaultKind kind : {FaultKind::WrongAcknowledge, FaultKind::ShortReply}) {
        device().Inject(FaultOn(Request::FlashWrite, kind, 1));
        EXPECT_EQ(VRAXWriteRespirationRWA(1.0, 2.0, 3.0, 4.0), 0);
        device().Inject(FaultOn(Request::FlashWrite, kind, 3));
        EXPECT_EQ(VRAXExternalRespiratoryWriteRDAC3(ohms.data()), 0);
        device().Inject(FaultOn(Request::FlashWrite, kind));
        EXPECT_EQ(VRAXWriteRespirationBaselineDACTable(codes.data()), 0);
    }
    EXPECT_EQ(Coefficients(), coefficients);
    EXPECT_EQ(ThirdElement(), third);
    EXPECT_EQ(Baselines(), baselines);
}

TEST_F(ModuleRecords, RefuseNullTables)
{
    EXPECT_EQ(VRAXExternalRespiratoryWriteRDAC3(nullptr), 0);
    EXPECT_EQ(VRAXWriteRespirationBaselineDACTable(nullptr), 0);
    EXPECT_TRUE(Sent().empty());
}

TEST(ModuleRecordsElsewhere, AreNotWrittenWithoutAnInstrument)
{
    const std::vector<double> ohms(96, 1.0);
    const std::vector<unsigned short> codes(12, 1);
    EXPECT_EQ(VRAXWriteRespirationRWA(1.0, 2.0, 3.0, 4.0), 0);
    EXPECT_EQ(VRAXExternalRespiratoryWriteRDAC3(ohms.data()), 0);
    EXPECT_EQ(VRAXWriteRespirationBaselineDACTable(codes.data()), 0);
    EXPECT_EQ(Coefficients(), std::vector<double>(4, 0.0));
}

TEST(ModuleRecordsElsewhere, AreLoadedByAConnection)
{
    instrument::SimulatedInstrument device(WithRespirationModule());
    CConnectedHost host(kPatientMs);
    EXPECT_EQ(VRAXRespirationModuleIsConnected(), 1);
    EXPECT_FALSE(VRAXIsPPGConnected());
    const ModuleNetwork network(device);
    EXPECT_EQ(Coefficients()[0], network.first);
    EXPECT_EQ(Coefficients()[1], network.second);
    EXPECT_EQ(Coefficients()[2], network.correction);
    EXPECT_EQ(ThirdElement(), (std::vector<double>(network.third.begin(), network.third.end())));
    EXPECT_EQ(InMemory(Baselines()), device.ReadFlash(kChannel, 5312, 24));
}

TEST(ModuleRecordsElsewhere, AreNotLoadedWithoutTheModule)
{
    instrument::Options options;
    options.ppgModel = 0x3307;
    for (const bool hasPpg : {false, true}) {
        instrument::SimulatedInstrument device(hasPpg ? options : instrument::Options{});
        CConnectedHost host(kPatientMs);
        ASSERT_TRUE(Eventually([] { return VRAXIsConnected(); }));
        EXPECT_EQ(VRAXRespirationModuleIsConnected(), 0);
        EXPECT_EQ(ThirdElement(), std::vector<double>(96, 0.0));
        for (const Bytes& request : Requests(device.Exchanges(Request::FlashRead))) {
            EXPECT_NE(request, ReadRequest(kChannel, 5312, 24));
            EXPECT_NE(request, ReadRequest(kChannel, 5376, 32));
        }
    }
}
