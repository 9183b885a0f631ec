// Breathing: the instrument's own, and the external module.

#include <vector>

#include "Table.h"
#include "vrax.h"

namespace faults {

using instrument::Request;

namespace {

constexpr unsigned kSettingsMs = 40;
constexpr unsigned kApneaMs = 10;
constexpr std::uint8_t kModule = 19;
constexpr unsigned kWriteMs = 6;

int RateOf(const Scene& scene) { return 15 + static_cast<int>(scene.number % 5); }

std::vector<Row> InternalRows()
{
    Row set;
    set.name = "respiration";
    set.call = "VRAXSetRespiration";
    set.kind = Request::Respiration;
    set.answers = Marked(1, 0);
    set.run = [](Scene& scene) -> long {
        return VRAXSetRespiration(1000, RateOf(scene), 2, 500, 0);
    };
    set.waitMs = kSettingsMs;

    Row calibration = set;
    calibration.call = "VRAXSetCalibrationRespiration";
    calibration.run = [](Scene&) -> long { return VRAXSetCalibrationRespiration(1000, 500); };
    return {set, calibration};
}

// The apnea of the last seconds of a minute is 60 s long or none: it changes with the next packet.
std::vector<Row> ApneaRows()
{
    Row read;
    read.name = "apnea, control block read";
    read.call = "VRAXSetRespiration";
    read.kind = Request::ControlRead;
    read.answers = Ignored(1);
    read.arrange = [](Scene&) { VRAXEnableRespiration(1); };
    read.run = [](Scene& scene) -> long {
        const int seconds = scene.number % 2 != 0 ? 60 : 0;
        return VRAXSetRespiration(1000, 15, 2, 500, seconds);
    };
    read.sendsBack = true;
    read.whenPlaying = 1;
    read.states = {State::Playing};

    Row write = read;
    write.name = "apnea, control block write";
    write.kind = Request::ControlWrite;
    write.waitMs = kApneaMs;
    write.sendsBack = false;
    return {read, write};
}

Row ModuleRow(const char* name, const char* call, Request kind, Answers answers,
              std::function<long(Scene&)> run)
{
    Row row;
    row.name = name;
    row.call = call;
    row.kind = kind;
    row.answers = answers;
    row.run = std::move(run);
    row.fitted = Fitted::Respiration;
    return row;
}

std::vector<Row> ModuleSettingRows()
{
    const auto setBaselineCode = [](Scene& scene) -> long {
        return VRAXExternalRespiratorySetBaselineDAC(scene.number);
    };
    Row read = ModuleRow("module settings read", "VRAXExternalRespiratorySetBaselineDAC",
                         Request::ModuleRead, Marked(1, 0), setBaselineCode);
    read.moreFollow = true;
    const Row rewrite =
        ModuleRow("module settings write back", "VRAXExternalRespiratorySetBaselineDAC",
                  Request::ModuleWrite, Marked(1, 0), setBaselineCode);
    const Row write = ModuleRow("module settings write", "VRAXExternalRespiratorySetDAC",
                                Request::ModuleWrite, Marked(1, 0), [](Scene& scene) -> long {
                                    return VRAXExternalRespiratorySetDAC(1, 2, 3, scene.number);
                                });
    const auto setResistance = [](Scene& scene) -> long {
        return VRAXExternalRespiratorySetAmplitudeByResistance(50.0 + scene.number % 10);
    };
    Row resistanceRead =
        ModuleRow("module resistance read", "VRAXExternalRespiratorySetAmplitudeByResistance",
                  Request::ModuleRead, Marked(1, 0), setResistance);
    resistanceRead.moreFollow = true;
    const Row resistanceWrite =
        ModuleRow("module resistance write", "VRAXExternalRespiratorySetAmplitudeByResistance",
                  Request::ModuleWrite, Marked(1, 0), setResistance);
    return {read, rewrite, write, resistanceRead, resistanceWrite};
}

std::vector<Row> ModuleBaselineRows()
{
    Row set = ModuleRow("module baseline write", "VRAXExternalRespiratorySetBaseline",
                        Request::BaselineWrite, Counted(1, 0), [](Scene& scene) -> long {
                            const auto index = static_cast<int>(scene.number % 12);
                            return VRAXExternalRespiratorySetBaseline(index, 0);
                        });
    set.moreFollow = true;
    Row breathing = ModuleRow("module baseline of a breath", "VRAXSetRespiration",
                              Request::BaselineWrite, Counted(1, 0), [](Scene& scene) -> long {
                                  return VRAXSetRespiration(1000, RateOf(scene), 2, 500, 0);
                              });
    breathing.moreFollow = true;
    Row off =
        ModuleRow("module baseline at the end", "VRAXEnableRespiration", Request::BaselineWrite,
                  Ignored(1), [](Scene&) -> long { return VRAXEnableRespiration(0); });
    off.whenGone = 1;
    off.arrange = [](Scene&) { VRAXEnableRespiration(1); };
    return {set, breathing, off};
}

Row ModuleFlashRow(const char* call, std::function<long(Scene&)> run, bool moreFollow)
{
    Row row = ModuleRow("module calibration write", call, Request::FlashWrite, Marked(1, 0),
                        std::move(run));
    row.prefix = {0x12, 0x55, 0xAA, 0xFF, 0x00, kModule};
    row.waitMs = kWriteMs;
    row.moreFollow = moreFollow;
    return row;
}

std::vector<Row> ModuleCalibrationRows()
{
    return {
        ModuleFlashRow(
            "VRAXWriteRespirationRWA",
            [](Scene&) -> long { return VRAXWriteRespirationRWA(60.5, 61.5, 80.0, 0.0); }, true),
        ModuleFlashRow(
            "VRAXExternalRespiratoryWriteRDAC3",
            [](Scene&) -> long {
                const std::vector<double> ohms(96, 60.0);
                return VRAXExternalRespiratoryWriteRDAC3(ohms.data());
            },
            true),
        ModuleFlashRow(
            "VRAXWriteRespirationBaselineDACTable",
            [](Scene&) -> long {
                const std::vector<unsigned short> codes(12, 1000);
                return VRAXWriteRespirationBaselineDACTable(codes.data());
            },
            false),
    };
}

}  // namespace

std::vector<Row> RespirationRows()
{
    std::vector<Row> rows;
    for (const auto& part : {InternalRows(), ApneaRows(), ModuleSettingRows(), ModuleBaselineRows(),
                             ModuleCalibrationRows()}) {
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

}  // namespace faults
