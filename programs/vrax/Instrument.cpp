#include "Instrument.h"

#include <fmt/format.h>
#include <sys/stat.h>

namespace vrax {

namespace {

constexpr int kPortCount = 128;
constexpr LEDType kChannels = 3;  // from here on no LED

std::string ModelName(const MODEL_INFORMATION& model)
{
    return fmt::format("T{}{}{:02x}{:02x}", model.typeLetters[0], model.typeLetters[1],
                       model.modelCode[0], model.modelCode[1]);
}

ModuleKind KindOf(const MODEL_INFORMATION& model)
{
    const std::string letters(model.typeLetters, sizeof model.typeLetters);
    if (letters == "AP") return ModuleKind::Ppg;
    if (letters == "ER") return ModuleKind::Respiration;
    // An erased record is all ones.
    const bool isEmpty = letters == std::string(2, '\0') || letters == "\xFF\xFF";
    return isEmpty ? ModuleKind::None : ModuleKind::Other;
}

// The node whose device the library has open. A node may be a link to where the device really is.
std::string OpenPort()
{
    struct stat open {};
    if (fstat(static_cast<int>(VRAXGetDeviceHandle()), &open) != 0) return "";
    for (int port = 0; port < kPortCount; ++port) {
        const std::string path = fmt::format("/dev/ttyACM{}", port);
        struct stat node {};
        if (stat(path.c_str(), &node) == 0 && node.st_rdev == open.st_rdev) return path;
    }
    return "";
}

ModuleFacts ReadModuleFacts()
{
    ModuleFacts facts;
    MODEL_INFORMATION model = {};
    if (!VRAXGetPPGDeviceInformation(&model)) return facts;
    facts.kind = KindOf(model);
    if (facts.kind == ModuleKind::None) return facts;
    VRAXHardwareInformation versions = {};
    VRAXGetPPGHWInformation(&versions);
    facts.model = ModelName(model);
    facts.serial = VRAXGetPPGSerialNumber();
    facts.firmware = GetPPGFwVersion();
    facts.hardware = fmt::format("{}.{}", versions.hardwareMajor, versions.hardwareMinor);
    for (const LEDType led : model.ledTypes) {
        if (facts.kind == ModuleKind::Ppg && led < kChannels) facts.leds.push_back(led);
    }
    VRAXGetDeviceFeature(&facts.feature);
    return facts;
}

}  // namespace

InstrumentFacts ReadInstrumentFacts()
{
    InstrumentFacts facts;
    MODEL_INFORMATION model = {};
    if (VRAXGetDeviceInformation(&model)) facts.model = ModelName(model);
    facts.port = OpenPort();
    facts.serial = VRAXGetSerialNumber();
    facts.firmware = VRAXGetFWVersion();
    facts.hardware = VRAXGetHWVersion();
    facts.busVoltage = VRAXGetUSBBusVoltage();
    facts.module = ReadModuleFacts();
    return facts;
}

const char* NameOf(ModuleKind kind)
{
    switch (kind) {
        case ModuleKind::None: return "none";
        case ModuleKind::Ppg: return "PPG";
        case ModuleKind::Respiration: return "external respiration";
        case ModuleKind::Other: break;
    }
    return "unknown";
}

}  // namespace vrax
