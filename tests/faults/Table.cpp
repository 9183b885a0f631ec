#include "Table.h"

#include <algorithm>

namespace faults {

using instrument::FaultKind;
using instrument::Milliseconds;

namespace {

// What the listeners of photodiode 0 hear of the block.
constexpr std::uint8_t kFirstPhotodiode = 1;

std::size_t BytesOf(const Row& row, Column column)
{
    switch (column) {
        case Column::OneByte: return 1;
        case Column::TwelveBytes: return 12;
        default: return std::min<std::size_t>(63, row.replyBytes - 1);
    }
}

bool IsShort(Column column)
{
    return column == Column::OneByte || column == Column::TwelveBytes ||
           column == Column::AllButOne;
}

FaultKind KindOf(Column column)
{
    switch (column) {
        case Column::NoReply: return FaultKind::Silence;
        case Column::OneByte:
        case Column::TwelveBytes:
        case Column::AllButOne: return FaultKind::ShortReply;
        case Column::SlightlyLate:
        case Column::TooLate: return FaultKind::LateReply;
        case Column::WrongAcknowledge: return FaultKind::WrongAcknowledge;
        case Column::WrongBytes: return FaultKind::WrongBytes;
        case Column::Unsolicited: return FaultKind::Unsolicited;
        case Column::HangUpBefore: return FaultKind::HangUpBefore;
        case Column::HangUpDuring: return FaultKind::HangUpDuring;
        case Column::HangUpAfter: return FaultKind::HangUpAfter;
    }
    return FaultKind::Silence;
}

long WhenGone(const Row& row, Column column)
{
    const bool failsLater = column != Column::HangUpAfter || row.moreFollow;
    return row.whenGone.value_or(failsLater ? row.answers.missing : row.answers.whole);
}

long WhenAnswered(const Row& row, Column column)
{
    const Answers& answers = row.answers;
    switch (column) {
        case Column::NoReply: return answers.missing;
        case Column::OneByte:
        case Column::TwelveBytes:
        case Column::AllButOne:
            return BytesOf(row, column) < row.replyBytes ? answers.missing : answers.whole;
        case Column::SlightlyLate: return answers.whole;
        case Column::TooLate: return row.readsAgain ? answers.whole : answers.missing;
        case Column::WrongAcknowledge: return answers.unmarked;
        case Column::WrongBytes: return answers.wrong;
        case Column::Unsolicited: return answers.whole;
        default: return WhenGone(row, column);
    }
}

}  // namespace

const char* NameOf(Column column)
{
    switch (column) {
        case Column::NoReply: return "no reply";
        case Column::OneByte: return "1 byte";
        case Column::TwelveBytes: return "12 bytes";
        case Column::AllButOne: return "63 bytes";
        case Column::SlightlyLate: return "late by 50 ms";
        case Column::TooLate: return "late by 150 ms";
        case Column::WrongAcknowledge: return "wrong acknowledgement";
        case Column::WrongBytes: return "wrong bytes";
        case Column::Unsolicited: return "a block in between";
        case Column::HangUpBefore: return "hang-up before";
        case Column::HangUpDuring: return "hang-up during";
        case Column::HangUpAfter: return "hang-up after";
    }
    return "";
}

bool IsHangUp(Column column)
{
    return column == Column::HangUpBefore || column == Column::HangUpDuring ||
           column == Column::HangUpAfter;
}

const char* NameOf(State state)
{
    switch (state) {
        case State::Idle: return "idle";
        case State::Playing: return "playing";
        case State::Sampling: return "sampling";
        case State::Adopted: return "adopted";
    }
    return "";
}

const std::vector<Row>& Rows()
{
    static const std::vector<Row> rows = [] {
        std::vector<Row> all;
        for (const auto& part : {MainUnitRows(), ElectrodeRows(), RespirationRows(), SensorRows(),
                                 SensorSettingRows(), StreamRows(), FirmwareRows()}) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }();
    return rows;
}

// Photodiodes are sampled with a PPG module alone.
bool Applies(const Row& row, State state)
{
    if (state == State::Sampling && row.fitted == Fitted::Respiration) return false;
    return std::find(row.states.begin(), row.states.end(), state) != row.states.end();
}

instrument::Fault FaultOf(const Row& row, Column column)
{
    instrument::Fault fault;
    fault.kind = KindOf(column);
    fault.match = row.kind;
    fault.prefix = row.prefix;
    fault.skip = row.skip;
    fault.bytes = BytesOf(row, column);
    // Counted from when the owner begins to read.
    fault.delay =
        Milliseconds(row.waitMs + (column == Column::TooLate ? kTooLateMs : kSlightlyLateMs));
    if (column == Column::Unsolicited) {
        fault.data =
            instrument::SimulatedInstrument::SamplingBlock(kFirstPhotodiode, kSampleValue, 0);
    }
    return fault;
}

std::vector<long> ExpectedOf(const Row& row, State state, Column column)
{
    if (IsBusy(state) && row.whenBusy) return {*row.whenBusy};
    if (state == State::Playing && row.whenPlaying) return {*row.whenPlaying};
    const Answers& answers = row.answers;
    const long value = WhenAnswered(row, column);
    // A photodiode frame that follows a piece of a reply at once fills it up.
    if (state == State::Sampling && IsShort(column) && row.moreFollow) {
        return {value, answers.whole, answers.unmarked, answers.wrong};
    }
    // Nothing is sent unasked unless photodiodes are sampled. What comes all the same may cost the
    // command its reply, but never passes for it.
    const bool isSampling = state == State::Sampling && !row.stopsSampling;
    if (!isSampling && column == Column::Unsolicited) {
        std::vector<long> values = {value, answers.missing, answers.unmarked};
        if (answers.wrong <= 0) values.push_back(answers.wrong);  // told as a failure
        return values;
    }
    return {value};
}

bool IsGivenAtOnce(const Row& row, State state)
{
    return (IsBusy(state) && row.whenBusy) || (state == State::Playing && row.whenPlaying);
}

}  // namespace faults
