// Burning images. A burn is cancelled right after the frame with the fault, which tells that it went
// on; a restart ends a whole one.

#include <atomic>
#include <cstring>
#include <fstream>

#include "Table.h"
#include "support/TempDir.h"
#include "vrax.h"

namespace faults {

using instrument::Bytes;
using instrument::Image;
using instrument::Request;

namespace {

constexpr std::size_t kTagOffset = 118772;
constexpr std::size_t kFpgaBytes = 122880;
constexpr std::size_t kMcuBytes = 118780;
constexpr std::uint8_t kEcgBoard = 3;
constexpr unsigned kFpgaEraseMs = 40;
constexpr unsigned kMcuEraseMs = 100;
constexpr unsigned kFaultyFrame = 2;  // of its kind, from 0
constexpr int kWholeBurn = 0;         // as a stage to cancel in
constexpr unsigned kBurnLimitMs = 60000;

constexpr long kCancelled = -1;
constexpr long kModeRefused = -4;
constexpr long kNotAnswered = -6;
constexpr long kDiffers = -9;
constexpr long kNotFound = -11;

Bytes MakeImage(std::size_t bytes, const char* tag, const Bytes& version)
{
    Bytes image(bytes);
    for (std::size_t i = 0; i < bytes; ++i) image[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    std::memcpy(image.data() + kTagOffset, tag, 4);
    std::memcpy(image.data() + kTagOffset + 4, version.data(), version.size());
    return image;
}

const Bytes& ImageOf(Image kind)
{
    static const Bytes fpga = MakeImage(kFpgaBytes, "VRAX", {1, 2, 0, 3});
    static const Bytes mcu = MakeImage(kMcuBytes, "2TF2", {2, 1, 0, 7});
    return kind == Image::Fpga ? fpga : mcu;
}

void Load(Image kind)
{
    const TempDir folder;
    const std::string path = folder.File("image");
    const Bytes& image = ImageOf(kind);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(image.data()),
               static_cast<std::streamsize>(image.size()));
    int version[4];
    const auto load = kind == Image::Fpga ? LoadFirmwareFile : LoadMcuFile;
    load(path.c_str(), &version[0], &version[1], &version[2], &version[3]);
}

// What the callback counts, on the thread that burns.
std::atomic<int> s_cancelledStage{0};
std::atomic<unsigned> s_cancelledCall{0};
std::atomic<unsigned> s_calls{0};

int OnProgress(int stage, int)
{
    if (stage != s_cancelledStage) return 0;
    return s_calls.fetch_add(1) == s_cancelledCall ? 1 : 0;
}

long Burn(Image kind, int stage, unsigned call)
{
    s_cancelledStage = stage;
    s_cancelledCall = call;
    s_calls = 0;
    return kind == Image::Fpga ? BurnFirmware(OnProgress) : BurnMcu(OnProgress);
}

// Before each frame there is a call, and the one after the frame with the fault cancels.
Row FrameRow(const char* name, Image image, Request kind, int stage, Answers answers)
{
    Row row;
    row.name = name;
    row.call = image == Image::Fpga ? "BurnFirmware" : "BurnMcu";
    row.kind = kind;
    if (image == Image::Fpga) {
        const bool isRead = kind == Request::FlashRead;
        row.prefix = {0x12, 0x55,     0xAA, static_cast<std::uint8_t>(isRead ? 0x00 : 0xFF),
                      0x00, kEcgBoard};
    }
    row.answers = answers;
    row.run = [=](Scene&) { return Burn(image, stage, kFaultyFrame + 1); };
    row.skip = kFaultyFrame;
    row.stopsSampling = true;
    row.isSplit = stage != BURN_ERASE;  // the erase before takes seconds
    row.limitMs = kBurnLimitMs;
    row.states = {State::Idle};
    if (!row.isSplit) row.states = {State::Idle, State::Playing, State::Sampling};
    row.arrange = [=](Scene&) { Load(image); };
    row.restore = [=](Scene& scene) { scene.instrument.HoldImage(image, ImageOf(image)); };
    return row;
}

// Without its reply the instrument restarts all the same.
Row RestartRow(const char* name, Image image, Request kind, unsigned skip)
{
    Row row = FrameRow(name, image, kind, kWholeBurn, Ignored(0));
    row.prefix.clear();
    row.skip = skip;
    row.whenGone = kNotFound;
    return row;
}

std::vector<Row> FpgaRows()
{
    Row erase = FrameRow("FPGA image erase", Image::Fpga, Request::FlashErase, BURN_ERASE,
                         Counted(kCancelled, kNotAnswered));
    erase.waitMs = kFpgaEraseMs;
    return {
        erase,
        FrameRow("FPGA image write", Image::Fpga, Request::FlashWrite, BURN_WRITE,
                 Counted(kCancelled, kNotAnswered)),
        FrameRow("FPGA image verify", Image::Fpga, Request::FlashRead, BURN_VERIFY,
                 {kCancelled, kNotAnswered, kCancelled, kDiffers}),
        RestartRow("restart", Image::Fpga, Request::Restart, 0),
    };
}

std::vector<Row> McuRows()
{
    Row enter = FrameRow("MCU control mode, update", Image::Mcu, Request::ControlMode, BURN_ERASE,
                         Marked(kCancelled, kModeRefused));
    enter.run = [](Scene&) { return Burn(Image::Mcu, BURN_ERASE, 0); };
    enter.skip = 0;
    Row leave = enter;
    leave.name = "MCU control mode, application";
    leave.answers = Ignored(kCancelled);
    leave.skip = 1;
    Row erase = FrameRow("MCU erase", Image::Mcu, Request::McuErase, BURN_ERASE,
                         Counted(kCancelled, kNotAnswered));
    erase.waitMs = kMcuEraseMs;
    return {
        enter,
        leave,
        erase,
        FrameRow("MCU write", Image::Mcu, Request::McuWrite, BURN_WRITE,
                 Counted(kCancelled, kNotAnswered)),
        FrameRow("MCU verify", Image::Mcu, Request::McuRead, BURN_VERIFY,
                 {kCancelled, kNotAnswered, kCancelled, kDiffers}),
        RestartRow("MCU control mode, restart", Image::Mcu, Request::ControlMode, 1),
    };
}

}  // namespace

std::vector<Row> FirmwareRows()
{
    std::vector<Row> rows = FpgaRows();
    for (const Row& row : McuRows()) rows.push_back(row);
    return rows;
}

}  // namespace faults
