// The parameters: an ordinary one is one line of a table, a setter and a getter.

#include <cmath>

#include "api/Setters.h"
#include "device/Identification.h"
#include "ppg/Channels.h"
#include "respiration/ModuleCommands.h"
#include "streaming/Change.h"
#include "streaming/Playback.h"
#include "synthesis/Parameters.h"
#include "synthesis/Relays.h"
#include "synthesis/TestSignals.h"
#include "vrax.h"

namespace {
constexpr double kHighestPulseFrequency = 5.0;
constexpr double kShortestP = 50.0;
constexpr double kSecondsPerMinute = 60.0;
constexpr double kLowestPacingRate = 10.0;
constexpr double kHighestPacingRate = 360.0;
constexpr int kLeads = 32;
constexpr int kANE20000Leads = 9;

void ApplyRelays() { SetRelays(false); }

// A number with a range. `log` prints it as a double.
template <class T>
struct Number {
    Shared<T>& value;
    T low;
    T high;
    void (*log)(double value);
    void (*apply)();

    int Set(T wanted) const
    {
        CApiLock lock;
        if (!CanSetParameters()) return kNoDevice;
        if (IsOutside(wanted, low, high)) return kOutOfRange;
        log(static_cast<double>(wanted));
        value = wanted;
        apply();
        return kOk;
    }
};

struct Flag {
    Shared<bool>& value;
    const char* name;
    void (*apply)();

    int Set(bool wanted) const
    {
        CApiLock lock;
        if (!CanSetParameters()) return kNoDevice;
        _outputLog("%s(%s);", name, BoolText(wanted));
        value = wanted;
        apply();
        return kOk;
    }
};

#define LOG_AS(format) [](double value) { _outputLog(format, value); }

const Number<double> kAmplitude{g_Amplitude, -40.0, 40.0, LOG_AS("VRAXSetAmplitude(%.2f);"),
                                _ChangeRequested};
const Number<double> kFrequency{g_F, 0.017, 500.0, LOG_AS("VRAXSetFrequency(%.2f);"),
                                _ChangeRequested};
const Number<int> kDCOffset{g_DCSetting, -1000, 1000, LOG_AS("VRAXSetDCOffset(%.0f);"),
                            _ChangeRequested};
const Number<double> kPulseWidth{g_PulseWidth, 1.0, 300.0, LOG_AS("VRAXSetPulseWidth(%.0f);"),
                                 _ChangeRequested};
const Number<double> kQRSDuration{g_QRSDuration, 5.0, 200.0, LOG_AS("VRAXSetQRSDuration(%.0f);"),
                                  Change};
const Number<double> kTWave{g_CusT, 0.0, 5.0, LOG_AS("VRAXSetTWave(%.1f);"), Change};
const Number<double> kPacingAmplitude{g_PA, -700.0, 700.0, LOG_AS("VRAXSetPacingAmplitude(%.0f);"),
                                      _ChangeRequested};
const Number<double> kPacingDuration{g_PacingDuration, 0.03, 3.0,
                                     LOG_AS("VRAXSetPacingDuration(%.0f);"), _ChangeRequested};
const Number<unsigned> kPacingRate{g_PacingRate, 10, 360, LOG_AS("VRAXSetPacingRate(%.0f);"), [] {
                                       g_pacingSynchronized = false;
                                       _ChangeRequested();
                                   }};
const Number<unsigned> kOvershootTimeConstant{g_PacingOvershootTC, 0, 100,
                                              LOG_AS("VRAXSetOvershootTimeConstant(%.0f);"),
                                              _ChangeRequested};
const Number<double> kOvershootAmplitude{g_POA, 0.0, 5.0,
                                         LOG_AS("VRAXSetOvershootAmplitude(%.1f);"),
                                         _ChangeRequested};
const Number<double> kPDuration{g_PDuration, 50.0, 100.0, LOG_AS("VRAXSetPDuration(%.0f);"),
                                Change};
const Number<double> kPRInterval{g_PRInterval, 0.0, 200.0, LOG_AS("VRAXSetPRInterval(%.0f);"), [] {
                                     if (g_PRInterval < kShortestP) {
                                         g_PDuration = g_PRInterval;
                                     } else if (g_PDuration < kShortestP) {
                                         g_PDuration = kShortestP;
                                     }
                                     Change();
                                 }};
const Number<double> kQTInterval{g_QTInterval, 100.0, 900.0, LOG_AS("VRAXSetQTInterval(%.0f);"),
                                 Change};
const Number<double> kPWave{g_CusP, 0.0, 2.0, LOG_AS("VRAXSetPWave(%.1f);"), Change};
const Number<double> kSTDeviation{g_CusST, -2.0, 2.0, LOG_AS("SetSTDeviation(%.2f);"), Change};
const Number<double> kCustomizedTDuration{g_TDuration, 100.0, 900.0,
                                          LOG_AS("SetCustomizedTDuration(%.0f);"),
                                          _ChangeRequested};

#undef LOG_AS

const Flag kVariableMode{g_DCVariable, "VRAXSetDCOffsetVariableMode", _ChangeRequested};
const Flag kCommonMode{g_DCCommon, "VRAXSetDCOffsetCommonMode", ApplyRelays};
const Flag kInputImpedance{g_InputImpedance, "VRAXSetInputImpedanceMode", ApplyRelays};
const Flag kDriftTest{g_AAMIDriftTest, "VRAXSetECG2_27_AAMIDriftTest", _ChangeRequested};

int SetWaveformNumber(const char* name, int number)
{
    CApiLock lock;
    _outputLog("%s(%d);", name, number);
    SpecialWaveFormNo = number;
    Change();
    return kOk;
}

void StoreLeads(std::uint32_t mask)
{
    g_OutputLead = mask;
    SetRelays(false);
}
}  // namespace

