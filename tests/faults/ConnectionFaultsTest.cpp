// Every command of identification and preparation: twelve faults of its reply while the instrument
// is being connected, or while a port that the application has opened is being asked.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <ostream>

#include "ConnectionRows.h"
#include "HoldUp.h"
#include "Report.h"
#include "support/LinkHost.h"
#include "vrax.h"

using namespace faults;
using instrument::Milliseconds;
using instrument::Request;
using instrument::SimulatedInstrument;

namespace {

// A search that has failed goes on after a second.
constexpr Milliseconds kLimit{20000 * kScale};
constexpr char kPortIsTriedAgain[] = "the port is tried again";

struct Case {
    const ConnectionRow* row;
    bool isAdopted;
};

std::string StateOf(const Case& tested) { return tested.isAdopted ? "adopting" : "connecting"; }
std::string CallOf(const Case& tested)
{
    return tested.isAdopted ? "VRAXSetDeviceHandle" : "VRAXInit";
}
std::string TitleOf(const Case& tested)
{
    return tested.row->name + ", " + CallOf(tested) + ", " + StateOf(tested);
}
void PrintTo(const Case& tested, std::ostream* out) { *out << TitleOf(tested); }

std::vector<Case> AllCases()
{
    std::vector<Case> cases;
    for (const ConnectionRow& row : ConnectionRows()) {
        cases.push_back({&row, false});
        if (row.isProbe) cases.push_back({&row, true});
    }
    return cases;
}

// Nothing is sent unasked before photodiodes are sampled. What comes all the same may cost the
// command its reply, but never passes for it.
bool IsKnown(const ConnectionRow& row, Column column)
{
    const std::string known = row.known();
    if (column != Column::Unsolicited) return known == KnownOf(row, column);
    return known == row.whole || known == row.missing || known == row.unmarked;
}

// Of one row, in turn.
class CCells {
public:
    explicit CCells(const Case& tested)
        : row_(*tested.row), isAdopted_(tested.isAdopted), instrument_(OptionsFor(row_))
    {
        instrument::DcWords words = instrument::DefaultDcWords();
        words[2000] = 32000;
        instrument_.ProgramDcTable(words);
    }
    ~CCells() { Disconnect(); }
    CCells(const CCells&) = delete;
    CCells& operator=(const CCells&) = delete;

    CellResult Run(Column column)
    {
        CellResult result;
        if (!isPrepared_) result.fault = ConnectBefore();
        if (!result.fault.empty()) return result;
        isPrepared_ = false;
        instrument_.ClearExchanges();
        instrument_.ClearRefusals();
        instrument_.Inject(FaultOf(row_, column));
        const CStopwatch watch;
        result.fault = IsHangUp(column) ? ConnectPastHangUp() : ConnectOnce(column);
        result.callMs = watch.Ms();
        if (result.fault.empty()) result.fault = CheckAfterwards(column);
        instrument_.ClearFaults();
        instrument_.Plug();
        if (result.fault.empty()) result.fault = Prepare();
        return result;
    }

private:
    // Without a fault, so that the one with it is not the first.
    std::string ConnectBefore()
    {
        Disconnect();
        if (!Connect() || !Eventually([&] { return row_.known() == row_.whole; })) {
            return "the connection before knows " + row_.known();
        }
        return Prepare();
    }

    // For the next connection.
    std::string Prepare()
    {
        if (row_.arrange) row_.arrange();
        Disconnect();
        isPrepared_ = true;
        return CountLockFiles() == 0 ? "" : "a lock file is left";
    }

