// The numbered settings of the PPG module: levels, pulse groups, transmission rates.

#include <cstdint>

#include "Table.h"
#include "ppg/CalibrationSettings.h"
#include "vrax.h"

namespace faults {

using instrument::Bytes;
using instrument::Request;

namespace {

constexpr unsigned kModeMs = 80;
constexpr unsigned kGroupsMs = 40;
constexpr std::uint8_t kTriggerLevel1 = 3;
constexpr std::uint16_t kLevel = 77;
constexpr std::uint8_t kOtherSetting = 40;
constexpr std::uint16_t kValue = 0x1234;

Bytes WritePrefix(std::uint8_t setting) { return {0xCC, 0xFF, setting, 0x00}; }

Row LevelRow(const char* call, std::uint8_t setting, Answers answers,
             std::function<long(Scene&)> run)
{
    Row row;
    row.name = "PPG mode write";
    row.call = call;
    row.kind = Request::ModeWrite;
    row.prefix = WritePrefix(setting);
    row.answers = answers;
    row.run = std::move(run);
    row.fitted = Fitted::Ppg;
    row.waitMs = kModeMs;
    return row;
}

std::vector<Row> LevelRows()
{
    const auto levelOf = [](const Scene& scene) { return static_cast<int>(scene.number % 256); };
    const Row trigger =
        LevelRow("SetPPGTriggerLevel", kTriggerLevel1, Counted(0, -4),
                 [=](Scene& scene) -> long { return SetPPGTriggerLevel(1, levelOf(scene)); });
    const Row led = LevelRow("SetPPGLedLevel", 18, Counted(0, -3), [=](Scene& scene) -> long {
        return SetPPGLedLevel(3, levelOf(scene));
    });
    Row triggers = LevelRow("ResetPPGTriggerLevel", kTriggerLevel1, Counted(0, -4),
                            [](Scene&) -> long { return ResetPPGTriggerLevel(); });
    triggers.moreFollow = true;
    Row leds = LevelRow("ResetPPGLedLevel", 2, Counted(0, -3),
                        [](Scene&) -> long { return ResetPPGLedLevel(); });
    leds.moreFollow = true;

    Row read = LevelRow("GetPPGTriggerLevel", kTriggerLevel1, Marked(kLevel, -3),
                        [](Scene&) -> long { return GetPPGTriggerLevel(1); });
    read.name = "PPG mode read";
    read.kind = Request::ModeRead;
    read.prefix = {0xCC, 0x00, kTriggerLevel1, 0x00};
    read.arrange = [](Scene& scene) { scene.instrument.SetSetting(kTriggerLevel1, kLevel); };
    return {trigger, led, triggers, leds, read};
}

// The rates of a mode differ from those of the next, so that a change of mode writes all four.
Row RateRow()
{
    Row row;
    row.name = "setting write";
    row.call = "VRAXConfigureTransmissionRate";
    row.kind = Request::SettingWrite;
    row.prefix = WritePrefix(1);
    row.answers = Marked(1, 0);
    row.run = [](Scene& scene) -> long {
        return VRAXConfigureTransmissionRate(static_cast<int>(scene.number % 6));
    };
    row.fitted = Fitted::Ppg3407;
    row.moreFollow = true;
    row.states = {State::Idle, State::Playing, State::Sampling};  // with what a connection has read
    return row;
}

// No exported call reads a setting.
Row SettingReadRow()
{
    Row row;
    row.name = "setting read";
    row.call = "ReadCalibrationSetting";
    row.kind = Request::SettingRead;
    row.answers = Marked(kValue, -1);
    row.run = [](Scene&) -> long {
        std::uint16_t value = 0;
        const auto setting = static_cast<PPGCalibrationSetting>(kOtherSetting);
        return ReadCalibrationSetting(setting, &value) ? value : -1;
    };
    row.fitted = Fitted::Ppg;
    row.arrange = [](Scene& scene) { scene.instrument.SetSetting(kOtherSetting, kValue); };
    return row;
}

std::vector<Row> PulseGroupRows()
{
    Row write;
    write.name = "LED pulse groups write";
    write.call = "VRAXWriteLEDPulseGroupSetting";
    write.kind = Request::PulseGroups;
    write.answers = Marked(1, 0);
    write.run = [](Scene& scene) -> long {
        const std::uint16_t setting[5] = {0x0201, 0, 0, 0,
                                          static_cast<std::uint16_t>(scene.number)};
        return VRAXWriteLEDPulseGroupSetting(setting);
    };
    write.fitted = Fitted::Ppg;
    write.whenBusy = 0;

    Row read = write;
    read.name = "LED pulse groups read";
    read.call = "VRAXReadLEDPulseGroupSetting";
    read.run = [](Scene&) -> long {
        std::uint16_t setting[5] = {};
        return VRAXReadLEDPulseGroupSetting(setting);
    };
    read.waitMs = kGroupsMs;
    return {write, read};
}

}  // namespace

std::vector<Row> SensorSettingRows()
{
    std::vector<Row> rows = {RateRow(), SettingReadRow()};
    for (const auto& part : {LevelRows(), PulseGroupRows()}) {
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

}  // namespace faults