int VRAXSetAmplitude(double amplitude)
{
    CApiLock lock;
    const bool refused = CanSetParameters() &&
                         !IsOutside(amplitude, kAmplitude.low, kAmplitude.high) &&
                         g_BaseLineOverload != 0;
    return refused ? kRefused : kAmplitude.Set(amplitude);
}
double VRAXGetAmplitude(void) { return g_Amplitude; }

int VRAXSetFrequency(double frequency)
{
    CApiLock lock;
    if (!CanSetParameters()) return kNoDevice;
    if (IsOutside(frequency, kFrequency.low, kFrequency.high)) return kOutOfRange;
    const int function = g_MainOutput;
    const bool isPulse = function == OUTPUT_RECT_PULSE || function == OUTPUT_TRIANGLE_PULSE;
    if (isPulse && frequency > kHighestPulseFrequency) return kOutOfRange;
    if (s_FreqScanOn) return kRefused;
    if (g_BaseLineOverload != 0) return kRefusedByTest;
    return kFrequency.Set(frequency);
}
double VRAXGetFrequency(void) { return g_F; }

int VRAXSetDCOffset(int offset) { return kDCOffset.Set(offset); }
int VRAXGetDCOffset(void) { return ReadLocked(g_DCSetting); }
int VRAXSetDCOffsetVariableMode(bool variable) { return kVariableMode.Set(variable); }
bool VRAXGetDCOffsetVariableMode(void) { return ReadLocked(g_DCVariable); }
int VRAXSetDCOffsetCommonMode(bool common) { return kCommonMode.Set(common); }
bool VRAXGetDCOffsetCommonMode(void) { return ReadLocked(g_DCCommon); }

int SetDCOffsetCommoneMode(int common)
{
    CApiLock lock;
    return VRAXSetDCOffsetCommonMode((common & 0xFF) != 0);
}

int VRAXSetOutputLead(int lead, bool on)
{
    CApiLock lock;
    if (!CanSetParameters()) return kNoDevice;
    _outputLog("SetOutputLead(%d, %s);", lead, BoolText(on));
    if (lead < 0 || lead >= kLeads || VRAXGetOutputLead(lead) == on) return kOk;
    StoreLeads(g_OutputLead ^ (1u << lead));
    if (ExtRespIsAvailable() != 0) UpdateModuleLeads();
    return kOk;
}

