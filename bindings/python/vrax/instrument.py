"""The connection, what plays, and the callbacks of the signal."""

from __future__ import annotations

from types import TracebackType
from typing import Any, Callable, Dict, List, Optional, Tuple, Type

from vrax import modules, native
from vrax.callbacks import Slot, raise_pending
from vrax.device import Calibration, Firmware, Information
from vrax.errors import VraxError, ask, call, end
from vrax.members import Parameter, command
from vrax.records import Diagnostics, Recordings, Waveforms
from vrax.signals import Disturbances, Ecg, Electrodes, Pacing, RawDc

OutputFunction = native.OutputFunction_E
LEADS = 9  # of the instrument, 0 to 8
ANY_PORT = -1

_listener_slot = Slot(native.VRAXConnectedCallback)


class Events:
    """The callbacks of the signal. Each takes a function, or None to remove it.

    They run on the library's own threads: they must be quick, and must not call the library, except
    to stop. What one raises is raised by the next call into this package.
    """

    _slots: Dict[str, Tuple[Slot, Callable[[Any], object]]] = {
        "signal": (
            Slot(native.VRAXOutputSignalCallback),
            lambda callback: native.VRAXRegisterOutputSignalCallback(callback, 1),
        ),
        "pacing": (
            Slot(native.VRAXPacingOutputSignalCallback),
            native.VRAXRegisterPacingOutputSignalCallback,
        ),
        "frequency": (Slot(native.VRAXSyncFrequencyCallback), native.VRAXRegisterSyncFrequencyCB),
        "dc_offset": (Slot(native.VRAXSyncDCOffsetCallback), native.VRAXRegisterSyncDCOffsetCB),
        "main_function": (
            Slot(native.VRAXSyncMainFunctionCallback),
            native.VRAXRegisterSyncMainFunctionCB,
        ),
        "waveform_end": (
            Slot(native.VRAXStandardWaveformCallback),
            native.RegisterStandardWaveformCB,
        ),
        "baseline_reset": (Slot(native.VRAXBaselineResetCallback), native.RegisterBaselineResetCB),
    }

    def on_signal(
        self, function: Optional[Callable[[float, float], None]], divider: int = 1
    ) -> None:
        """Points of the ECG signal (seconds, mV): one sample in every max(1, divider / 4)."""
        slot, _ = self._slots["signal"]
        register = native.VRAXRegisterOutputSignalCallback
        slot.register(function, lambda callback: call(register, callback, divider))

    def on_pacing(self, function: Optional[Callable[[float, float], None]]) -> None:
        """Corners of pacing pulses (seconds, mV)."""
        self._register("pacing", function)

    def on_frequency(self, function: Optional[Callable[[float, float], None]]) -> None:
        """The library has changed the frequency (hertz, 2.0 or seconds)."""
        self._register("frequency", function)

    def on_dc_offset(self, function: Optional[Callable[[int, float, float], None]]) -> None:
        """The input dynamic range test moves its DC level (whole mV, mV, mV before)."""
        self._register("dc_offset", function)

    def on_main_function(self, function: Optional[Callable[[int, float], None]]) -> None:
        """A frequency scan switches the output function (function, value)."""
        self._register("main_function", function)

    def on_waveform_end(self, function: Optional[Callable[[float, float], None]]) -> None:
        """A waveform that plays once has ended (seconds, its length in seconds)."""
        self._register("waveform_end", function)

    def on_baseline_reset(self, function: Optional[Callable[[int], None]]) -> None:
        """The baseline reset test changes (its new value)."""
        self._register("baseline_reset", function)

    def clear(self) -> None:
        """Removes all of them, those of the PPG channels and photodiodes too."""
        for slot, register in self._slots.values():
            slot.register(None, register)
        modules.remove_pulse_listeners()
        modules.release_sampling()

    def _register(self, name: str, function: Optional[Callable[..., None]]) -> None:
        slot, register = self._slots[name]
        slot.register(function, register)


class SynchronizationSignal:
    """A signal for which runs wait, so that they start at a mark of the application."""

    def __init__(self) -> None:
        handle = call(native.VRAXCreateSynchronizationSignal)
        if handle is None:
            raise VraxError("VRAXCreateSynchronizationSignal", 0, "there is no memory")
        self._handle = handle

    def use(self) -> None:
        """The next run waits for this signal."""
        call(native.VRAXSetSynchronizationSignal, self._handle)

    @staticmethod
    def use_none() -> None:
        """The next run does not wait."""
        call(native.VRAXSetSynchronizationSignal, None)

    def set(self) -> None:
        """Runs that wait start, and later ones do not wait until it is reset."""
        call(native.VRAXSynchronizationSignalSetEvent, self._handle)

    def reset(self) -> None:
        """Runs wait again."""
        call(native.VRAXSynchronizationSignalResetEvent, self._handle)


