// Photodiodes, their sampling, and the light of the PPG module.

#include <cstdint>

#include "Table.h"
#include "vrax.h"

namespace faults {

using instrument::Request;

namespace {

constexpr unsigned kStatusMs = 80;
constexpr int kAmbientMode = 9;

Row SensorRow(const char* name, const char* call, Request kind, Answers answers,
              std::function<long(Scene&)> run)
{
    Row row;
    row.name = name;
    row.call = call;
    row.kind = kind;
    row.answers = answers;
    row.run = std::move(run);
    row.fitted = Fitted::Ppg;
    return row;
}

long StartAndStop(Scene&)
{
    VRAXEnablePPGSampling(0, [](int, int, int) {});
    const int result = VRAXStartPPGSampling();
    if (result == 0) VRAXStopPPGSampling();
    return result;
}

std::vector<Row> SamplingRows()
{
    Row start = SensorRow("sampling start", "VRAXStartPPGSampling", Request::SamplingStart,
                          Marked(0, -4), StartAndStop);
    start.states = {State::Idle};
    Row read = SensorRow("sampling read", "VRAXStartPPGSampling", Request::SamplingRead, Ignored(0),
                         StartAndStop);
    read.states = {State::Idle};
    const Row stop = SensorRow("sampling stop", "VRAXStopPPGSampling", Request::SamplingStop,
                               Ignored(0), [](Scene&) -> long {
                                   VRAXStopPPGSampling();
                                   return 0;
                               });
    Row disable =
        SensorRow("sampling stop", "VRAXDisablePPGSampling", Request::SamplingStop, Counted(0, -1),
                  [](Scene&) -> long { return VRAXDisablePPGSampling(); });
    disable.arrange = [](Scene&) { VRAXEnablePPGSampling(0, [](int, int, int) {}); };
    disable.states = {State::Idle, State::Sampling};
    return {start, read, stop, disable};
}

std::vector<Row> LightRows()
{
    const Row strength = SensorRow("dynamic LED strength", "VRAXEnableDynamicLEDStrength",
                                   Request::DynamicLight, Marked(1, 0), [](Scene& scene) -> long {
                                       return VRAXEnableDynamicLEDStrength(scene.number % 2 != 0);
                                   });
    Row light = SensorRow("dynamic light", "SetDynamicLight", Request::DynamicLight, Counted(0, -1),
                          [](Scene&) -> long { return SetDynamicLight(1); });
    light.arrange = [](Scene&) { SetDynamicLight(0); };  // the same again is not sent
    const Row detection =
        SensorRow("signal strength detection", "VRAXEnableFPGASampling", Request::SignalDetection,
                  Marked(1, 0), [](Scene& scene) -> long {
                      return VRAXEnableFPGASampling(scene.number % 2 != 0);
                  });
    return {strength, light, detection};
}

std::vector<Row> AmbientRows()
{
    Row write = SensorRow("ambient light write", "VRAXSetLEDAmbientLightMode",
                          Request::AmbientWrite, Counted(0, -3), [](Scene& scene) -> long {
                              const auto mode = static_cast<int>(scene.number % 15);
                              return VRAXSetLEDAmbientLightMode(mode);
                          });
    write.whenPlaying = 0;
    Row read = SensorRow("ambient light read", "VRAXGetLEDAmbientLightMode", Request::AmbientRead,
                         Marked(kAmbientMode, -2, -3),
                         [](Scene&) -> long { return VRAXGetLEDAmbientLightMode(); });
    read.arrange = [](Scene&) { VRAXSetLEDAmbientLightMode(kAmbientMode); };
    return {write, read};
}

long PhotodiodeStatus(Scene&)
{
    std::uint32_t v[6] = {};
    return GetPDStatus(&v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
}

std::vector<Row> StatusRows()
{
    Row photodiodes = SensorRow("photodiode status", "GetPDStatus", Request::PhotodiodeStatus,
                                Marked(0, -3, -4), PhotodiodeStatus);
    photodiodes.waitMs = kStatusMs;
    photodiodes.whenBusy = -2;
    const Row report = SensorRow("FPGA sampling status", "VRAXGetFPGAReport",
                                 Request::SamplingStatus, Counted(1, 0), [](Scene&) -> long {
                                     double values[18];
                                     return VRAXGetFPGAReport(values);
                                 });
    const Row trigger = SensorRow("auto trigger status", "GetAutoTriggerLevelStatus",
                                  Request::TriggerStatus, Counted(1, 0), [](Scene&) -> long {
                                      std::uint16_t status[5];
                                      return GetAutoTriggerLevelStatus(status);
                                  });
    return {photodiodes, report, trigger};
}

}  // namespace

std::vector<Row> SensorRows()
{
    std::vector<Row> rows;
    for (const auto& part : {SamplingRows(), LightRows(), AmbientRows(), StatusRows()}) {
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

}  // namespace faults