bool VRAXGetOutputLead(int lead)
{
    CApiLock lock;
    return lead >= 0 && lead < kLeads && (g_OutputLead >> lead & 1u) != 0;
}

void SetAllOutputLead(unsigned mask)
{
    CApiLock lock;
    if (mask != g_OutputLead) StoreLeads(mask);
}
unsigned GetAllOutputLead(void) { return ReadLocked(g_OutputLead); }

int VRAXSetPulseWidth(double width) { return kPulseWidth.Set(width); }
double VRAXGetPulseWidth(void) { return ReadLocked(g_PulseWidth); }
int VRAXSetInputImpedanceMode(bool mode) { return kInputImpedance.Set(mode); }
bool VRAXGetInputImpedanceMode(void) { return ReadLocked(g_InputImpedance); }

int VRAXSetPacingPulseMode(int mode)
{
    CApiLock lock;
    if (!CanSetParameters()) return kNoDevice;
    _outputLog("VRAXSetPacingPulseMode(%d);", mode);
    g_PacingPulse = mode;
    _ChangeRequested();
    return kOk;
}
int VRAXGetPacingPulseMode(void) { return ReadLocked(g_PacingPulse); }

int VRAXSetQRSDuration(double duration) { return kQRSDuration.Set(duration); }
double VRAXGetQRSDuration(void) { return ReadLocked(g_QRSDuration); }
int VRAXSetTWave(double height) { return kTWave.Set(height); }
double VRAXGetTWave(void) { return ReadLocked(g_CusT); }
int VRAXSetPacingAmplitude(double amplitude) { return kPacingAmplitude.Set(amplitude); }
double VRAXGetPacingAmplitude(void) { return ReadLocked(g_PA); }
int VRAXSetPacingDuration(double duration) { return kPacingDuration.Set(duration); }
double VRAXGetPacingDuration(void) { return ReadLocked(g_PacingDuration); }
int VRAXSetPacingRate(unsigned rate) { return kPacingRate.Set(rate); }
unsigned VRAXGetPacingRate(void) { return ReadLocked(g_PacingRate); }

int VRAXSetPacingRateSynchronized(void)
{
    CApiLock lock;
    if (!CanSetParameters()) return kNoDevice;
    if (IsOutside(kSecondsPerMinute * g_F, kLowestPacingRate, kHighestPacingRate)) {
        return kOutOfRange;
    }
    _outputLog("VRAXSetPacingRateSynchronized();");
    g_pacingSynchronized = true;
    return kOk;
}

int VRAXSetOvershootTimeConstant(unsigned timeConstant)
{
    return kOvershootTimeConstant.Set(timeConstant);
}
unsigned VRAXGetOvershootTimeConstant(void) { return ReadLocked(g_PacingOvershootTC); }
int VRAXSetOvershootAmplitude(double amplitude)
{
    return kOvershootAmplitude.Set(std::fabs(amplitude));
}
double VRAXGetOvershootAmplitude(void) { return ReadLocked(g_POA); }

int VRAXSetECG2_27_Noise(int freq, double amp)
{
    constexpr double kLowest = 0.01;
    constexpr double kHighest = 5.0;
    CApiLock lock;
    if (!CanSetParameters()) return kNoDevice;
    if (IsOutside(amp, kLowest, kHighest)) return kOutOfRange;
    _outputLog("VRAXSetECG2_27_Noise(%d, %.2f);", freq, amp);
    g_MainNoise = freq;
    g_MainsNoiseAmp = amp;
    _ChangeRequested();
    return kOk;
}
int VRAXGetECG2_27_NoiseFreq(void) { return g_MainNoise; }
double VRAXGetECG2_27_NoiseAmp(void) { return ReadLocked(g_MainsNoiseAmp); }

int VRAXSetNSTNoise(int record, double gain)
{
    CApiLock lock;
    if (s_ECGGoing || IsRunGoing()) return kNoDevice;
    if (IsOutside(gain, 0.1, 10.0)) return kOutOfRange;
    s_NST_Noise = record;
    s_NST_gain = gain;
    return kOk;
}