class Instrument:
    """The instrument of this process, with its parts. The library has one for each process, so two
    objects mean the same one."""

    def __init__(self) -> None:
        self.information = Information()
        self.ecg = Ecg()
        self.pacing = Pacing()
        self.disturbances = Disturbances()
        self.electrodes = Electrodes()
        self.respiration = modules.Respiration()
        self.ppg = modules.Ppg()
        self.sensor = modules.Sensor()
        self.calibration = Calibration()
        self.firmware = Firmware()
        self.waveforms = Waveforms()
        self.recordings = Recordings()
        self.diagnostics = Diagnostics()
        self.raw_dc = RawDc()
        self.events = Events()

    lead_mask = Parameter(native.GetAllOutputLead, native.SetAllOutputLead)
    reset = staticmethod(command(native.VRAXReset))
    reset_all_lead_off = staticmethod(command(native.VRAXResetAllLeadOff))
    reset_ex = staticmethod(command(native.VRAXResetEx))

    @property
    def is_connected(self) -> bool:
        """Whether an instrument is connected and prepared."""
        return ask(native.VRAXIsConnected)

    @property
    def has_ppg(self) -> bool:
        """Whether an instrument is connected and a PPG module is fitted."""
        return ask(native.VRAXIsPPGConnected)

    @property
    def is_playing(self) -> bool:
        """Whether a signal is being streamed, or photodiode sampling runs."""
        return bool(ask(native.VRAXIsPlaying))

    @property
    def function(self) -> int:
        """The selected output function, an OutputFunction where it is one of them."""
        value = ask(native.VRAXGetOutputFunction)
        return OutputFunction(value) if value in set(OutputFunction) else value

    def play(self, function: int) -> None:
        """Selects a signal, an OutputFunction, and starts it."""
        call(native.VRAXSetOutputFunction, function)

    def stop(self) -> None:
        """Switches the output off and returns when it is. Allowed in callbacks."""
        end(native.VRAXSetOutputFunction, OutputFunction.OFF)

    @property
    def leads(self) -> List[int]:
        """The output leads that are on."""
        return [lead for lead in range(LEADS) if ask(native.VRAXGetOutputLead, lead)]

    def set_lead(self, lead: int, on: bool = True) -> None:
        """Switches one output lead, 0 to 8."""
        call(native.VRAXSetOutputLead, lead, on)

    @property
    def device_handle(self) -> int:
        """The descriptor of the open port, -1 when none is; it stays the library's."""
        return ask(native.VRAXGetDeviceHandle)

    def adopt(self, descriptor: int) -> None:
        """Adopts a port that the application has opened and set to raw mode; -1 for none."""
        call(native.VRAXSetDeviceHandle, descriptor)

    def set_port_timeouts(self, read: float, write: float) -> None:
        """How long one read and one write on the port may take, in seconds."""
        call(native.SetDeviceTimeoutSetting, round(read * 1000), round(write * 1000))

    def close(self) -> None:
        """Ends the connection: output off, port closed, parameters reset, callbacks removed. May be
        called again."""
        native.VRAXFree()
        self.events.clear()
        _listener_slot.release()
        raise_pending()

    def __enter__(self) -> "Instrument":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        try:
            self.close()
        except BaseException as left:
            if error is None:
                raise
            # What the block raised comes first; what a callback raised is seen below it.
            _last(error).__context__ = left


def _last(error: BaseException) -> BaseException:
    while error.__context__ is not None:
        error = error.__context__
    return error


def connect(port: Optional[int] = None, timeout: float = 5.0) -> Instrument:
    """Searches an instrument and waits until it is connected and prepared.

    Parameters:
        port: number n of /dev/ttyACM<n>, or None for all
        timeout: the longest wait in seconds

    VraxError when there is none in time. Use it in a with statement, or close() the instrument.
    """
    call(native.VRAXConnect, ANY_PORT if port is None else port, round(timeout * 1000))
    _listener_slot.release()  # the library has put its own in the place of one from listen()
    return Instrument()


def listen(listener: Optional[Callable[[bool], None]] = None) -> Instrument:
    """Starts the search for an instrument on all ports and returns at once. From here on parameters
    can be set and signals computed without one.

    Parameters:
        listener: told when the instrument comes (True) and goes (False), on the connect thread
    """
    _listener_slot.register(
        listener or (lambda connected: None), lambda callback: call(native.VRAXInit, callback)
    )
    return Instrument()
