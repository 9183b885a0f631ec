#include "Scenarios.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "support/EdfWriter.h"
#include "support/Firmware.h"
#include "support/RecordFiles.h"
#include "support/Waiting.h"
#include "support/WfdbWriter.h"
#include "vrax.h"

#include "Faults.h"

namespace {
using std::chrono::milliseconds;

constexpr milliseconds kPatience{60000};      // where a step must succeed
constexpr milliseconds kFaultyConnect{6000};  // where it may fail: five attempts
constexpr milliseconds kFaultyWait{300};
constexpr milliseconds kLongStep{20000};
constexpr std::size_t kRecordSamples = 3000;
constexpr int kCalibrationWords = 4001;

std::atomic<bool> s_connected{false};
void OnConnected(bool connected) { s_connected = connected; }

std::atomic<std::uint64_t> s_photodiodeSamples{0};
void OnPhotodiode(int, int, int) { ++s_photodiodeSamples; }
void OnSample(double, double) {}

instrument::Options MainUnit() { return {}; }
instrument::Options WithPpg()
{
    instrument::Options options;
    options.ppgModel = 0x3407;
    options.sampling.framesPerSecond = 200;
    return options;
}
instrument::Options WithRespiration()
{
    instrument::Options options;
    options.respirationModule = true;
    return options;
}

void Connect(Pass& pass)
{
    s_connected = false;
    pass.Do("SetCalibrationDataPath", [&] {
        SetCalibrationDataPath((pass.files.Path() + "/").c_str());
        return true;
    });
    pass.Do("VRAXInit", [] { return VRAXInit(OnConnected); });
    pass.Do("the connection", [&] { return pass.WaitConnected(true); });
}

void Free(Pass& pass)
{
    pass.Do("VRAXFree", [] {
        VRAXFree();
        return !VRAXIsConnected();
    });
}

bool Set(int result) { return result == 0; }

void Play(Pass& pass, int function)
{
    pass.Do("VRAXSetOutputFunction", [=] { return VRAXSetOutputFunction(function) == 0; });
    pass.Do("packets", [&] { return pass.Packets(8); });
}

void Stop(Pass& pass)
{
    pass.Do("VRAXSetOutputFunction(OUTPUT_OFF)",
            [] { return Set(VRAXSetOutputFunction(OUTPUT_OFF)) && VRAXIsPlaying() == 0; });
}

void AskForTheVoltage(Pass& pass)
{
    pass.Do("VRAXGetUSBBusVoltage", [] { return VRAXGetUSBBusVoltage() == 250; });
}

// Identification, and the records that an application reads and writes.
void Records(Pass& pass)
{
    Connect(pass);
    pass.Do("VRAXGetDeviceInformation", [] {
        MODEL_INFORMATION info = {};
        return VRAXGetDeviceInformation(&info) && info.typeLetters[0] == 'E' &&
               VRAXSetDeviceInformation(&info);
    });
    pass.Do("VRAXGetHWInformation", [] {
        VRAXHardwareInformation information = {};
        return VRAXGetHWInformation(&information) && information.firmwareMajor == 2;
    });
    std::array<unsigned char, 64> data = {};
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<unsigned char>(i);
    pass.Do("VRAXWriteMfgInfo", [&] { return VRAXWriteMfgInfo(data.data(), 64); });
    pass.Do("VRAXReadMfgInfo", [&] {
        std::array<unsigned char, 64> read = {};
        return VRAXReadMfgInfo(read.data(), 64) && read == data;
    });
    AskForTheVoltage(pass);
    Free(pass);
}

void EcgWithChanges(Pass& pass)
{
    Connect(pass);
    pass.Do("VRAXRegisterOutputSignalCallback", [] {
        VRAXRegisterOutputSignalCallback(OnSample, 10);
        return true;
    });
    pass.Do("EnableSaveLog", [&] { return Set(EnableSaveLog(pass.files.File("log").c_str())); });
    Play(pass, OUTPUT_ECG);
    pass.Do("VRAXSetAmplitude", [] { return Set(VRAXSetAmplitude(2.0)); });
    pass.Do("VRAXSetFrequency", [] { return Set(VRAXSetFrequency(3.0)); });
    pass.Do("VRAXSetDCOffset", [] { return Set(VRAXSetDCOffset(100)); });
    pass.Do("VRAXSetPacingPulseMode", [] { return Set(VRAXSetPacingPulseMode(1)); });
    pass.Do("VRAXApplyPacing", [] { return VRAXApplyPacing() == 1; });
    Play(pass, OUTPUT_SINE);
    Play(pass, OUTPUT_ECG);
    pass.Do("VRAXSetOutputLead", [] { return Set(VRAXSetOutputLead(1, false)); });
    Stop(pass);
    pass.Do("DisableSaveLog", [] {
        DisableSaveLog();
        VRAXRegisterOutputSignalCallback(nullptr, 1);
        return true;
    });
    Free(pass);
}

void CommandsWhilePlaying(Pass& pass)
{
    Connect(pass);
    Play(pass, OUTPUT_ECG);
    for (int i = 0; i < 10; ++i) AskForTheVoltage(pass);
    pass.Do("VRAXMeasureRLD", [] { return VRAXMeasureRLD(true) == 1; });
    pass.Do("VRAXReadRLD", [] {
        double first = 0.0;
        double second = 0.0;
        return VRAXReadRLD(&first, &second) == 1;
    });
    pass.Do("VRAXSetRespiration", [] { return VRAXSetRespiration(1000, 15, 1, 500, 0) == 1; });
    Stop(pass);
    AskForTheVoltage(pass);
    Free(pass);
}

void PpgAndPhotodiodes(Pass& pass)
{
    Connect(pass);
    pass.Do("VRAXSetPPGStandardWaveform",
            [] { return VRAXSetPPGStandardWaveform(0, 3, 1, 0, 1.0, 1000.0, 10.0) == 10000; });
    pass.Do("VRAXSetPPGRawData", [] {
        const std::vector<double> dc(1000, 500.0);
        const std::vector<double> ac(1000, 5.0);
        return Set(VRAXSetPPGRawData(1, 1, 0, 1000, dc.data(), ac.data(), 1000.0));
    });
    Play(pass, OUTPUT_ECG);
    Stop(pass);
    s_photodiodeSamples = 0;
    pass.Do("VRAXEnablePPGSampling", [] { return Set(VRAXEnablePPGSampling(0, OnPhotodiode)); });
    pass.Do("VRAXStartPPGSampling", [] { return Set(VRAXStartPPGSampling()); });
    pass.Do("photodiode samples",
            [] { return Eventually([] { return s_photodiodeSamples >= 36; }, kFaultyConnect); });
    AskForTheVoltage(pass);
    pass.Do("VRAXStopPPGSampling", [] {
        VRAXStopPPGSampling();
        return true;
    });
    pass.Do("VRAXClearPPGWaveform", [] {
        for (int led = 0; led < 3; ++led) VRAXClearPPGWaveform(led);
        return true;
    });
    Free(pass);
}

void WriteRecordings(const TempDir& files)
{
    TextRecord text;
    text.count = std::to_string(kRecordSamples);
    text.lines.assign(kRecordSamples, "0.5,-1.25");
    WriteRecordFile(files.File("r.txt"), text.Text());
    BinaryRecord binary;
    binary.count = kRecordSamples;
    binary.microvolts.assign(kRecordSamples, 1000);
    WriteRecordFile(files.File("r.bin"), binary.Bytes());
    std::string aha;
    for (std::size_t i = 0; i < kRecordSamples; ++i) aha += AhaGroup(400, -400);
    WriteRecordFile(files.File("r.ecg"), aha);
    EdfWriter edf;
    edf.headerBytes = "512";
    edf.signals[0].samplesPerRecord = "300";
    edf.records = "10";
    for (std::size_t i = 0; i < kRecordSamples; ++i) edf.AddSample(1000);
    WriteRecordFile(files.File("r.edf"), edf.Bytes());
    WriteRecordFile(files.File("r.hea"), WfdbHeaderText(2, kRecordSamples, "212"));
    WriteRecordFile(files.File("r.dat"), PackFormat212(std::vector<int>(2 * kRecordSamples, 200)));
}

// Frees what an application has to free.
bool ReadsTheNames(const std::string& path)
{
    std::array<char*, 2> names = {};
    const int count = CheckECGTxtChannel(path.c_str(), names.data());
    bool complete = count == 2;
    for (char* name : names) {
        complete = complete && name != nullptr;
        SeededFaultsFree(name);
    }
    return complete;
}

void Recordings(Pass& pass)
{
    constexpr int kSamples = static_cast<int>(kRecordSamples);
    const TempDir& files = pass.files;
    WriteRecordings(files);
    Connect(pass);
    const auto load = [&](const char* step, const std::function<int()>& loader) {
        pass.Do(step, [&] { return loader() == kSamples; });
    };
    pass.Do("CheckECGTxtChannel", [&] { return ReadsTheNames(files.File("r.txt")); });
    load("VRAXLoadECGtxt", [&] { return VRAXLoadECGtxt(files.File("r.txt").c_str(), 1); });
    Play(pass, OUTPUT_ECG_FILE);
    load("LoadECGBin", [&] { return LoadECGBin(files.File("r.bin").c_str()); });
    load("LoadECGAHA", [&] { return LoadECGAHA(files.File("r.ecg").c_str(), 1); });
    load("VRAXLoadECGedf", [&] { return VRAXLoadECGedf(files.File("r.edf").c_str(), 0); });
    load("VRAXLoadECGdat", [&] {
        return VRAXLoadECGdat(files.File("r.hea").c_str(), files.File("r.dat").c_str(), 1);
    });
    pass.Do("SetRawArray", [] {
        const std::vector<double> samples(kRecordSamples, 1.0);
        return Set(SetRawArray(kSamples, samples.data(), 500));
    });
    pass.Do("packets of the last record", [&] { return pass.Packets(8); });
    Stop(pass);
    pass.Do("DumpIEC247Waveform",
            [&] { return Set(DumpIEC247Waveform(1, files.File("dump").c_str())); });
    pass.Do("ClearRawArray", [] {
        ClearRawArray();
        return true;
    });
    Free(pass);
}

void Calibration(Pass& pass)
{
    const std::string directory = pass.files.Path() + "/";
    Connect(pass);
    pass.Do("WriteDCCalibrationData", [] {
        std::vector<unsigned> codes(kCalibrationWords);
        for (std::size_t i = 0; i < codes.size(); ++i) codes[i] = static_cast<unsigned>(10 * i);
        return WriteDCCalibrationData(codes.data(), kCalibrationWords);
    });
    pass.Do("ReadDCCalibrationData", [] { return ReadDCCalibrationData(); });
    pass.Do("SaveCalibrationData", [&] { return Set(SaveCalibrationData(directory.c_str())); });
    pass.Do("LoadCalibrationData", [] { return Set(LoadCalibrationData()); });
    pass.Do("GetCalibrationCache", [] {
        int count = 0;
        return GetCalibrationCache(&count) != nullptr && count == kCalibrationWords;
    });
    pass.Do("ClearCalibrationCache", [] { return Set(ClearCalibrationCache()); });
    pass.Do("VRAXExternalRespiratorySetBaseline",
            [] { return VRAXExternalRespiratorySetBaseline(1, 0) == 1; });
    Free(pass);
}

void Firmware(Pass& pass)
{
    const auto loads = [&](LoadFunction load, const char* name, const Bytes& image) {
        const std::string path = pass.files.File(name);
        WriteRecordFile(path, {image.begin(), image.end()});
        return LoadWith(load, path).result == static_cast<int>(image.size());
    };
    Connect(pass);
    Play(pass, OUTPUT_ECG);
    pass.Do("LoadFirmwareFile", [&] { return loads(LoadFirmwareFile, "fpga", FpgaImage()); });
    pass.Do("LoadMcuFile", [&] { return loads(LoadMcuFile, "mcu", McuImage()); });
    Stop(pass);
    AskForTheVoltage(pass);
    Free(pass);
}

void Replug(Pass& pass)
{
    Connect(pass);
    Play(pass, OUTPUT_ECG);
    pass.instrument.Unplug();
    pass.Do("the loss", [&] { return pass.WaitConnected(false); });
    pass.Do("VRAXSetAmplitude", [] { return VRAXSetAmplitude(1.5) == 0; });
    pass.instrument.Plug();
    pass.Do("the return", [&] { return pass.WaitConnected(true); });
    pass.Do("packets after the return", [&] { return pass.Packets(8); });
    Stop(pass);
    AskForTheVoltage(pass);
    Free(pass);
}

void ConnectAndFree(Pass& pass)
{
    for (int i = 0; i < 2; ++i) {
        pass.Do("VRAXConnect",
                [&] { return VRAXConnect(0, static_cast<unsigned>(pass.ConnectTime().count())); });
        AskForTheVoltage(pass);
        if (i == 0) Play(pass, OUTPUT_TRIANGLE);
        Free(pass);  // also in the middle of a run
    }
}

void EndOfProcess(Pass& pass)
{
    Connect(pass);
    Play(pass, OUTPUT_ECG);
}
}  // namespace

