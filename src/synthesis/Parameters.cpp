#include "synthesis/Parameters.h"

Shared<int> g_MainOutput = 0;
Shared<double> g_Amplitude = 1.0;
Shared<double> g_F = 1.0;
Shared<int> g_DCSetting = 0;
Shared<bool> g_DCVariable = true;
Shared<bool> g_DCCommon = false;
Shared<std::uint32_t> g_OutputLead = 1u;
Shared<double> g_PulseWidth = 100.0;
Shared<bool> g_InputImpedance = true;
Shared<bool> g_bECGOutputEnabled = true;

Shared<double> g_QRSDuration = 100.0;
Shared<double> g_PDuration = 100.0;
Shared<double> g_PRInterval = 160.0;
Shared<double> g_QTInterval = 350.0;
Shared<double> g_TDuration = 180.0;
Shared<double> g_CusP = 0.2;
Shared<double> g_CusT = 0.2;
Shared<double> g_CusST = 0.0;
Shared<int> SpecialWaveFormNo = 0;
Shared<int> ANE20000ChannelNo = 0;

Shared<int> g_PacingPulse = 0;
Shared<double> g_PA = 0.0;
Shared<double> g_PacingDuration = 2.0;
Shared<unsigned> g_PacingRate = 60u;
Shared<bool> g_pacingSynchronized = true;
Shared<unsigned> g_PacingOvershootTC = 0u;
Shared<double> g_POA = 0.0;

Shared<int> g_BaseLineOverload = 0;
Shared<int> g_MainNoise = 0;
Shared<double> g_MainsNoiseAmp = 0.1;
Shared<bool> g_AAMIDriftTest = false;
Shared<double> g_AAMIDriftTestAmp = kDefaultDriftAmplitude;
Shared<double> g_AAMIDriftTestWaveLen = kDefaultDriftWaveLength;
Shared<bool> g_DynamicRangeTest = false;
Shared<bool> g_DynamicRangeTriangle = true;
Shared<double> g_ADynamicRange = 1.0;
Shared<double> g_FDynamicRange = 40.0;

Shared<bool> g_FreqScan1 = false;
Shared<bool> g_FreqScan3 = false;
Shared<bool> s_FreqScanOn = false;
Shared<double> g_Fstart = 0.67;
Shared<double> g_Ffinal = 150.0;
Shared<int> g_Fduration = 30;
Shared<double> s_Fd = 0.0;

Shared<bool> s_loopPlay = true;
Shared<bool> s_loopFile = true;
