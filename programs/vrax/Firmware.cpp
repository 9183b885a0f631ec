#include "Firmware.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <memory>
#include <string>

#include <fmt/format.h>

#include "BurnProgress.h"
#include "vrax.h"

namespace vrax {

namespace {

constexpr std::streamoff kTagOffset = 118772;  // of either image
constexpr unsigned kPatienceMs = 1000;
constexpr char kFpgaTag[] = "VRAX";
constexpr char kMcuTag[] = "2TF2";

const char* NameOf(ImageKind kind) { return kind == ImageKind::Fpga ? "FPGA" : "MCU"; }

struct Options {
    std::string file;
    bool isFpga = false;
    bool isMcu = false;
    bool isAnswered = false;
    bool isForced = false;
};

struct Image {
    ImageKind kind;
    int bytes;  // that are burnt
    std::string version;
    std::string tag;  // as it stands in the file
    bool HasExactTag() const { return tag == (kind == ImageKind::Fpga ? kFpgaTag : kMcuTag); }
};

std::string ReadTag(const std::string& path)
{
    std::array<char, 4> tag = {};
    std::ifstream file(path, std::ios::binary);
    file.seekg(kTagOffset);
    file.read(tag.data(), tag.size());
    std::string text;
    for (const char letter : tag) {
        const auto byte = static_cast<unsigned char>(letter);
        text += std::isprint(byte) != 0 ? std::string(1, letter) : fmt::format("\\x{:02x}", byte);
    }
    return text;
}

// The result of the library is in `image.bytes`: a size, or a negative code.
Image Load(const std::string& path, ImageKind kind)
{
    std::array<int, 4> v = {};
    const auto load = kind == ImageKind::Fpga ? LoadFirmwareFile : LoadMcuFile;
    const int bytes = load(path.c_str(), &v[0], &v[1], &v[2], &v[3]);
    // In the form of VRAXGetFWVersion().
    const std::string version = fmt::format("{}.{}.{:02}.{:02}", v[0], v[1], v[2], v[3]);
    return {kind, bytes, version, ReadTag(path)};
}

[[noreturn]] void ThrowUnloaded(const std::string& path, const std::string& what, int code)
{
    constexpr int kRefused = -6;
    constexpr int kNoMemory = -4;
    if (code == kRefused) {
        throw Failure(fmt::format("{} is no image of {}: its tag is \"{}\", or it is too short",
                                  path, what, ReadTag(path)),
                      fmt::format("an FPGA image has 122880 bytes or more and the tag {}, an MCU "
                                  "program the tag {}",
                                  kFpgaTag, kMcuTag));
    }
    if (code == kNoMemory) {
        throw Failure(fmt::format("{} does not fit into memory", path),
                      "check that it is an image");
    }
    throw Failure(fmt::format("{} cannot be read", path), "check its name and permissions");
}

int RunShow(Program& program, const Options& options)
{
    Image image = Load(options.file, ImageKind::Fpga);
    if (image.bytes < 0) image = Load(options.file, ImageKind::Mcu);
    if (image.bytes < 0) ThrowUnloaded(options.file, "the FPGA or the MCU", image.bytes);
    if (program.IsJson()) {
        program.PrintJson({{"file", options.file},
                           {"kind", NameOf(image.kind)},
                           {"version", image.version},
                           {"tag", image.tag},
                           {"exact_tag", image.HasExactTag()},
                           {"bytes", image.bytes}});
        return kDone;
    }
    fmt::print("kind     {}\nversion  {}\ntag      {}{}\nbytes    {}\n", NameOf(image.kind),
               image.version, image.tag,
               image.HasExactTag() ? "" : fmt::format(", which is only partly {}", kMcuTag),
               image.bytes);
    return kDone;
}

// How a burn that did not reach its restart leaves the instrument.
std::string StateAfter(const BurnProgress& progress, ImageKind kind)
{
    if (!progress.HasTouched()) return "nothing was written";
    if (kind == ImageKind::Fpga) {
        return "the instrument runs its old program until it is switched off, and has no whole one "
               "for the next start";
    }
    return "the MCU has no whole program and cannot run";
}
std::string AdviceAfter(const BurnProgress& progress, ImageKind kind)
{
    if (!progress.HasTouched()) return "repeat the burn when it suits";
    return kind == ImageKind::Fpga ? "repeat the burn before it is switched off"
                                   : "keep the instrument supplied and repeat the burn";
}

std::string ReasonOf(int code, int stage)
{
    const char* const name = BurnProgress::NameOfStage(stage);
    switch (code) {
        case -4: return "the MCU did not enter its update mode";
        case -5: return fmt::format("the instrument took no data while {}", name);
        case -6: return fmt::format("the instrument did not answer while {}", name);
        case -9: return "what was read back is not what was written";
        default: return fmt::format("the burn ended with the code {}", code);
    }
}

[[noreturn]] void ThrowUnburnt(const BurnProgress& progress, ImageKind kind, int code)
{
    switch (code) {
        case -1:
            throw Failure("cancelled: " + StateAfter(progress, kind), AdviceAfter(progress, kind),
                          kInterrupted);
        case -3:
            throw Failure("the instrument has gone; nothing was written",
                          "plug it in and repeat the burn", kNoInstrument);
        case -10:
            throw Failure("the image is burnt and verified, but the instrument was not restarted",
                          "switch it off and on");
        case -11:
            throw Failure(
                "the image is burnt and verified, but the instrument was not found after it",
                "switch it off and on, then try vrax info", kNoInstrument);
        default:
            throw Failure(ReasonOf(code, progress.Stage()) + ": " + StateAfter(progress, kind),
                          AdviceAfter(progress, kind));
    }
}

Image LoadToBurn(const Options& options)
{
    const ImageKind kind = options.isFpga ? ImageKind::Fpga : ImageKind::Mcu;
    Image image = Load(options.file, kind);
    const std::string what = std::string("the ") + NameOf(kind);
    if (image.bytes < 0) ThrowUnloaded(options.file, what, image.bytes);
    if (!image.HasExactTag() && !options.isForced) {
        throw Failure(fmt::format("nothing was written: the tag of {} is \"{}\", only partly {}",
                                  options.file, image.tag, kMcuTag),
                      "add --force when it is the right file all the same");
    }
    return image;
}

void TellBurnt(Program& program, const Options& options, const Image& image,
               const std::string& instrument)
{
    if (program.IsJson()) {
        program.PrintJson({{"file", options.file},
                           {"kind", NameOf(image.kind)},
                           {"version", image.version},
                           {"instrument", instrument},
                           {"burnt", true}});
        return;
    }
    fmt::print("burnt the {} of {} with version {} and verified it\n", NameOf(image.kind),
               instrument, image.version);
}

int RunBurn(Program& program, const Options& options)
{
    const Image image = LoadToBurn(options);
    program.CheckCanAsk(options.isAnswered);
    program.ConnectInstrument();
    const std::string serial = VRAXGetSerialNumber();
    const std::string instrument =
        serial.empty() ? "the instrument without a serial number" : serial;
    program.Confirm(fmt::format("Burn {} (version {}) into the {} of {} (firmware {})?",
                                options.file, image.version, NameOf(image.kind), instrument,
                                VRAXGetFWVersion()),
                    options.isAnswered);
    // A reply that is late by a busy computer must not cost the instrument its program.
    SetDeviceTimeoutSetting(kPatienceMs, kPatienceMs);
    BurnProgress progress(program, image.kind, static_cast<std::size_t>(image.bytes));
    const int result = progress.Burn();
    if (result != 0) ThrowUnburnt(progress, image.kind, result);
    VRAXFree();
    TellBurnt(program, options, image, instrument);
    return kDone;
}

}  // namespace

void AddFirmwareCommand(CLI::App& app, Program& program)
{
    CLI::App* const command = app.add_subcommand("firmware", "The programs of the instrument.");
    command->require_subcommand(1);
    const auto options = std::make_shared<Options>();

    CLI::App* const show = command->add_subcommand("show", "Shows what an image file is.");
    show->add_option("FILE", options->file, "the image")->required();
    program.SetAction(*show, [&program, options] { return RunShow(program, *options); });

    CLI::App* const burn = command->add_subcommand(
        "burn", "Replaces a program of the instrument. Ctrl-C cancels and tells what is left.");
    burn->add_option("FILE", options->file, "the image")->required();
    CLI::Option_group* const kind = burn->add_option_group("kind", "which program");
    kind->add_flag("--fpga", options->isFpga, "the FPGA image");
    kind->add_flag("--mcu", options->isMcu, "the program of the MCU");
    kind->require_option(1);
    burn->add_flag("--yes", options->isAnswered, "without the question");
    burn->add_flag("--force", options->isForced, "an MCU program whose tag fits only partly too");
    program.SetAction(*burn, [&program, options] { return RunBurn(program, *options); });
}

}  // namespace vrax