void Say(const char* key, const std::string& value)
{
    const std::string line = key + (";" + value) + "\n";
    if (write(STDOUT_FILENO, line.data(), line.size()) < 0) _exit(1);
}

COutputOff::~COutputOff()
{
    {
        const std::lock_guard lock(mutex_);
        isOver_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void COutputOff::StepBegins()
{
    const std::lock_guard lock(mutex_);
    ++step_;
    changed_.notify_all();
}

void COutputOff::Watch()
{
    std::unique_lock lock(mutex_);
    while (!isOver_) {
        const std::uint64_t step = step_;
        const auto goesOn = [&] { return isOver_ || step_ != step; };
        if (changed_.wait_for(lock, kLongStep, goesOn)) continue;
        lock.unlock();
        Say("released", "1");
        VRAXSetOutputFunction(OUTPUT_OFF);
        lock.lock();
    }
}

void Pass::Do(const char* step, const std::function<bool()>& action)
{
    Say("step", step);
    if (outputOff_) outputOff_->StepBegins();
    if (action() || !mustSucceed_ || failure_) return;
    failure_ = std::string(step) + " fails without faults";
}

milliseconds Pass::ConnectTime() const { return mustSucceed_ ? kPatience : kFaultyConnect; }

bool Pass::WaitConnected(bool connected) const
{
    return Eventually([=] { return s_connected == connected; }, ConnectTime());
}

bool Pass::Packets(std::size_t count) const
{
    return instrument.WaitForMorePackets(count, mustSucceed_ ? kPatience : kFaultyWait);
}

const Scenario kScenarios[] = {
    {"records", MainUnit, Records, false, 0},
    {"ECG with changes", MainUnit, EcgWithChanges, false, 0},
    {"commands while playing", MainUnit, CommandsWhilePlaying, false, 0},
    {"PPG and photodiodes", WithPpg, PpgAndPhotodiodes, false, 0},
    {"recordings", MainUnit, Recordings, false, 1},
    {"calibration", WithRespiration, Calibration, false, 0},
    {"firmware images", MainUnit, Firmware, false, 0},
    {"replug", MainUnit, Replug, false, 0},
    {"connect and free", WithPpg, ConnectAndFree, false, 0},
    {"end of the process", MainUnit, EndOfProcess, true, 0},
};
const std::size_t kScenarioCount = std::size(kScenarios);
