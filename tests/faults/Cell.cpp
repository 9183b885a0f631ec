#include "Cell.h"

#include <algorithm>

#include "HoldUp.h"
#include "support/Timing.h"

namespace faults {

namespace {

std::string Text(const std::vector<long>& values)
{
    std::string text;
    for (const long value : values) {
        text += (text.empty() ? "" : " or ") + std::to_string(value);
    }
    return text;
}

// The time for a reply runs out, unless the line is found dead before.
bool WaitsInVain(Column column)
{
    return column == Column::NoReply || column == Column::OneByte ||
           column == Column::TwelveBytes || column == Column::AllButOne ||
           column == Column::TooLate;
}

}  // namespace

CellResult CCells::Run(Column column)
{
    return RunCell([&] {
        CellResult result = RunOnce(column);
        if (!result.fault.empty()) application_.StartAnew();
        return result;
    });
}

CellResult CCells::RunOnce(Column column)
{
    CellResult result;
    result.fault = application_.Enter();
    if (!result.fault.empty()) return result;
    instrument::SimulatedInstrument& instrument = application_.Instrument();
    Scene scene{instrument, state_, ++number_, FaultOf(row_, column)};
    if (row_.arrange) row_.arrange(scene);
    instrument.ClearRefusals();
    if (!row_.injects) instrument.Inject(scene.fault);

    const CStopwatch watch;
    CCall<long> call([&] { return row_.run(scene); });
    const bool isInTime = call.HasReturned(std::chrono::milliseconds(row_.limitMs * kScale));
    const long value = call.Result();
    result.callMs = watch.Ms();
    result.fault = isInTime ? CheckCall(column, value, result.callMs) : "the call takes too long";
    const std::string after = CheckAfterwards(column, IsHit() && IsHangUp(column), scene);
    if (result.fault.empty()) result.fault = after;
    else if (!after.empty()) result.fault += "; " + after;
    return result;
}

// A call that is refused at once leaves the fault where it is.
bool CCells::IsHit()
{
    instrument::SimulatedInstrument& instrument = application_.Instrument();
    const bool isRefused = IsBusy(state_) && row_.whenBusy;
    return isRefused ? instrument.PendingFaults() == 0 : instrument.WaitForFaults();
}

std::string CCells::CheckAfterwards(Column column, bool isGone, Scene& scene)
{
    const bool isSent = application_.Instrument().PendingFaults() == 0;
    const bool isRefused = IsBusy(state_) && row_.whenBusy;
    application_.Instrument().ClearFaults();
    std::string fault;
    if (isSent == isRefused) fault = isSent ? "a request is sent" : "the request is not sent";
    if (row_.restore) row_.restore(scene);
    if (isGone && fault.empty()) fault = application_.ExpectGone();
    if (isGone && fault.empty()) fault = application_.ComeBack();
    if (fault.empty()) fault = application_.ExpectSound();
    return fault.empty() ? CheckRefusals(column) : fault;
}

std::string CCells::CheckCall(Column column, long value, double ms) const
{
    const std::vector<long> expected = ExpectedOf(row_, state_, column);
    if (std::find(expected.begin(), expected.end(), value) == expected.end()) {
        return "the call gives " + std::to_string(value) + ", not " + Text(expected);
    }
    const bool awaits = WaitsInVain(column) && !IsGivenAtOnce(row_, state_) && !row_.readsAgain &&
                        state_ != State::Sampling;
    if (awaits && ms < row_.waitMs + kReplyMs) {
        return "the call gives up after " + std::to_string(ms) + " ms";
    }
    return "";
}

std::string CCells::CheckRefusals(Column column)
{
    const instrument::SimulatedInstrument& instrument = application_.Instrument();
    const bool mayBeRefused =
        row_.sendsBack && (column == Column::WrongBytes || column == Column::Unsolicited);
    if (mayBeRefused || instrument.RefusalCount() == 0) return "";
    return "the instrument refuses: " + instrument.Refusals().front().reason;
}

}  // namespace faults
