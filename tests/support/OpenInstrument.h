// An instrument whose port is open and identified, without the connect, poll or monitor thread at
// work: what goes over the wire is what the test sets off.
#pragma once

#include <stdexcept>

#include "device/Device.h"
#include "instrument/SimulatedInstrument.h"

class COpenInstrument {
public:
    explicit COpenInstrument(const instrument::Options& options = {}) : device(options)
    {
        // Records are hundreds of replies; on a busy machine one of them may be late.
        g_nDeviceReadTimeout = kPatientMs;
        g_nDeviceWriteTimeout = kPatientMs;
        if (DoFindDevice(options.port) != 1) throw std::runtime_error("the port was not opened");
        device.ClearExchanges();
    }
    explicit COpenInstrument(unsigned ppgModel) : COpenInstrument(WithModule(ppgModel)) {}
    ~COpenInstrument() { DeviceClose(); }
    COpenInstrument(const COpenInstrument&) = delete;
    COpenInstrument& operator=(const COpenInstrument&) = delete;

    static instrument::Options WithModule(unsigned ppgModel)
    {
        instrument::Options options;
        options.ppgModel = ppgModel;
        return options;
    }

    instrument::SimulatedInstrument device;

private:
    static constexpr unsigned kPatientMs = 600;
};

// A fault that hits the next request of a kind.
inline instrument::Fault FaultOn(instrument::Request match, instrument::FaultKind kind,
                                 unsigned skip = 0)
{
    instrument::Fault fault;
    fault.match = match;
    fault.kind = kind;
    fault.skip = skip;
    return fault;
}
