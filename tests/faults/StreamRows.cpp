// The packets of a run, and the commands that begin and end one.

#include "Table.h"
#include "vrax.h"

namespace faults {

using instrument::Milliseconds;
using instrument::Request;

namespace {

// Many packets at 20,000 samples a second.
constexpr Milliseconds kPatience{1500 * kScale};
constexpr int kSlowRate = 1000;  // a packet plays 0.7 s
constexpr int kUsualRate = 20000;

// 1 when packets go out and the output can be switched off.
long WhetherItPlays(Scene& scene, std::size_t packets)
{
    const bool plays = scene.instrument.WaitForMorePackets(packets, kPatience);
    if (VRAXSetOutputFunction(OUTPUT_OFF) != 0) return -1;
    return plays ? 1 : 0;
}

// Without a reply the run stands still until it is ended.
Row PacketRow()
{
    Row row;
    row.name = "stream packet";
    row.call = "VRAXSetOutputFunction";
    row.kind = Request::Stream;
    row.answers = {1, 0, 1, 1};
    row.run = [](Scene& scene) { return WhetherItPlays(scene, 4); };
    row.readsAgain = true;
    row.whenGone = 0;
    row.states = {State::Playing};
    return row;
}

// The packet after the one that plays is the stop packet, since it plays so long.
Row StopPacketRow()
{
    Row row;
    row.name = "stop packet";
    row.call = "VRAXSetOutputFunction";
    row.kind = Request::Stream;
    row.answers = Ignored(0);
    row.run = [](Scene& scene) -> long {
        VRAXSetSampleRate(kSlowRate);
        VRAXSetOutputFunction(OUTPUT_SINE);
        scene.instrument.WaitForMorePackets(1, kPatience);
        scene.instrument.Inject(scene.fault);
        const int result = VRAXSetOutputFunction(OUTPUT_OFF);
        VRAXSetSampleRate(kUsualRate);
        return result;
    };
    row.injects = true;
    row.states = {State::Idle};
    return row;
}

Row StartRow(const char* name, Request kind)
{
    Row row;
    row.name = name;
    row.call = "VRAXSetOutputFunction";
    row.kind = kind;
    row.answers = Ignored(1);
    row.run = [](Scene& scene) -> long {
        if (VRAXSetOutputFunction(OUTPUT_SINE) != 0) return -1;
        return WhetherItPlays(scene, 2);
    };
    row.sendsBack = kind == Request::ControlRead;
    row.whenGone = 0;
    row.states = {State::Idle};
    return row;
}

Row EndRow(const char* name, Request kind)
{
    Row row;
    row.name = name;
    row.call = "VRAXSetOutputFunction";
    row.kind = kind;
    row.answers = Ignored(0);
    row.run = [](Scene&) -> long { return VRAXSetOutputFunction(OUTPUT_OFF); };
    row.sendsBack = kind == Request::ControlRead;
    row.states = {State::Playing};
    return row;
}

}  // namespace

std::vector<Row> StreamRows()
{
    return {
        PacketRow(),
        StopPacketRow(),
        StartRow("start, control block read", Request::ControlRead),
        StartRow("start, control block write", Request::ControlWrite),
        StartRow("start, relays", Request::Relays),
        EndRow("end, relays", Request::Relays),
        EndRow("end, control block read", Request::ControlRead),
        EndRow("end, control block write", Request::ControlWrite),
        EndRow("end, dynamic LED strength", Request::DynamicLight),
    };
}

}  // namespace faults
