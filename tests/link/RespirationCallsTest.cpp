// The calls of respiration while a signal plays: what they store, what they return when the module
// refuses, and when the output is stopped before the line comes free.

#include <gtest/gtest.h>

#include <vector>

#include "support/LinkHost.h"
#include "support/RespirationModule.h"

using namespace instrument;

namespace {
constexpr std::uint8_t kModule = 19;  // its flash

class ModuleCalls : public testing::Test {
protected:
    bool Play()
    {
        return VRAXEnableRespiration(1) == 1 && VRAXSetRespiration(1000, 15, 2, 1000, 0) == 1 &&
               VRAXSetOutputFunction(OUTPUT_ECG) == 0 && instrument_.WaitForPackets(20);
    }
    void ExpectWholeRun()
    {
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
        ASSERT_TRUE(instrument_.WaitForStop());
        EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
        ExpectNoRefusals(instrument_);
    }

    SimulatedInstrument instrument_{WithRespirationModule()};
    CConnectedHost host_{kPatientMs};
};
}  // namespace

TEST_F(ModuleCalls, StoresItsCalibrationWhileASignalPlays)
{
    std::vector<double> ohms;
    for (int i = 0; i < 96; ++i) ohms.push_back(49.0 + 0.375 * i);
    const std::vector<unsigned short> codes = {0,   1,   2,   3,   4,      5,
                                               256, 257, 258, 259, 0xABCD, 0xFFFF};
    ASSERT_TRUE(Play());
    EXPECT_EQ(VRAXExternalRespiratoryWriteRDAC3(ohms.data()), 1);
    EXPECT_EQ(VRAXWriteRespirationBaselineDACTable(codes.data()), 1);
    EXPECT_EQ(VRAXWriteRespirationRWA(62.0, 63.5, 79.0, 0.0), 1);
    EXPECT_EQ(ModuleNetwork::Doubles(instrument_.ReadFlash(kModule, 5376, 768)), ohms);
    const ModuleNetwork stored(instrument_);
    EXPECT_EQ(stored.first, 62.0);
    EXPECT_EQ(stored.second, 63.5);
    EXPECT_EQ(stored.correction, 79.0);
    const Bytes table = instrument_.ReadFlash(kModule, 5312, 24);
    for (unsigned i = 0; i < 12; ++i) {
        EXPECT_EQ(table[2 * i] | table[2 * i + 1] << 8, codes[i]);
        EXPECT_EQ(ExtRespGetBaselineDAC(static_cast<int>(i)), codes[i]);
    }
    // 24 frames, one, and two.
    EXPECT_EQ(instrument_.Exchanges(Request::FlashWrite).size(), 27U);
    ASSERT_TRUE(instrument_.WaitForMorePackets(20));
    ExpectWholeRun();
}

namespace {
struct ModuleCall {
    const char* name;
    Request refused;
    unsigned skip;  // frames that pass before the refused one
    int (*call)();
};

int StoreThirdElement()
{
    const std::vector<double> ohms(96, 70.0);
    return VRAXExternalRespiratoryWriteRDAC3(ohms.data());
}
int StoreBaselines()
{
    const std::vector<unsigned short> codes(12, 7);
    return VRAXWriteRespirationBaselineDACTable(codes.data());
}
int SetBaseline() { return VRAXExternalRespiratorySetBaseline(3, 0); }
int SetBaselineCode() { return VRAXExternalRespiratorySetBaselineDAC(99); }
int SetResistance() { return VRAXExternalRespiratorySetAmplitudeByResistance(52.0); }
int SetBreath() { return VRAXSetRespiration(1000, 15, 2, 500, 0); }
int SetCalibration() { return VRAXSetCalibrationRespiration(1000, 500); }

constexpr ModuleCall kModuleCalls[] = {
    {"four codes", Request::ModuleWrite, 0,
     [] { return VRAXExternalRespiratorySetDAC(1, 2, 3, 4); }},
    {"baseline, read", Request::ModuleRead, 0, SetBaseline},
    {"baseline, write", Request::ModuleWrite, 0, SetBaseline},
    {"baseline code, read", Request::ModuleRead, 0, SetBaselineCode},
    {"baseline code, write", Request::ModuleWrite, 0, SetBaselineCode},
    {"resistance, read", Request::ModuleRead, 0, SetResistance},
    {"resistance, write", Request::ModuleWrite, 0, SetResistance},
    {"breath, read", Request::ModuleRead, 0, SetBreath},
    {"breath, write", Request::ModuleWrite, 0, SetBreath},
    {"calibration, read", Request::ModuleRead, 0, SetCalibration},
    {"calibration, write", Request::ModuleWrite, 0, SetCalibration},
    {"coefficients", Request::FlashWrite, 1,
     [] { return VRAXWriteRespirationRWA(70.0, 71.0, 50.0, 0.0); }},
    {"third element", Request::FlashWrite, 1, StoreThirdElement},
    {"baselines", Request::FlashWrite, 0, StoreBaselines},
};

// What the library computes with: three codes of a resistance, and the codes of the baselines.
std::vector<unsigned> CalibrationInForce()
{
    unsigned short codes[3] = {};
    ExtRespGetAmplitudeDAC(53.0, codes);
    std::vector<unsigned> all(std::begin(codes), std::end(codes));
    for (int i = 0; i < 12; ++i) all.push_back(ExtRespGetBaselineDAC(i));
    return all;
}
}  // namespace

