"""Built-in waveforms.

The samples behind OUTPUT_IEC227, OUTPUT_IEC251 and OUTPUT_IEC247. Whether a build holds the public
records or likenesses of them is told in `docs/tables.md`. None of these calls is logged; but for
VRAXSetSpecialWaveformLoop() none takes the API lock, and they may be used on any thread.
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
    "VRAXSetSpecialWaveformLoop",
    "GetSpecialWave227Array",
    "GetSpecialWave251Array",
    "GetSpecialWave247Array",
    "GetRRAvg",
    "GetRRDev",
    "GetHRVFreq",
    "GetIEC47RawPoint",
    "DumpIEC227Waveform",
    "DumpIEC251Waveform",
    "DumpIEC247Waveform",
    "DumpStandardWaveform",
]

_VRAXSetSpecialWaveformLoop: NativeFunction[None] = NativeFunction(
    "VRAXSetSpecialWaveformLoop", None, (c_int,)
)


def VRAXSetSpecialWaveformLoop(loop: int) -> None:
    """Chooses whether the built-in waveforms repeat or play once. Takes effect at once. One that
    plays once tells the listener of RegisterStandardWaveformCB() at its end and switches the output
    off.

    Parameters:
        loop: 0 once, anything else repeats; on at load and after a reset
    """
    _VRAXSetSpecialWaveformLoop(loop)


_GetSpecialWave227Array: NativeFunction[_Pointer[c_int]] = NativeFunction(
    "GetSpecialWave227Array", POINTER(c_int), (c_int, POINTER(c_uint), POINTER(c_uint),)
)


def GetSpecialWave227Array(
    n: int, count: PointerTo[c_uint], rate: PointerTo[c_uint],
) -> _Pointer[c_int]:
    """Parameters:
        n: 0 to 9: AAMI EC13 3A, 3B, 3C, 3D, 4A, 4A x2, 4A /2, 4B, 4B x2, 4B /2, which are IEC
            60601-2-27 A1 to A4, B1 and B2
        count: samples, 34511 to 65239; 0 for another number
        rate: 720 samples per second; 0 for another number

    Returns:
        the samples in microvolts, constant data of the library; null for another number or when
            `count` or `rate` is null
    """
    return _GetSpecialWave227Array(n, count, rate)


_GetSpecialWave251Array: NativeFunction[_Pointer[c_int]] = NativeFunction(
    "GetSpecialWave251Array", POINTER(c_int), (c_int, POINTER(c_uint), POINTER(c_uint),)
)


def GetSpecialWave251Array(
    n: int, count: PointerTo[c_uint], rate: PointerTo[c_uint],
) -> _Pointer[c_int]:
    """Parameters:
        n: 0 to 15: CAL05000, CAL10000, CAL15000, CAL20000, CAL30000, CAL50000, CAL20002, CAL20100,
            CAL20110, CAL20160, CAL20200, CAL20210, CAL20260, CAL20500, CAL20502, CAL40000
        count: 1000 samples; 0 for another number
        rate: 1000 samples per second; 0 for another number

    Returns:
        the samples in microvolts, constant data of the library; null for another number or when
            `count` or `rate` is null
    """
    return _GetSpecialWave251Array(n, count, rate)


_GetSpecialWave247Array: NativeFunction[_Pointer[c_double]] = NativeFunction(
    "GetSpecialWave247Array", POINTER(c_double), (c_int, POINTER(c_uint), POINTER(c_uint),)
)


def GetSpecialWave247Array(
    n: int, count: PointerTo[c_uint], rate: PointerTo[c_uint],
) -> _Pointer[c_double]:
    """The heart-rate variability patterns of IEC 60601-2-47, made when they are first asked for.

    Parameters:
        n: 0 to 4: test patterns 1 to 5
        count: 60000, 3996, 9972, 29874 or 3599521 samples; 0 for another number
        rate: 1000 samples per second; 0 for another number

    Returns:
        the samples in millivolts, kept until the library is unloaded; null for another number or
            when `count` or `rate` is null
    """
    return _GetSpecialWave247Array(n, count, rate)


_GetRRAvg: NativeFunction[float] = NativeFunction(
    "GetRRAvg", c_double, (c_int,)
)


def GetRRAvg(n: int) -> float:
    """Parameters:
        n: pattern of IEC 60601-2-47, 0 to 4

    Returns:
        its mean interval between beats in seconds; 0 for another number
    """
    return _GetRRAvg(n)


_GetRRDev: NativeFunction[float] = NativeFunction(
    "GetRRDev", c_double, (c_int,)
)


def GetRRDev(n: int) -> float:
    """Parameters:
        n: pattern of IEC 60601-2-47, 0 to 4

    Returns:
        the amplitude in seconds by which the interval varies; 0 for another number
    """
    return _GetRRDev(n)


_GetHRVFreq: NativeFunction[float] = NativeFunction(
    "GetHRVFreq", c_double, (c_int,)
)


def GetHRVFreq(n: int) -> float:
    """Parameters:
        n: pattern of IEC 60601-2-47, 0 to 4

    Returns:
        the frequency in hertz at which the interval varies; 0 for another number
    """
    return _GetHRVFreq(n)


_GetIEC47RawPoint: NativeFunction[float] = NativeFunction(
    "GetIEC47RawPoint", c_double, (c_int, c_double,)
)


def GetIEC47RawPoint(n: int, t: float) -> float:
    """Parameters:
        n: pattern of IEC 60601-2-47, 0 to 4
        t: seconds from 0 on; the pattern repeats

    Returns:
        millivolts; 0 for another number or a negative time
    """
    return _GetIEC47RawPoint(n, t)


_DumpIEC227Waveform: NativeFunction[int] = NativeFunction(
    "DumpIEC227Waveform", c_int, (c_uint, c_char_p,)
)


def DumpIEC227Waveform(n: int, path: Optional[bytes]) -> int:
    """Writes a waveform of IEC 60601-2-27 as text, in the layout of DumpStandardWaveform().

    Parameters:
        n: 0 to 9, see GetSpecialWave227Array()
        path: the file, replaced when it exists

    Returns:
        0: written
        -3: the file cannot be opened, or `n` names no waveform (then no file is touched)
        -6: a line could not be written; the file stays, partly written
    """
    return _DumpIEC227Waveform(n, path)


_DumpIEC251Waveform: NativeFunction[int] = NativeFunction(
    "DumpIEC251Waveform", c_int, (c_uint, c_char_p,)
)


def DumpIEC251Waveform(n: int, path: Optional[bytes]) -> int:
    """Writes a CAL waveform as text, in the layout of DumpStandardWaveform().

    Parameters:
        n: 0 to 15, see GetSpecialWave251Array()
        path: the file, replaced when it exists

    Returns:
        as DumpIEC227Waveform()
    """
    return _DumpIEC251Waveform(n, path)


_DumpIEC247Waveform: NativeFunction[int] = NativeFunction(
    "DumpIEC247Waveform", c_int, (c_uint, c_char_p,)
)


def DumpIEC247Waveform(n: int, path: Optional[bytes]) -> int:
    """Writes a pattern of IEC 60601-2-47 as text, in the layout of DumpStandardWaveform(), cut to
    whole microvolts toward zero.

    Parameters:
        n: 0 to 4, see GetSpecialWave247Array()
        path: the file, replaced when it exists

    Returns:
        as DumpIEC227Waveform()
    """
    return _DumpIEC247Waveform(n, path)


_DumpStandardWaveform: NativeFunction[int] = NativeFunction(
    "DumpStandardWaveform", c_int, (POINTER(c_int), c_int, c_int, c_char_p, c_char_p,)
)


def DumpStandardWaveform(
    samples: PointerTo[c_int], count: int, rate: int, name: Optional[bytes], path: Optional[bytes],
) -> int:
    """Writes samples as text: lines with the rate, the number of samples, the number of channels
    (1) and the name, then a sample a line in millivolts with three decimals.

    Parameters:
        samples: microvolts; null is allowed when `count` is 0 or less
        count: number of samples
        rate: samples per second
        name: of the channel
        path: the file, UTF-8, replaced when it exists

    Returns:
        0: written
        -3: the file cannot be opened, or a needed pointer is null
        -6: a line could not be written; the file stays, partly written
    """
    return _DumpStandardWaveform(samples, count, rate, name, path)