int VRAXSetECG2_27_AAMIDriftTest(bool on) { return kDriftTest.Set(on); }
bool VRAXGetECG2_27_AAMIDriftTest(void) { return ReadLocked(g_AAMIDriftTest); }

int VRAXSetECG2_27_AAMIDriftTestAmplitude(double amplitude)
{
    CApiLock lock;
    if (!CanSetParameters()) return kNoDevice;
    if (IsOutside(amplitude, 1.0, 8.0)) return kOutOfRange;
    _outputLog("VRAXSetECG2_27_AAMIDriftTestAmplitude(%.1f);", amplitude);
    g_AAMIDriftTestAmp = amplitude;
    if (g_AAMIDriftTest) _ChangeRequested();
    return kOk;
}
double VRAXGetECG2_27_AAMIDriftTestAmplitude(void) { return ReadLocked(g_AAMIDriftTestAmp); }

int VRAXSetECG2_27_AAMIDriftTestFrequency(double frequency)
{
    CApiLock lock;
    if (!CanSetParameters()) return kNoDevice;
    if (IsOutside(frequency, 0.05, 2.0)) return kOutOfRange;
    _outputLog("VRAXSetECG2_27_AAMIDriftTestFrequency(%.2f);", frequency);
    g_AAMIDriftTestWaveLen = 1.0 / frequency;
    if (g_AAMIDriftTest) _ChangeRequested();
    return kOk;
}
double VRAXGetECG2_27_AAMIDriftTestFrequency(void)
{
    return 1.0 / ReadLocked(g_AAMIDriftTestWaveLen);
}

int VRAXSetPDuration(double duration) { return kPDuration.Set(duration); }
double VRAXGetPDuration(void) { return ReadLocked(g_PDuration); }
int VRAXSetPRInterval(double interval) { return kPRInterval.Set(interval); }
double VRAXGetPRInterval(void) { return ReadLocked(g_PRInterval); }
int VRAXSetQTInterval(double interval) { return kQTInterval.Set(interval); }
double VRAXGetQTInterval(void) { return ReadLocked(g_QTInterval); }
int VRAXSetPWave(double height) { return kPWave.Set(height); }
double VRAXGetPWave(void) { return ReadLocked(g_CusP); }
int VRAXSetSTDeviation(double deviation) { return kSTDeviation.Set(deviation); }
double VRAXGetSTDeviation(void) { return ReadLocked(g_CusST); }
int VRAXSetCustomizedTDuration(double duration) { return kCustomizedTDuration.Set(duration); }
double VRAXGetCustomizedTDuration(void) { return ReadLocked(g_TDuration); }

// The three families share one number; the last setter wins.
int VRAXSetSpecialWave227(int number) { return SetWaveformNumber("SetSpecialWave227", number); }
int VRAXGetSpecialWave227(void) { return ReadLocked(SpecialWaveFormNo); }
int VRAXSetSpecialWave251(int number) { return SetWaveformNumber("SetSpecialWave251", number); }
int VRAXGetSpecialWave251(void) { return ReadLocked(SpecialWaveFormNo); }
int VRAXSetSpecialWave247(int number) { return SetWaveformNumber("SetSpecialWave247", number); }
int VRAXGetSpecialWave247(void) { return ReadLocked(SpecialWaveFormNo); }

int VRAXSetANE20000Lead(int lead)
{
    constexpr int kNoSuchLead = -1;  // not -2, unlike other ranges
    CApiLock lock;
    if (lead < 0 || lead >= kANE20000Leads) return kNoSuchLead;
    ANE20000ChannelNo = lead;
    Change();
    return kOk;
}
int VRAXGetANE20000Lead(void) { return ReadLocked(ANE20000ChannelNo); }

int VRAXEnableECGOutput(bool enable)
{
    CApiLock lock;
    _outputLog("%s(%s);", "VRAXEnableECGOutput", BoolText(enable));
    g_bECGOutputEnabled = enable;
    return kOk;
}

int VRAXEnableACAboveDC(bool enable)
{
    g_bACAboveDC = enable;
    return kOk;
}