TEST_F(ModuleCalls, FailsWhatTheModuleRefusesAndPlaysOn)
{
    ASSERT_TRUE(Play());
    for (const ModuleCall& one : kModuleCalls) {
        SCOPED_TRACE(one.name);
        const std::vector<unsigned> before = CalibrationInForce();
        instrument_.ClearExchanges();
        instrument_.Inject(MakeFault(FaultKind::WrongAcknowledge, one.refused, 1, one.skip));
        EXPECT_EQ(one.call(), 0);
        EXPECT_EQ(instrument_.PendingFaults(), 0U);
        EXPECT_EQ(CalibrationInForce(), before);
        // Nothing follows the refused one.
        EXPECT_EQ(instrument_.Exchanges().back().kind, one.refused);
        EXPECT_EQ(instrument_.Exchanges(one.refused).size(), one.skip + 1);
        ASSERT_TRUE(instrument_.WaitForMorePackets(5));
        EXPECT_EQ(one.call(), 1);
        ASSERT_TRUE(instrument_.WaitForMorePackets(5));
    }
    ExpectWholeRun();
}

namespace {
struct ReleasedCall {
    const char* name;
    bool hasModule;
    int (*call)();
};
void PrintTo(const ReleasedCall& call, std::ostream* out) { *out << call.name; }

// The line never comes free: the last packet gets no reply.
class ReleasedRespiration : public testing::TestWithParam<ReleasedCall> {
protected:
    static Options Instrument()
    {
        Options options = RealTime();
        options.respirationModule = GetParam().hasModule;
        return options;
    }
    void Stall()
    {
        ASSERT_EQ(VRAXEnableRespiration(1), 1);
        ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, 1500, 0), 1);
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        ASSERT_TRUE(instrument_.WaitForPackets(2));
        const std::size_t before = instrument_.PacketCount();
        instrument_.Inject(MakeFault(FaultKind::Silence, Request::Stream, kForEver));
        ASSERT_TRUE(instrument_.WaitForPackets(before + 1));
        instrument_.ClearExchanges();
    }

    SimulatedInstrument instrument_{Instrument()};
    CConnectedHost host_;
};

int SwitchOff() { return VRAXEnableRespiration(0); }
}  // namespace

TEST_P(ReleasedRespiration, FailsAndSendsNothingWhenTheOutputIsStopped)
{
    Stall();
    CCall<int> command(GetParam().call);
    command.WaitUntilBlocked();
    CCall<int> stop([] { return VRAXSetOutputFunction(OUTPUT_OFF); });
    EXPECT_EQ(stop.Result(), 0);
    EXPECT_EQ(command.Result(), 0);
    for (const Request kind : {Request::Respiration, Request::BaselineWrite, Request::ModuleRead,
                               Request::ModuleWrite}) {
        EXPECT_TRUE(instrument_.Exchanges(kind).empty()) << NameOf(kind);
    }
    EXPECT_EQ(instrument_.Exchanges(Request::Relays).size(), 1U);  // of the end of the run
    instrument_.ClearFaults();
    EXPECT_EQ(GetParam().call(), 1);
}

INSTANTIATE_TEST_SUITE_P(Calls, ReleasedRespiration,
                         testing::Values(ReleasedCall{"TheSwitch", false, SwitchOff},
                                         ReleasedCall{"TheSwitchOfTheModule", true, SwitchOff},
                                         ReleasedCall{"TheBreath", false, SetBreath},
                                         ReleasedCall{"TheBreathOfTheModule", true, SetBreath},
                                         ReleasedCall{"TheCalibration", false, SetCalibration},
                                         ReleasedCall{"TheCalibrationOfTheModule", true,
                                                      SetCalibration}),
                         [](const auto& parameter) { return parameter.param.name; });
