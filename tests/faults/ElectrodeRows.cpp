// Relays, lead-off, the right-leg drive and the pacing pulses.

#include <cmath>

#include "Table.h"
#include "vrax.h"

namespace faults {

using instrument::Request;

namespace {

constexpr unsigned kRldMs = 5;
constexpr std::uint16_t kRldCount = 1023;  // 3.3 V

Row RelayRow()
{
    Row row;
    row.name = "relays";
    row.call = "VRAXSetOutputLead";
    row.kind = Request::Relays;
    row.answers = Ignored(0);
    row.run = [](Scene& scene) -> long {
        return VRAXSetOutputLead(3, scene.number % 2 != 0);  // a repeated command is not sent
    };
    return row;
}

Row LeadOffRow()
{
    Row row;
    row.name = "lead-off";
    row.call = "VRAXSetLeadOff";
    row.kind = Request::LeadOff;
    row.answers = Counted(1, 0);
    row.run = [](Scene& scene) -> long {
        return VRAXSetLeadOff(static_cast<int>(scene.number % 4));
    };
    return row;
}

std::vector<Row> RldRows()
{
    Row start;
    start.name = "RLD measurement start";
    start.call = "VRAXMeasureRLD";
    start.kind = Request::RldStart;
    start.answers = Marked(1, 0);
    start.run = [](Scene&) -> long { return VRAXMeasureRLD(true); };
    start.waitMs = kRldMs;
    start.moreFollow = true;

    Row relay = start;
    relay.name = "RLD measurement relay";
    relay.kind = Request::LeadOff;
    relay.answers = Counted(1, 0);
    relay.waitMs = 0;
    relay.moreFollow = false;

    Row read;
    read.name = "RLD measurement read";
    read.call = "VRAXReadRLD";
    read.kind = Request::RldRead;
    read.answers = Marked(1, 0);
    read.run = [](Scene& scene) -> long {
        instrument::Measurements measurements = scene.instrument.GetMeasurements();
        measurements.rldCounts = {kRldCount, 0};
        scene.instrument.SetMeasurements(measurements);
        double first = -1.0;
        double second = -1.0;
        const int result = VRAXReadRLD(&first, &second);
        const bool isRight = result == 1 ? std::abs(first - 3.3) < 1e-9 && second == 0.0
                                         : first == -1.0 && second == -1.0;
        return isRight ? result : -1;
    };
    return {start, relay, read};
}

std::vector<Row> PacingRows()
{
    Row read;
    read.name = "control block read";
    read.call = "VRAXApplyPacing";
    read.kind = Request::ControlRead;
    // A wrong block goes back changed and is not answered.
    read.answers = {1, 0, 1, 0};
    read.run = [](Scene&) -> long { return VRAXApplyPacing(); };
    read.moreFollow = true;
    read.sendsBack = true;
    read.whenPlaying = 1;

    Row write = read;
    write.name = "control block write";
    write.kind = Request::ControlWrite;
    write.answers = Marked(1, 0);
    write.moreFollow = false;
    write.sendsBack = false;
    return {read, write};
}

}  // namespace

std::vector<Row> ElectrodeRows()
{
    std::vector<Row> rows = {RelayRow(), LeadOffRow()};
    for (const auto& part : {RldRows(), PacingRows()}) {
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

}  // namespace faults
