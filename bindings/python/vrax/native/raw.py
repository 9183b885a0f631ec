"""Records and sample rate.

The record that OUTPUT_ECG_FILE plays, and the rate at which samples are computed. The calls on the
record take no lock: do not call them while OUTPUT_ECG_FILE plays. Not logged.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from ctypes import POINTER, c_double, c_int, c_uint, c_char_p
from typing import TYPE_CHECKING, Optional

from vrax.loading import NativeFunction

if TYPE_CHECKING:
    from ctypes import _Pointer

    from vrax.native.types import PointerTo

__all__ = [
    "SetRawArray",
    "ClearRawArray",
    "GetFileArray",
    "GetRawDataArrayEx",
    "VRAXSetFileLoop",
    "VRAXSetSampleRate",
    "VRAXGetSampleRate",
    "VRAXGetSDKVersion",
]

_SetRawArray: NativeFunction[int] = NativeFunction(
    "SetRawArray", c_int, (c_int, POINTER(c_double), c_int,)
)


def SetRawArray(count: int, samples: PointerTo[c_double], rate: int) -> int:
    """Takes a copy of samples as the record. The next run of OUTPUT_ECG_FILE plays it.

    Parameters:
        count: number of samples, at least 1
        samples: millivolts
        rate: samples per second, at least 1

    Returns:
        0: stored
        -1: `samples` is null, or `count` or `rate` is below 1; the old record stays
        -2: no memory; the old record stays
    """
    return _SetRawArray(count, samples, rate)


_ClearRawArray: NativeFunction[None] = NativeFunction(
    "ClearRawArray", None, ()
)


def ClearRawArray() -> None:
    """Drops the ECG record and the respiration record, and sets both rates to 20000 per second."""
    _ClearRawArray()


_GetFileArray: NativeFunction[_Pointer[c_double]] = NativeFunction(
    "GetFileArray", POINTER(c_double), (POINTER(c_uint), POINTER(c_uint),)
)


def GetFileArray(count: PointerTo[c_uint], rate: PointerTo[c_uint]) -> _Pointer[c_double]:
    """The record itself.

    Parameters:
        count: number of samples
        rate: samples per second, fractions cut off

    Returns:
        the samples in millivolts, valid until the record is replaced or dropped; null when there is
            none or a pointer is null
    """
    return _GetFileArray(count, rate)


_GetRawDataArrayEx: NativeFunction[int] = NativeFunction(
    "GetRawDataArrayEx", c_int, (c_uint, POINTER(c_double), c_int, c_int,)
)


def GetRawDataArrayEx(function: int, out: PointerTo[c_double], count: int, rate: int) -> int:
    """Computes a signal into an array, with the present parameters and no instrument: sample i is
    the value at i / rate seconds, without pacing and DC offset. The parameters stay as they are,
    but the output function is OUTPUT_OFF afterwards. The samples after the end of a waveform that
    plays once are those of the noise-stress record alone.

    Parameters:
        function: an OutputFunction_E
        out: room for `count` values in millivolts; always filled in full
        count: number of samples
        rate: samples per second, 100 to 40000

    Returns:
        `count`, raised to one second's samples (for 0 and below too) and cut to 1800 seconds'
            samples; 0, and nothing written, while a signal plays, when `out` is null, or when
            `rate` is out of range
    """
    return _GetRawDataArrayEx(function, out, count, rate)


_VRAXSetFileLoop: NativeFunction[None] = NativeFunction(
    "VRAXSetFileLoop", None, (c_int,)
)


def VRAXSetFileLoop(loop: int) -> None:
    """Chooses whether OUTPUT_ECG_FILE repeats its record or plays it once. Takes effect at once.

    Parameters:
        loop: 0 once, anything else repeats; on at load, a reset leaves it alone
    """
    _VRAXSetFileLoop(loop)


_VRAXSetSampleRate: NativeFunction[int] = NativeFunction(
    "VRAXSetSampleRate", c_int, (c_int,)
)


def VRAXSetSampleRate(rate: int) -> int:
    """Sets the number of samples a second of the ECG output; also cuts the divider of
    VRAXRegisterOutputSignalCallback() to it.

    Parameters:
        rate: 100 to 40000; 20000 at load

    Returns:
        0: stored
        -1: no instrument is open and no connection listener is registered
        -2: out of range
        -3: refused while a signal plays
    """
    return _VRAXSetSampleRate(rate)


_VRAXGetSampleRate: NativeFunction[int] = NativeFunction(
    "VRAXGetSampleRate", c_int, ()
)


def VRAXGetSampleRate() -> int:
    """Returns the samples a second in force: 5000 with the external respiration module, the PPG
    rate (10000) while a PPG output is enabled, else that of VRAXSetSampleRate()
    """
    return _VRAXGetSampleRate()


_VRAXGetSDKVersion: NativeFunction[Optional[bytes]] = NativeFunction(
    "VRAXGetSDKVersion", c_char_p, ()
)


def VRAXGetSDKVersion() -> Optional[bytes]:
    """Returns the version of the library's interface, "1.2.5.5"
    """
    return _VRAXGetSDKVersion()
