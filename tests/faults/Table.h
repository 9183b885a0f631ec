// The fault table: each command of the instrument, each state of the application, each fault of the
// reply, and what the call that sends the command gives then.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "instrument/SimulatedInstrument.h"
#include "support/Slowdown.h"

namespace faults {

// Under a sanitizer everything takes longer, the time for a reply and the delays alike.
constexpr unsigned kScale = kSlowdown > 4 ? 4 : kSlowdown;
constexpr unsigned kReplyMs = 100 * kScale;
constexpr unsigned kSlightlyLateMs = 50 * kScale;
constexpr unsigned kTooLateMs = 150 * kScale;
constexpr std::uint16_t kSampleValue = 777;  // of every photodiode sample

enum class Column {
    NoReply,
    OneByte,
    TwelveBytes,
    AllButOne,     // 63 of most replies
    SlightlyLate,  // within the time for a reply
    TooLate,
    WrongAcknowledge,
    WrongBytes,   // every one inverted
    Unsolicited,  // a photodiode block before the reply
    HangUpBefore,
    HangUpDuring,  // after half of the reply
    HangUpAfter,
};
constexpr Column kColumns[] = {
    Column::NoReply,      Column::OneByte,      Column::TwelveBytes,      Column::AllButOne,
    Column::SlightlyLate, Column::TooLate,      Column::WrongAcknowledge, Column::WrongBytes,
    Column::Unsolicited,  Column::HangUpBefore, Column::HangUpDuring,     Column::HangUpAfter,
};
const char* NameOf(Column column);
bool IsHangUp(Column column);

enum class State { Idle, Playing, Sampling, Adopted };
constexpr State kStates[] = {State::Idle, State::Playing, State::Sampling, State::Adopted};
const char* NameOf(State state);
// The line carries a stream.
inline bool IsBusy(State state) { return state == State::Playing || state == State::Sampling; }

enum class Fitted { Nothing, Ppg, Ppg3407, Respiration };

// What a call gives, as a number.
struct Answers {
    long whole = 0;     // the reply is there in full and in time
    long missing = 0;   // it is not
    long unmarked = 0;  // it lacks its acknowledgement
    long wrong = 0;     // every byte is inverted
};
// The owner of the command looks at nothing of the reply.
constexpr Answers Ignored(long value) { return {value, value, value, value}; }
// At its length alone.
constexpr Answers Counted(long whole, long missing) { return {whole, missing, whole, whole}; }
// At its acknowledgement too.
constexpr Answers Marked(long whole, long missing, long unmarked)
{
    return {whole, missing, unmarked, unmarked};
}
constexpr Answers Marked(long whole, long missing) { return Marked(whole, missing, missing); }

// What a row's functions work on.
struct Scene {
    instrument::SimulatedInstrument& instrument;
    State state;
    unsigned number;          // of the call: each one is different
    instrument::Fault fault;  // for rows that inject it themselves
};

struct Row {
    std::string name;  // of the command
    std::string call;  // that sends it
    instrument::Request kind = instrument::Request::Unknown;
    instrument::Bytes prefix;  // where the kind does not say which of a call's requests it is
    Answers answers;
    std::function<long(Scene&)> run;

    Fitted fitted = Fitted::Nothing;
    unsigned waitMs = 0;          // that the owner gives the instrument before it reads the reply
    std::size_t replyBytes = 64;  // of the whole reply
    unsigned skip = 0;            // requests of the kind that the call sends before
    bool moreFollow = false;      // the call sends more, and fails with what cannot be sent
    bool sendsBack = false;       // what came goes back changed: a wrong block is refused
    bool readsAgain = false;      // a reply that comes late still counts
    bool injects = false;         // the row puts the fault in place itself
    bool stopsSampling = false;   // before the request
    bool isSplit = false;         // a process for each fault, since the call takes long
    unsigned limitMs = 5000;      // of the call
    std::optional<long> whenBusy{};     // given at once, without a request, while the line is busy
    std::optional<long> whenPlaying{};  // given at once: the play thread sends the request, or the
                                        // reply is not awaited
    std::optional<long> whenGone{};     // where that is not what a missing reply gives
    std::vector<State> states = {State::Idle, State::Playing, State::Sampling, State::Adopted};
    std::function<void(Scene&)> arrange{};  // before the fault is in place
    std::function<void(Scene&)> restore{};  // after the call, before the next command
};

const std::vector<Row>& Rows();
// One file each.
std::vector<Row> MainUnitRows();
std::vector<Row> ElectrodeRows();
std::vector<Row> RespirationRows();
std::vector<Row> SensorRows();
std::vector<Row> SensorSettingRows();
std::vector<Row> StreamRows();
std::vector<Row> FirmwareRows();

bool Applies(const Row& row, State state);
instrument::Fault FaultOf(const Row& row, Column column);
// The values that the call may give; more than one only where bytes cannot tell.
std::vector<long> ExpectedOf(const Row& row, State state, Column column);
// The call does not wait for the reply or sends no request.
bool IsGivenAtOnce(const Row& row, State state);

}  // namespace faults
