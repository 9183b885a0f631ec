#include "Application.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

#include "vrax.h"

namespace faults {

using instrument::Milliseconds;
using instrument::Options;
using instrument::Request;

namespace {

constexpr double kFramesPerSecond = 4;  // farther apart than a reply may be late
constexpr int kConnections = 5;         // on a busy machine a reply of the preparation is late
constexpr char kSerialNumber[] = "TEC1020-250042";
constexpr unsigned kPpgModel = 0x3307;
constexpr unsigned kPpgModelWithRates = 0x3407;
constexpr Milliseconds kConnectLimit{30000};

// Of photodiode 0, on the poll thread.
std::atomic<std::uint64_t> s_heard{0};
std::atomic<std::uint64_t> s_heardWrong{0};

void Hear(int, int value, int)
{
    s_heard.fetch_add(1);
    if (value != kSampleValue) s_heardWrong.fetch_add(1);
}

std::ptrdiff_t TimesConnected()
{
    const std::vector<bool> told = Listener::Told();
    return std::count(told.begin(), told.end(), true);
}

}  // namespace

Options OptionsFor(const Row& row, State state)
{
    Options options;
    options.pace = instrument::Pace::RealTime;
    options.respirationModule = row.fitted == Fitted::Respiration;
    if (row.fitted == Fitted::Ppg3407) options.ppgModel = kPpgModelWithRates;
    if (row.fitted == Fitted::Ppg || (row.fitted == Fitted::Nothing && state == State::Sampling)) {
        options.ppgModel = kPpgModel;
    }
    if (state == State::Sampling) {
        options.sampling.framesPerSecond = kFramesPerSecond;
        options.sampling.value = [](unsigned, std::uint64_t) { return kSampleValue; };
    }
    return options;
}

CApplication::CApplication(const Row& row, State state)
    : state_(state),
      hasModule_(OptionsFor(row, state).ppgModel || row.fitted == Fitted::Respiration),
      instrument_(OptionsFor(row, state)),
      host_(kReplyMs)
{
    instrument_.ProgramDcTable(instrument::DefaultDcWords());
}

CApplication::~CApplication()
{
    if (state_ == State::Adopted) GiveBack();
}

std::string CApplication::Enter()
{
    switch (state_) {
        case State::Adopted: return file_ >= 0 ? "" : Adopt();
        case State::Idle: return Connect();
        case State::Playing: break;
        case State::Sampling: break;
    }
    const std::string fault = Connect();
    if (!fault.empty()) return fault;
    return state_ == State::Playing ? Play() : Sample();
}

bool CApplication::IsIdentified() const
{
    if (std::strcmp(VRAXGetSerialNumber(), kSerialNumber) != 0) return false;
    return !hasModule_ || std::strcmp(GetPPGFwVersion(), "3.0.02.05") == 0;
}

std::string CApplication::Connect()
{
    for (int i = 0; i < kConnections; ++i) {
        if (VRAXIsConnected() && IsIdentified()) return "";
        VRAXFree();
        const std::ptrdiff_t before = TimesConnected();
        VRAXInit(Listener::OnConnected);
        if (!Listener::WaitFor(true, before + 1, kConnectLimit)) return "no connection is made";
    }
    return VRAXIsConnected() && IsIdentified() ? "" : "the instrument is not identified in full";
}

std::string CApplication::Adopt()
{
    for (int i = 0; i < kConnections; ++i) {
        file_ = open(instrument_.Path().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        if (file_ < 0) return "the port cannot be opened";
        VRAXSetDeviceHandle(file_);
        if (IsIdentified()) return "";
        GiveBack();
    }
    return "the adopted instrument is not identified in full";
}

void CApplication::GiveBack()
{
    VRAXSetDeviceHandle(-1);
    if (file_ >= 0) close(file_);
    file_ = -1;
}

std::string CApplication::Play()
{
    if (VRAXGetOutputFunction() == OUTPUT_SINE) return "";
    if (VRAXSetOutputFunction(OUTPUT_SINE) != 0) return "the output cannot be switched on";
    return instrument_.WaitForMorePackets(2) ? "" : "nothing is played";
}

std::string CApplication::Sample()
{
    if (instrument_.State().samplingMask != 0) return "";
    VRAXStopPPGSampling();
    if (VRAXEnablePPGSampling(0, Hear) != 0) return "sampling is not enabled";
    for (int i = 0; i < kConnections; ++i) {
        if (VRAXStartPPGSampling() == 0) return "";
    }
    return "sampling does not start";
}

void CApplication::StartAnew()
{
    if (state_ == State::Adopted) GiveBack();
    VRAXFree();
    instrument_.Plug();
    s_heardWrong = 0;
}

std::string CApplication::ExpectGone()
{
    if (!instrument_.WaitUntilUnplugged()) return "the instrument has not hung up";
    if (state_ == State::Adopted) {
        GiveBack();
    } else if (!Eventually([] { return VRAXGetDeviceHandle() == -1; })) {
        return "the port is not given up";
    }
    return CountLockFiles() == 0 ? "" : "a lock file is left";
}

std::string CApplication::ComeBack()
{
    const std::ptrdiff_t before = TimesConnected();
    instrument_.Plug();
    if (state_ == State::Adopted) return Adopt();
    if (!Listener::WaitFor(true, before + 1, kConnectLimit)) return "no connection is made again";
    return "";
}

std::string CApplication::ExpectSound()
{
    instrument::Measurements measurements = instrument_.GetMeasurements();
    voltage_ = static_cast<std::uint8_t>(voltage_ % 99 + 1);
    measurements.usbVoltage = voltage_;
    instrument_.SetMeasurements(measurements);
    const unsigned answer = VRAXGetUSBBusVoltage();
    if (answer != voltage_) {
        return "the next command gives " + std::to_string(answer) + ", not " +
               std::to_string(voltage_);
    }
    return ExpectStream();
}

std::string CApplication::ExpectStream()
{
    if (instrument_.Statistics().sequenceErrors != 0) return "a sequence number is wrong";
    if (state_ == State::Playing && VRAXGetOutputFunction() != OUTPUT_OFF) {
        return instrument_.WaitForMorePackets(2, kConnectLimit) ? "" : "the stream stands still";
    }
    if (s_heardWrong != 0) return "a photodiode sample is wrong";
    if (state_ != State::Sampling || instrument_.State().samplingMask == 0) return "";
    const std::uint64_t before = s_heard;
    return Eventually([=] { return s_heard > before; }) ? "" : "no photodiode frame is heard";
}

}  // namespace faults
