"""Waveforms and recordings: the built-in ones, those from files, and what is written to files."""

from __future__ import annotations

import ctypes
import math
from array import array
from ctypes import byref, c_char, c_double, c_int, c_uint
from types import TracebackType
from typing import TYPE_CHECKING, Any, Callable, ClassVar, List, NamedTuple, Optional, Type

from vrax import native
from vrax.buffers import codes, copied, doubles, path_bytes
from vrax.callbacks import raise_pending
from vrax.errors import VraxError, call, end
from vrax.members import command, query, text

if TYPE_CHECKING:
    from vrax.buffers import Codes, Path, Samples

MOST_NAMES = 128  # channels whose names are stored


class Record(NamedTuple):
    """Samples and their number a second."""

    samples: array[Any]
    rate: int


def _record(function: Callable[..., Any], typecode: str, meaning: str, *first: int) -> Record:
    count, rate = c_uint(), c_uint()
    found = call(function, *first, byref(count), byref(rate))
    if not found:
        raise VraxError(function.__name__, 0, meaning)
    return Record(copied(found, count.value, typecode), rate.value)


class Waveforms:
    """The samples behind the built-in waveforms."""

    rr_average = staticmethod(query(native.GetRRAvg))
    rr_deviation = staticmethod(query(native.GetRRDev))
    hrv_frequency = staticmethod(query(native.GetHRVFreq))
    iec247_point = staticmethod(query(native.GetIEC47RawPoint))

    @staticmethod
    def set_loop(loop: bool) -> None:
        """Whether the built-in waveforms repeat or play once."""
        call(native.VRAXSetSpecialWaveformLoop, int(loop))

    @staticmethod
    def iec227(number: int) -> Record:
        """A waveform of IEC 60601-2-27, 0 to 9, in microvolts."""
        return _record(native.GetSpecialWave227Array, "i", "there is no such waveform", number)

    @staticmethod
    def iec251(number: int) -> Record:
        """A CAL waveform of IEC 60601-2-51, 0 to 15, in microvolts."""
        return _record(native.GetSpecialWave251Array, "i", "there is no such waveform", number)

    @staticmethod
    def iec247(number: int) -> Record:
        """A heart-rate variability pattern of IEC 60601-2-47, 0 to 4, in millivolts."""
        return _record(native.GetSpecialWave247Array, "d", "there is no such pattern", number)

    @staticmethod
    def dump_iec227(number: int, path: Path) -> None:
        """Writes a waveform of IEC 60601-2-27 as text."""
        call(native.DumpIEC227Waveform, number, path_bytes(path))

    @staticmethod
    def dump_iec251(number: int, path: Path) -> None:
        """Writes a CAL waveform as text."""
        call(native.DumpIEC251Waveform, number, path_bytes(path))

    @staticmethod
    def dump_iec247(number: int, path: Path) -> None:
        """Writes a heart-rate variability pattern as text."""
        call(native.DumpIEC247Waveform, number, path_bytes(path))

    @staticmethod
    def dump(microvolts: Codes, rate: int, name: str, path: Path) -> None:
        """Writes samples as text, in the layout that load_text() reads."""
        taken = codes(microvolts, c_int, "i")
        title = name.encode("utf-8")
        call(native.DumpStandardWaveform, taken, len(taken), rate, title, path_bytes(path))