    bool Connect()
    {
        if (!isAdopted_) {
            const std::ptrdiff_t before = TimesConnected();
            VRAXInit(Listener::OnConnected);
            return Listener::WaitFor(true, before + 1, kLimit);
        }
        file_ = open(instrument_.Path().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        if (file_ < 0) return false;
        VRAXSetDeviceHandle(file_);
        return true;
    }

    void Disconnect()
    {
        VRAXFree();
        if (file_ < 0) return;
        VRAXSetDeviceHandle(-1);
        close(file_);
        file_ = -1;
    }

    static std::ptrdiff_t TimesConnected()
    {
        const std::vector<bool> told = Listener::Told();
        return std::count(told.begin(), told.end(), true);
    }

    std::string ConnectOnce(Column column)
    {
        if (!Connect()) return "no connection is made";
        const bool isRefused = row_.isIdentity && !IsWhole(row_, column);
        if (isRefused && isAdopted_) return CheckNothingMoreAsked();
        const std::size_t asked = instrument_.Exchanges(Request::Identify).size();
        if (column != Column::Unsolicited && asked != (isRefused ? 2U : 1U)) {
            return std::string(isRefused ? "" : "not because of the reply ") + kPortIsTriedAgain;
        }
        if (isRefused || IsKnown(row_, column)) return "";
        return "what is known is '" + row_.known() + "', not '" + KnownOf(row_, column) + "'";
    }

    std::string CheckNothingMoreAsked() const
    {
        const auto exchanges = instrument_.Exchanges();
        return exchanges.back().kind == Request::Identify ? "" : "a port without identity is asked";
    }

    std::string ConnectPastHangUp()
    {
        if (isAdopted_) {
            if (!Connect()) return "the port cannot be opened";
        } else {
            VRAXInit(Listener::OnConnected);
        }
        if (!instrument_.WaitUntilUnplugged()) return "the instrument has not hung up";
        if (isAdopted_) Disconnect();
        if (!Eventually([] { return CountLockFiles() == 0; })) return "a lock file is left";
        instrument_.Plug();
        if (isAdopted_ && !Connect()) return "the port cannot be opened again";
        // Told of a connection while the instrument goes, an application is told of its end at once.
        const bool isKnown =
            Eventually([&] { return row_.known() == row_.whole && VRAXGetUSBBusVoltage() != 0; },
                       std::chrono::milliseconds(kLimit));
        return isKnown ? "" : "what is known in the end is '" + row_.known() + "'";
    }

    std::string CheckAfterwards(Column column)
    {
        if (instrument_.PendingFaults() != 0) return "the request is not sent";
        instrument::Measurements measurements = instrument_.GetMeasurements();
        measurements.usbVoltage = static_cast<std::uint8_t>(measurements.usbVoltage % 99 + 1);
        instrument_.SetMeasurements(measurements);
        const unsigned answer = VRAXGetUSBBusVoltage();
        if (answer != measurements.usbVoltage) {
            return "the next command gives " + std::to_string(answer) + ", not " +
                   std::to_string(measurements.usbVoltage);
        }
        if (instrument_.RefusalCount() == 0 || column == Column::Unsolicited) return "";
        return "the instrument refuses: " + instrument_.Refusals().front().reason;
    }

    const ConnectionRow& row_;
    const bool isAdopted_;
    SimulatedInstrument instrument_;
    CHost host_{kReplyMs};
    int file_ = -1;
    bool isPrepared_ = false;
};

class Connection : public testing::TestWithParam<Case> {};

}  // namespace

TEST_P(Connection, KnowsWhatItWasToldAndLeavesTheLineUsable)
{
    CCells cells(GetParam());
    TableLine line;
    for (const Column column : kColumns) {
        const CellResult result = RunCell([&] { return cells.Run(column); });
        line.Add(static_cast<std::size_t>(column), result);
        if (!result.fault.empty())
            ADD_FAILURE() << FaultText(GetParam().row->name, StateOf(GetParam()), column, result);
    }
    line.Print(StateOf(GetParam()), GetParam().row->name, CallOf(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(FaultTable, Connection, testing::ValuesIn(AllCases()),
                         [](const auto& parameter) {
                             return Identifier(TitleOf(parameter.param));
                         });