class Recordings:
    """The record that OutputFunction.ECG_FILE plays. Loaders give the number of samples."""

    clear = staticmethod(command(native.ClearRawArray))

    @staticmethod
    def set_loop(loop: bool) -> None:
        """Whether the record repeats or plays once."""
        call(native.VRAXSetFileLoop, int(loop))

    @staticmethod
    def text_channels(path: Path) -> List[str]:
        """The names of the channels of a text file, of the first 128 at most."""
        names = (ctypes.POINTER(c_char) * MOST_NAMES)()
        count = call(native.CheckECGTxtChannel, path_bytes(path), names)
        return [_take_string(name) for name in names[: min(count, MOST_NAMES)]]

    @staticmethod
    def load_text(path: Path, channel: int = 0) -> int:
        """Loads one channel of a text file."""
        return call(native.VRAXLoadECGtxt, path_bytes(path), channel)

    @staticmethod
    def load_binary(path: Path) -> int:
        """Loads a binary file."""
        return call(native.LoadECGBin, path_bytes(path))

    @staticmethod
    def load_aha(path: Path, channel: int = 0) -> int:
        """Loads one channel of a recording of the AHA database, ".txt" or ".ecg"."""
        return call(native.LoadECGAHA, path_bytes(path), channel)

    @staticmethod
    def load_edf(path: Path, channel: int = 0) -> int:
        """Loads one signal of an EDF or EDF+ file."""
        return call(native.VRAXLoadECGedf, path_bytes(path), channel)

    @staticmethod
    def load_wfdb(header: Path, signal: Path, channel: int = 0) -> int:
        """Loads one signal of a WFDB record: its header and its signal file."""
        return call(native.VRAXLoadECGdat, path_bytes(header), path_bytes(signal), channel)

    @staticmethod
    def set(millivolts: Samples, rate: int) -> None:
        """Takes a copy of samples as the record."""
        taken = doubles(millivolts)
        call(native.SetRawArray, len(taken), taken, rate)

    @staticmethod
    def current() -> Record:
        """A copy of the record, in millivolts."""
        return _record(native.GetFileArray, "d", "there is no record")

    @staticmethod
    def render(function: int, seconds: float, rate: int = 1000) -> Record:
        """Computes a signal with the present parameters and no instrument: at least one second and
        at most 1800. The output function is OutputFunction.OFF afterwards."""
        count = max(round(seconds * rate), rate)
        out = array("d", bytes(8 * max(count, 1)))
        given = call(native.GetRawDataArrayEx, function, doubles(out), count, rate)
        if given == 0:
            raise VraxError("GetRawDataArrayEx", 0, "a signal plays, or the rate is out of range")
        return Record(out[:given], rate)


def _take_string(pointer: Any) -> str:
    """A string that the caller has to free."""
    if not pointer:
        return ""
    value = text(ctypes.string_at(pointer))
    free = ctypes.CDLL(None).free
    free.argtypes, free.restype = (ctypes.c_void_p,), None
    free(pointer)
    return value


class RawRecording:
    """The voltage of every computed sample, until it is stopped or full."""

    # The library writes into its arrays: it lives until the recording has ended.
    _running: "ClassVar[Optional[RawRecording]]" = None

    def __init__(self, length: int) -> None:
        # A sample is a number, so what is not one has not been written.
        self._ac = array("d", [math.nan]) * length
        self._dc = array("d", [math.nan]) * length
        call(native.EnableRecordRaw, doubles(self._ac), doubles(self._dc), length)
        RawRecording._running = self

    def stop(self) -> None:
        """Ends recording; the buffers are not written any more."""
        native.DisableRecordRaw()
        RawRecording._running = None
        raise_pending()

    def __enter__(self) -> "RawRecording":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        native.DisableRecordRaw()
        RawRecording._running = None

    @property
    def ac(self) -> array[float]:
        """The AC parts in millivolts that have been recorded."""
        return self._ac[: self._count()]

    @property
    def dc(self) -> array[float]:
        """The DC parts in millivolts that have been recorded."""
        return self._dc[: self._count()]

    def _count(self) -> int:
        written = (i for i, value in enumerate(self._dc) if math.isnan(value))
        return next(written, len(self._dc))


class Diagnostics:
    """The log of the calls that set parameters, and records of computed samples."""

    @staticmethod
    def log(path: Path) -> None:
        """Logs every setter from now on, one line each, appended to the file."""
        call(native.EnableSaveLog, path_bytes(path))

    @staticmethod
    def stop_log() -> None:
        """Ends the log."""
        end(native.DisableSaveLog)

    @property
    def log_path(self) -> str:
        """The path of the log, empty while it is off."""
        return text(call(native.GetSaveLogPath))

    @staticmethod
    def record(length: int) -> RawRecording:
        """Records the voltage of every computed sample, at most so many, from the next one on."""
        return RawRecording(length)

    @staticmethod
    def dump(values: Samples, path: Path) -> None:
        """Writes values to a text file, one a line with three decimals."""
        taken = doubles(values)
        call(native.DumpRawData, taken, len(taken), path_bytes(path))
